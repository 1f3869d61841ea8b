// The wall clock of the PC.
#include "platform/Adapters.h"
#include "platform/Clock.h"

namespace station {

namespace {

class SystemClock final : public Clock {
public:
    std::chrono::system_clock::time_point now() override { return std::chrono::system_clock::now(); }
};

} // namespace

std::unique_ptr<Clock> makeClock() {
    return std::make_unique<SystemClock>();
}

} // namespace station
