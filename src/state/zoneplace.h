// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/zone.h"
#include "state/pricealert.h"

#include <optional>
#include <vector>

namespace kestrune {

/// The place of a zone among all of its side, whether they are listed or not; absent for one around the
/// price.
[[nodiscard]] std::optional<FollowedZone> placeOf(const Zone &zone, const std::vector<Zone> &zones);
/// The zone at a place; null when there are not so many.
[[nodiscard]] const Zone *zoneAt(const FollowedZone &place, const std::vector<Zone> &zones);

} // namespace kestrune
