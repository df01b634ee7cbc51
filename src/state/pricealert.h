// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>
#include <vector>

class QJsonArray;
class QJsonValue;

namespace kestrune {

/// The zone that an alert goes along with: by its side and its place, 1 the nearest to the price.
struct FollowedZone
{
    bool resistance = false;
    int rank = 1;

    [[nodiscard]] bool operator==(const FollowedZone &) const = default;
};

struct PriceAlert
{
    QString id;                        ///< upper-case UUID text of 36 characters
    double targetPrice = 0;            ///< price to watch
    bool above = false;                ///< fires at or above the target, else at or below it
    QString symbol;                    ///< instrument code it belongs to
    QString label;                     ///< text of its row
    bool triggered = false;            ///< fired and not yet acknowledged
    std::optional<double> lastFiredAt; ///< last firing or acknowledgement, seconds since the epoch
    bool undirected = false;           ///< `above` is not decided before the first price
    QString name = {};                 ///< the instrument's, when the alert was set; empty where unknown
    std::optional<FollowedZone> follows = {};
    bool snoozed = false;                  ///< silent for longer after the acknowledgement
    std::optional<double> firedPrice = {}; ///< of the touch, while triggered; not stored

    [[nodiscard]] bool operator==(const PriceAlert &) const = default;
};

/// The stored list of all alerts; absent when a number is not finite.
[[nodiscard]] std::optional<QJsonArray> encodeAlerts(const std::vector<PriceAlert> &alerts);
/// Reads it back, also as text within {"utf8": "…"} or {"base64": "…"}, the form of earlier versions; absent
/// as a whole when one element lacks a key or has a value of the wrong kind.
[[nodiscard]] std::optional<std::vector<PriceAlert>> decodeAlerts(const QJsonValue &stored);

/// One list that was changed in two places: `mine` and `theirs` are what `base` has become in each. What was
/// added stays and what was removed goes, whoever did it; of a record that both changed the one with the
/// later firing or acknowledgement counts. In the order of `theirs`, then what only `mine` has.
[[nodiscard]] std::vector<PriceAlert> mergedAlerts(const std::vector<PriceAlert> &base,
                                                   const std::vector<PriceAlert> &mine,
                                                   const std::vector<PriceAlert> &theirs);

} // namespace kestrune
