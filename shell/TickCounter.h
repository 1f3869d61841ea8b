#pragma once
#include <cstdint>

namespace station {

/// The rhythm of the supervision timer, counted in ticks. Other work of a tick happens between
/// these steps, so each step is its own call, made in the order below.
struct TickCounter {
    std::int16_t ticks = 0;         ///< ticks since the last periodic job
    std::int16_t pollCountdown = 0; ///< counts down to the next keep-alive; 0 until first used

    /// First step of every tick.
    void begin() {
        if (pollCountdown == 0)
            pollCountdown = 6;
        ++ticks;
    }
    /// True on every fifth tick: the keep-alive goes out then.
    bool keepAliveDue() {
        if (pollCountdown > 1)
            --pollCountdown;
        if (pollCountdown != 1)
            return false;
        pollCountdown = 6;
        return true;
    }
    /// True on the first tick and then on two consecutive ticks in every thirteen (13 and 14,
    /// 26 and 27, ...): the pair is intended.
    bool periodicJobsDue() const { return ticks == 1 || ticks > 12; }
    /// Called after the periodic jobs ran.
    void periodicJobsDone() {
        if (ticks > 1)
            ticks = 0;
    }
};

} // namespace station
