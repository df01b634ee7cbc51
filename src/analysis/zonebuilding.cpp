// SPDX-License-Identifier: MIT
#include "analysis/zonebuilding.h"

#include "analysis/levelkernels.h"

#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

/// Kinds of candidate levels, in the order in which candidates are listed.
enum LabelIndex : int {
    pivotR3,
    fibFirst = 7,
    fibGolden = 10,
    swingHigh = 12,
    swingLow,
    volumePoc,
    labelCount
};

// Literal texts: copying them allocates nothing and counts nothing.
const QString &labelText(int label)
{
    static const std::array<QString, labelCount> texts{
        u"R3"_s,        u"R2"_s,        u"R1"_s,        u"PP"_s,        u"S1"_s,
        u"S2"_s,        u"S3"_s,        u"Fib 0.236"_s, u"Fib 0.382"_s, u"Fib 0.500"_s,
        u"Fib 0.618"_s, u"Fib 0.786"_s, u"前高"_s,      u"前低"_s,      u"量能POC"_s};
    return texts[static_cast<std::size_t>(label)];
}

const QString &sourceTag(int label)
{
    static const std::array<QString, 4> tags{u"pivot"_s, u"fib"_s, u"swing"_s, u"vol"_s};
    if (label < fibFirst)
        return tags[0];
    if (label < swingHigh)
        return tags[1];
    return label < volumePoc ? tags[2] : tags[3];
}

struct Standing
{
    QString type;
    QString strength;
};

/// Side and distance tier of a zone. The strength is deliberately a tier of distance, not of confirmations.
const Standing &standingOf(double mid, double price, double distPct)
{
    static const struct
    {
        Standing current{u"current"_s, u"当前价位"_s};
        std::array<Standing, 3> above{{{u"resistance"_s, u"短期阻力"_s},
                                       {u"resistance"_s, u"中等阻力"_s},
                                       {u"resistance"_s, u"强阻力"_s}}};
        std::array<Standing, 3> below{
            {{u"support"_s, u"短期支撑"_s}, {u"support"_s, u"中等支撑"_s}, {u"support"_s, u"强支撑"_s}}};
    } standings;
    const double distance = std::abs(distPct);
    if (distance < 0.15)
        return standings.current;
    const std::size_t tier = distance > 6 ? 2 : distance > 3 ? 1 : 0;
    return mid > price ? standings.above[tier] : standings.below[tier];
}

/// A level widened to a band.
struct Band
{
    double lo;
    double hi;
    double mid;
    int label;
    int zone; ///< the merged zone that took it
};

/// A zone while bands are still being merged into it.
struct Merged
{
    double lo;
    double hi;
    double mid;
    int count; ///< bands taken
    bool golden;
    int place; ///< of its first (later: next) label in the text block
};

// Dozens of either at a few hundred candles; more go to the heap.
using Bands = QVarLengthArray<Band, 96>;
using MergedZones = QVarLengthArray<Merged, 96>;
using Indices = QVarLengthArray<int, 96>;

class BandList
{
public:
    explicit BandList(double halfWidth) : m_halfWidth(halfWidth) {}

    void append(double price, int label)
    {
        m_bands.append({price - m_halfWidth, price + m_halfWidth, price, label, 0});
    }

    void appendPivots(const Pivot &pivot)
    {
        int label = pivotR3;
        for (const double price : {pivot.r3, pivot.r2, pivot.r1, pivot.pp, pivot.s1, pivot.s2, pivot.s3})
            append(price, label++);
    }

    void appendFibonacci(const FibResult &fib)
    {
        int label = fibFirst;
        for (const double price : fib.levels)
            append(price, label++);
    }

    /// Ascending swing prices, thinned: each at least one percent of the price above the one kept before it.
    void appendThinned(std::span<const double> prices, int label, double curPrice)
    {
        if (prices.empty())
            return;
        const double gap = curPrice * 0.01;
        double kept = prices.front();
        append(kept, label);
        for (const double price : prices.subspan(1)) {
            if (price - kept >= gap) {
                kept = price;
                append(kept, label);
            }
        }
    }

    [[nodiscard]] Bands &bands() { return m_bands; }

private:
    double m_halfWidth;
    Bands m_bands;
};

/// What is no number sorts below everything.
double sortKey(double value)
{
    return std::isnan(value) ? -std::numeric_limits<double>::infinity() : value;
}

