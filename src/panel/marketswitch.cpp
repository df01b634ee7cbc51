// SPDX-License-Identifier: MIT
#include "panel/marketswitch.h"

#include <algorithm>

namespace kestrune {

namespace {

QStringList marketNames()
{
    QStringList names;
    for (const MarketSegment segment : allMarketSegments)
        names.append(rawValue(segment));
    return names;
}

} // namespace

MarketSwitch::MarketSwitch(Chip::Look look, QWidget *parent) : ChoiceRow(marketNames(), look, parent)
{
    connect(this, &ChoiceRow::picked, this,
            [this](qsizetype index) { Q_EMIT marketPicked(allMarketSegments[std::size_t(index)]); });
}

void MarketSwitch::setMarket(MarketSegment segment)
{
    setCurrent(std::ranges::find(allMarketSegments, segment) - allMarketSegments.begin());
}

} // namespace kestrune
