#pragma once
// The command line of devservice: "serve" and the admin commands that work on the same database
// file, also while a server runs on it.
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace devservice {

/// Runs one command line (without the program name) and returns the process exit code: 0 done,
/// 1 failed or nothing found, 2 bad usage. "serve" runs until `stopRequested` returns true.
int runCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
               const std::function<bool()>& stopRequested);

/// The files folder used when none is given: beside the database, named after it.
std::string defaultFilesFolder(const std::string& dbPath);

} // namespace devservice
