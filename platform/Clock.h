#pragma once
#include <chrono>

namespace station {

/// The current date and time.
class Clock {
public:
    virtual ~Clock() = default;
    virtual std::chrono::system_clock::time_point now() = 0;
};

} // namespace station
