// SPDX-License-Identifier: MIT
#pragma once

#include "market/marketsegment.h"
#include "state/marginmode.h"

#include <QLocale>

namespace kestrune {

/// What the settings contribute to every plan text.
struct PlanSettings
{
    MarketSegment market = MarketSegment::crypto;
    int decimals = 2;           ///< of price texts
    double accountSize = 0;     ///< money, 0 when not set
    double riskPctPerTrade = 0; ///< percent of the account lost at the stop
    double leverage = 1;        ///< multiple
    MarginMode marginMode = MarginMode::isolated;
    QLocale locale = QLocale::system(); ///< groups amounts of money
};

} // namespace kestrune
