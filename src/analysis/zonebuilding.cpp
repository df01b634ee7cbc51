// SPDX-License-Identifier: MIT
#include "analysis/zonebuilding.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

std::vector<RawLevel> levelsOf(const Pivot &pivot, const FibResult &fib)
{
    std::vector<RawLevel> levels{{pivot.r3, u"R3"_s, u"pivot"_s}, {pivot.r2, u"R2"_s, u"pivot"_s},
                                 {pivot.r1, u"R1"_s, u"pivot"_s}, {pivot.pp, u"PP"_s, u"pivot"_s},
                                 {pivot.s1, u"S1"_s, u"pivot"_s}, {pivot.s2, u"S2"_s, u"pivot"_s},
                                 {pivot.s3, u"S3"_s, u"pivot"_s}};
    for (std::size_t i = 0; i < fibRatioKeys.size(); ++i)
        levels.push_back({fib.levels[i], u"Fib "_s + QLatin1StringView(fibRatioKeys[i]), u"fib"_s});
    return levels;
}

/// Adds ascending swing prices, thinned: each at least one percent of the price above the one added before
/// it.
void appendThinned(std::vector<RawLevel> &levels, std::span<const double> prices, const QString &name,
                   double curPrice)
{
    std::optional<double> kept;
    for (const double price : prices) {
        if (!kept || price - *kept >= curPrice * 0.01) {
            kept = price;
            levels.push_back({price, name, u"swing"_s});
        }
    }
}

/// What is no number sorts below everything.
double sortKey(double value)
{
    return std::isnan(value) ? -std::numeric_limits<double>::infinity() : value;
}

/// Widens the levels to bands and, from the highest lower edge down, joins each to the first zone that it
/// overlaps, touching edges included. Equal edges keep the order of the list.
std::vector<Zone> merged(std::vector<RawLevel> levels, double halfWidth)
{
    std::ranges::stable_sort(levels, std::greater(),
                             [halfWidth](const RawLevel &level) { return sortKey(level.price - halfWidth); });
    std::vector<Zone> zones;
    for (const RawLevel &level : levels) {
        const double lo = level.price - halfWidth;
        const double hi = level.price + halfWidth;
        // Not only the latest zone: where the width is near the spacing of doubles, a band can be rounded to
        // reach an earlier one.
        auto zone = std::ranges::find_if(
            zones, [lo, hi](const Zone &other) { return lo <= other.hi && other.lo <= hi; });
        if (zone == zones.end()) {
            zone = zones.insert(zone, Zone(lo, hi, level.price, {}));
        } else {
            zone->lo = std::min(zone->lo, lo);
            zone->hi = std::max(zone->hi, hi);
            zone->mid = (zone->lo + zone->hi) / 2;
        }
        zone->names += level.name;
        zone->sources += level.source;
        zone->confirm += 1;
        zone->isGolden = zone->isGolden || level.name.contains(u"0.618"_s);
    }
    return zones;
}

/// Side and distance tier of a zone. The strength is deliberately a tier of distance, not of confirmations.
void label(Zone &zone, double price)
{
    zone.distPct = (zone.mid - price) / price * 100;
    const double distance = std::abs(zone.distPct);
    if (distance < 0.15) {
        zone.type = u"current"_s;
        zone.strength = u"当前价位"_s;
        return;
    }
    const bool above = zone.mid > price;
    zone.type = above ? u"resistance"_s : u"support"_s;
    zone.strength = (distance > 6   ? u"强"_s
                     : distance > 3 ? u"中等"_s
                                    : u"短期"_s) +
                    (above ? u"阻力"_s : u"支撑"_s);
}

std::vector<Zone> zonesOf(std::vector<RawLevel> levels, double curPrice, double tick)
{
    std::vector<Zone> zones = merged(std::move(levels), getZoneHW(curPrice, tick));
    std::ranges::stable_sort(zones, std::greater(), [](const Zone &zone) { return sortKey(zone.mid); });
    for (Zone &zone : zones)
        label(zone, curPrice);
    return zones;
}

} // namespace

CandleLevels::CandleLevels(std::span<const Candle> candles)
{
    if (candles.size() < 2)
        return;
    sufficient = true;
    const Candle &completed = candles[candles.size() - 2]; // the last one may still be forming
    pivot = calcPivot(completed.h, completed.l, completed.c);
    fib = calcFibonacci(candles);
    swings = detectSwings(candles);
    std::ranges::sort(swings.highs);
    std::ranges::sort(swings.lows);
    poc = volumePOC(candles);
}

std::vector<Zone> buildZones(std::span<const Candle> candles, double curPrice, double tick)
{
    return buildZones(CandleLevels(candles), curPrice, tick);
}

std::vector<Zone> buildZones(const CandleLevels &levels, double curPrice, double tick)
{
    if (!levels.sufficient)
        return {};
    std::vector<RawLevel> candidates = levelsOf(levels.pivot, levels.fib);
    // deliberate: old highs far below the price stay, and so do old lows far above it
    const double ceiling = curPrice + curPrice * 0.18;
    const auto &highs = levels.swings.highs;
    const auto highsEnd = std::ranges::find_if_not(highs, [ceiling](double high) { return high <= ceiling; });
    appendThinned(candidates, {highs.begin(), highsEnd}, u"前高"_s, curPrice);
    const double floor = curPrice - curPrice * 0.18;
    const auto &lows = levels.swings.lows;
    const auto lowsBegin = std::ranges::find_if(lows, [floor](double low) { return low >= floor; });
    appendThinned(candidates, {lowsBegin, lows.end()}, u"前低"_s, curPrice);
    if (levels.poc)
        candidates.push_back({*levels.poc, u"量能POC"_s, u"vol"_s});
    return zonesOf(std::move(candidates), curPrice, tick);
}

std::vector<Zone> mergeLevels(const Pivot &pivots, const FibResult &fib, double curPrice, double tick)
{
    std::vector<Zone> zones = zonesOf(levelsOf(pivots, fib), curPrice, tick);
    for (Zone &zone : zones)
        zone.sources.clear();
    return zones;
}

} // namespace kestrune
