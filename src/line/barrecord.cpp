// SPDX-License-Identifier: MIT
#include "line/barrecord.h"

#include "snapshot/snapshotdata.h"
#include "viewmodel/standingtexts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int schema = 1;
constexpr int withoutData = 3;
constexpr int withOldData = 4;

QString signalName(BarSignal signal)
{
    switch (signal) {
    case BarSignal::buy:
        return u"buy"_s;
    case BarSignal::sell:
        return u"sell"_s;
    case BarSignal::neutral:
        break;
    }
    return u"neutral"_s;
}

QJsonArray statesOf(const AppState &state, bool demo)
{
    const auto exchange = exchangeOf(state.selection());
    QJsonArray states{signalName(state.barSignal())};
    if (!state.priceStanding().fresh())
        states.append(u"stale"_s);
    if (state.alertActive())
        states.append(u"alert"_s);
    if (exchange && !isTrading(*exchange, state.clock().now()))
        states.append(u"closed"_s);
    if (demo)
        states.append(u"demo"_s);
    return states;
}

std::optional<double> nearestDistance(const AppState &state)
{
    if (!state.verdictStands())
        return std::nullopt;
    const auto buy = state.nearestBuyDistPct(), sell = state.nearestSellDistPct();
    return buy && sell ? std::min(buy, sell) : buy ? buy : sell;
}

std::optional<BarRecord> recordOf(const QJsonObject &values)
{
    BarRecord record{.text = values[u"text"].toString(),
                     .tooltip = values[u"tooltip"].toString(),
                     .states = values[u"states"].toVariant().toStringList(),
                     .percentage = values[u"percentage"].toInt(),
                     .price = std::nullopt,
                     .json = QJsonDocument(values).toJson(QJsonDocument::Compact)};
    if (values[u"schema"].toInt() != schema || record.text.isEmpty() || record.states.isEmpty())
        return std::nullopt;
    if (const QJsonValue price = values[u"price"]; price.isDouble())
        record.price = price.toDouble();
    return record;
}

} // namespace

int BarRecord::exitStatus() const
{
    return !price ? withoutData : is(u"stale"_s) ? withOldData : 0;
}

int nearness(std::optional<double> distPct, double thresholdPct)
{
    if (!distPct || !(*distPct < thresholdPct))
        return 0;
    return static_cast<int>(std::lround(100 * (1 - *distPct / thresholdPct)));
}

BarRecord barRecord(const AppState &state, const QString &marketNotice)
{
    const Judgement ofPrice = state.priceStanding();
    const auto known = [](const std::optional<double> &value, bool holds) {
        return value && holds ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
    };
    QStringList tooltip{titleLine(state), verdictText(state), conclusionText(state), marketNotice};
    tooltip.removeAll(QString());
    QJsonObject values = summaryValues(state);
    values.insert(u"schema"_s, schema);
    // deliberate: another instrument's price is not shown beside this one's name, not even as an old one.
    values.insert(u"text"_s, ofPrice.own() ? itemText(state) : priceCaveat(state));
    values.insert(u"tooltip"_s, tooltip.join(u'\n'));
    values.insert(u"states"_s, statesOf(state, !marketNotice.isEmpty()));
    values.insert(u"percentage"_s, nearness(nearestDistance(state), state.signalThreshold()));
    values.insert(u"price"_s, known(state.price(), ofPrice.own()));
    values.insert(u"changePct"_s, known(state.changePct(), ofPrice.believed()));
    return *recordOf(values);
}

std::optional<BarRecord> barRecord(const QByteArray &json)
{
    return recordOf(QJsonDocument::fromJson(json).object());
}

RecordFeed::RecordFeed(std::shared_ptr<AppState> state, QString marketNotice)
    : m_state(std::move(state)), m_marketNotice(std::move(marketNotice))
{
    connect(m_state.get(), &AppState::objectWillChange, this, [this] {
        if (!m_watching || m_looking)
            return;
        m_looking = true;
        QMetaObject::invokeMethod(this, &RecordFeed::look, Qt::QueuedConnection);
    });
}

const BarRecord &RecordFeed::read()
{
    m_read = barRecord(*m_state, m_marketNotice);
    m_watching = true;
    return m_read;
}

void RecordFeed::look()
{
    m_looking = false;
    if (!m_watching || barRecord(*m_state, m_marketNotice) == m_read)
        return;
    m_watching = false;
    Q_EMIT changed();
}

} // namespace kestrune