/// Indices of the bands from the highest lower edge down, equals in list order.
Indices orderByLowerEdge(const Bands &bands)
{
    constexpr qsizetype few = 96;
    QVarLengthArray<double, few> keys(bands.size());
    std::transform(bands.begin(), bands.end(), keys.begin(),
                   [](const Band &band) { return sortKey(band.lo); });
    Indices order(bands.size());
    if (bands.size() > few) {
        std::iota(order.begin(), order.end(), 0);
        std::sort(order.begin(), order.end(),
                  [&keys](int a, int b) { return keys[a] > keys[b] || (keys[a] == keys[b] && a < b); });
        return order;
    }
    // Counts how many come before each: more comparisons than a sort needs, but not one of them is a branch.
    std::array<qint64, few> before{};
    for (qsizetype i = 0; i < bands.size(); ++i) {
        const double key = keys[i];
        qint64 earlier = 0;
        for (qsizetype j = 0; j < i; ++j) {
            const qint64 first = keys[j] >= key ? 1 : 0;
            earlier += first;
            before[static_cast<std::size_t>(j)] += 1 - first;
        }
        before[static_cast<std::size_t>(i)] = earlier;
    }
    for (int i = 0; i < bands.size(); ++i)
        order[before[static_cast<std::size_t>(i)]] = i;
    return order;
}

/// Index of the first zone that overlaps the band, touching edges included; -1 for none.
int firstOverlap(const MergedZones &zones, const Band &band, double lowestBeforeLast)
{
    const auto overlaps = [&band](const Merged &zone) { return band.lo <= zone.hi && zone.lo <= band.hi; };
    const auto last = static_cast<int>(zones.size()) - 1;
    // Bands of one width in descending order reach the latest zone only, but for rounding: where the width is
    // near the spacing of doubles an earlier zone can touch too. None can while all of them begin above the
    // band.
    if (lowestBeforeLast <= band.hi) {
        for (int i = 0; i < last; ++i) {
            if (overlaps(zones[i]))
                return i;
        }
    }
    return last >= 0 && overlaps(zones[last]) ? last : -1;
}

MergedZones mergeBands(Bands &bands, const Indices &order)
{
    MergedZones zones;
    double lowestBeforeLast = std::numeric_limits<double>::infinity();
    for (const int index : order) {
        Band &band = bands[index];
        const bool golden = band.label == fibGolden;
        band.zone = firstOverlap(zones, band, lowestBeforeLast);
        if (band.zone >= 0) {
            Merged &zone = zones[band.zone];
            zone.lo = std::min(zone.lo, band.lo);
            zone.hi = std::max(zone.hi, band.hi);
            zone.mid = (zone.lo + zone.hi) / 2;
            zone.count += 1;
            zone.golden = zone.golden || golden;
            if (band.zone + 1 < zones.size())
                lowestBeforeLast = std::min(lowestBeforeLast, zone.lo);
            continue;
        }
        if (!zones.isEmpty() && zones.last().lo < lowestBeforeLast)
            lowestBeforeLast = zones.last().lo;
        band.zone = static_cast<int>(zones.size());
        zones.append({band.lo, band.hi, band.mid, 1, golden, 0});
    }
    return zones;
}

/// Indices of the zones from the highest middle down, equals in merging order.
Indices orderByMid(const MergedZones &zones)
{
    const auto before = [&zones](int a, int b) {
        const double keyA = sortKey(zones[a].mid);
        const double keyB = sortKey(zones[b].mid);
        return keyA > keyB || (keyA == keyB && a < b);
    };
    Indices order(zones.size());
    std::iota(order.begin(), order.end(), 0);
    if (!std::is_sorted(order.begin(), order.end(), before))
        std::sort(order.begin(), order.end(), before);
    return order;
}

