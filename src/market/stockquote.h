// SPDX-License-Identifier: MIT
#pragma once

#include "platform/clock.h"

#include <QHash>
#include <QString>

#include <optional>

namespace kestrune {

/// A stock quote as delivered; prices in the listing currency.
struct StockQuote
{
    QString symbol; ///< lower-case code with exchange prefix
    QString name;
    double price = 0; ///< always above 0
    double prevClose = 0;
    double open = 0;
    double high = 0;
    double low = 0;
    double volume = 0;             ///< in the source's own unit, 0 when missing
    double change = 0;             ///< against the previous close
    double changePct = 0;          ///< percent
    std::optional<double> limitUp; ///< daily price limits, A-shares only
    std::optional<double> limitDown;
    Instant updatedAt;               ///< when the answer was parsed
    std::optional<Instant> quotedAt; ///< the source's own time
    bool suspended = false;          ///< not traded, by the source's own word

    [[nodiscard]] bool isLimitUp() const;
    [[nodiscard]] bool isLimitDown() const;
};

/// By lower-case code.
using StockQuotes = QHash<QString, StockQuote>;

} // namespace kestrune
