// SPDX-License-Identifier: MIT
#include "state/pricealert.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <utility>

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
    if (!alert.name.isEmpty())
        object.insert(u"name"_s, alert.name);
    if (alert.follows)
        object.insert(u"follows"_s, QJsonObject{{u"resistance"_s, alert.follows->resistance},
                                                {u"rank"_s, alert.follows->rank}});
    if (alert.snoozed)
        object.insert(u"snoozed"_s, true);
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
    // What came later is not required.
    alert.undirected = object.value("undirected"_L1).toBool();
    alert.name = object.value("name"_L1).toString();
    alert.snoozed = object.value("snoozed"_L1).toBool();
    const QJsonObject follows = object.value("follows"_L1).toObject();
    if (const int rank = follows.value("rank"_L1).toInt(); rank > 0)
        alert.follows = FollowedZone{follows.value("resistance"_L1).toBool(), rank};
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

/// The records of a list by their id, and by which of its records it is: a list that somebody has edited may
/// hold an id twice.
class Index
{
public:
    using Key = std::pair<QString, int>;

    explicit Index(const std::vector<PriceAlert> &alerts)
    {
        QHash<QString, int> counts;
        for (const PriceAlert &alert : alerts) {
            keys.emplace_back(alert.id, counts[alert.id]++);
            m_records.insert(keys.back(), &alert);
        }
    }
    /// Null when there is none.
    [[nodiscard]] const PriceAlert *find(const Key &key) const { return m_records.value(key); }

    std::vector<Key> keys; ///< in the order of the list

private:
    QHash<Key, const PriceAlert *> m_records;
};

/// Of a record that both lists hold; `base` is null where the list before did not.
const PriceAlert &current(const PriceAlert *base, const PriceAlert &mine, const PriceAlert &theirs)
{
    if (base && mine == *base)
        return theirs;
    if (base && theirs == *base)
        return mine;
    return mine.lastFiredAt < theirs.lastFiredAt ? theirs : mine;
}

} // namespace

std::vector<PriceAlert> mergedAlerts(const std::vector<PriceAlert> &base, const std::vector<PriceAlert> &mine,
                                     const std::vector<PriceAlert> &theirs)
{
    const Index before(base);
    const Index own(mine);
    const Index others(theirs);
    std::vector<PriceAlert> merged;
    for (const auto &key : others.keys) {
        const PriceAlert *was = before.find(key);
        const PriceAlert *is = own.find(key);
        if (is)
            merged.push_back(current(was, *is, *others.find(key)));
        else if (!was)
            merged.push_back(*others.find(key));
    }
    for (const auto &key : own.keys) {
        if (!others.find(key) && !before.find(key))
            merged.push_back(*own.find(key));
    }
    return merged;
}

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
