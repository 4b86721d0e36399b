#pragma once

#include <cstdint>

namespace kestrane {

/// Measures the time of a run without the waits for its user. All times are readings of a 32-bit
/// millisecond clock; differences are right across its wrap.
struct RunClock {
    std::uint32_t startTicks = 0;
    std::uint32_t pauseTicks = 0;  ///< equal to startTicks outside a pause
    int pauseDepth = 0;

    /// A clock that starts at `now`.
    static constexpr RunClock at(std::uint32_t now) { return {now, now, 0}; }

    constexpr void pause(std::uint32_t now) {
        if (pauseDepth == 0) pauseTicks = now;
        ++pauseDepth;
    }
    /// Moves the start by the time since the pause began. Outside a pause that restarts the clock.
    constexpr void resume(std::uint32_t now) {
        startTicks += now - pauseTicks;
        pauseTicks = startTicks;
        if (pauseDepth > 0) --pauseDepth;
    }
    /// Run time in seconds, below 49.7 days.
    constexpr double seconds(std::uint32_t now) const {
        return static_cast<double>(now - startTicks) / 1000.0;
    }
};

}  // namespace kestrane
