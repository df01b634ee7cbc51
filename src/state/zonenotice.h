// SPDX-License-Identifier: MIT
#pragma once

#include "platform/attention.h"
#include "state/barsignal.h"
#include "state/standing.h"

#include <QString>

#include <map>
#include <optional>
#include <utility>

namespace kestrune {

/// The light at a moment at which the zones and the price are the selection's own and fresh.
struct LightSeen
{
    Subject selection;
    BarSignal light = BarSignal::neutral;
    // Distances of the nearest zones and the light's threshold, percent.
    std::optional<double> supportPct, resistancePct;
    double thresholdPct = 0;
    bool refreshed = false; ///< the zones have just come
};

/// When the turning of the light is worth a message: not again before the price has been well away from that
/// side from one refresh of the zones to the next, and at most once a quarter of an hour for each side of an
/// instrument.
class ZoneNotices
{
public:
    /// The side to tell of: buy for a support, sell for a resistance. What is seen first of a selection, or
    /// with another threshold, is where it begins.
    [[nodiscard]] std::optional<BarSignal> observe(const LightSeen &seen, SteadyInstant now);
    /// The next one begins anew.
    void forget() { m_before.reset(); }

private:
    struct Side
    {
        bool armed = true;
        bool stayedAway = false; ///< since the last refresh of the zones
    };

    static void rearm(Side &side, std::optional<double> distPct, const LightSeen &seen);

    std::optional<LightSeen> m_before;
    Side m_support, m_resistance;
    std::map<std::pair<QString, BarSignal>, SteadyInstant> m_told;
};

/// "ETH 接近支撑 3,410 · 距 1.20 %", of which the later replaces the earlier one of the same side.
[[nodiscard]] Notice zoneNotice(BarSignal side, const QString &name, const QString &price, double distPct);

} // namespace kestrune
