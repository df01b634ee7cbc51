// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/zone.h"

#include <optional>
#include <span>
#include <vector>

namespace kestrune {

// Which zones are shown, in which order and in which rows.

/// The `count` zones of a type with the most confirmations (the nearer first among equals), ordered like a
/// price ladder: resistances farthest first, all others nearest first.
[[nodiscard]] std::vector<Zone> topZones(std::span<const Zone> zones, QStringView type, std::size_t count);
/// The zones of one type that the panel lists: the topZones() of those within ±`rangePct` percent.
[[nodiscard]] std::vector<Zone> listedZones(std::span<const Zone> zones, QStringView type, double rangePct,
                                            int maxCount);

/// For every zone of `next` the index of its row in `current`: first the row of the same type and `mid`, then
/// for the others the row at the same position, when it is free and of the same type. Absent: a row is
/// needed.
[[nodiscard]] std::vector<std::optional<std::size_t>> matchRows(std::span<const Zone> current,
                                                                std::span<const Zone> next);

} // namespace kestrune
