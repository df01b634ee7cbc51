// SPDX-License-Identifier: MIT
#include "state/pricealert.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

bool isStorable(const PriceAlert &alert)
{
    return std::isfinite(alert.targetPrice) && (!alert.lastFiredAt || std::isfinite(*alert.lastFiredAt));
}

QJsonObject toJson(const PriceAlert &alert)
{
    QJsonObject object{
        {u"id"_s, alert.id},       {u"targetPrice"_s, alert.targetPrice},
        {u"above"_s, alert.above}, {u"symbol"_s, alert.symbol},
        {u"label"_s, alert.label}, {u"triggered"_s, alert.triggered},
    };
    if (alert.lastFiredAt)
        object.insert(u"lastFiredAt"_s, *alert.lastFiredAt);
    if (alert.undirected)
        object.insert(u"undirected"_s, true);
    return object;
}

std::optional<PriceAlert> fromJson(const QJsonValue &element)
{
    if (!element.isObject())
        return std::nullopt;
    const QJsonObject object = element.toObject();
    const QJsonValue id = object.value("id"_L1);
    const QJsonValue targetPrice = object.value("targetPrice"_L1);
    const QJsonValue above = object.value("above"_L1);
    const QJsonValue symbol = object.value("symbol"_L1);
    const QJsonValue label = object.value("label"_L1);
    const QJsonValue triggered = object.value("triggered"_L1);
    const QJsonValue lastFiredAt = object.value("lastFiredAt"_L1);
    const bool kindsFit = id.isString() && targetPrice.isDouble() && above.isBool() && symbol.isString() &&
                          label.isString() && triggered.isBool();
    // A null stands for an absent optional.
    const bool everFired = !lastFiredAt.isUndefined() && !lastFiredAt.isNull();
    if (!kindsFit || (everFired && !lastFiredAt.isDouble()))
        return std::nullopt;

    PriceAlert alert{.id = id.toString(),
                     .targetPrice = targetPrice.toDouble(),
                     .above = above.toBool(),
                     .symbol = symbol.toString(),
                     .label = label.toString(),
                     .triggered = triggered.toBool(),
                     .lastFiredAt = std::nullopt};
    if (everFired)
        alert.lastFiredAt = lastFiredAt.toDouble();
    alert.undirected = object.value("undirected"_L1).toBool();
    return alert;
}

QJsonValue fromText(const QJsonObject &stored)
{
    const QJsonValue text = stored.value("utf8"_L1);
    const QByteArray json = text.isString()
                                ? text.toString().toUtf8()
                                : QByteArray::fromBase64(stored.value("base64"_L1).toString().toLatin1());
    const QJsonDocument document = QJsonDocument::fromJson(json);
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue();
}

} // namespace

std::optional<QJsonArray> encodeAlerts(const std::vector<PriceAlert> &alerts)
{
    QJsonArray array;
    for (const PriceAlert &alert : alerts) {
        if (!isStorable(alert))
            return std::nullopt;
        array.append(toJson(alert));
    }
    return array;
}

std::optional<std::vector<PriceAlert>> decodeAlerts(const QJsonValue &stored)
{
    const QJsonValue list = stored.isObject() ? fromText(stored.toObject()) : stored;
    if (!list.isArray())
        return std::nullopt;
    std::vector<PriceAlert> alerts;
    for (const QJsonValue element : list.toArray()) {
        std::optional<PriceAlert> alert = fromJson(element);
        if (!alert)
            return std::nullopt;
        alerts.push_back(std::move(*alert));
    }
    return alerts;
}

} // namespace kestrune
