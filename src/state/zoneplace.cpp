// SPDX-License-Identifier: MIT
#include "state/zoneplace.h"

#include <algorithm>
#include <cmath>

namespace kestrune {

std::optional<FollowedZone> placeOf(const Zone &zone, const std::vector<Zone> &zones)
{
    const bool resistance = zone.type == u"resistance";
    if (!resistance && zone.type != u"support")
        return std::nullopt;
    const auto nearer = std::ranges::count_if(zones, [&zone](const Zone &other) {
        return other.type == zone.type && std::abs(other.distPct) < std::abs(zone.distPct);
    });
    return FollowedZone{resistance, int(nearer) + 1};
}

const Zone *zoneAt(const FollowedZone &place, const std::vector<Zone> &zones)
{
    const auto found =
        std::ranges::find_if(zones, [&](const Zone &zone) { return placeOf(zone, zones) == place; });
    return found == zones.end() ? nullptr : &*found;
}

} // namespace kestrune
