// SPDX-License-Identifier: MIT
// Zones, readings, plans and alerts, and the arithmetic that they are held against.

#include "analysis/indicators.h"
#include "analysis/randomcandles.h"
#include "analysis/zonebuilding.h"
#include "state/alertrules.h"
#include "state/planselection.h"

#include <benchmark/benchmark.h>

#include <vector>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

/// The yardstick: multiply-adds of which each waits for the one before.
void arithmetic(benchmark::State &state)
{
    double value = 1;
    for (auto _ : state) {
        for (int i = 0; i < 4000; ++i)
            value = value * 0.999 + 0.001;
        benchmark::DoNotOptimize(value);
    }
}

/// Times `work(list, i)` over several lists of 320 candles in turn, so that the branch predictor cannot learn
/// one by heart.
template <typename Prepare, typename Work>
void overLists(benchmark::State &state, Prepare prepare, Work work)
{
    std::mt19937_64 random(99);
    std::vector<CandleList> lists;
    std::vector<decltype(prepare(CandleList()))> prepared;
    for (int i = 0; i < 16; ++i) {
        lists.push_back(randomCandles(random, 320, 62000));
        prepared.push_back(prepare(lists.back()));
    }
    std::size_t turn = 0;
    for (auto _ : state) {
        turn = (turn + 1) % lists.size();
        benchmark::DoNotOptimize(work(prepared[turn], lists[turn].back().c));
    }
}

CandleList asTheyAre(const CandleList &candles)
{
    return candles;
}

void zones(benchmark::State &state)
{
    overLists(state, asTheyAre,
              [](const CandleList &candles, double price) { return buildZones(candles, price); });
}

void zonesOnTick(benchmark::State &state)
{
    overLists(
        state, [](const CandleList &candles) { return CandleLevels(candles); },
        [](const CandleLevels &levels, double price) { return buildZones(levels, price); });
}

void readings(benchmark::State &state)
{
    overLists(state, asTheyAre, [](const CandleList &candles, double) { return readIndicators(candles); });
}

/// Twenty zones around a price of 62 000, and the settings with the most texts: money, margin and a warning.
void plan(benchmark::State &state)
{
    std::vector<Zone> zones;
    for (int i = 10; i >= -10; --i) {
        const double mid = 62000 * (1 + 0.004 * i);
        if (i != 0)
            zones.push_back(
                Zone(mid - 50, mid + 50, mid, {}, 0.4 * i, 1, false, i > 0 ? u"resistance"_s : u"support"_s));
    }
    std::vector<TimeframeSignal> snapshot;
    for (const auto &label : {u"1H"_s, u"4H"_s, u"日线"_s})
        snapshot.emplace_back(label, 1.0, SignalType::bull, u"站上EMA50"_s);
    PlanInputs inputs{};
    inputs.settings = {.market = MarketSegment::crypto,
                       .decimals = 0,
                       .accountSize = 50000,
                       .riskPctPerTrade = 2,
                       .leverage = 100,
                       .marginMode = MarginMode::isolated,
                       .locale = QLocale(QLocale::Chinese, QLocale::China)};
    inputs.zones = zones;
    inputs.snapshot = snapshot;
    inputs.atr = 600;
    inputs.sessionWarning = u"周末流动性低，波动容易被放大"_s;
    int step = 0;
    for (auto _ : state) {
        step = (step + 7) % 100; // the price moves a little from tick to tick
        inputs.price = 62000 + step;
        benchmark::DoNotOptimize(tradePlan(inputs));
    }
}

/// A thousand alerts of as many instruments as the argument says; the first of them is watched, none fires.
void alerts(benchmark::State &state)
{
    std::vector<PriceAlert> alerts;
    for (int i = 0; i < 1000; ++i) {
        const QString symbol = i % state.range(0) == 0 ? u"ETH"_s : u"BTC"_s;
        // Texts of their own, as decoding makes them.
        alerts.push_back({QString::number(i),
                          4000.0 + i,
                          true,
                          QString(symbol.constData(), symbol.size()),
                          QString::number(i),
                          false,
                          {}});
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(evaluate(alerts, u"ETH", 3000, 1767601800));
}

} // namespace

BENCHMARK(arithmetic);
BENCHMARK(zones);
BENCHMARK(zonesOnTick);
BENCHMARK(readings);
BENCHMARK(plan);
BENCHMARK(alerts)->Arg(1)->Arg(3);
