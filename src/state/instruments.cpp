// SPDX-License-Identifier: MIT
#include "state/instruments.h"

#include "platform/preferences.h"
#include "state/instrumentlists.h"
#include "state/settings.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

#include <algorithm>
#include <utility>

namespace kestrune {

namespace {

constexpr qsizetype longestName = 64;

bool isUsable(const QStringList &list, MarketSegment segment)
{
    const bool codes = std::ranges::all_of(
        list, [segment](const QString &symbol) { return codeFromTyped(segment, symbol) == symbol; });
    return codes && !list.isEmpty() && list.size() <= InstrumentBook::mostPerSegment &&
           QSet<QString>(list.cbegin(), list.cend()).size() == list.size();
}

/// Entries that are no text become empty ones, which are no codes.
QStringList textsIn(const QJsonValue &stored)
{
    QStringList texts;
    const QJsonArray array = stored.toArray();
    for (const auto entry : array)
        texts.append(entry.toString());
    return texts;
}

} // namespace

InstrumentBook::InstrumentBook(Preferences &preferences) : m_preferences(preferences)
{
    for (const MarketSegment segment : allMarketSegments) {
        const QJsonValue stored = preferences.json(settings::listKeys[at(segment)]);
        m_lists[at(segment)] = pickerSymbols(segment);
        if (stored.isUndefined() || stored.isNull())
            continue;
        if (QStringList list = textsIn(stored); isUsable(list, segment))
            m_lists[at(segment)] = std::move(list);
        else
            m_damaged.append(segment);
    }
    const QJsonObject names = preferences.json(settings::namesKey).toObject();
    for (auto entry = names.begin(); entry != names.end(); ++entry) {
        if (const QString name = entry->toString(); contains(entry.key()) && name.size() <= longestName)
            m_names.insert(entry.key(), name);
    }
}

bool InstrumentBook::contains(const QString &symbol) const
{
    const auto segment = listedSegment(symbol);
    return segment && list(*segment).contains(symbol);
}

bool InstrumentBook::isDefault(MarketSegment segment) const
{
    return list(segment) == pickerSymbols(segment);
}

bool InstrumentBook::add(MarketSegment segment, const QString &symbol, const QString &name)
{
    QStringList list = this->list(segment);
    list.append(symbol);
    if (!isUsable(list, segment))
        return false;
    change(segment, std::move(list));
    noteName(symbol, name);
    return true;
}

std::optional<int> InstrumentBook::remove(const QString &symbol)
{
    if (!contains(symbol))
        return std::nullopt;
    const MarketSegment segment = *listedSegment(symbol);
    QStringList list = this->list(segment);
    if (list.size() == 1)
        return std::nullopt;
    const auto position = int(list.indexOf(symbol));
    list.removeAt(position);
    change(segment, std::move(list));
    return position;
}

void InstrumentBook::insert(const QString &symbol, int position)
{
    const auto segment = listedSegment(symbol);
    if (!segment)
        return;
    QStringList list = this->list(*segment);
    list.removeAll(symbol);
    list.insert(std::clamp<qsizetype>(position, 0, list.size()), symbol);
    if (isUsable(list, *segment))
        change(*segment, std::move(list));
    if (m_names.contains(symbol))
        storeNames();
}

void InstrumentBook::move(const QString &symbol, int position)
{
    if (contains(symbol))
        insert(symbol, position);
}

void InstrumentBook::replace(MarketSegment segment, const QStringList &list)
{
    if (!isUsable(list, segment))
        return;
    change(segment, list);
    storeNames();
}

void InstrumentBook::resetToDefault(MarketSegment segment)
{
    replace(segment, pickerSymbols(segment));
}

void InstrumentBook::change(MarketSegment segment, QStringList list)
{
    const QStringList before = std::exchange(m_lists[at(segment)], std::move(list));
    m_damaged.removeAll(segment);
    m_preferences.setJson(settings::listKeys[at(segment)],
                          isDefault(segment) ? QJsonValue(QJsonValue::Null)
                                             : QJsonArray::fromStringList(this->list(segment)));
    Q_EMIT listChanged(segment);
    for (qsizetype i = 0; i < before.size(); ++i) {
        if (!this->list(segment).contains(before[i]))
            Q_EMIT removed(before[i], int(i));
    }
    Q_EMIT changed();
}

void InstrumentBook::noteName(const QString &symbol, const QString &name)
{
    if (!contains(symbol) || name.isEmpty() || name.size() > longestName || m_names.value(symbol) == name)
        return;
    m_names.insert(symbol, name);
    storeNames();
    Q_EMIT changed();
}

void InstrumentBook::storeNames()
{
    QJsonObject names;
    for (auto known = m_names.cbegin(); known != m_names.cend(); ++known) {
        if (contains(known.key()))
            names.insert(known.key(), known.value());
    }
    m_preferences.setJson(settings::namesKey, names);
}

void InstrumentBook::acknowledgeDamage()
{
    for (const MarketSegment segment : std::exchange(m_damaged, {}))
        m_preferences.setJson(settings::listKeys[at(segment)], QJsonValue::Null);
    Q_EMIT changed();
}

} // namespace kestrune
