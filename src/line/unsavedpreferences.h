// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <QHash>

namespace kestrune {

/// Stored settings that a run reads and changes for itself alone: nothing is written.
class UnsavedPreferences final : public Preferences
{
public:
    explicit UnsavedPreferences(const Preferences &stored) : m_stored(stored) {}

    [[nodiscard]] QJsonValue json(const QString &key) const override;
    void setJson(const QString &key, const QJsonValue &value) override { m_own.insert(key, value); }
    bool update(const QString &key, EntryChange change) override;

private:
    const Preferences &m_stored;
    QHash<QString, QJsonValue> m_own;
};

} // namespace kestrune
