#pragma once
// Connection files: a one-row table of five sign-on fields, persisted in the rowset XML format
// that recordsets of the Windows data access components save and open. Files written here load
// in those readers, and theirs load here.
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace station {

/// The values of the row; a value the file leaves out (NULL) is nothing.
struct ConnectionRow {
    std::optional<std::string> username;
    std::optional<std::string> password;
    std::optional<std::string> domain;
    std::optional<std::string> ip;
    std::optional<std::string> station;
};

/// The file is no such table, or lacks one of its fields. The text says which, in words.
struct ConnectionFileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Every field holds this many characters: longer values are cut, shorter ones padded with blanks.
inline constexpr std::size_t connectionFieldLength = 30;

/// The file's text for the row (UTF-8 values). Values are cut and padded to the field length,
/// counted in characters.
std::string writeConnectionFile(const ConnectionRow& row);

/// The row of a connection file, values as stored (padding included). Fields are found by name
/// without regard to case, elements by namespace rather than prefix. Throws ConnectionFileError.
ConnectionRow readConnectionFile(std::string_view xml);

/// `value` cut to `length` characters and padded with blanks to it (UTF-8 aware).
std::string fixedLength(std::string_view value, std::size_t length);

} // namespace station
