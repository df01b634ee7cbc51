// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "analysis/indicators.h"
#include "state/timeframesignal.h"

#include <QString>

#include <span>

namespace kestrune {

struct ScoreWithReason
{
    double score = 0; ///< -5 to +5
    QString reason;   ///< the first phrase that applies, "—" without any

    [[nodiscard]] bool operator==(const ScoreWithReason &) const = default;
};

/// Sums moving averages, RSI, MACD and VWAP as seen from a reference price; a reading that is absent counts
/// 0. Equality counts as bearish throughout.
[[nodiscard]] ScoreWithReason scoreReadings(const IndicatorReadings &readings, double price);

/// Scores one timeframe's candles against a reference price; fewer than 50 candles give 0, "数据不足".
[[nodiscard]] TimeframeSignal scoreTimeframe(const QString &label, std::span<const Candle> candles,
                                             double price);

} // namespace kestrune
