// SPDX-License-Identifier: MIT
#include "panel/chartsource.h"

#include "panel/zonetags.h"
#include "state/appstate.h"
#include "viewmodel/paneltexts.h"
#include "viewmodel/planbannermodel.h"
#include "viewmodel/standingtexts.h"
#include "viewmodel/zonelisting.h"

#include <QStringList>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

QString tagLine(const Zone &zone)
{
    QStringList words;
    for (const TagContent &tag : zoneTags(zone))
        words.append(tag.text);
    return words.join(u' ');
}

/// How many levels confirm the zone, in place of the tag that says that there are several.
QString shortTagLine(const Zone &zone)
{
    QStringList words;
    for (const TagContent &tag : zoneTags(zone))
        words.append(tag.look == Tag::Look::outlined ? u"×%1"_s.arg(zone.confirm) : tag.text);
    return words.join(u' ');
}

double weightOf(const Zone &zone)
{
    return zone.strength.startsWith(u'强') ? 1 : zone.strength.startsWith(u"中等") ? 0.6 : 0.25;
}

std::vector<ChartZone> chartZones(const AppState &state)
{
    std::vector<ChartZone> zones;
    for (const QStringView type : {u"resistance", u"support"}) {
        for (const Zone &zone :
             listedZones(state.zones(), type, state.displayRangePct(), state.maxPerSide())) {
            const bool picked =
                state.selectedZonePrice() == zone.mid && state.selectedZoneType() == zone.type;
            zones.push_back({.lo = zone.lo,
                             .hi = zone.hi,
                             .mid = zone.mid,
                             .type = zone.type,
                             .tags = tagLine(zone),
                             .note = shortTagLine(zone),
                             .weight = weightOf(zone),
                             .golden = zone.isGolden,
                             .picked = picked});
        }
    }
    return zones;
}

std::optional<ChartPlan> chartPlan(const AppState &state)
{
    const auto model = planBannerModel(state);
    if (!model || !model->plan)
        return std::nullopt;
    const TradePlan &plan = *model->plan;
    const double away = plan.dir == TradeDirection::long_ ? 1 : -1;
    return ChartPlan{.entry = plan.entry,
                     .stop = plan.sl,
                     .target = plan.tp,
                     .targetText = plan.tp ? distanceText(away * plan.tpPct) : QString(),
                     .stopText = distanceText(-away * plan.slPct),
                     .ratioText = plan.tp ? u"净比 1:%1"_s.arg(plan.netRR, 0, 'f', 1) : QString()};
}

QString missingCandles(const AppState &state)
{
    const QStringList notices = dataNotices(state);
    if (!notices.isEmpty())
        return notices.constLast();
    return state.isLoading() ? u"加载 K 线…"_s : u"还没有 K 线数据"_s;
}

} // namespace

ChartContent chartContent(const AppState &state)
{
    ChartContent content;
    content.title = state.headerTitle() + u" · "_s + state.timeframe();
    content.decimals = state.decimals();
    if (!state.zonesStanding().own() || state.lastSRCandles.empty()) {
        content.message = missingCandles(state);
        return content;
    }
    content.candles = state.lastSRCandles;
    content.zones = chartZones(state);
    content.zonesCaveat = zonesCaveat(state);
    if (state.price() && state.priceStanding().own())
        content.price = ChartPrice{*state.price(), state.livePrice().has_value()};
    content.plan = chartPlan(state);
    for (const PriceAlert &alert : state.currentAlerts())
        content.bells.push_back({alert.id, alert.targetPrice, alert.triggered});
    content.lines = chartLines(content.candles, state.chartLines());
    content.timeZone = state.isStock() ? QTimeZone("Asia/Shanghai") : QTimeZone::systemTimeZone();
    content.intraday = !state.isStock() && state.timeframe() != defaultTimeframe;
    return content;
}

} // namespace kestrune
