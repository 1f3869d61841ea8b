#pragma once
// Marks along the program's start-up, for bench/startup_ratio.sh to break it into phases. Only
// when STATION_STARTUP_TRACE is set; otherwise a mark costs one cached test.

namespace station {

/// Writes "startup-mark <nanoseconds since the epoch> <phase>" to the standard error.
void startupMark(const char* phase);

} // namespace station
