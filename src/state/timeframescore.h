#pragma once

#include "analysis/candle.h"
#include "state/timeframesignal.h"

#include <QString>

#include <span>

namespace kestrune {

/// Scores one timeframe's candles against a reference price; fewer than 50 candles give 0, "数据不足".
[[nodiscard]] TimeframeSignal scoreTimeframe(const QString &label, std::span<const Candle> candles,
                                             double price);

} // namespace kestrune
