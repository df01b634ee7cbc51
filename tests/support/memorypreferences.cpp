// SPDX-License-Identifier: MIT
#include "support/memorypreferences.h"

#include <QLocale>

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace kestrune::test {

namespace {

QString toText(const QString &text)
{
    return text;
}

QString toText(const QByteArray &data)
{
    return QString::fromUtf8(data);
}

QString spelled(const MemoryPreferences::Entry &entry)
{
    return std::visit(
        [](const auto &value) {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, bool>)
                return value ? QStringLiteral("true") : QStringLiteral("false");
            else if constexpr (std::is_same_v<T, double>)
                return QString::number(value, 'g', QLocale::FloatingPointShortest);
            else if constexpr (std::is_same_v<T, int>)
                return QString::number(value);
            else
                return toText(value);
        },
        entry);
}

} // namespace

template <typename T>
std::optional<T> MemoryPreferences::read(const QString &key) const
{
    const auto found = m_entries.find(key);
    if (found == m_entries.end())
        return std::nullopt;
    if (const T *value = std::get_if<T>(&found->second))
        return *value;
    return std::nullopt;
}

std::optional<QString> MemoryPreferences::text(const QString &key) const
{
    return read<QString>(key);
}

std::optional<bool> MemoryPreferences::boolean(const QString &key) const
{
    return read<bool>(key);
}

std::optional<double> MemoryPreferences::number(const QString &key) const
{
    if (const auto whole = read<int>(key))
        return static_cast<double>(*whole);
    return read<double>(key);
}

std::optional<int> MemoryPreferences::integer(const QString &key) const
{
    const auto value = number(key);
    if (!value || std::trunc(*value) != *value || *value < std::numeric_limits<int>::min() ||
        *value > std::numeric_limits<int>::max()) {
        return std::nullopt;
    }
    return static_cast<int>(*value);
}

std::optional<QByteArray> MemoryPreferences::data(const QString &key) const
{
    return read<QByteArray>(key);
}

void MemoryPreferences::setNumber(const QString &key, double value)
{
    if (std::isfinite(value))
        write(key, value);
}

void MemoryPreferences::write(const QString &key, Entry entry)
{
    m_writes.append(key + u'=' + spelled(entry));
    m_entries[key] = std::move(entry);
}

} // namespace kestrune::test
