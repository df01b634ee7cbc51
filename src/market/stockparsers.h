// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "market/serviceerror.h"
#include "market/stockquote.h"

#include <QByteArray>
#include <QString>
#include <QStringView>

namespace kestrune {

/// The quotes of a decoded answer, by lower-case code. Pieces that cannot be read are left out; of several
/// for one code the last one counts. `now` becomes their updatedAt.
[[nodiscard]] StockQuotes parseQuotes(QStringView text, Instant now);

/// Candles oldest first, at least 25, of the answer for a lower-case code and a period ("day", "week",
/// "month"): adjusted ones where there are any, else the plain ones. Errors 3 to 5.
[[nodiscard]] Result<CandleList> parseStockCandles(const QByteArray &body, const QString &code,
                                                   const QString &period);

} // namespace kestrune
