#pragma once

#include <algorithm>
#include <chrono>

namespace Morvalin {

/// Both clocks, read at the same moment.
struct ClockReading {
    std::chrono::system_clock::time_point system;
    std::chrono::steady_clock::time_point steady;

    static ClockReading now() {
        return {std::chrono::system_clock::now(), std::chrono::steady_clock::now()};
    }
};

/// When to call doWork() again, on the clock that does not jump, if it asked for `wanted` on the
/// one that may.
///
/// `before` and `after` were read around that call. Clocks that disagree about its length mean that
/// the system clock jumped meanwhile: `wanted` cannot be trusted then, and the call is due at once.
inline std::chrono::steady_clock::time_point
nextCallTime(const ClockReading& before, const ClockReading& after,
             std::chrono::system_clock::time_point wanted) {
    using Duration = std::chrono::steady_clock::duration;
    constexpr Duration tolerance = std::chrono::milliseconds(5);
    constexpr Duration longestWait = std::chrono::hours(24 * 365);

    const Duration jump = (after.system - before.system) - (after.steady - before.steady);
    if (jump > tolerance || jump < -tolerance || wanted <= after.system)
        return after.steady;
    // The shorter of the two first: a far wish would overflow the subtraction.
    return after.steady + (std::min(wanted, after.system + longestWait) - after.system);
}

} // namespace Morvalin
