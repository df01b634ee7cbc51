// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"

#include <optional>
#include <span>
#include <vector>

namespace kestrune {

// All series are oldest first; all sums run oldest value first. Too short an input gives an absent result.

/// Mean of the last `period` values.
[[nodiscard]] std::optional<double> sma(std::span<const double> values, int period);

/// Exponential averages seeded with the mean of the first `period` values; element j belongs to input
/// position period - 1 + j. Smoothing factor 2 / (period + 1).
[[nodiscard]] std::optional<std::vector<double>> emaSeries(std::span<const double> values, int period);

/// Last element of emaSeries.
[[nodiscard]] std::optional<double> ema(std::span<const double> values, int period);

/// Average true range as a plain mean of the last `period` true ranges (deliberately not Wilder's), price
/// units.
[[nodiscard]] std::optional<double> atr(std::span<const Candle> candles, int period = 14);

/// Relative strength index 0 to 100 with Wilder's smoothing (Wilder, New Concepts in Technical Trading
/// Systems, 1978). A series without losses, even a flat one, deliberately reads 100. `period` must be >= 1.
[[nodiscard]] std::optional<double> rsi(std::span<const double> values, int period = 14);

struct MacdResult
{
    double macd;   ///< last value of fast minus slow average
    double signal; ///< its own average
    double hist;   ///< macd - signal
};

/// Moving average convergence/divergence (Appel); needs slow + signalP - 1 values.
[[nodiscard]] std::optional<MacdResult> macd(std::span<const double> values, int fast = 12, int slow = 26,
                                             int signalP = 9);

/// Volume-weighted typical price over every candle given; absent without volume.
[[nodiscard]] std::optional<double> vwap(std::span<const Candle> candles);
/// The same after each candle from the first with volume on; the last element belongs to the last candle.
[[nodiscard]] std::optional<std::vector<double>> vwapSeries(std::span<const Candle> candles);

/// Every reading that the market context and the timeframe score need, in one pass over the candles.
struct IndicatorReadings
{
    std::optional<double> ema50, ema144, ema169, ema200;
    std::optional<double> rsi14;
    std::optional<MacdResult> macd; ///< 12, 26, 9
    std::optional<double> atr14;
    std::optional<double> vwap;
};
[[nodiscard]] IndicatorReadings readIndicators(std::span<const Candle> candles);

} // namespace kestrune
