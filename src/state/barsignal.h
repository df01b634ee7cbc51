// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/zone.h"
#include "state/namedcolor.h"

#include <QString>

#include <optional>
#include <span>

namespace kestrune {

enum class BarSignal { buy, sell, neutral };

/// Signed distance in percent of the nearest zone of a type; the earliest of equally near ones.
[[nodiscard]] std::optional<double> nearestDistPct(std::span<const Zone> zones, QStringView type);

/// Light for absolute distances to the nearest support and resistance (absent where a side has no zone);
/// the threshold is inclusive and a tie goes to support.
[[nodiscard]] BarSignal barSignal(std::optional<double> buyDistPct, std::optional<double> sellDistPct,
                                  double thresholdPct);

[[nodiscard]] QString statusSymbol(BarSignal signal); ///< icon name
[[nodiscard]] NamedColor statusColor(BarSignal signal);
[[nodiscard]] QString statusText(BarSignal signal);

} // namespace kestrune
