#pragma once
#include <chrono>

namespace station {

/// Lets pending window events run in the middle of a long synchronous job.
class Yield {
public:
    virtual ~Yield() = default;
    /// Runs the events that are waiting now.
    virtual void yield() = 0;
    /// Lets events run for `duration`, then returns.
    virtual void pause(std::chrono::milliseconds duration) = 0;
};

} // namespace station
