// SPDX-License-Identifier: MIT
#pragma once

#include "market/marketsegment.h"

#include <QStringList>

namespace kestrune {

/// Instruments of a segment in picker order.
[[nodiscard]] const QStringList &pickerSymbols(MarketSegment segment);
/// The eight neon signs of a segment; deliberately not the picker's list.
[[nodiscard]] const QStringList &blingSymbols(MarketSegment segment);

} // namespace kestrune
