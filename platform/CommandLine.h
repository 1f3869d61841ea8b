#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// Splits a command line into the program and its arguments the way the Windows C runtime
/// builds argv, so a program started on Linux receives what it would receive on Windows:
/// - blanks and tabs separate arguments outside quotes;
/// - 2n backslashes before a quote give n backslashes and the quote opens or closes quoting;
///   2n+1 backslashes before a quote give n backslashes and a literal quote;
/// - backslashes not before a quote are literal;
/// - "" inside quotes gives a literal quote and quoting goes on;
/// - the program name (first element) ends at the first blank outside quotes, and backslashes in
///   it are never special.
std::vector<std::string> splitCommandLine(std::string_view commandLine);

} // namespace station
