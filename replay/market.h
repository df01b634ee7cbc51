// SPDX-License-Identifier: MIT
#pragma once

#include "replay/marketclock.h"
#include "replay/timeline.h"

#include <functional>
#include <memory>

namespace kestrune::replay {

/// One instrument at the moment of a request.
struct Listing
{
    Timeline *timeline;
    qint64 now; ///< the instrument's own market time, see Market

    [[nodiscard]] const Instrument &instrument() const { return timeline->instrument(); }
};

/// Every instrument there is. A recorded one starts at the end of its recording (or at the clock, when that
/// is earlier) and moves on from there with the clock, so that real candles are never followed by a gap.
class Market
{
public:
    /// Finds the recorded candles of an instrument; absent when there are none.
    using Recordings = std::function<std::optional<Recording>(const Instrument &)>;

    Market(const MarketClock &clock, quint64 seed, Recordings recordings);

    /// The listing of a code such as "BTC" or "sh600519"; absent when unknown or not yet trading.
    [[nodiscard]] std::optional<Listing> find(QByteArrayView code);
    [[nodiscard]] qint64 now() const { return m_clock.now(); }
    /// All listings of a venue.
    [[nodiscard]] std::vector<Listing> all(Venue venue);

private:
    [[nodiscard]] std::optional<Listing> listing(const Instrument &instrument);

    const MarketClock &m_clock;
    quint64 m_seed;
    Recordings m_recordings;
    std::map<const Instrument *, std::unique_ptr<Timeline>> m_timelines;
};

} // namespace kestrune::replay
