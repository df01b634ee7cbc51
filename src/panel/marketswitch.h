// SPDX-License-Identifier: MIT
#pragma once

#include "market/marketsegment.h"
#include "ui/choicerow.h"

namespace kestrune {

/// The choice of a market segment.
class MarketSwitch : public ChoiceRow
{
    Q_OBJECT

public:
    explicit MarketSwitch(Chip::Look look, QWidget *parent = nullptr);

    void setMarket(MarketSegment segment);

Q_SIGNALS:
    void marketPicked(MarketSegment segment);
};

} // namespace kestrune
