// SPDX-License-Identifier: MIT
#pragma once

#include "platform/clock.h"
#include "state/pricealert.h"

#include <QString>

#include <optional>
#include <span>
#include <vector>

namespace kestrune {

class AppState;
struct AlertLogEntry;

// What the panel says and asks about alerts: typed ones, fired ones, and those of the log.

/// What submitting a typed target does.
struct TypedAlert
{
    std::optional<double> target; ///< to be set; absent when the text stays in the field
    QString note;                 ///< why it stays
    bool asks = false;            ///< the same text submitted once more is meant
};
/// `live` is the instrument's own live price, `asked` whether this text has been asked about.
[[nodiscard]] TypedAlert typedAlert(const QString &text, std::optional<double> live, bool asked);

/// Whether the alert may be armed again the other way round: it rings, or the price is past it.
[[nodiscard]] bool offersRearming(const PriceAlert &alert, std::optional<double> live);
/// "已再设：跌到 3,528 时提醒", of the alert as it was before.
[[nodiscard]] QString rearmedText(const PriceAlert &before);

/// A fired alert in one line.
struct FiredAlertLine
{
    QString id;
    QString name;  ///< of its instrument
    QString label; ///< its own
    QString price; ///< of the touch; empty when not known any more
    QString time;  ///< of the touch, the day when it is another one

    [[nodiscard]] bool operator==(const FiredAlertLine &) const = default;
};
[[nodiscard]] FiredAlertLine firedAlertLine(const AppState &state, const PriceAlert &alert);
/// "ETH 阻力 3,528，触及 3,529.10，14:03".
[[nodiscard]] QString spokenText(const FiredAlertLine &line);

/// A firing as the log lists it.
struct AlertLogLine
{
    QString heading; ///< stands above it: "离开期间" or, where these end, "此前"; else empty
    QString name, label;
    QString time;
    QString touch;  ///< "上涨触及 3,529.10"
    QString answer; ///< "已收到 14:05" or "未收到"
    bool answered;

    [[nodiscard]] bool operator==(const AlertLogLine &) const = default;
};
/// The last 20 of `entries`, which are in the order of time; newest first.
[[nodiscard]] std::vector<AlertLogLine> alertLogLines(std::span<const AlertLogEntry> entries, Instant now);

} // namespace kestrune
