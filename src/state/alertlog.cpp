// SPDX-License-Identifier: MIT
#include "state/alertlog.h"

#include "analysis/utczone.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <iterator>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestText = 200; // a line stays short whatever a source calls an instrument

QString timeText(Instant time)
{
    const auto since = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(since.count(), utcZone).toString(Qt::ISODateWithMs);
}

std::optional<Instant> timeOf(const QJsonValue &text)
{
    const QDateTime time = QDateTime::fromString(text.toString(), Qt::ISODateWithMs);
    if (!time.isValid())
        return std::nullopt;
    return Instant(std::chrono::milliseconds(time.toMSecsSinceEpoch()));
}

} // namespace

QByteArray toJsonLine(const AlertLogEntry &entry)
{
    QJsonObject object{
        {u"time"_s, timeText(entry.time)}, {u"id"_s, entry.id},
        {u"symbol"_s, entry.symbol},       {u"name"_s, entry.name.left(longestText)},
        {u"target"_s, entry.target},       {u"direction"_s, entry.above ? u"above"_s : u"below"_s},
        {u"price"_s, entry.price},         {u"label"_s, entry.label.left(longestText)}};
    if (entry.away)
        object.insert(u"away"_s, true);
    if (entry.acknowledgedAt) {
        object.insert(u"acknowledged"_s, timeText(*entry.acknowledgedAt));
        object.insert(u"acknowledgedWhere"_s, entry.acknowledgedWhere);
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<AlertLogEntry> fromJsonLine(const QByteArray &line)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    const auto time = timeOf(object.value("time"_L1));
    const QJsonValue id = object.value("id"_L1), symbol = object.value("symbol"_L1),
                     target = object.value("target"_L1), price = object.value("price"_L1);
    const QString direction = object.value("direction"_L1).toString();
    if (!time || !id.isString() || !symbol.isString() || !target.isDouble() || !price.isDouble() ||
        (direction != "above"_L1 && direction != "below"_L1))
        return std::nullopt;
    return AlertLogEntry{.id = id.toString(),
                         .time = *time,
                         .symbol = symbol.toString(),
                         .name = object.value("name"_L1).toString(),
                         .target = target.toDouble(),
                         .above = direction == "above"_L1,
                         .price = price.toDouble(),
                         .label = object.value("label"_L1).toString(),
                         .acknowledgedAt = timeOf(object.value("acknowledged"_L1)),
                         .acknowledgedWhere = object.value("acknowledgedWhere"_L1).toString(),
                         .away = object.value("away"_L1).toBool()};
}

AlertLog::AlertLog(const QString &path)
{
    if (!path.isEmpty())
        m_file.emplace(path);
}

const std::vector<AlertLogEntry> &AlertLog::entries()
{
    takeOver();
    return m_entries;
}

// What is not written yet stays at the end.
void AlertLog::takeOver()
{
    const auto lines = m_file ? m_file->changedLines() : std::nullopt;
    if (!lines)
        return;
    std::vector<AlertLogEntry> entries;
    for (const QByteArray &line : *lines) {
        if (auto entry = fromJsonLine(line))
            entries.push_back(std::move(*entry));
    }
    m_unreadable = entries.empty() && !m_file->isEmpty();
    std::move(m_entries.end() - std::ptrdiff_t(m_unwritten), m_entries.end(), std::back_inserter(entries));
    m_entries = std::move(entries);
    m_changed = false;
}

void AlertLog::change(const std::function<bool()> &make)
{
    const auto lock = m_file ? m_file->lock() : nullptr;
    takeOver();
    if (lock && std::exchange(m_unreadable, false))
        m_file->setAside();
    if (!make())
        return;
    if (m_entries.size() > mostEntries) {
        m_entries.erase(m_entries.begin(), m_entries.end() - std::ptrdiff_t(mostEntries));
        m_unwritten = std::min(m_unwritten, mostEntries);
        m_changed = true;
    }
    if (lock)
        write();
    Q_EMIT changed();
}

void AlertLog::write()
{
    QByteArray lines;
    for (auto entry = m_changed ? m_entries.begin() : m_entries.end() - std::ptrdiff_t(m_unwritten);
         entry != m_entries.end(); ++entry)
        lines += toJsonLine(*entry) + '\n';
    if (!(m_changed ? m_file->replaceWith(lines) : m_file->append(lines)))
        return;
    m_unwritten = 0;
    m_changed = false;
}

void AlertLog::append(AlertLogEntry entry)
{
    entry.time = std::chrono::floor<std::chrono::milliseconds>(entry.time);
    change([&] {
        m_entries.push_back(std::move(entry));
        ++m_unwritten;
        return true;
    });
}

void AlertLog::acknowledge(const QString &id, Instant time, const QString &where)
{
    change([&] {
        const auto last = std::find_if(m_entries.rbegin(), m_entries.rend(),
                                       [&id](const AlertLogEntry &entry) { return entry.id == id; });
        if (last == m_entries.rend() || last->acknowledgedAt)
            return false;
        last->acknowledgedAt = std::chrono::floor<std::chrono::milliseconds>(time);
        last->acknowledgedWhere = where;
        m_changed = true;
        return true;
    });
}

} // namespace kestrune
