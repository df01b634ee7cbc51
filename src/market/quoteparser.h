// SPDX-License-Identifier: MIT
#pragma once

#include "market/stockquote.h"

#include <QStringView>

namespace kestrune {

/// The quotes of a decoded answer, by lower-case code. Pieces that cannot be read are left out; of several
/// for one code the last one counts. `now` becomes their updatedAt.
[[nodiscard]] StockQuotes parseQuotes(QStringView text, Instant now);

} // namespace kestrune
