// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

#include <chrono>
#include <stop_token>

namespace kestrune {

using Instant = std::chrono::system_clock::time_point;

/// A reading of a clock that only runs forward: neither set nor stepped, and time in suspend counts. Its
/// start is of no meaning; differences are.
using SteadyInstant = std::chrono::time_point<struct SteadyTime, std::chrono::nanoseconds>;

/// Time as the program sees it. The clock outlives everything that sleeps on it.
class Clock
{
public:
    Clock() = default;
    Clock(const Clock &) = delete;
    Clock &operator=(const Clock &) = delete;
    virtual ~Clock() = default;

    /// The wall clock, which may be set at any time: for what is shown or stored, never for ages.
    [[nodiscard]] virtual Instant now() const = 0;
    /// For ages and deadlines.
    [[nodiscard]] virtual SteadyInstant steady() const = 0;

    /// Resumes with true when the time has passed or `stop` cut the wait short, and with false when the
    /// clock goes away; after false the clock must not be touched again. A stopped sleeper is woken
    /// through the event loop, never inside request_stop().
    [[nodiscard]] virtual QCoro::Task<bool> sleep(std::chrono::milliseconds duration,
                                                  std::stop_token stop = {}) = 0;
};

/// Seconds since the Unix epoch, with fractions.
[[nodiscard]] inline double epochSeconds(Instant instant)
{
    return std::chrono::duration<double>(instant.time_since_epoch()).count();
}

} // namespace kestrune
