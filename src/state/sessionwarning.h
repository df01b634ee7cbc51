// SPDX-License-Identifier: MIT
#pragma once

#include "market/marketsegment.h"
#include "platform/clock.h"

#include <QString>

#include <optional>

namespace kestrune {

/// Crypto only: within nine minutes of a funding settlement (00:00, 08:00, 16:00 UTC, both ends included),
/// else at the weekend (UTC).
[[nodiscard]] std::optional<QString> sessionWarning(MarketSegment market, Instant now);

} // namespace kestrune
