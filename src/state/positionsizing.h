// SPDX-License-Identifier: MIT
#pragma once

#include "state/plansettings.h"

#include <QString>

#include <optional>

namespace kestrune {

/// An amount of money without fraction digits, grouped as the locale does, rounded half to even.
[[nodiscard]] QString money(double amount, const QLocale &locale);

/// Account size and risk per trade are both set.
[[nodiscard]] bool hasRiskBudget(const PlanSettings &settings);
/// Money lost at the stop: the chosen share of the account.
[[nodiscard]] double riskMoney(const PlanSettings &settings);
/// Position value whose loss at a stop `slPct` percent away is the risk money; `slPct` must not be 0.
[[nodiscard]] double positionSize(const PlanSettings &settings, double slPct);
/// Crypto with a multiple above 1; stocks are always unleveraged.
[[nodiscard]] bool isLeveraged(const PlanSettings &settings);
/// The multiple truncated to a whole number.
[[nodiscard]] QString wholeLeverage(double leverage);

/// Distance from entry to liquidation as a fraction of the entry: the margin's share of the position (1 /
/// leverage when isolated, account / position when cross) less the maintenance margin of half a percent,
/// never below 0.
[[nodiscard]] double liquidationDistance(double marginShare);

/// Position size whose loss at the stop is the chosen share of the account, with margin and warnings;
/// `slPct` in percent of the entry. Absent without account, risk or stop distance.
[[nodiscard]] std::optional<QString> positionText(const PlanSettings &settings, double slPct);

} // namespace kestrune
