// SPDX-License-Identifier: MIT
#pragma once

#include "platform/attention.h"
#include "state/pricealert.h"

#include <QString>

namespace kestrune {

struct AlertLogEntry;

/// A price in a message: as the panel writes it, with up to two more places where these tell it exactly.
[[nodiscard]] QString alertPriceText(const QString &symbol, double price);
/// Label of an alert that follows a zone: "跟随 支撑1 · 3,410".
[[nodiscard]] QString followedLabel(const FollowedZone &zone, const QString &price);
/// The message about a firing, under the alert's id.
[[nodiscard]] Notice firingNotice(const AlertLogEntry &firing);

/// The same for a list, in local time, with what became of it.
[[nodiscard]] QString alertLogLine(const AlertLogEntry &firing);

} // namespace kestrune
