// SPDX-License-Identifier: MIT
#include "analysis/levels.h"

#include "analysis/levelkernels.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr std::array<double, 5> fibRatios{0.236, 0.382, 0.5, 0.618, 0.786};

} // namespace

std::optional<double> FibResult::level(std::string_view key) const
{
    const auto at = std::find(fibRatioKeys.begin(), fibRatioKeys.end(), key);
    if (at == fibRatioKeys.end())
        return std::nullopt;
    return levels[static_cast<std::size_t>(std::distance(fibRatioKeys.begin(), at))];
}

Pivot calcPivot(double h, double l, double c)
{
    const double pp = (h + l + c) / 3;
    return {.r3 = h + 2 * (pp - l),
            .r2 = pp + (h - l),
            .r1 = 2 * pp - l,
            .pp = pp,
            .s1 = 2 * pp - h,
            .s2 = pp - (h - l),
            .s3 = l - 2 * (h - pp)};
}

FibResult calcFibonacci(std::span<const Candle> candles, int period)
{
    Q_ASSERT_X(period >= 0, "calcFibonacci", "the period is negative");
    const auto wanted = static_cast<std::size_t>(std::max(period, 0));
    FibResult result;
    result.swingHigh = -std::numeric_limits<double>::infinity();
    result.swingLow = std::numeric_limits<double>::infinity();
    for (const Candle &candle : candles.last(std::min(wanted, candles.size()))) {
        result.swingHigh = candle.h > result.swingHigh ? candle.h : result.swingHigh;
        result.swingLow = candle.l < result.swingLow ? candle.l : result.swingLow;
    }
    const double range = result.swingHigh - result.swingLow;
    const double mid = (result.swingHigh + result.swingLow) / 2;
    const double last = candles.empty() ? mid : candles.back().c;
    const bool up = mid <= last;
    result.trend = up ? u"up"_s : u"down"_s;
    for (std::size_t i = 0; i < fibRatios.size(); ++i)
        result.levels[i] =
            up ? result.swingHigh - fibRatios[i] * range : result.swingLow + fibRatios[i] * range;
    return result;
}

Swings detectSwings(std::span<const Candle> candles, int left, int right)
{
    // A negative reach looks at no bar on that side.
    const auto before = static_cast<std::size_t>(std::max(left, 0));
    const auto after = static_cast<std::size_t>(std::max(right, 0));
    if (before + after >= candles.size())
        return {};
    if (before == swingReach && after == swingReach) {
        const CandleColumns columns(candles);
        SwingPrices highs;
        SwingPrices lows;
        collectSwingHighs(columns, highs);
        collectSwingLows(columns, lows);
        return {{highs.begin(), highs.end()}, {lows.begin(), lows.end()}};
    }
    Swings swings;
    for (std::size_t i = before; i < candles.size() - after; ++i) {
        const auto others = [&, i](auto passes) {
            for (std::size_t j = i - before; j <= i + after; ++j) {
                if (j != i && !passes(candles[j]))
                    return false;
            }
            return true;
        };
        const Candle &bar = candles[i];
        if (others([&bar](const Candle &other) { return bar.h > other.h; }))
            swings.highs.push_back(bar.h);
        if (others([&bar](const Candle &other) { return bar.l < other.l; }))
            swings.lows.push_back(bar.l);
    }
    return swings;
}

std::optional<double> volumePOC(std::span<const Candle> candles, int buckets)
{
    return pointOfControl(CandleColumns(candles), buckets);
}

double getZoneHW(double price, double tick)
{
    if (!(price > 0))
        return tick;
    if (tick > 0)
        return std::max(price * 0.0025, tick);
    // deliberate: the steps are uneven (50 from 10000 on, but only 3 from 1000 on)
    if (price >= 10000)
        return 50;
    if (price >= 1000)
        return 3;
    if (price >= 100)
        return 1;
    if (price >= 10)
        return 0.3;
    if (price >= 1)
        return 0.03;
    return price >= 0.01 ? 0.003 : 0.0001;
}

} // namespace kestrune
