// SPDX-License-Identifier: MIT
#include "analysis/indicators.h"
#include "analysis/priceformat.h"
#include "analysis/randomcandles.h"
#include "analysis/zonebuilding.h"

#include <benchmark/benchmark.h>

#include <vector>

using namespace kestrune;
using namespace kestrune::test;

namespace {

// A fixed walk; its last close is the price against which zones are built. Several lists in turn, so that the
// branch predictor cannot learn one by heart.
constexpr std::size_t listCount = 16;

std::vector<CandleList> candleLists(benchmark::State &state)
{
    std::mt19937_64 random(99);
    std::vector<CandleList> lists;
    for (std::size_t i = 0; i < listCount; ++i)
        lists.push_back(randomCandles(random, static_cast<std::size_t>(state.range(0)), 62000));
    return lists;
}

template <typename Work>
void overLists(benchmark::State &state, const std::vector<CandleList> &lists, Work work)
{
    std::size_t turn = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(work(turn));
        turn = (turn + 1) % lists.size();
    }
}

void zones(benchmark::State &state)
{
    const auto lists = candleLists(state);
    overLists(state, lists, [&](std::size_t i) { return buildZones(lists[i], lists[i].back().c); });
}

void candleLevels(benchmark::State &state)
{
    const auto lists = candleLists(state);
    overLists(state, lists, [&](std::size_t i) { return CandleLevels(lists[i]); });
}

void zonesOnTick(benchmark::State &state)
{
    const auto lists = candleLists(state);
    std::vector<CandleLevels> levels;
    for (const CandleList &candles : lists)
        levels.emplace_back(candles);
    overLists(state, lists, [&](std::size_t i) { return buildZones(levels[i], lists[i].back().c); });
}

void readingsPlain(benchmark::State &state)
{
    const auto lists = candleLists(state);
    overLists(state, lists, [&](std::size_t i) {
        std::vector<double> closes;
        for (const Candle &candle : lists[i])
            closes.push_back(candle.c);
        return IndicatorReadings{ema(closes, 50), ema(closes, 144), ema(closes, 169), ema(closes, 200),
                                 rsi(closes),     macd(closes),     atr(lists[i]),    vwap(lists[i])};
    });
}

void readings(benchmark::State &state)
{
    const auto lists = candleLists(state);
    overLists(state, lists, [&](std::size_t i) { return readIndicators(lists[i]); });
}

void priceText(benchmark::State &state)
{
    double price = 0.00123;
    for (auto _ : state) {
        benchmark::DoNotOptimize(fmtP(price));
        price = price < 1e6 ? price * 1.37 : 0.00123;
    }
}

void identity(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(randomId());
}

} // namespace

BENCHMARK(zones)->Arg(200)->Arg(320);
BENCHMARK(candleLevels)->Arg(200)->Arg(320);
BENCHMARK(zonesOnTick)->Arg(200)->Arg(320);
BENCHMARK(readingsPlain)->Arg(320);
BENCHMARK(readings)->Arg(320);
BENCHMARK(priceText);
BENCHMARK(identity);
