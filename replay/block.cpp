// SPDX-License-Identifier: MIT
#include "replay/block.h"

#include "replay/random.h"

#include <algorithm>
#include <cmath>

namespace kestrune::replay {

namespace {

/// A price that the path must pass, at the border before slot `border`.
struct Knot
{
    int border;
    double price;
};

/// The prices at the borders between the slots: a random walk pinned at the ends and near the extremes.
class BorderPath
{
public:
    BorderPath(const Block &block, const Instrument &instrument, int slots, Random &random)
        : m_block(block)
        , m_instrument(instrument)
        , m_random(random)
        , m_step((block.h - block.l) * 0.55 / std::sqrt(static_cast<double>(slots)))
    {
        m_prices.reserve(static_cast<std::size_t>(slots) + 1);
        m_prices.push_back(block.o);
    }

    void walkTo(const Knot &knot)
    {
        const int from = static_cast<int>(m_prices.size()) - 1;
        double price = m_prices.back();
        for (int border = from + 1; border < knot.border; ++border) {
            // The bridge's drift leads to the knot, its noise dies out on the way.
            const double left = knot.border - border + 1;
            price += (knot.price - price) / left + m_step * m_random.normal() * std::sqrt((left - 1) / left);
            price = std::clamp(price, m_block.l, m_block.h);
            m_prices.push_back(inRange(price));
        }
        if (knot.border > from)
            m_prices.push_back(knot.price);
    }

    [[nodiscard]] double inRange(double price) const
    {
        return std::clamp(snapToTick(m_instrument, price), m_block.l, m_block.h);
    }
    [[nodiscard]] const std::vector<double> &prices() const { return m_prices; }
    [[nodiscard]] double step() const { return m_step; }

private:
    const Block &m_block;
    const Instrument &m_instrument;
    Random &m_random;
    double m_step;
    std::vector<double> m_prices;
};

/// An inner border beside the slot, or 0 when the slots have none.
int borderBeside(int slot, int slots)
{
    return slot > 0 ? slot : slots > 1 ? 1 : 0;
}

void fillVolumes(std::vector<Block> &pieces, double volume, double step, Random &random)
{
    double total = 0;
    for (Block &piece : pieces) {
        const double moved = step > 0 ? std::abs(piece.c - piece.o) / step : 0;
        const double length = static_cast<double>(piece.span.end - piece.span.start);
        piece.v = length * (1 + 0.5 * moved) * std::exp(0.5 * random.normal());
        total += piece.v;
    }
    double left = volume;
    for (Block &piece : pieces) {
        piece.v = std::min(left, volume * (piece.v / total));
        left -= piece.v;
    }
    pieces.back().v += left;
}

} // namespace

Block joinBlocks(std::span<const Block> blocks)
{
    Block joined = blocks.front();
    for (const Block &block : blocks.subspan(1)) {
        joined.h = std::max(joined.h, block.h);
        joined.l = std::min(joined.l, block.l);
        joined.v += block.v;
    }
    joined.c = blocks.back().c;
    joined.span.end = blocks.back().span.end;
    return joined;
}

std::vector<Block> cutBlock(const Block &block, const Instrument &instrument, quint64 seed)
{
    if (block.span.end - block.span.start <= secondMs)
        return {block};
    const std::vector<TimeSpan> spans = finerSpans(instrument.venue, block.span);
    if (spans.size() < 2)
        return {block};
    Random random(
        mixSeed(mixSeed(seed, static_cast<quint64>(block.span.start)), static_cast<quint64>(block.span.end)));
    const int slots = static_cast<int>(spans.size());
    const int highSlot = random.index(slots);
    const int lowSlot = random.index(slots);

    BorderPath path(block, instrument, slots, random);
    const double shy = (block.h - block.l) * 0.04;
    Knot first{borderBeside(highSlot, slots), path.inRange(block.h - shy)};
    Knot second{borderBeside(lowSlot, slots), path.inRange(block.l + shy)};
    if (second.border < first.border)
        std::swap(first, second);
    path.walkTo(first);
    path.walkTo(second);
    path.walkTo({slots, block.c});

    std::vector<Block> pieces;
    pieces.reserve(spans.size());
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const double open = path.prices()[i];
        const double close = path.prices()[i + 1];
        const double above = std::abs(random.normal()) * path.step() * 0.35;
        const double below = std::abs(random.normal()) * path.step() * 0.35;
        const double high = std::max({open, close, path.inRange(std::max(open, close) + above)});
        const double low = std::min({open, close, path.inRange(std::min(open, close) - below)});
        pieces.push_back({spans[i], open, high, low, close, 0});
    }
    pieces[static_cast<std::size_t>(highSlot)].h = block.h;
    pieces[static_cast<std::size_t>(lowSlot)].l = block.l;
    fillVolumes(pieces, block.v, path.step(), random);
    return pieces;
}

} // namespace kestrune::replay
