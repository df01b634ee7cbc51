#pragma once

#include "analysis/zone.h"
#include "state/appstate.h"

#include <QByteArray>

#include <optional>
#include <span>
#include <vector>

namespace kestrune {

/// The `count` zones of a type with the most confirmations (nearer first among equals), ordered like a
/// price ladder: resistances farthest first, all others nearest first.
[[nodiscard]] std::vector<Zone> topZones(std::span<const Zone> zones, QStringView type, std::size_t count);

/// The summary of the state's analysis as UTF-8 JSON, keys sorted, pretty-printed; absent when a number in
/// it is not finite.
[[nodiscard]] std::optional<QByteArray> snapshotSummary(const AppState &state, Instant generatedAt);

} // namespace kestrune
