// SPDX-License-Identifier: MIT
#include "viewmodel/zonelisting.h"

#include <algorithm>
#include <cmath>

namespace kestrune {

namespace {

bool sameLevel(const Zone &a, const Zone &b)
{
    return a.mid == b.mid && a.type == b.type;
}

} // namespace

std::vector<Zone> topZones(std::span<const Zone> zones, QStringView type, std::size_t count)
{
    std::vector<Zone> kept;
    std::ranges::copy_if(zones, std::back_inserter(kept),
                         [&](const Zone &zone) { return zone.type == type; });
    std::ranges::stable_sort(kept, [](const Zone &a, const Zone &b) {
        return a.confirm != b.confirm ? a.confirm > b.confirm : std::abs(a.distPct) < std::abs(b.distPct);
    });
    if (kept.size() > count)
        kept.erase(kept.begin() + std::ptrdiff_t(count), kept.end());
    const bool farthestFirst = type == u"resistance";
    std::ranges::stable_sort(kept, [farthestFirst](const Zone &a, const Zone &b) {
        return farthestFirst ? std::abs(a.distPct) > std::abs(b.distPct)
                             : std::abs(a.distPct) < std::abs(b.distPct);
    });
    return kept;
}

std::vector<Zone> listedZones(std::span<const Zone> zones, QStringView type, double rangePct, int maxCount)
{
    std::vector<Zone> inRange;
    std::ranges::copy_if(zones, std::back_inserter(inRange), [&](const Zone &zone) {
        return zone.type == type && std::abs(zone.distPct) <= rangePct;
    });
    return topZones(inRange, type, std::size_t(std::max(maxCount, 0)));
}

std::vector<std::optional<std::size_t>> matchRows(std::span<const Zone> current, std::span<const Zone> next)
{
    std::vector<std::optional<std::size_t>> matches(next.size());
    std::vector<bool> taken(current.size());
    for (std::size_t i = 0; i < next.size(); ++i) {
        for (std::size_t row = 0; row < current.size() && !matches[i]; ++row) {
            if (!taken[row] && sameLevel(current[row], next[i])) {
                matches[i] = row;
                taken[row] = true;
            }
        }
    }
    for (std::size_t i = 0; i < std::min(next.size(), current.size()); ++i) {
        if (!matches[i] && !taken[i] && current[i].type == next[i].type) {
            matches[i] = i;
            taken[i] = true;
        }
    }
    return matches;
}

} // namespace kestrune
