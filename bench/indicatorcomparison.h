// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/indicators.h"
#include "analysis/randomcandles.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace kestrune::bench {

// For measuring the indicators of other libraries beside our own, and for comparing the values.

inline constexpr std::size_t candleCount = 320;

/// Candles column by column, as other libraries want them.
struct Columns
{
    std::vector<double> highs, lows, closes;
};

struct FiveReadings
{
    double ema50, ema200, rsi14, macdHist, atr14;
};

/// How exponential averages begin.
enum class Seed { mean, other };

inline double relativeDifference(double a, double b)
{
    return std::abs(a - b) / std::max({std::abs(a), std::abs(b), 1e-9});
}

/// The largest difference; with another seed the exponential averages are left out.
inline double difference(const FiveReadings &theirs, const IndicatorReadings &ours, Seed seed)
{
    double largest = std::max(relativeDifference(theirs.rsi14, ours.rsi14.value()),
                              relativeDifference(theirs.atr14, ours.atr14.value()));
    if (seed == Seed::mean)
        largest = std::max({largest, relativeDifference(theirs.ema50, ours.ema50.value()),
                            relativeDifference(theirs.ema200, ours.ema200.value()),
                            relativeDifference(theirs.macdHist, ours.macd.value().hist)});
    return largest;
}

/// Times `read` over several candle lists in turn; the counter "difference" tells how far it is from ours.
template <typename Read>
void compareReadings(benchmark::State &state, Read read, Seed seed = Seed::mean)
{
    std::mt19937_64 random(99);
    std::vector<Columns> lists(16);
    double largest = 0;
    for (Columns &columns : lists) {
        const CandleList candles = test::randomCandles(random, candleCount, 62000);
        for (const Candle &candle : candles) {
            columns.highs.push_back(candle.h);
            columns.lows.push_back(candle.l);
            columns.closes.push_back(candle.c);
        }
        largest = std::max(largest, difference(read(columns), readIndicators(candles), seed));
    }
    std::size_t turn = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(read(lists[turn]));
        turn = (turn + 1) % lists.size();
    }
    state.counters["difference"] = largest;
}

} // namespace kestrune::bench
