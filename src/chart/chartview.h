// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"

#include <optional>
#include <span>

namespace kestrune {

/// The stretch of candles that shows, in candles and fractions of them.
struct ChartView
{
    double first = 0;
    double count = 0;

    [[nodiscard]] bool operator==(const ChartView &) const = default;
};

// Absent stands for all candles, also for those that are still to come.
using OptionalChartView = std::optional<ChartView>;

[[nodiscard]] ChartView shownOf(const OptionalChartView &view, std::size_t candles);
/// A `factor` above 1 shows more candles; what stands at index `at` stays where it is.
[[nodiscard]] OptionalChartView zoomed(const OptionalChartView &view, std::size_t candles, double factor,
                                       double at);
/// Moves along by so many candles, later ones for `by` above 0.
[[nodiscard]] OptionalChartView panned(const OptionalChartView &view, std::size_t candles, double by);
/// The same stretch of time after the candles have changed.
[[nodiscard]] OptionalChartView kept(const OptionalChartView &view, std::span<const Candle> before,
                                     std::span<const Candle> after);

/// Candles from `begin` up to `end`.
struct CandleStretch
{
    std::size_t begin;
    std::size_t end;
};
/// Those that show, wholly or in part.
[[nodiscard]] CandleStretch shownCandles(const ChartView &shown, std::size_t candles);

/// Where the prices stand: `high` at `top`, `low` at `bottom`.
struct PriceScale
{
    double low = 0;
    double high = 1;
    double top = 0;
    double bottom = 1;

    [[nodiscard]] double y(double price) const;
    [[nodiscard]] double price(double y) const;
    [[nodiscard]] bool holds(double price) const { return price >= low && price <= high; }
    [[nodiscard]] bool operator==(const PriceScale &) const = default;
};

/// Where the candles stand: index `first` begins at `left`, each is `pitch` wide.
struct TimeScale
{
    double left = 0;
    double pitch = 1;
    double first = 0;

    [[nodiscard]] double x(double index) const { return left + (index - first) * pitch; }
    [[nodiscard]] double index(double x) const { return first + (x - left) / pitch; }
    [[nodiscard]] bool operator==(const TimeScale &) const = default;
};

} // namespace kestrune
