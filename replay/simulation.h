// SPDX-License-Identifier: MIT
#pragma once

#include "replay/block.h"

namespace kestrune::replay {

/// Draws one instrument's trading day by day. Returns have clustered volatility (GARCH), rare shocks,
/// drifts that change every few weeks, and a weak pull towards a slowly growing level, so that the price
/// stays plausible for years. The same seed and start always give the same days.
class Simulation
{
public:
    /// The instrument's whole life, from its first trading day on.
    Simulation(const Instrument &instrument, quint64 seed);
    /// What follows recorded data that end at `time` with the close `price`. `previousClose` is the close
    /// of the day before, which daily price limits refer to.
    Simulation(const Instrument &instrument, quint64 seed, qint64 time, double price, double previousClose);

    /// The next trading day, or what is left of the one that the recorded data end in.
    [[nodiscard]] Block next();

private:
    [[nodiscard]] TimeSpan nextSpan() const;
    [[nodiscard]] double levelLog(qint64 time) const;
    [[nodiscard]] double driftOf(qint64 time) const;
    [[nodiscard]] double tradable(double price) const;

    const Instrument *m_instrument;
    quint64 m_seed;
    qint64 m_time; ///< everything before is drawn
    qint64 m_levelTime;
    double m_level;         ///< the price that the walk is pulled to at `m_levelTime`
    double m_growth;        ///< of the level before `m_levelTime`, a year, as a logarithm
    double m_usualVariance; ///< of one day's return
    double m_variance;
    double m_close;
    double m_previousClose;
};

} // namespace kestrune::replay
