// SPDX-License-Identifier: MIT
#include "replay/timeline.h"

#include "replay/random.h"

#include <algorithm>

namespace kestrune::replay {

namespace {

/// Gathers the blocks that make up the newest buckets, walking back in time and cutting a block only
/// where it crosses a border or is not over yet.
class Gatherer
{
public:
    Gatherer(const Instrument &instrument, quint64 seed, const Interval &interval, int limit, qint64 now)
        : m_instrument(instrument), m_seed(seed), m_interval(interval), m_limit(limit), m_now(now)
    {}

    /// False once there are enough buckets.
    bool visit(const Block &block)
    {
        if (block.span.start > m_now)
            return true;
        const bool inOneBucket =
            bucketStart(m_interval, block.span.start) == bucketStart(m_interval, block.span.end - 1);
        if (inOneBucket && block.span.end <= m_now)
            return take(block);
        const std::vector<Block> pieces = cutBlock(block, m_instrument, m_seed);
        if (pieces.size() < 2)
            return take(block);
        for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece) {
            if (!visit(*piece))
                return false;
        }
        return true;
    }

    [[nodiscard]] std::vector<Row> rows()
    {
        std::reverse(m_taken.begin(), m_taken.end());
        std::vector<Row> rows;
        rows.reserve(static_cast<std::size_t>(m_buckets));
        const std::span<const Block> all(m_taken);
        for (std::size_t first = 0; first < all.size();) {
            const qint64 start = bucketStart(m_interval, all[first].span.start);
            std::size_t last = first + 1;
            while (last < all.size() && bucketStart(m_interval, all[last].span.start) == start)
                ++last;
            const Block joined = joinBlocks(all.subspan(first, last - first));
            rows.push_back({{start, joined.o, joined.h, joined.l, joined.c, joined.v},
                            bucketEnd(m_interval, start),
                            all[last - 1].span.start});
            first = last;
        }
        return rows;
    }

private:
    bool take(const Block &block)
    {
        const qint64 start = bucketStart(m_interval, block.span.start);
        if (m_buckets == 0 || start != m_currentStart) {
            if (m_buckets == m_limit)
                return false;
            ++m_buckets;
            m_currentStart = start;
        }
        m_taken.push_back(block);
        return true;
    }

    const Instrument &m_instrument;
    quint64 m_seed;
    Interval m_interval;
    int m_limit;
    qint64 m_now;
    int m_buckets = 0;
    qint64 m_currentStart = 0;
    std::vector<Block> m_taken; ///< newest first
};

/// Joins what lies between two instants, cutting only the blocks at the edges.
void gatherWindow(const Block &block, const Instrument &instrument, quint64 seed, const TimeSpan &window,
                  std::vector<Block> &taken)
{
    if (block.span.start > window.end || block.span.end <= window.start)
        return;
    if (block.span.start >= window.start && block.span.end <= window.end) {
        taken.push_back(block);
        return;
    }
    const std::vector<Block> pieces = cutBlock(block, instrument, seed);
    if (pieces.size() < 2) {
        taken.push_back(block);
        return;
    }
    for (const Block &piece : pieces)
        gatherWindow(piece, instrument, seed, window, taken);
}

quint64 instrumentSeed(const Instrument &instrument, quint64 seed)
{
    for (const char *letter = instrument.code; *letter; ++letter)
        seed = mixSeed(seed, static_cast<quint64>(*letter));
    return seed;
}

} // namespace

Timeline::Timeline(const Instrument &instrument, quint64 seed)
    : m_instrument(&instrument), m_seed(instrumentSeed(instrument, seed)), m_simulation(instrument, m_seed)
{}

Timeline::Timeline(const Instrument &instrument, quint64 seed, Recording recording)
    : m_instrument(&instrument)
    , m_seed(instrumentSeed(instrument, seed))
    , m_blocks(std::move(recording.blocks))
    , m_ownRows(std::move(recording.ownRows))
    , m_recordingEnd(m_blocks.back().span.end)
    , m_simulation(instrument, m_seed, *m_recordingEnd, m_blocks.back().c, recording.previousClose)
{}

std::vector<Row> Timeline::rows(const Interval &interval, int limit, qint64 now)
{
    drawUntil(now);
    Gatherer gatherer(*m_instrument, m_seed, interval, limit, now);
    for (std::size_t i = startedBy(now); i > 0; --i) {
        if (!gatherer.visit(m_blocks[i - 1]))
            break;
    }
    std::vector<Row> rows = gatherer.rows();
    applyOwnRows(interval, now, rows);
    return rows;
}

std::optional<Block> Timeline::window(qint64 from, qint64 now)
{
    drawUntil(now);
    const auto end = m_blocks.begin() + static_cast<std::ptrdiff_t>(startedBy(now));
    const auto begin = std::partition_point(m_blocks.begin(), end,
                                            [from](const Block &block) { return block.span.end <= from; });
    std::vector<Block> taken;
    for (auto block = begin; block != end; ++block)
        gatherWindow(*block, *m_instrument, m_seed, {from, now}, taken);
    if (taken.empty())
        return std::nullopt;
    return joinBlocks(taken);
}

std::optional<double> Timeline::price(qint64 now)
{
    const std::vector<Row> last = rows(Interval{Interval::Unit::fixed, secondMs, 0}, 1, now);
    if (last.empty())
        return std::nullopt;
    return last.back().candle.c;
}

void Timeline::drawUntil(qint64 now)
{
    while (m_blocks.empty() || m_blocks.back().span.end <= now)
        m_blocks.push_back(m_simulation.next());
}

std::size_t Timeline::startedBy(qint64 now) const
{
    const auto end = std::partition_point(m_blocks.begin(), m_blocks.end(),
                                          [now](const Block &block) { return block.span.start <= now; });
    return static_cast<std::size_t>(end - m_blocks.begin());
}

void Timeline::applyOwnRows(const Interval &interval, qint64 now, std::vector<Row> &rows) const
{
    const qint64 venueOffset = m_instrument->venue == Venue::crypto ? 0 : chinaOffsetMs;
    const auto own = m_ownRows.find(interval.length);
    if (interval.offset != venueOffset || own == m_ownRows.end())
        return;
    const CandleList &candles = own->second;
    auto candle = candles.begin();
    for (Row &row : rows) {
        candle = std::lower_bound(candle, candles.end(), row.candle.ts,
                                  [](const Candle &each, qint64 ts) { return each.ts < ts; });
        if (candle != candles.end() && candle->ts == row.candle.ts && row.end <= now)
            row.candle = *candle;
    }
}

} // namespace kestrune::replay
