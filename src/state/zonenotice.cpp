// SPDX-License-Identifier: MIT
#include "state/zonenotice.h"

#include <chrono>

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

constexpr double wellAway = 1.25; // thresholds
constexpr std::chrono::minutes pauseOfASide(15);

} // namespace

void ZoneNotices::rearm(Side &side, std::optional<double> distPct, const LightSeen &seen)
{
    const bool away = !distPct || *distPct > seen.thresholdPct * wellAway;
    side.armed = side.armed || (away && side.stayedAway && seen.refreshed);
    side.stayedAway = away && (side.stayedAway || seen.refreshed);
}

std::optional<BarSignal> ZoneNotices::observe(const LightSeen &seen, SteadyInstant now)
{
    if (!m_before || m_before->selection != seen.selection || m_before->thresholdPct != seen.thresholdPct) {
        m_support = {.armed = seen.light != BarSignal::buy};
        m_resistance = {.armed = seen.light != BarSignal::sell};
        m_before = seen;
        return std::nullopt;
    }
    rearm(m_support, seen.supportPct, seen);
    rearm(m_resistance, seen.resistancePct, seen);
    const BarSignal before = m_before->light;
    m_before = seen;
    if (before != BarSignal::neutral || seen.light == BarSignal::neutral)
        return std::nullopt;
    Side &side = seen.light == BarSignal::buy ? m_support : m_resistance;
    const auto told = m_told.find({seen.selection.symbol, seen.light});
    if (!side.armed || (told != m_told.end() && now - told->second < pauseOfASide))
        return std::nullopt;
    side = {.armed = false};
    m_told[{seen.selection.symbol, seen.light}] = now;
    return seen.light;
}

Notice zoneNotice(BarSignal side, const QString &name, const QString &price, double distPct)
{
    const bool support = side == BarSignal::buy;
    return {.id = support ? u"zone-support"_s : u"zone-resistance"_s,
            .title = u"%1 接近%2 %3 · 距 %4 %"_s.arg(name, support ? u"支撑"_s : u"阻力"_s, price,
                                                     QString::number(distPct, 'f', 2)),
            .body = {},
            .rung = false};
}

} // namespace kestrune
