// SPDX-License-Identifier: MIT
#include "support/memorypreferences.h"

namespace kestrune::test {

void MemoryPreferences::setJson(const QString &key, const QJsonValue &value)
{
    m_writes.append(key + u'=' + value.toVariant().toString());
    m_entries.insert(key, value);
}

} // namespace kestrune::test
