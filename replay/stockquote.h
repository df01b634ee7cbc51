// SPDX-License-Identifier: MIT
#pragma once

#include "replay/market.h"

#include <QStringList>

namespace kestrune::replay {

/// The quote of a stock as its "~"-separated fields: 88 for A-shares, 78 for Hong Kong.
[[nodiscard]] QStringList quoteFields(const Listing &listing);

} // namespace kestrune::replay
