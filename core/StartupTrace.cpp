#include "core/StartupTrace.h"

#include "core/Environment.h"

#include <chrono>
#include <cstdio>

namespace station {

void startupMark(const char* phase) {
    static const bool on = environmentVariable("STATION_STARTUP_TRACE").has_value();
    if (!on)
        return;
    // Wall-clock time, so the script can set the marks against the moment it started the process.
    const auto now =
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    std::fprintf(stderr, "startup-mark %lld %s\n", static_cast<long long>(now), phase);
    std::fflush(stderr);
}

} // namespace station
