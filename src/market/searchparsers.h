// SPDX-License-Identifier: MIT
#pragma once

#include "market/marketsegment.h"
#include "market/serviceerror.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace kestrune {

/// An instrument that a source lists.
struct Found
{
    QString symbol;      ///< as the lists spell it: "PEPE", "sh600036"
    QString name;        ///< of stocks
    double turnover = 0; ///< of 24 h in the quote currency, 0 where it is not told
};
using FoundList = std::vector<Found>;

/// Error 6, with what is left to do.
[[nodiscard]] ServiceError searchFailure(std::optional<Refusal> refusal = {});

/// The perpetual contracts against USDT that have a last price. None when the layout differs or there is no
/// such contract: then this source has failed.
[[nodiscard]] std::optional<FoundList> parseGateContracts(const QByteArray &body);
[[nodiscard]] std::optional<FoundList> parseBinanceContracts(const QByteArray &body);

/// The instruments of a stock segment in a decoded search answer, a script of one assignment that is only
/// read; entries that cannot be read or are of another kind are left out. None when it is no such answer.
[[nodiscard]] std::optional<FoundList> parseSearchAnswer(QStringView text, MarketSegment segment);

} // namespace kestrune
