// SPDX-License-Identifier: MIT
#include "support/fakeclock.h"

#include "support/eventloop.h"

#include <algorithm>
#include <utility>

namespace kestrune::test {

QCoro::Task<bool> FakeClock::sleep(std::chrono::milliseconds duration, std::stop_token stop)
{
    return m_sleepers.sleepUntil(m_elapsed + std::max(duration, std::chrono::milliseconds(0)),
                                 std::move(stop));
}

void FakeClock::advance(std::chrono::milliseconds duration)
{
    const auto target = m_elapsed + duration;
    drainEvents();
    for (auto next = m_sleepers.earliest(); next && *next <= target; next = m_sleepers.earliest()) {
        passTo(std::max(*next, m_elapsed));
        m_sleepers.wakeOne(m_elapsed);
        drainEvents();
    }
    passTo(target);
    drainEvents();
}

std::optional<std::chrono::nanoseconds> FakeClock::untilNextWake() const
{
    const auto next = m_sleepers.earliest();
    if (!next)
        return std::nullopt;
    return std::max(*next - m_elapsed, std::chrono::nanoseconds(0));
}

void FakeClock::passTo(std::chrono::nanoseconds elapsed)
{
    m_now += std::chrono::duration_cast<Instant::duration>(elapsed - m_elapsed);
    m_steady += elapsed - m_elapsed;
    m_elapsed = elapsed;
}

} // namespace kestrune::test
