#pragma once

namespace station {

/// Lets pending window events run in the middle of a long synchronous job.
class Yield {
public:
    virtual ~Yield() = default;
    virtual void yield() = 0;
};

} // namespace station
