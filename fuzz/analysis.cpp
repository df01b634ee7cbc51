// SPDX-License-Identifier: MIT
#include "analysis/indicators.h"
#include "analysis/zonebuilding.h"
#include "fuzztarget.h"
#include "state/marketcontext.h"
#include "state/planselection.h"
#include "state/timeframescore.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace kestrune::fuzz {

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t mostCandles = 5'000;
constexpr double tameNumber = 1e100; // sums and products of a few such numbers stay finite

/// Takes values from the front of an input; zeros once it is used up.
class Input
{
public:
    explicit Input(QByteArrayView bytes) : m_rest(bytes) {}

    std::uint8_t byte()
    {
        const QByteArrayView taken = m_rest.first(std::min<qsizetype>(1, m_rest.size()));
        m_rest = m_rest.sliced(taken.size());
        return taken.isEmpty() ? 0 : static_cast<std::uint8_t>(taken.front());
    }
    /// Any double at all: eight bytes as they stand.
    double number()
    {
        std::array<std::uint8_t, sizeof(double)> bytes{};
        std::ranges::generate(bytes, [this] { return byte(); });
        double number = 0;
        std::memcpy(&number, bytes.data(), sizeof number);
        return number;
    }
    /// One byte: mostly a price near `base`, but also zeros, infinities, NaN, denormals and the largest
    /// numbers.
    double numberNear(double base)
    {
        using Limits = std::numeric_limits<double>;
        constexpr std::array special{0.0,           -0.0,           Limits::infinity(), -Limits::infinity(),
                                     Limits::max(), -Limits::max(), Limits::min(),      Limits::denorm_min(),
                                     1e-300,        1e300,          Limits::quiet_NaN()};
        const int code = byte();
        const auto fromTop = static_cast<std::size_t>(255 - code);
        return fromTop < special.size() ? special[fromTop] : base * (1 + (code - 128) / 512.0);
    }
    /// All the rest as candles of arbitrary values or of values near `base`, repeated.
    CandleList candles(double base)
    {
        const bool arbitrary = (byte() & 1) != 0;
        const std::size_t repeats = std::size_t{1} << (byte() % 16);
        const auto value = [&](double near) { return arbitrary ? number() : numberNear(near); };
        CandleList once;
        while (!m_rest.isEmpty() && once.size() < mostCandles) {
            const double open = value(base), high = value(base), low = value(base), close = value(base);
            once.push_back({static_cast<qint64>(once.size()), open, high, low, close, value(100)});
        }
        CandleList all;
        for (std::size_t i = 0; i < repeats && all.size() + once.size() <= mostCandles; ++i)
            all.insert(all.end(), once.begin(), once.end());
        return all;
    }

private:
    QByteArrayView m_rest;
};

void checkZones(const std::vector<Zone> &zones, double price)
{
    for (const Zone &zone : zones) {
        KESTRUNE_REQUIRE(zone.confirm > 0 && zone.names.size() == zone.confirm);
        KESTRUNE_REQUIRE(zone.sources.size() == zone.names.size());
        KESTRUNE_REQUIRE(zone.isGolden ==
                         std::any_of(zone.names.begin(), zone.names.end(),
                                     [](const QString &name) { return name.contains(u"0.618"); }));
        const bool tame = std::abs(zone.lo) < tameNumber && std::abs(zone.hi) < tameNumber;
        KESTRUNE_REQUIRE(!tame || (zone.lo <= zone.mid && zone.mid <= zone.hi));
        const bool near = std::abs(zone.distPct) < 0.15;
        const bool above = zone.mid > price;
        KESTRUNE_REQUIRE(zone.type == (near ? u"current" : above ? u"resistance" : u"support"));
        KESTRUNE_REQUIRE(zone.strength.endsWith(near ? u"当前价位" : above ? u"阻力" : u"支撑"));
    }
    KESTRUNE_REQUIRE(std::ranges::is_sorted(zones, std::ranges::greater(), [](const Zone &zone) {
        return std::isnan(zone.mid) ? -INFINITY : zone.mid;
    }));
}

void checkPlan(const PlanInputs &inputs, const std::optional<TradePlan> &plan)
{
    if (!plan)
        return;
    const bool buying = plan->dir == TradeDirection::long_;
    KESTRUNE_REQUIRE(buying || inputs.settings.market == MarketSegment::crypto);
    KESTRUNE_REQUIRE(std::isfinite(plan->entry) && plan->entry > 0);
    KESTRUNE_REQUIRE(!plan->tp || (buying ? *plan->tp > plan->entry : *plan->tp < plan->entry));
    KESTRUNE_REQUIRE(!plan->tp || std::isnan(plan->slPct) || plan->slPct >= 0.05);
    KESTRUNE_REQUIRE(!plan->headline.isEmpty() && !plan->detail.isEmpty() && !plan->tip.isEmpty());
}

const Registration analysis("analysis", [](const QByteArray &bytes) {
    Input input(bytes);
    const double price = input.number();
    const std::uint8_t options = input.byte();
    const std::uint8_t choices = input.byte();
    PlanInputs inputs;
    inputs.settings = {.market = allMarketSegments[(choices & 3U) % 3],
                       .decimals = (choices >> 3U) & 7,
                       .accountSize = input.numberNear(10'000),
                       .riskPctPerTrade = input.numberNear(2),
                       .leverage = input.numberNear(20),
                       .marginMode = (choices & 4) != 0 ? MarginMode::cross : MarginMode::isolated,
                       .locale = QLocale::c()};
    if ((options & 1) != 0)
        inputs.sessionWarning = u"warned"_s;
    if ((options & 2) != 0)
        inputs.price = price;
    if ((options & 4) != 0)
        inputs.atr = input.numberNear(price / 50);
    const double entry = input.numberNear(price);
    const CandleList candles = input.candles(price);

    const std::vector<Zone> zones = buildZones(candles, price, (options & 8) != 0 ? 0.01 : 0);
    KESTRUNE_REQUIRE(zones.empty() == (candles.size() < 2));
    checkZones(zones, price);

    const IndicatorReadings readings = readIndicators(candles);
    const bool tame = std::ranges::all_of(candles, [](auto &c) { return std::abs(c.c) < tameNumber; });
    KESTRUNE_REQUIRE(!tame || !readings.rsi14 || (*readings.rsi14 >= 0 && *readings.rsi14 <= 100));
    KESTRUNE_REQUIRE(!atrReadout(readings.atr14, price, 2).isEmpty());
    KESTRUNE_REQUIRE(!rsiVerdict(readings.rsi14).text.isEmpty());
    const TimeframeSignal signal = scoreTimeframe(u"4H"_s, candles, price);
    KESTRUNE_REQUIRE(signal.score >= -5 && signal.score <= 5 && std::trunc(signal.score) == signal.score);
    KESTRUNE_REQUIRE(!signal.reason.isEmpty() && (candles.size() < 50) == (signal.reason == u"数据不足"));

    const std::vector<TimeframeSignal> snapshot(options >> 6U, signal);
    inputs.zones = zones;
    inputs.snapshot = snapshot;
    checkPlan(inputs, tradePlan(inputs));
    for (const TradeDirection dir : {TradeDirection::long_, TradeDirection::short_})
        checkPlan(inputs, planForEntry(inputs, entry, dir));
});

} // namespace

} // namespace kestrune::fuzz
