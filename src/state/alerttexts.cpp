// SPDX-License-Identifier: MIT
#include "state/alerttexts.h"

#include "analysis/priceformat.h"
#include "market/marketsegment.h"
#include "state/alertlog.h"

namespace kestrune {

using namespace Qt::StringLiterals;

QString alertPriceText(const QString &symbol, double price)
{
    constexpr int morePlaces = 2;
    const int usual = segmentOf(symbol) == MarketSegment::crypto ? getDecimals(price) : 2;
    for (int places = usual; places <= usual + morePlaces; ++places) {
        if (roundedDecimal(price, places).toDouble() == price)
            return fmtP(price, places);
    }
    return fmtP(price, usual);
}

QString followedLabel(const FollowedZone &zone, const QString &price)
{
    return u"跟随 %1%2 · %3"_s.arg(zone.resistance ? u"阻力"_s : u"支撑"_s).arg(zone.rank).arg(price);
}

Notice firingNotice(const AlertLogEntry &firing)
{
    const QString direction = firing.above ? u"上涨触及"_s : u"下跌触及"_s;
    return {.id = firing.id,
            .title = firing.name + u" 触及 "_s + alertPriceText(firing.symbol, firing.target),
            .body = direction + u" · 现价 "_s + alertPriceText(firing.symbol, firing.price) + u" · "_s +
                    firing.label};
}

} // namespace kestrune
