// SPDX-License-Identifier: MIT
#pragma once

#include "replay/calendar.h"

#include <span>
#include <vector>

namespace kestrune::replay {

/// A stretch of market time whose trading is known as one candle. Blocks that touch may be joined, and
/// any block can be cut into finer ones that join to it again.
struct Block
{
    TimeSpan span;
    double o = 0;
    double h = 0;
    double l = 0;
    double c = 0;
    double v = 0;
};

/// The candle of several blocks, oldest first; `blocks` is not empty.
[[nodiscard]] Block joinBlocks(std::span<const Block> blocks);

/// Cuts a block into the next finer pieces of its venue's clock. The pieces are drawn from `seed` and the
/// block's place in time alone; joined again they give the block's open, high, low and close exactly and
/// its volume but for rounding. Every price between is on the instrument's grid. A block of one second is
/// its own only piece.
[[nodiscard]] std::vector<Block> cutBlock(const Block &block, const Instrument &instrument, quint64 seed);

} // namespace kestrune::replay
