// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "analysis/zone.h"

#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace kestrune {

/// Ratio keys of a Fibonacci retracement, ascending; FibResult::levels follows this order.
inline constexpr std::array<std::string_view, 5> fibRatioKeys{"0.236", "0.382", "0.500", "0.618", "0.786"};

/// A Fibonacci retracement over a recent span of candles.
struct FibResult
{
    std::array<double, 5> levels{}; ///< prices, one per entry of fibRatioKeys
    QString trend;                  ///< "up" or "down"
    double swingHigh = 0;           ///< highest high of the span
    double swingLow = 0;            ///< lowest low of the span

    /// The level of a ratio key; absent for an unknown key.
    [[nodiscard]] std::optional<double> level(std::string_view key) const;
};

struct Swings
{
    std::vector<double> highs; ///< in bar order
    std::vector<double> lows;  ///< in bar order
};

/// Classic floor pivots of one bar's high, low and close.
[[nodiscard]] Pivot calcPivot(double h, double l, double c);

/// Retracement of the last `period` candles (all when fewer); `period` must not be negative. The trend
/// compares the span's midpoint with the last close of the whole list.
[[nodiscard]] FibResult calcFibonacci(std::span<const Candle> candles, int period = 20);

/// Strict swing highs and lows: an equal neighbour disqualifies. Empty when left + right >= count.
[[nodiscard]] Swings detectSwings(std::span<const Candle> candles, int left = 3, int right = 3);

/// Centre of the price bucket with the most volume; the lowest of equals wins. Absent for an empty list,
/// fewer than one bucket or a flat price.
[[nodiscard]] std::optional<double> volumePOC(std::span<const Candle> candles, int buckets = 60);

/// Half-width of a zone around a price: `tick` for a price not above 0, a quarter percent (at least one
/// tick) for stocks (tick > 0), a deliberately uneven table for crypto (tick 0).
[[nodiscard]] double getZoneHW(double price, double tick = 0);

} // namespace kestrune
