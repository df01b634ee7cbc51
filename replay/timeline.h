// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "replay/simulation.h"

#include <map>

namespace kestrune::replay {

/// One row of a candle answer.
struct Row
{
    Candle candle;
    qint64 end = 0;      ///< when the candle closes or will close
    qint64 lastTime = 0; ///< start of the last trading in it; the stock layouts show that day
};

/// Recorded candles, prepared for replaying.
struct Recording
{
    std::vector<Block> blocks; ///< oldest first, not overlapping, not empty
    /// Rows that were recorded at an interval of their own win over what the blocks give; keyed by the
    /// interval's length in milliseconds, ascending in time.
    std::map<qint64, CandleList> ownRows;
    double previousClose = 0; ///< of the trading day before the recording's last one
};

/// Everything that one instrument has traded and will trade, as one path that every interval and the
/// ticker are read from. Days are known or drawn in advance; what lies behind `now` is never shown.
class Timeline
{
public:
    /// A simulated instrument.
    Timeline(const Instrument &instrument, quint64 seed);
    /// A recorded instrument; its future after the recording is simulated.
    Timeline(const Instrument &instrument, quint64 seed, Recording recording);

    [[nodiscard]] const Instrument &instrument() const { return *m_instrument; }
    /// When the recording ends; absent for a simulated instrument.
    [[nodiscard]] std::optional<qint64> recordingEnd() const { return m_recordingEnd; }

    /// The last `limit` candles that had opened by `now`, oldest first; the last one may be forming.
    [[nodiscard]] std::vector<Row> rows(const Interval &interval, int limit, qint64 now);
    /// The trading from `from` to `now` as one block; absent when there was none.
    [[nodiscard]] std::optional<Block> window(qint64 from, qint64 now);
    /// The last price by `now`, which is the close of the forming candle at every interval.
    [[nodiscard]] std::optional<double> price(qint64 now);

private:
    void drawUntil(qint64 now);
    [[nodiscard]] std::size_t startedBy(qint64 now) const;
    void applyOwnRows(const Interval &interval, qint64 now, std::vector<Row> &rows) const;

    const Instrument *m_instrument;
    quint64 m_seed;
    std::vector<Block> m_blocks;
    std::map<qint64, CandleList> m_ownRows;
    std::optional<qint64> m_recordingEnd;
    Simulation m_simulation;
};

} // namespace kestrune::replay
