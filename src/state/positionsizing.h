#pragma once

#include "state/tradeplan.h"

#include <QLocale>
#include <QString>

#include <optional>

namespace kestrune {

/// An amount of money without fraction digits, grouped as the locale does, rounded half to even.
[[nodiscard]] QString money(double amount, const QLocale &locale);

/// Distance from entry to liquidation as a fraction of the entry: 1 / multiple less the maintenance margin
/// of half a percent, never below 0.
[[nodiscard]] double liquidationDistance(double multiple);

/// Position size whose loss at the stop is the chosen share of the account, with margin and warnings;
/// `slPct` in percent of the entry. Absent without account, risk or stop distance.
[[nodiscard]] std::optional<QString> positionText(const PlanSettings &settings, double slPct);

} // namespace kestrune
