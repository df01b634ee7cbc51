// SPDX-License-Identifier: MIT
#include "state/alertrules.h"
#include "state/plainplans.h"
#include "state/planselection.h"
#include "state/positionsizing.h"

#include <benchmark/benchmark.h>

#include <vector>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

/// Twenty zones around a price of 62 000, the list as zone building gives it: highest first.
struct Market
{
    std::vector<Zone> zones;
    std::vector<TimeframeSignal> snapshot;
    PlanInputs inputs{};

    Market()
    {
        for (int i = 10; i >= -10; --i) {
            if (i == 0)
                continue;
            const double mid = 62000 * (1 + 0.004 * i);
            zones.emplace_back(mid - 50, mid + 50, mid, QStringList{}, 0.4 * i, 1, false,
                               i > 0 ? u"resistance"_s : u"support"_s);
        }
        for (const auto &label : {u"1H"_s, u"4H"_s, u"日线"_s})
            snapshot.emplace_back(label, 1.0, SignalType::bull, u"站上EMA50"_s);
        // The settings with the most texts: money, margin and a warning.
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
    }

    /// The price moves a little from tick to tick, as it does in life.
    void tick()
    {
        step = (step + 7) % 100;
        inputs.price = 62000 + step;
    }

    int step = 0;
};

void plan(benchmark::State &state)
{
    Market market;
    for (auto _ : state) {
        market.tick();
        benchmark::DoNotOptimize(tradePlan(market.inputs));
    }
}

void planPlain(benchmark::State &state)
{
    Market market;
    for (auto _ : state) {
        market.tick();
        benchmark::DoNotOptimize(plainTradePlan(market.inputs));
    }
}

void planForChosenEntry(benchmark::State &state)
{
    Market market;
    for (auto _ : state) {
        market.tick();
        benchmark::DoNotOptimize(planForEntry(market.inputs, market.zones[14].mid, TradeDirection::long_));
    }
}

void amountOfMoney(benchmark::State &state)
{
    const QLocale locale(QLocale::Chinese, QLocale::China);
    double amount = 12345.6;
    for (auto _ : state) {
        amount += 1;
        benchmark::DoNotOptimize(money(amount, locale));
    }
}

/// Alerts of three instruments; every third one is of the watched instrument.
std::vector<PriceAlert> manyAlerts(std::size_t count)
{
    const QString symbols[]{u"ETH"_s, u"BTC"_s, u"sh600519"_s};
    std::vector<PriceAlert> alerts;
    for (std::size_t i = 0; i < count; ++i) {
        // Texts of their own, as decoding makes them.
        const QString symbol(symbols[i % 3].constData(), symbols[i % 3].size());
        alerts.push_back({QString::number(i), 4000 + double(i), true, symbol, QString::number(i), false, {}});
    }
    return alerts;
}

void alertsUnchanged(benchmark::State &state)
{
    const auto alerts = manyAlerts(static_cast<std::size_t>(state.range(0)));
    double price = 3000;
    for (auto _ : state) {
        price = price == 3000 ? 3001 : 3000;
        benchmark::DoNotOptimize(evaluate(alerts, u"ETH", price, 1767601800));
    }
}

/// Every alert is of the watched instrument, which is the most that a pass can have to look at.
void alertsUnchangedOneInstrument(benchmark::State &state)
{
    auto alerts = manyAlerts(static_cast<std::size_t>(state.range(0)));
    for (PriceAlert &alert : alerts)
        alert.symbol = QString(u"ETH"_s.constData(), 3);
    for (auto _ : state)
        benchmark::DoNotOptimize(evaluate(alerts, u"ETH", 3000, 1767601800));
}

void alertsOneFires(benchmark::State &state)
{
    const auto alerts = manyAlerts(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(evaluate(alerts, u"ETH", 4000, 1767601800));
}

} // namespace

BENCHMARK(plan)->Name("tradePlan, 20 zones");
BENCHMARK(planPlain)->Name("tradePlan, 20 zones, plain");
BENCHMARK(planForChosenEntry)->Name("planForEntry, 20 zones");
BENCHMARK(amountOfMoney)->Name("money");
BENCHMARK(alertsUnchanged)->Name("evaluateAlerts, unchanged")->Arg(1000);
BENCHMARK(alertsUnchangedOneInstrument)->Name("evaluateAlerts, unchanged, one instrument")->Arg(1000);
BENCHMARK(alertsOneFires)->Name("evaluateAlerts, one fires")->Arg(1000);
