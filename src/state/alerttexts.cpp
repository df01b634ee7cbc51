// SPDX-License-Identifier: MIT
#include "state/alerttexts.h"

#include "analysis/priceformat.h"
#include "market/marketsegment.h"
#include "state/alertlog.h"

#include <QDateTime>
#include <QStringList>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

QString directionText(const AlertLogEntry &firing)
{
    return firing.above ? u"上涨触及"_s : u"下跌触及"_s;
}

QString localTime(Instant time)
{
    const auto since = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(since.count()).toString(u"yyyy-MM-dd HH:mm:ss");
}

} // namespace

QString alertPriceText(const QString &symbol, double price)
{
    constexpr int morePlaces = 2;
    const int usual =
        segmentOf(symbol) == MarketSegment::crypto ? getDecimals(price) : priceGrid(symbol).decimals;
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
    return {.id = firing.id,
            .title = firing.name + u" 触及 "_s + alertPriceText(firing.symbol, firing.target),
            .body = directionText(firing) + u" · 现价 "_s + alertPriceText(firing.symbol, firing.price) +
                    u" · "_s + firing.label};
}

QString alertLogLine(const AlertLogEntry &firing)
{
    QStringList parts{localTime(firing.time), firing.name,
                      directionText(firing) + u' ' + alertPriceText(firing.symbol, firing.target),
                      u"现价 "_s + alertPriceText(firing.symbol, firing.price), firing.label};
    if (firing.away)
        parts.append(u"离开期间"_s);
    const QString where = firing.acknowledgedWhere == u"notification" ? u"通知"_s : u"面板"_s;
    parts.append(firing.acknowledgedAt
                     ? u"已收到 "_s + localTime(*firing.acknowledgedAt) + u'（' + where + u'）'
                     : u"未确认"_s);
    return parts.join(u"  "_s).simplified();
}

} // namespace kestrune
