// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <QHash>
#include <QStringList>

namespace kestrune::test {

/// Preferences in memory that record the order of the writes.
class MemoryPreferences final : public Preferences
{
public:
    [[nodiscard]] QJsonValue json(const QString &key) const override
    {
        return m_entries.value(key, QJsonValue::Undefined);
    }
    void setJson(const QString &key, const QJsonValue &value) override;
    bool update(const QString &key, EntryChange change) override;

    /// Puts an entry there as an earlier run would have left it; not recorded.
    void preset(const QString &key, const QJsonValue &value) { m_entries.insert(key, value); }
    [[nodiscard]] bool contains(const QString &key) const { return m_entries.contains(key); }

    /// Every write so far as "key=value", in order, equal ones included: text as it is, numbers in their
    /// shortest spelling ("2.5", "10"), nothing for a list.
    [[nodiscard]] const QStringList &writes() const { return m_writes; }
    void clearWrites() { m_writes.clear(); }

private:
    QHash<QString, QJsonValue> m_entries;
    QStringList m_writes;
};

} // namespace kestrune::test
