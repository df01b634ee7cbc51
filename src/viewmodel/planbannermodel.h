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
    std::optional<TradePlan> plan;
    QString reason; ///< why there is no plan
};

/// The plan for the picked zone (long from a support, short from anything else), or the one for the live
/// price. Without a plan the reason, where the user may expect one: for a picked zone, and for a stock that
/// only a short trade would suit; else absent.
[[nodiscard]] std::optional<PlanBannerModel> planBannerModel(const AppState &state);
/// "支撑 1,234.5 · 做多"
[[nodiscard]] QString pickedZoneTitle(double price, QStringView zoneType, int decimals);
/// "已扣 0.15% 手续费成本"
[[nodiscard]] QString costText(double costPct);

/// A price of the plan, or its ratio.
struct PlanRow
{
    QString label;
    QString number;
    QString rest;                ///< the distance, with the money at stake where known; may be empty
    std::optional<double> ratio; ///< net reward to risk, in its own row only

    [[nodiscard]] bool operator==(const PlanRow &) const = default;
};
/// The words of the plan's detail, a row for each of its parts: entry, target, stop and ratio, or the step of
/// a trailed stop.
[[nodiscard]] std::vector<PlanRow> planRows(const TradePlan &plan);

/// A line of the banner below the price rows.
struct PlanLine
{
    QString text;
    bool isWarning = false; ///< orange, behind the warning icon

    [[nodiscard]] bool operator==(const PlanLine &) const = default;
};
/// Position, tip and session of a plan, in this order. What follows a warning sign in a text is a line of its
/// own, with the icon in the sign's place.
[[nodiscard]] std::vector<PlanLine> planLines(const TradePlan &plan);

/// Lets go of the picked zone, if any. To be called before the instrument or the timeframe changes too: the
/// zone is one of the old ones', and its price means nothing among the new.
void clearPickedZone(AppState &state);
/// Picks a zone, or lets go of it when it is the picked one.
void togglePickedZone(AppState &state, double mid, const QString &type);

} // namespace kestrune
