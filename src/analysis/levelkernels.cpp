// SPDX-License-Identifier: MIT
#include "analysis/levelkernels.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <map>

namespace kestrune {

namespace {

/// Replaces its index only by a strictly larger volume, so the lowest of equal buckets wins.
class LargestBucket
{
public:
    void offer(int index, double volume)
    {
        if (volume > m_volume) {
            m_volume = volume;
            m_index = index;
        }
    }
    [[nodiscard]] int index() const { return m_index; }

private:
    double m_volume = -1;
    int m_index = 0;
};

/// Calls `add(bucket, volume)` for every candle, oldest first.
template <typename Add>
void distribute(const CandleColumns &columns, double step, int buckets, Add add)
{
    constexpr std::size_t blockSize = 128;
    std::array<int, blockSize> index;
    const double lowest = columns.lowest();
    const double top = buckets - 1;
    for (std::size_t start = 0; start < columns.size(); start += blockSize) {
        const std::size_t count = std::min(blockSize, columns.size() - start);
        const double *const sums = columns.sums() + start;
        for (std::size_t i = 0; i < count; ++i) {
            // Clamped before the conversion: out of int's range it would be undefined. NaN goes to the
            // bottom.
            const double position = (sums[i] / 3 - lowest) / step;
            const double raised = position > 0 ? position : 0;
            index[i] = static_cast<int>(raised < top ? raised : top);
        }
        for (std::size_t i = 0; i < count; ++i)
            add(index[i], columns.candles()[start + i].v);
    }
}

/// For very many buckets: keeps only those that a candle fell into.
int largestOfMany(const CandleColumns &columns, double step, int buckets)
{
    std::map<int, double> volumes;
    distribute(columns, step, buckets, [&](int index, double volume) { volumes[index] += volume; });
    LargestBucket largest;
    int next = 0;
    for (const auto &[index, volume] : volumes) {
        if (index > next)
            largest.offer(next, 0); // the first of a run of empty buckets
        largest.offer(index, volume);
        next = index + 1;
    }
    if (next < buckets)
        largest.offer(next, 0);
    return largest.index();
}

int largestOfFew(const CandleColumns &columns, double step, int buckets, std::span<double> volumes)
{
    distribute(columns, step, buckets,
               [&](int index, double volume) { volumes[static_cast<std::size_t>(index)] += volume; });
    LargestBucket largest;
    for (int i = 0; i < buckets; ++i)
        largest.offer(i, volumes[static_cast<std::size_t>(i)]);
    return largest.index();
}

/// Two neighbouring values of a column, and the two lanes' answers to a comparison (all bits set, or none).
using Pair = double __attribute__((vector_size(16)));
using PairAnswer = decltype(Pair{} < Pair{});

Pair pairAt(const double *values)
{
    Pair pair;
    std::memcpy(&pair, values, sizeof pair);
    return pair;
}

/// Collects every value that `beats` its three neighbours on either side. Reads one value beyond the column.
template <typename Beats>
void collectSwings(const double *values, std::size_t count, SwingPrices &found, Beats beats)
{
    constexpr std::size_t blockSize = 128;
    alignas(PairAnswer) std::array<qint64, blockSize> marks;
    found.clear();
    if (count <= 2 * swingReach)
        return;
    // Swing points of one kind are at least four bars apart; one more place takes the last rejected value.
    found.resize(static_cast<qsizetype>(count / (swingReach + 1)) + 2);
    double *const out = found.data();
    qint64 kept = 0;
    const std::size_t candidates = count - 2 * swingReach;
    for (std::size_t start = 0; start < candidates; start += blockSize) {
        const std::size_t length = std::min(blockSize, candidates - start);
        const double *const block = values + start;
        // Two candidates at a time and without short cuts: six comparisons cost less than a mispredicted
        // branch.
        for (std::size_t i = 0; i < length; i += 2) {
            const Pair value = pairAt(block + i + 3);
            const PairAnswer answer =
                beats(value, pairAt(block + i)) & beats(value, pairAt(block + i + 1)) &
                beats(value, pairAt(block + i + 2)) & beats(value, pairAt(block + i + 4)) &
                beats(value, pairAt(block + i + 5)) & beats(value, pairAt(block + i + 6));
            std::memcpy(&marks[i], &answer, sizeof answer);
        }
        for (std::size_t i = 0; i < length; ++i) {
            out[kept] = block[i + 3];
            kept -= marks[i]; // a set mark is -1
        }
    }
    found.resize(kept);
}

} // namespace

CandleColumns::CandleColumns(std::span<const Candle> candles)
    : m_candles(candles), m_values(static_cast<qsizetype>(3 * candles.size() + 1))
{
    double *const high = m_values.data();
    double *const low = high + candles.size();
    double *const sum = low + candles.size();
    sum[candles.size()] = 0; // see collectSwings
    // Several running extremes, since each has to wait for its own last comparison only.
    std::array<double, 4> highest;
    std::array<double, 4> lowest;
    highest.fill(-std::numeric_limits<double>::infinity());
    lowest.fill(std::numeric_limits<double>::infinity());
    const auto take = [&](std::size_t i, std::size_t lane) {
        const Candle &candle = candles[i];
        high[i] = candle.h;
        low[i] = candle.l;
        sum[i] = candle.h + candle.l + candle.c;
        highest[lane] = candle.h > highest[lane] ? candle.h : highest[lane];
        lowest[lane] = candle.l < lowest[lane] ? candle.l : lowest[lane];
    };
    std::size_t i = 0;
    for (; i + 4 <= candles.size(); i += 4) {
        take(i, 0);
        take(i + 1, 1);
        take(i + 2, 2);
        take(i + 3, 3);
    }
    for (; i < candles.size(); ++i)
        take(i, 0);
    m_highest = *std::max_element(highest.begin(), highest.end());
    m_lowest = *std::min_element(lowest.begin(), lowest.end());
}

void collectSwingHighs(const CandleColumns &columns, SwingPrices &highs)
{
    collectSwings(columns.highs(), columns.size(), highs,
                  [](Pair value, Pair other) { return value > other; });
}

void collectSwingLows(const CandleColumns &columns, SwingPrices &lows)
{
    collectSwings(columns.lows(), columns.size(), lows, [](Pair value, Pair other) { return value < other; });
}

void sortPrices(SwingPrices &prices)
{
    std::sort(prices.begin(), prices.end());
}

std::optional<double> pointOfControl(const CandleColumns &columns, int buckets)
{
    if (columns.size() == 0 || buckets < 1 || !(columns.lowest() < columns.highest()))
        return std::nullopt;
    constexpr int fewBuckets = 256;
    const double step = (columns.highest() - columns.lowest()) / buckets;
    int index = 0;
    if (buckets <= fewBuckets) {
        std::array<double, fewBuckets> volumes{};
        index = largestOfFew(columns, step, buckets, volumes);
    } else {
        index = largestOfMany(columns, step, buckets);
    }
    return columns.lowest() + step * (index + 0.5);
}

} // namespace kestrune
