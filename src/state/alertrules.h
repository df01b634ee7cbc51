// SPDX-License-Identifier: MIT
#pragma once

#include "state/pricealert.h"

#include <QStringView>

#include <optional>
#include <span>
#include <vector>

namespace kestrune {

/// Alert on `price` of `symbol` itself, not on a zone: equal symbol and less than 1e-9 apart.
[[nodiscard]] bool matches(const PriceAlert &alert, double price, QStringView symbol);

struct AlertEvaluation
{
    std::vector<PriceAlert> alerts; ///< the whole list with its changes
    std::vector<PriceAlert> fired;  ///< in this pass, as they are now
};

/// One pass of the trigger rule over the alerts of `symbol`: level-based, silent for 120 s (strictly more
/// must have passed, or 600 s when snoozed) after the last firing or acknowledgement; one that lies in the
/// future, by a clock that was ahead, is long past. Absent when no record changes or the price
/// is not finite. `now` in seconds since the epoch.
[[nodiscard]] std::optional<AlertEvaluation> evaluate(const std::vector<PriceAlert> &alerts,
                                                      QStringView symbol, double price, double now);

/// At or beyond the target.
[[nodiscard]] bool isHit(const PriceAlert &alert, double price);

/// What the user's acknowledgement makes of an alert: silent for a while.
void acknowledge(PriceAlert &alert, double now);

[[nodiscard]] bool anyTriggered(std::span<const PriceAlert> alerts, QStringView symbol);

} // namespace kestrune
