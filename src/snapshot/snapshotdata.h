// SPDX-License-Identifier: MIT
#pragma once

#include "state/appstate.h"

#include <QByteArray>
#include <QJsonObject>

#include <optional>

namespace kestrune {

/// What the summary says of the state, without its time; 0 for a price or change that is not there. A number
/// may be one that JSON does not know.
[[nodiscard]] QJsonObject summaryValues(const AppState &state);
/// The summary of the state's analysis as UTF-8 JSON, keys sorted, pretty-printed; absent when a number in
/// it is not finite.
[[nodiscard]] std::optional<QByteArray> snapshotSummary(const AppState &state, Instant generatedAt);

} // namespace kestrune
