// SPDX-License-Identifier: MIT
#include "platform/systemclock.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace kestrune {

namespace {

using namespace std::chrono_literals;

// Wall clocks are set and stepped; deadlines must not move with them.
std::chrono::nanoseconds elapsed()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

} // namespace

SystemClock::SystemClock()
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { m_sleepers.wakeDue(elapsed()); });
    m_sleepers.onChange([this] { arm(); });
}

SystemClock::~SystemClock() = default;

SteadyInstant SystemClock::steady() const
{
    // Unlike the standard library's steady clock this one runs on while the machine sleeps.
    timespec reading = {};
    ::clock_gettime(CLOCK_BOOTTIME, &reading);
    return SteadyInstant(std::chrono::seconds(reading.tv_sec) + std::chrono::nanoseconds(reading.tv_nsec));
}

QCoro::Task<bool> SystemClock::sleep(std::chrono::milliseconds duration, std::stop_token stop)
{
    // A longer sleep than ten years would leave the range of the deadline.
    constexpr std::chrono::milliseconds longest = 24h * 3650;
    return m_sleepers.sleepUntil(elapsed() + std::clamp(duration, 0ms, longest), std::move(stop));
}

void SystemClock::arm()
{
    const auto earliest = m_sleepers.earliest();
    if (!earliest) {
        m_timer.stop();
        return;
    }
    // Rounded up, so that the timer is never early; the timer's own range ends at 24 days.
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*earliest - elapsed());
    m_timer.start(std::clamp<std::chrono::milliseconds>(wait, 0ms, 24h));
}

} // namespace kestrune
