// SPDX-License-Identifier: MIT
#pragma once

#include "platform/clock.h"
#include "platform/sleepqueue.h"

namespace kestrune::test {

/// A clock that stands still until the test moves it. It starts at 2026-01-05T08:30:00Z, a Monday.
/// Declare it after whatever its sleepers write to: going away, it wakes them with false.
class FakeClock final : public Clock
{
public:
    [[nodiscard]] Instant now() const override { return m_now; }
    [[nodiscard]] SteadyInstant steady() const override { return m_steady; }
    [[nodiscard]] QCoro::Task<bool> sleep(std::chrono::milliseconds duration,
                                          std::stop_token stop = {}) override;

    /// Lets time pass: wakes each sleeper at its own instant, in the order of the deadlines (equal ones in
    /// the order of their arrival), also those that begin to sleep meanwhile, and delivers all waiting
    /// events before the first, between two and after the last.
    void advance(std::chrono::milliseconds duration);

    /// Until the next sleeper wakes; absent when nobody sleeps.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> untilNextWake() const;

    /// Sets the wall clock, as a user or a time server would, also backwards. Sleepers do not notice.
    void setNow(Instant instant) { m_now = instant; }
    /// Moves the steady clock alone; together with setNow() a suspend. Sleepers do not notice.
    void passSteady(std::chrono::nanoseconds duration) { m_steady += duration; }

    /// How many coroutines sleep now, stopped ones that have not been woken yet included.
    [[nodiscard]] int sleeperCount() const { return static_cast<int>(m_sleepers.size()); }

private:
    void passTo(std::chrono::nanoseconds elapsed);

    Instant m_now = Instant(std::chrono::seconds(1767601800));
    SteadyInstant m_steady{std::chrono::hours(1)};
    std::chrono::nanoseconds m_elapsed{0}; // what sleepers count by
    SleepQueue m_sleepers;
};

} // namespace kestrune::test
