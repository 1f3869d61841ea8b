#pragma once
// The entry names in a long listing as FTP servers send it. Unix-style servers write
// "drwxr-xr-x 2 owner group 4096 Nov 23 19:00 name"; Windows servers write
// "11-23-26  07:00PM       <DIR>          name". Names run to the end of the line and may hold
// blanks of their own.
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// The names of the entries in `listing`, in the server's order; lines that name no entry
/// ("total 12", blank lines, "." and "..") are left out, and so are lines of no known style.
std::vector<std::string> ftpEntryNames(std::string_view listing);

/// The names in a name listing (NLST): one a line, as they stand; blank lines, "." and ".." are
/// left out, and so is a folder part some servers put before each name.
std::vector<std::string> ftpNames(std::string_view listing);

} // namespace station
