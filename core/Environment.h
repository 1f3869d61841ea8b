#pragma once
// The two C library reads that differ between the systems (and that MSVC rejects in their
// plain forms), behind one place.
#include <chrono>
#include <ctime>
#include <optional>
#include <string>

namespace station {

/// The environment variable `name`, or nothing when it is not set.
std::optional<std::string> environmentVariable(const char* name);

/// The local calendar time of `time`; all zero when the system cannot convert it.
std::tm localTime(std::chrono::system_clock::time_point time);

/// A date and time as the station shows it ("2026-11-23 14:05:09", local time).
std::string dateTimeText(std::chrono::system_clock::time_point time);

} // namespace station
