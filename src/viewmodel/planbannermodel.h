// SPDX-License-Identifier: MIT
#pragma once

#include "state/tradeplan.h"

#include <optional>
#include <vector>

namespace kestrune {

class AppState;

/// What the trade-plan banner shows.
struct PlanBannerModel
{
    std::optional<QString> title; ///< of the picked zone; absent for the plan at the live price
    TradePlan plan;
};

/// The plan for the picked zone (long from a support, short from anything else), or the one for the live
/// price; absent when that plan does not exist.
[[nodiscard]] std::optional<PlanBannerModel> planBannerModel(const AppState &state);
/// "支撑 1,234.5 · 做多"
[[nodiscard]] QString pickedZoneTitle(double price, QStringView zoneType, int decimals);
/// "已扣 0.15% 手续费成本"
[[nodiscard]] QString costText(double costPct);

/// A line of the banner below the price lines.
struct PlanLine
{
    QString text;
    bool isWarning = false; ///< orange, behind the warning icon

    [[nodiscard]] bool operator==(const PlanLine &) const = default;
};
/// Position, tip and session of a plan, in this order. What follows a warning sign in a text is a line of its
/// own, with the icon in the sign's place.
[[nodiscard]] std::vector<PlanLine> planLines(const TradePlan &plan);

/// Lets go of the picked zone, if any. To be called before the instrument changes too: the zone is one of
/// the old instrument's, and its price means nothing among the new one's.
void clearPickedZone(AppState &state);

} // namespace kestrune