/// Merges the candidates and labels the zones. All texts of one call share one block of memory: the names of
/// every zone, then (where wanted) the sources of every zone.
std::vector<Zone> finish(BandList &list, double curPrice, bool withSources)
{
    Bands &bands = list.bands();
    const Indices bandOrder = orderByLowerEdge(bands);
    MergedZones merged = mergeBands(bands, bandOrder);

    const auto nameCount = static_cast<std::size_t>(bands.size());
    const auto texts = std::make_shared<QString[]>(withSources ? 2 * nameCount : nameCount);
    const std::shared_ptr<const QString[]> block = texts;
    std::vector<Zone> zones;
    zones.reserve(static_cast<std::size_t>(merged.size()));
    int place = 0;
    for (const int index : orderByMid(merged)) {
        Merged &zone = merged[index];
        const auto first = static_cast<std::size_t>(place);
        const auto count = static_cast<std::size_t>(zone.count);
        const double distPct = (zone.mid - curPrice) / curPrice * 100;
        const Standing &standing = standingOf(zone.mid, curPrice, distPct);
        zones.emplace_back(zone.lo, zone.hi, zone.mid, TextList(block, first, count), distPct, zone.count,
                           zone.golden, standing.type, standing.strength,
                           withSources ? TextList(block, nameCount + first, count) : TextList());
        zone.place = place;
        place += zone.count;
    }
    const auto sourcesAt = static_cast<std::ptrdiff_t>(nameCount);
    for (const int index : bandOrder) {
        const Band &band = bands[index];
        const int at = merged[band.zone].place++;
        texts[at] = QString(labelText(band.label)); // moving in is inline, assigning is not
        if (withSources)
            texts[sourcesAt + at] = QString(sourceTag(band.label));
    }
    return zones;
}

struct LevelView
{
    const Pivot &pivot;
    const FibResult &fib;
    std::span<const double> highs; ///< ascending
    std::span<const double> lows;  ///< ascending
    std::optional<double> poc;
};

std::vector<Zone> zonesOf(const LevelView &levels, double curPrice, double tick)
{
    BandList list(getZoneHW(curPrice, tick));
    list.appendPivots(levels.pivot);
    list.appendFibonacci(levels.fib);
    // deliberate: old highs far below the price stay, and so do old lows far above it
    const double ceiling = curPrice + curPrice * 0.18;
    const auto highsEnd = std::find_if_not(levels.highs.begin(), levels.highs.end(),
                                           [ceiling](double high) { return high <= ceiling; });
    list.appendThinned({levels.highs.begin(), highsEnd}, swingHigh, curPrice);
    const double floor = curPrice - curPrice * 0.18;
    const auto lowsBegin =
        std::find_if(levels.lows.begin(), levels.lows.end(), [floor](double low) { return low >= floor; });
    list.appendThinned({lowsBegin, levels.lows.end()}, swingLow, curPrice);
    if (levels.poc)
        list.append(*levels.poc, volumePoc);
    return finish(list, curPrice, true);
}

constexpr int fibPeriod = 20;
constexpr int pocBuckets = 60;

Pivot pivotOfCompletedBar(std::span<const Candle> candles)
{
    const Candle &bar = candles[candles.size() - 2]; // the last one may still be forming
    return calcPivot(bar.h, bar.l, bar.c);
}

struct SortedSwings
{
    explicit SortedSwings(const CandleColumns &columns)
    {
        collectSwingHighs(columns, highs);
        collectSwingLows(columns, lows);
        sortPrices(highs);
        sortPrices(lows);
    }

    SwingPrices highs;
    SwingPrices lows;
};

} // namespace

CandleLevels::CandleLevels(std::span<const Candle> candles)
{
    if (candles.size() < 2)
        return;
    m_sufficient = true;
    m_pivot = pivotOfCompletedBar(candles);
    m_fib = calcFibonacci(candles, fibPeriod);
    const CandleColumns columns(candles);
    const SortedSwings swings(columns);
    m_highs.assign(swings.highs.begin(), swings.highs.end());
    m_lows.assign(swings.lows.begin(), swings.lows.end());
    m_poc = pointOfControl(columns, pocBuckets);
}

std::vector<Zone> buildZones(std::span<const Candle> candles, double curPrice, double tick)
{
    if (candles.size() < 2)
        return {};
    const Pivot pivot = pivotOfCompletedBar(candles);
    const FibResult fib = calcFibonacci(candles, fibPeriod);
    const CandleColumns columns(candles);
    const SortedSwings swings(columns);
    return zonesOf({pivot, fib, swings.highs, swings.lows, pointOfControl(columns, pocBuckets)}, curPrice,
                   tick);
}

std::vector<Zone> buildZones(const CandleLevels &levels, double curPrice, double tick)
{
    if (!levels.sufficient())
        return {};
    return zonesOf({levels.m_pivot, levels.m_fib, levels.m_highs, levels.m_lows, levels.m_poc}, curPrice,
                   tick);
}

std::vector<Zone> mergeLevels(const Pivot &pivots, const FibResult &fib, double curPrice, double tick)
{
    BandList list(getZoneHW(curPrice, tick));
    list.appendPivots(pivots);
    list.appendFibonacci(fib);
    return finish(list, curPrice, false);
}

} // namespace kestrune
