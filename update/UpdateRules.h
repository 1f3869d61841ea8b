#pragma once
// The small rules of program updates: reading the description file and comparing versions.
#include "platform/Yield.h"

#include <string>
#include <string_view>

namespace station {

/// The text between the first `start` and the next `end` after it, with every ";" removed; empty
/// when either marker is missing or the value is empty. Case-sensitive, no trimming. Lets pending
/// window events run before it looks and again before it returns a value.
std::string markerValue(std::string_view text, std::string_view start, std::string_view end, Yield& yield);

/// The number at the start of `text`: leading blanks skipped, "." as the decimal point whatever
/// the locale, reading up to the first character that cannot continue the number; 0 when there
/// is none.
double leadingNumber(std::string_view text);

/// The program's version as the update server writes it: major, ".", minor with two digits at
/// least (3 and 7 give "3.07").
std::string versionText(int major, int minor);

/// True when the offered version is newer: both read as decimal numbers, not as dotted parts
/// (3.9 is newer than 3.12).
bool offersNewerVersion(std::string_view local, std::string_view offered);

} // namespace station
