// SPDX-License-Identifier: MIT
#include "replay/market.h"

#include <algorithm>

namespace kestrune::replay {

Market::Market(const MarketClock &clock, quint64 seed, Recordings recordings)
    : m_clock(clock), m_seed(seed), m_recordings(std::move(recordings))
{}

std::optional<Listing> Market::find(QByteArrayView code)
{
    const Instrument *instrument = findInstrument(code);
    return instrument ? listing(*instrument) : std::nullopt;
}

std::vector<Listing> Market::all(Venue venue)
{
    std::vector<Listing> listings;
    for (const Instrument &instrument : allInstruments()) {
        if (instrument.venue != venue)
            continue;
        if (const auto found = listing(instrument))
            listings.push_back(*found);
    }
    return listings;
}

std::optional<Listing> Market::listing(const Instrument &instrument)
{
    std::unique_ptr<Timeline> &timeline = m_timelines[&instrument];
    if (!timeline) {
        auto recording = m_recordings(instrument);
        timeline = recording ? std::make_unique<Timeline>(instrument, m_seed, std::move(*recording))
                             : std::make_unique<Timeline>(instrument, m_seed);
    }
    qint64 now = m_clock.now();
    if (const auto end = timeline->recordingEnd())
        now += std::min<qint64>(0, *end - 1 - m_clock.start());
    if (!timeline->price(now))
        return std::nullopt;
    return Listing{timeline.get(), now};
}

} // namespace kestrune::replay
