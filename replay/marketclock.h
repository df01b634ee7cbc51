// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QtGlobal>

#include <optional>

namespace kestrune::replay {

/// The market's time: the real one, or one that starts at a given instant and runs at a given speed.
class MarketClock
{
public:
    /// The last instant that the market lives to see (2100-01-01 UTC); clocks stop there.
    static constexpr qint64 endOfTime = 4102444800000;

    /// Without `start` the real time; `speed` is market seconds per real second, 0 stands still.
    MarketClock(std::optional<qint64> start, double speed);

    [[nodiscard]] qint64 start() const { return m_start; }
    [[nodiscard]] qint64 now() const;

private:
    qint64 m_start;
    double m_speed;
    bool m_real;
    QElapsedTimer m_elapsed;
};

} // namespace kestrune::replay
