// SPDX-License-Identifier: MIT
#include "analysis/indicators.h"
#include "analysis/plainzones.h"
#include "analysis/zonebuilding.h"
#include "candleinput.h"
#include "fuzztarget.h"
#include "state/marketcontext.h"
#include "state/plainplans.h"
#include "state/planselection.h"
#include "state/timeframescore.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kestrune::fuzz {

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t mostCandles = 5'000;
constexpr std::size_t mostForPlain = 400; // the plain zone building is quadratic
constexpr double fine = 1e100;            // sums and products of a few such numbers stay finite

bool same(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

bool same(const std::optional<double> &a, const std::optional<double> &b)
{
    return a.has_value() == b.has_value() && (!a || same(*a, *b));
}

bool sameTexts(const TextList &a, const QStringList &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

void checkStanding(const Zone &zone, double price)
{
    const double distance = std::abs(zone.distPct);
    KESTRUNE_REQUIRE(same(zone.distPct, (zone.mid - price) / price * 100));
    const QString tier = distance > 6 ? u"强"_s : distance > 3 ? u"中等"_s : u"短期"_s;
    if (distance < 0.15)
        KESTRUNE_REQUIRE(zone.type == u"current" && zone.strength == u"当前价位");
    else if (zone.mid > price)
        KESTRUNE_REQUIRE(zone.type == u"resistance" && zone.strength == tier + u"阻力"_s);
    else
        KESTRUNE_REQUIRE(zone.type == u"support" && zone.strength == tier + u"支撑"_s);
}

void checkZone(const Zone &zone, double price)
{
    KESTRUNE_REQUIRE(zone.confirm > 0 && zone.names.size() == static_cast<std::size_t>(zone.confirm));
    KESTRUNE_REQUIRE(zone.sources.size() == zone.names.size());
    KESTRUNE_REQUIRE(zone.isGolden == std::any_of(zone.names.begin(), zone.names.end(),
                                                  [](const QString &n) { return n.contains(u"0.618"); }));
    if (std::abs(zone.lo) < fine && std::abs(zone.hi) < fine)
        KESTRUNE_REQUIRE(zone.lo <= zone.mid && zone.mid <= zone.hi);
    checkStanding(zone, price);
}

bool equal(const Zone &a, const Zone &b)
{
    return same(a.lo, b.lo) && same(a.hi, b.hi) && same(a.mid, b.mid) && a.names == b.names &&
           a.sources == b.sources && a.type == b.type && a.strength == b.strength;
}

bool equalsPlain(const Zone &a, const test::PlainZone &b)
{
    return same(a.lo, b.lo) && same(a.hi, b.hi) && same(a.mid, b.mid) && sameTexts(a.names, b.names) &&
           sameTexts(a.sources, b.sources) && a.type == b.type && a.strength == b.strength;
}

std::vector<Zone> checkedZones(const CandleList &candles, double price, double tick)
{
    auto zones = buildZones(candles, price, tick);
    KESTRUNE_REQUIRE(zones.empty() == (candles.size() < 2));
    for (const Zone &zone : zones)
        checkZone(zone, price);
    KESTRUNE_REQUIRE(std::ranges::is_sorted(
        zones, [](double a, double b) { return a > b; },
        [](const Zone &zone) { return std::isnan(zone.mid) ? -INFINITY : zone.mid; }));
    const auto again = buildZones(CandleLevels(candles), price, tick);
    KESTRUNE_REQUIRE(std::equal(zones.begin(), zones.end(), again.begin(), again.end(), equal));
    if (candles.size() <= mostForPlain) {
        const auto plain = test::plainBuildZones(candles, price, tick);
        KESTRUNE_REQUIRE(std::equal(zones.begin(), zones.end(), plain.begin(), plain.end(), equalsPlain));
    }
    return zones;
}

void checkReadings(const CandleList &candles, const IndicatorReadings &readings)
{
    std::vector<double> closes;
    for (const Candle &candle : candles)
        closes.push_back(candle.c);
    KESTRUNE_REQUIRE(same(readings.ema50, ema(closes, 50)) && same(readings.ema144, ema(closes, 144)));
    KESTRUNE_REQUIRE(same(readings.ema169, ema(closes, 169)) && same(readings.ema200, ema(closes, 200)));
    KESTRUNE_REQUIRE(same(readings.rsi14, rsi(closes)) && same(readings.atr14, atr(candles)));
    KESTRUNE_REQUIRE(same(readings.vwap, vwap(candles)));
    const auto histogram = macd(closes);
    KESTRUNE_REQUIRE(readings.macd.has_value() == histogram.has_value());
    KESTRUNE_REQUIRE(!histogram || same(readings.macd->hist, histogram->hist));
    const bool tame = std::ranges::all_of(closes, [](double c) { return std::abs(c) < fine; });
    KESTRUNE_REQUIRE(!tame || !readings.rsi14 || (*readings.rsi14 >= 0 && *readings.rsi14 <= 100));
}

TimeframeSignal checkedScore(const CandleList &candles, double price)
{
    TimeframeSignal signal = scoreTimeframe(u"4H"_s, candles, price);
    KESTRUNE_REQUIRE(signal.score >= -5 && signal.score <= 5 && std::trunc(signal.score) == signal.score);
    KESTRUNE_REQUIRE(signal.signal == signalTypeForScore(signal.score) && !signal.reason.isEmpty());
    KESTRUNE_REQUIRE((candles.size() < 50) == (signal.reason == u"数据不足"));
    return signal;
}

void zones(const QByteArray &bytes)
{
    Input input(bytes);
    const double price = input.number();
    const double tick = (input.byte() & 1) != 0 ? 0.01 : 0;
    const CandleList candles = takeCandles(input, price, mostCandles);
    static_cast<void>(checkedZones(candles, price, tick));
    const IndicatorReadings readings = readIndicators(candles);
    checkReadings(candles, readings);
    static_cast<void>(checkedScore(candles, price));
    KESTRUNE_REQUIRE(!atrReadout(readings.atr14, price, 2).isEmpty());
    KESTRUNE_REQUIRE(!rsiVerdict(readings.rsi14).text.isEmpty());
}

PlanSettings takeSettings(Input &input)
{
    PlanSettings settings;
    const std::uint8_t choices = input.byte();
    settings.market = std::array{MarketSegment::crypto, MarketSegment::cn, MarketSegment::hk,
                                 MarketSegment::crypto}[choices & 3U];
    settings.marginMode = (choices & 4) != 0 ? MarginMode::cross : MarginMode::isolated;
    settings.decimals = (choices >> 3U) & 7U;
    settings.accountSize = input.numberNear(10'000);
    settings.riskPctPerTrade = input.numberNear(2);
    settings.leverage = (choices & 64) != 0 ? input.numberNear(20) : 1;
    settings.locale = QLocale::c();
    return settings;
}

bool samePlan(const std::optional<TradePlan> &a, const std::optional<TradePlan> &b)
{
    if (!a || !b)
        return !a && !b;
    return a->dir == b->dir && a->grade == b->grade && a->trend == b->trend && same(a->entry, b->entry) &&
           same(a->tp, b->tp) && same(a->sl, b->sl) && same(a->slPct, b->slPct) && same(a->netRR, b->netRR) &&
           a->headline == b->headline && a->detail == b->detail && a->tip == b->tip &&
           a->positionText == b->positionText;
}

void checkPlan(const PlanInputs &inputs, const std::optional<TradePlan> &plan)
{
    if (!plan)
        return;
    KESTRUNE_REQUIRE(plan->dir == TradeDirection::long_ || inputs.settings.market == MarketSegment::crypto);
    KESTRUNE_REQUIRE(std::isfinite(plan->entry) && plan->entry > 0);
    KESTRUNE_REQUIRE(!plan->tp || std::isnan(plan->slPct) || plan->slPct >= 0.05);
    if (plan->tp)
        KESTRUNE_REQUIRE(plan->dir == TradeDirection::long_ ? *plan->tp > plan->entry
                                                            : *plan->tp < plan->entry);
    KESTRUNE_REQUIRE(!plan->headline.isEmpty() && !plan->detail.isEmpty() && !plan->tip.isEmpty());
}

void plans(const QByteArray &bytes)
{
    Input input(bytes);
    const double price = input.number();
    PlanInputs inputs;
    inputs.settings = takeSettings(input);
    const std::uint8_t choices = input.byte();
    if ((choices & 1) != 0)
        inputs.sessionWarning = u"warned"_s;
    if ((choices & 2) != 0)
        inputs.price = price;
    if ((choices & 4) != 0)
        inputs.atr = input.numberNear(price / 50);
    const double entry = input.numberNear(price);
    const CandleList candles = takeCandles(input, price, mostForPlain);
    const auto built = buildZones(candles, price, 0);
    inputs.zones = built;
    const std::vector<TimeframeSignal> snapshot(choices >> 6U, checkedScore(candles, price));
    inputs.snapshot = snapshot;

    const auto live = tradePlan(inputs);
    checkPlan(inputs, live);
    const bool usable = std::isfinite(price); // the plain selection knows no infinite price
    KESTRUNE_REQUIRE(!usable || samePlan(live, test::plainTradePlan(inputs)));
    for (const TradeDirection dir : {TradeDirection::long_, TradeDirection::short_}) {
        const auto plan = planForEntry(inputs, entry, dir);
        checkPlan(inputs, plan);
        KESTRUNE_REQUIRE(!std::isfinite(entry) ||
                         samePlan(plan, test::plainPlanForEntry(inputs, entry, dir)));
    }
}

constexpr std::array<Target, 2> targets{{{"zones", zones}, {"plans", plans}}};

} // namespace

std::span<const Target> analysisTargets()
{
    return targets;
}

} // namespace kestrune::fuzz
