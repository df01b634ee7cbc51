// SPDX-License-Identifier: MIT
#pragma once

#include "state/appstate.h"

#include <QByteArray>

#include <optional>

namespace kestrune {

/// The summary of the state's analysis as UTF-8 JSON, keys sorted, pretty-printed; absent when a number in
/// it is not finite.
[[nodiscard]] std::optional<QByteArray> snapshotSummary(const AppState &state, Instant generatedAt);

} // namespace kestrune
