// SPDX-License-Identifier: MIT
#include "line/unsavedpreferences.h"

namespace kestrune {

QJsonValue UnsavedPreferences::json(const QString &key) const
{
    const auto own = m_own.find(key);
    return own == m_own.end() ? m_stored.json(key) : *own;
}

bool UnsavedPreferences::update(const QString &key, EntryChange change)
{
    if (const QJsonValue changed = change(json(key)); !changed.isUndefined())
        setJson(key, changed);
    return true;
}

} // namespace kestrune
