// SPDX-License-Identifier: MIT
#include "snapshot/snapshotdata.h"

#include "analysis/utczone.h"
#include "viewmodel/zonelisting.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTimeZone>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t zonesPerSide = 3;

QJsonArray signalObjects(const std::vector<TimeframeSignal> &snapshot)
{
    QJsonArray array;
    for (const TimeframeSignal &signal : snapshot) {
        array.append(QJsonObject{{u"label"_s, signal.label},
                                 {u"signal"_s, rawValue(signal.signal)},
                                 {u"score"_s, signal.score},
                                 {u"reason"_s, signal.reason}});
    }
    return array;
}

QJsonArray zoneObjects(const std::vector<Zone> &zones)
{
    QJsonArray array;
    for (const Zone &zone : zones) {
        QJsonArray sources;
        for (const QString &source : zone.sources)
            sources.append(source);
        array.append(QJsonObject{{u"price"_s, zone.mid},
                                 {u"distPct"_s, zone.distPct},
                                 {u"strength"_s, zone.strength},
                                 {u"confirm"_s, zone.confirm},
                                 {u"golden"_s, zone.isGolden},
                                 {u"sources"_s, sources}});
    }
    return array;
}

bool allFinite(const QJsonValue &value)
{
    if (value.isDouble())
        return std::isfinite(value.toDouble());
    if (value.isArray())
        return std::ranges::all_of(value.toArray(), [](const QJsonValue &entry) { return allFinite(entry); });
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        return std::ranges::all_of(object.keys(),
                                   [&](const QString &key) { return allFinite(object.value(key)); });
    }
    return true;
}

QString isoTime(Instant instant)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(instant).time_since_epoch().count();
    return QDateTime::fromSecsSinceEpoch(seconds, utcZone).toString(Qt::ISODate);
}

} // namespace

QJsonObject summaryValues(const AppState &state)
{
    // What is another's counts as not there.
    const Judgement ofPrice = state.priceStanding();
    const auto price = ofPrice.believed() ? state.price() : state.ownZonePrice();
    const auto zones = state.zonesStanding().own() ? state.zones() : std::vector<Zone>();
    const Judgement ofSignals = state.signalsStanding();
    return {
        {u"symbol"_s, state.coinSymbol()},
        {u"displayName"_s, state.displayName()},
        {u"market"_s, rawValue(state.market())},
        {u"timeframe"_s, state.timeframe()},
        {u"headerTitle"_s, state.headerTitle()},
        {u"price"_s, price.value_or(0)},
        {u"changePct"_s, ofPrice.believed() ? state.changePct().value_or(0) : 0},
        {u"decimals"_s, state.decimals()},
        {u"conclusion"_s,
         ofSignals.standing == Standing::foreign ? u"加载中…"_s : state.snapshotConclusion()},
        {u"signals"_s, ofSignals.own() ? signalObjects(state.snapshot()) : QJsonArray()},
        {u"resistance"_s, zoneObjects(topZones(zones, u"resistance", zonesPerSide))},
        {u"support"_s, zoneObjects(topZones(zones, u"support", zonesPerSide))},
        {u"tradingView"_s, state.tradingViewSymbol()},
    };
}

std::optional<QByteArray> snapshotSummary(const AppState &state, Instant generatedAt)
{
    QJsonObject summary = summaryValues(state);
    summary.insert(u"generatedAt"_s, isoTime(generatedAt));
    if (!allFinite(summary))
        return std::nullopt; // QJsonDocument would write null
    return QJsonDocument(summary).toJson(QJsonDocument::Indented);
}

} // namespace kestrune
