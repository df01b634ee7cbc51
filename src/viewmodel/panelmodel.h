// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/zone.h"
#include "platform/clock.h"
#include "state/appstate.h"
#include "state/timeframesignal.h"
#include "state/tradeplan.h"

#include <QString>

#include <optional>
#include <span>
#include <vector>

namespace kestrune {

// What the panel shows, worked out from plain values; the widgets only put it on the screen.

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

/// "▲ 2.35%"; a fall keeps the value's own sign beside the arrow ("▼ -1.23%"), deliberately.
[[nodiscard]] QString changeText(double changePct);
/// "更新 14:32:05" in local time.
[[nodiscard]] QString updateText(Instant lastUpdated);

/// "4H：" and the reason.
[[nodiscard]] QString signalTip(const TimeframeSignal &signal);

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

/// A reading of the market context.
struct ContextRow
{
    QString label;
    QString value;
    std::optional<NamedColor> color; ///< absent: the colour of text

    [[nodiscard]] bool operator==(const ContextRow &) const = default;
};
[[nodiscard]] std::vector<ContextRow> contextRows(const AppState &state);

/// "距买点 1.20% · 距卖点 3.45%", or "暂无撑压数据" unless both sides have a zone.
[[nodiscard]] QString distancesText(std::optional<double> buyDistPct, std::optional<double> sellDistPct);

/// The line that keeps replayed prices from being taken for live ones: "演示行情", "行情服务器 " and the host
/// of `server`, or nothing for the live market.
[[nodiscard]] QString marketNotice(bool demo, const std::optional<QString> &server);

} // namespace kestrune
