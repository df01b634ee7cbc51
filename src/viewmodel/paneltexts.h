// SPDX-License-Identifier: MIT
#pragma once

#include "state/namedcolor.h"
#include "state/timeframesignal.h"

#include <QString>

#include <optional>
#include <vector>

namespace kestrune {

class AppState;
struct UnreadFile;

// The words that the panel shows; the widgets only put them on the screen.

/// "▲ 2.35%". deliberate: a fall keeps the value's own sign beside the arrow ("▼ -1.23%"), as traders know
/// it.
[[nodiscard]] QString changeText(double changePct);

/// A zone's distance from the price with its sign, for example "+2.35%".
[[nodiscard]] QString distanceText(double distPct);

/// "4H：" and the reason.
[[nodiscard]] QString signalTip(const TimeframeSignal &signal);

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

/// What became of settings that could not be read.
[[nodiscard]] QString unreadSettingsText(const UnreadFile &unread);

/// The line that keeps replayed prices from being taken for live ones: "演示行情", "行情服务器 " and the host
/// of `server`, or nothing for the live market.
[[nodiscard]] QString marketNotice(bool demo, const std::optional<QString> &server);

} // namespace kestrune
