// SPDX-License-Identifier: MIT
#pragma once

#include "platform/clock.h"

#include <QString>
#include <QStringList>

#include <chrono>

namespace kestrune {

class AppState;

// The words for whose the values are, how old they are and what keeps failing. Item and panel say the same.

/// A moment in local time, by a format of QDateTime.
[[nodiscard]] QString localTime(Instant time, const QString &format);
/// What the status item has room for: "<1m", "3m", "2h", "5d".
[[nodiscard]] QString shortAge(std::chrono::nanoseconds age);
/// "不到 1 分钟前", "3 分钟前", "2 小时前", "5 天前".
[[nodiscard]] QString longAge(std::chrono::nanoseconds age);
/// "更新 14:32:05" in local time.
[[nodiscard]] QString updateText(Instant time);

/// Title and price as the status item shows them; an old price has its age behind it.
[[nodiscard]] QString itemText(const AppState &state);
/// Name, price and change, with what keeps the price from being taken for the one of this moment behind them
/// ("ETH  3,456.78  +1.25%"); that alone where there is no price of the instrument's own.
[[nodiscard]] QString titleLine(const AppState &state);
/// What keeps the price from being taken for the one of this moment ("3 分钟前 · 价格获取失败", "停牌");
/// empty for an ordinary fresh one.
[[nodiscard]] QString priceCaveat(const AppState &state);
/// The line under the price: its own time, its caveat, or both where the caveat does not say when.
[[nodiscard]] QString priceLine(const AppState &state);

/// Whether the status text may be shown: it stands on zones and price that are there and of this moment.
[[nodiscard]] bool verdictShows(const AppState &state);
/// The status text, or "等待数据" in its place.
[[nodiscard]] QString verdictText(const AppState &state);
/// The conclusion, with what keeps it from being of this moment behind it.
[[nodiscard]] QString conclusionText(const AppState &state);

/// Whose the zones are when not of the selection, or how old; empty for fresh ones and for none.
[[nodiscard]] QString zonesCaveat(const AppState &state);
/// What stands beside the zones: what fails and since when, old or foreign zones, candles far from the price.
[[nodiscard]] QStringList dataNotices(const AppState &state);
/// What is missing for a plan; empty when nothing is, or before anything has come.
[[nodiscard]] QString planNotice(const AppState &state);

} // namespace kestrune
