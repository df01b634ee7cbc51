// SPDX-License-Identifier: MIT
#include "replay/marketclock.h"

#include <QDateTime>

#include <algorithm>

namespace kestrune::replay {

MarketClock::MarketClock(std::optional<qint64> start, double speed)
    : m_start(start.value_or(QDateTime::currentMSecsSinceEpoch()))
    , m_speed(speed)
    , m_real(!start && speed == 1)
{
    m_elapsed.start();
}

qint64 MarketClock::now() const
{
    // The wall clock itself follows suspends and corrections, which an elapsed timer does not.
    const double passed = m_real ? static_cast<double>(QDateTime::currentMSecsSinceEpoch() - m_start)
                                 : static_cast<double>(m_elapsed.elapsed()) * m_speed;
    const double left = static_cast<double>(endOfTime - m_start);
    return m_start + static_cast<qint64>(std::clamp(passed, 0.0, left));
}

} // namespace kestrune::replay
