// SPDX-License-Identifier: MIT
#include "support/memorypreferences.h"

namespace kestrune::test {

void MemoryPreferences::setJson(const QString &key, const QJsonValue &value)
{
    m_writes.append(key + u'=' + value.toVariant().toString());
    m_entries.insert(key, value);
}

bool MemoryPreferences::update(const QString &key, EntryChange change)
{
    if (const QJsonValue value = change(json(key)); !value.isUndefined())
        setJson(key, value);
    return true;
}

} // namespace kestrune::test
