// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <QStringList>

#include <map>
#include <variant>

namespace kestrune::test {

/// Preferences in memory that record the order of the writes.
class MemoryPreferences final : public Preferences
{
public:
    /// An entry of one of the five kinds. Text and binary data are distinct; a whole double reads as an
    /// integer too and an integer as a number.
    using Entry = std::variant<QString, bool, double, int, QByteArray>;

    [[nodiscard]] std::optional<QString> text(const QString &key) const override;
    [[nodiscard]] std::optional<bool> boolean(const QString &key) const override;
    [[nodiscard]] std::optional<double> number(const QString &key) const override;
    [[nodiscard]] std::optional<int> integer(const QString &key) const override;
    [[nodiscard]] std::optional<QByteArray> data(const QString &key) const override;

    void setText(const QString &key, const QString &value) override { write(key, value); }
    void setBoolean(const QString &key, bool value) override { write(key, value); }
    /// As in the real store a number that is not finite is not stored.
    void setNumber(const QString &key, double value) override;
    void setInteger(const QString &key, int value) override { write(key, value); }
    void setData(const QString &key, const QByteArray &value) override { write(key, value); }

    /// Puts an entry there as an earlier run would have left it; not recorded.
    void preset(const QString &key, Entry entry) { m_entries[key] = std::move(entry); }
    [[nodiscard]] bool contains(const QString &key) const { return m_entries.contains(key); }

    /// Every write so far as "key=value", in order, equal ones included: text and data as they are, "true"
    /// and "false", numbers in their shortest spelling ("2.5", "10").
    [[nodiscard]] const QStringList &writes() const { return m_writes; }
    void clearWrites() { m_writes.clear(); }

private:
    void write(const QString &key, Entry entry);
    template <typename T>
    [[nodiscard]] std::optional<T> read(const QString &key) const;

    std::map<QString, Entry> m_entries;
    QStringList m_writes;
};

} // namespace kestrune::test
