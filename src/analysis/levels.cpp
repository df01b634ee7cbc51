// SPDX-License-Identifier: MIT
#include "analysis/levels.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr std::array<double, 5> fibRatios{0.236, 0.382, 0.5, 0.618, 0.786};

struct PriceRange
{
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();
};

/// From the lowest low to the highest high; what is no number is passed over.
PriceRange rangeOf(std::span<const Candle> candles)
{
    PriceRange range;
    for (const Candle &candle : candles) {
        range.low = candle.l < range.low ? candle.l : range.low;
        range.high = candle.h > range.high ? candle.h : range.high;
    }
    return range;
}

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
    const auto [low, high] = rangeOf(candles.last(std::min(wanted, candles.size())));
    const double range = high - low;
    const double mid = (high + low) / 2;
    const double last = candles.empty() ? mid : candles.back().c;
    const bool up = mid <= last;
    FibResult result{.trend = up ? u"up"_s : u"down"_s, .swingHigh = high, .swingLow = low};
    for (std::size_t i = 0; i < fibRatios.size(); ++i)
        result.levels[i] = up ? high - fibRatios[i] * range : low + fibRatios[i] * range;
    return result;
}

Swings detectSwings(std::span<const Candle> candles, int left, int right)
{
    // A negative reach looks at no bar on that side.
    const auto before = static_cast<std::size_t>(std::max(left, 0));
    const auto after = static_cast<std::size_t>(std::max(right, 0));
    if (before + after >= candles.size())
        return {};
    Swings swings;
    for (std::size_t i = before; i < candles.size() - after; ++i) {
        const Candle &bar = candles[i];
        bool high = true;
        bool low = true;
        for (std::size_t j = i - before; j <= i + after; ++j) {
            if (j == i)
                continue;
            high = high && bar.h > candles[j].h;
            low = low && bar.l < candles[j].l;
        }
        if (high)
            swings.highs.push_back(bar.h);
        if (low)
            swings.lows.push_back(bar.l);
    }
    return swings;
}

std::optional<double> volumePOC(std::span<const Candle> candles, int buckets)
{
    const auto [low, high] = rangeOf(candles);
    if (buckets < 1 || !(low < high))
        return std::nullopt;
    const double step = (high - low) / buckets;
    const double top = buckets - 1;
    std::map<int, double> volumes; // only buckets that a candle fell into: there may be very many
    for (const Candle &candle : candles) {
        // Clamped before the conversion: out of int's range it would be undefined. NaN goes to the bottom.
        const double position = ((candle.h + candle.l + candle.c) / 3 - low) / step;
        const double raised = position > 0 ? position : 0;
        volumes[static_cast<int>(raised < top ? raised : top)] += candle.v;
    }
    int firstEmpty = 0; // of the others only this one can win: where no bucket has any volume
    while (volumes.contains(firstEmpty))
        ++firstEmpty;
    if (firstEmpty < buckets)
        volumes[firstEmpty] = 0;

    int largest = 0;
    double most = -1; // deliberate: a bucket below that, or one that is no number, never wins
    for (const auto &[index, volume] : volumes) {
        if (volume > most) {
            most = volume;
            largest = index;
        }
    }
    return low + step * (largest + 0.5);
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
