// SPDX-License-Identifier: MIT
#pragma once

#include "state/pricealert.h"

#include <QStringView>

#include <optional>
#include <span>
#include <vector>

namespace kestrune {

/// Alert on `price` of `symbol`: equal symbol and less than 1e-9 apart.
[[nodiscard]] bool matches(const PriceAlert &alert, double price, QStringView symbol);

struct AlertEvaluation
{
    std::vector<PriceAlert> alerts; ///< the whole list with its changes
    bool fired = false;             ///< some alert fired in this pass
};

/// One pass of the trigger rule over the alerts of `symbol`: level-based, silent for 120 s (strictly more
/// must have passed) after the last firing or acknowledgement. Absent when no record changes or the price
/// is not finite. `now` in seconds since the epoch.
[[nodiscard]] std::optional<AlertEvaluation> evaluate(const std::vector<PriceAlert> &alerts,
                                                      QStringView symbol, double price, double now);

[[nodiscard]] bool anyTriggered(std::span<const PriceAlert> alerts, QStringView symbol);

} // namespace kestrune
