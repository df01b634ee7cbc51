// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"

#include <QVarLengthArray>

#include <cstddef>
#include <optional>
#include <span>

namespace kestrune {

// The inner loops of the level sources, shared by levels.cpp and zonebuilding.cpp; not for other folders.

/// The candles' highs, lows and sums of high, low and close as plain columns, which the loops below read
/// several values at a time. A few hundred candles need no heap memory.
class CandleColumns
{
public:
    explicit CandleColumns(std::span<const Candle> candles);

    [[nodiscard]] std::size_t size() const { return m_candles.size(); }
    [[nodiscard]] std::span<const Candle> candles() const { return m_candles; }
    [[nodiscard]] const double *highs() const { return m_values.data(); }
    [[nodiscard]] const double *lows() const { return highs() + size(); }
    [[nodiscard]] const double *sums() const { return lows() + size(); }
    [[nodiscard]] double highest() const { return m_highest; } ///< NaN is passed over; -infinity when empty
    [[nodiscard]] double lowest() const { return m_lowest; }   ///< NaN is passed over; infinity when empty

private:
    static constexpr qsizetype usualCandles = 512;

    std::span<const Candle> m_candles;
    QVarLengthArray<double, 3 * usualCandles> m_values;
    double m_highest;
    double m_lowest;
};

/// Prices of swing points; a few hundred candles need no heap memory.
using SwingPrices = QVarLengthArray<double, 160>;

/// Bars on either side that a swing point of zone building must exceed.
inline constexpr std::size_t swingReach = 3;

/// The highs (lows) that are strictly above (below) those of the three bars on either side, in bar order.
void collectSwingHighs(const CandleColumns &columns, SwingPrices &highs);
void collectSwingLows(const CandleColumns &columns, SwingPrices &lows);

/// Sorts numbers (no NaN) ascending.
void sortPrices(SwingPrices &prices);

/// volumePOC over columns.
[[nodiscard]] std::optional<double> pointOfControl(const CandleColumns &columns, int buckets);

} // namespace kestrune
