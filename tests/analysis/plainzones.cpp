// SPDX-License-Identifier: MIT
#include "analysis/plainzones.h"

#include "analysis/zone.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kestrune::test {

using namespace Qt::StringLiterals;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

/// What is no number sorts below everything.
double sortKey(double value)
{
    return std::isnan(value) ? -infinity : value;
}

std::vector<RawLevel> pivotLevels(const Pivot &p)
{
    return {{p.r3, u"R3"_s, u"pivot"_s}, {p.r2, u"R2"_s, u"pivot"_s}, {p.r1, u"R1"_s, u"pivot"_s},
            {p.pp, u"PP"_s, u"pivot"_s}, {p.s1, u"S1"_s, u"pivot"_s}, {p.s2, u"S2"_s, u"pivot"_s},
            {p.s3, u"S3"_s, u"pivot"_s}};
}

void appendFib(std::vector<RawLevel> &levels, const FibResult &fib)
{
    for (const auto key : fibRatioKeys) {
        const QString name = u"Fib "_s + QString::fromLatin1(key.data(), static_cast<qsizetype>(key.size()));
        levels.push_back({fib.level(key).value(), name, u"fib"_s});
    }
}

std::vector<double> thinned(std::vector<double> prices, double curPrice)
{
    std::sort(prices.begin(), prices.end());
    std::vector<double> kept;
    for (const double price : prices) {
        if (kept.empty() || price - kept.back() >= curPrice * 0.01)
            kept.push_back(price);
    }
    return kept;
}

std::vector<PlainZone> bandsOf(const std::vector<RawLevel> &levels, double halfWidth, bool withSources)
{
    std::vector<PlainZone> bands;
    for (const RawLevel &level : levels) {
        PlainZone band;
        band.id = fastUuid();
        band.lo = level.price - halfWidth;
        band.hi = level.price + halfWidth;
        band.mid = level.price;
        band.names = {level.name};
        if (withSources)
            band.sources = {level.source};
        bands.push_back(band);
    }
    std::stable_sort(bands.begin(), bands.end(),
                     [](const PlainZone &a, const PlainZone &b) { return sortKey(a.lo) > sortKey(b.lo); });
    return bands;
}

void label(PlainZone &zone, double price)
{
    zone.distPct = (zone.mid - price) / price * 100;
    zone.confirm = static_cast<int>(zone.names.size());
    zone.isGolden = std::any_of(zone.names.begin(), zone.names.end(),
                                [](const QString &name) { return name.contains(u"0.618"_s); });
    const double distance = std::abs(zone.distPct);
    if (distance < 0.15) {
        zone.type = u"current"_s;
        zone.strength = u"当前价位"_s;
    } else if (zone.mid > price) {
        zone.type = u"resistance"_s;
        zone.strength = distance > 6 ? u"强阻力"_s : distance > 3 ? u"中等阻力"_s : u"短期阻力"_s;
    } else {
        zone.type = u"support"_s;
        zone.strength = distance > 6 ? u"强支撑"_s : distance > 3 ? u"中等支撑"_s : u"短期支撑"_s;
    }
}

std::vector<PlainZone> merged(const std::vector<PlainZone> &bands, double curPrice)
{
    std::vector<PlainZone> zones;
    for (const PlainZone &z : bands) {
        const auto found = std::find_if(zones.begin(), zones.end(),
                                        [&z](const PlainZone &m) { return z.lo <= m.hi && m.lo <= z.hi; });
        if (found == zones.end()) {
            zones.push_back(z);
            continue;
        }
        found->lo = std::min(found->lo, z.lo);
        found->hi = std::max(found->hi, z.hi);
        found->mid = (found->lo + found->hi) / 2;
        found->names += z.names;
        found->sources += z.sources;
    }
    std::stable_sort(zones.begin(), zones.end(),
                     [](const PlainZone &a, const PlainZone &b) { return sortKey(a.mid) > sortKey(b.mid); });
    for (PlainZone &zone : zones)
        label(zone, curPrice);
    return zones;
}

} // namespace

Swings plainSwings(const CandleList &candles, int left, int right)
{
    Swings swings;
    const int count = static_cast<int>(candles.size());
    for (int i = left; i < count - right; ++i) {
        bool high = true;
        bool low = true;
        for (int j = i - left; j <= i + right; ++j) {
            if (j == i)
                continue;
            const auto &bar = candles[static_cast<std::size_t>(i)];
            const auto &other = candles[static_cast<std::size_t>(j)];
            high = high && bar.h > other.h;
            low = low && bar.l < other.l;
        }
        if (high)
            swings.highs.push_back(candles[static_cast<std::size_t>(i)].h);
        if (low)
            swings.lows.push_back(candles[static_cast<std::size_t>(i)].l);
    }
    return swings;
}

std::optional<double> plainPOC(const CandleList &candles, int buckets)
{
    if (candles.empty() || buckets < 1)
        return std::nullopt;
    double lo = infinity;
    double hi = -infinity;
    for (const Candle &candle : candles) {
        if (candle.l < lo)
            lo = candle.l;
        if (candle.h > hi)
            hi = candle.h;
    }
    if (!(lo < hi))
        return std::nullopt;
    const double step = (hi - lo) / buckets;
    std::vector<double> volumes(static_cast<std::size_t>(buckets));
    for (const Candle &candle : candles) {
        const double position = std::trunc(((candle.h + candle.l + candle.c) / 3 - lo) / step);
        std::size_t index = 0;
        if (position >= buckets - 1)
            index = static_cast<std::size_t>(buckets - 1);
        else if (position > 0)
            index = static_cast<std::size_t>(position);
        volumes[index] += candle.v;
    }
    std::size_t best = 0;
    double bestVolume = -1;
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        if (volumes[i] > bestVolume) {
            bestVolume = volumes[i];
            best = i;
        }
    }
    return lo + step * (static_cast<double>(best) + 0.5);
}

std::vector<PlainZone> plainBuildZones(const CandleList &candles, double curPrice, double tick)
{
    if (candles.size() < 2)
        return {};
    const Candle &completed = candles[candles.size() - 2];
    std::vector<RawLevel> levels = pivotLevels(calcPivot(completed.h, completed.l, completed.c));
    appendFib(levels, calcFibonacci(candles, 20));

    const Swings swings = plainSwings(candles, 3, 3);
    std::vector<double> highs;
    for (const double high : swings.highs) {
        if (high <= curPrice + curPrice * 0.18)
            highs.push_back(high);
    }
    std::vector<double> lows;
    for (const double low : swings.lows) {
        if (low >= curPrice - curPrice * 0.18)
            lows.push_back(low);
    }
    for (const double high : thinned(highs, curPrice))
        levels.push_back({high, u"前高"_s, u"swing"_s});
    for (const double low : thinned(lows, curPrice))
        levels.push_back({low, u"前低"_s, u"swing"_s});
    if (const auto poc = plainPOC(candles, 60))
        levels.push_back({*poc, u"量能POC"_s, u"vol"_s});
    return merged(bandsOf(levels, getZoneHW(curPrice, tick), true), curPrice);
}

std::vector<PlainZone> plainMergeLevels(const Pivot &pivots, const FibResult &fib, double curPrice,
                                        double tick)
{
    std::vector<RawLevel> levels = pivotLevels(pivots);
    appendFib(levels, fib);
    return merged(bandsOf(levels, getZoneHW(curPrice, tick), false), curPrice);
}

} // namespace kestrune::test
