// SPDX-License-Identifier: MIT
#pragma once

#include "chart/chartcontent.h"
#include "chart/chartview.h"
#include "ui/palette.h"

namespace kestrune {

// What the chart says in words.

/// "2026-07-21 16:00" in the market's time zone.
[[nodiscard]] QString candleTime(const ChartContent &content, std::size_t candle);
/// "开 1.00 高 2.00 低 0.50 收 1.50", the change and the volume of a candle, and the tone of its change.
struct CandleWords
{
    QString prices;
    QString change;
    QString volume; ///< empty without one
    Tone tone;
};
[[nodiscard]] CandleWords candleWords(const ChartContent &content, std::size_t candle);
/// "阻力 3,528.00 · Pivot · 触及 5 次"
[[nodiscard]] QString zoneWords(const ChartContent &content, std::size_t zone);
/// Instrument, stretch of time, last close, the nearest zone on either side, their age and what the keyboard
/// is at.
[[nodiscard]] QString chartDescription(const ChartContent &content, const OptionalChartView &view,
                                       std::optional<double> cursor);
[[nodiscard]] Tone zoneTone(const ChartZone &zone);

} // namespace kestrune
