// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"
#include "platform/sharedjsonfile.h"

#include <QJsonObject>

#include <functional>

namespace kestrune {

/// Preferences in the file "preferences.json" of a folder: one indented JSON object, an entry per key, for
/// its owner's eyes. A value that the file holds already is not written again.
class JsonPreferences final : public Preferences
{
public:
    explicit JsonPreferences(const QString &folder);

    /// $XDG_CONFIG_HOME/kestrune-bar, by default ~/.config/kestrune-bar.
    [[nodiscard]] static QString defaultFolder();

    /// Calls `report` at the first write that fails, once in the object's life, and at once when one has
    /// failed before. What could not be written reads back all the same, and later writes try it again.
    void onFirstWriteFailure(std::function<void()> report);

    [[nodiscard]] QJsonValue json(const QString &key) const override;
    void setJson(const QString &key, const QJsonValue &value) override;

private:
    mutable SharedJsonFile m_file; // reading looks whether another program has written
    QJsonObject m_unsaved;
    bool m_failed = false;
    std::function<void()> m_report;
};

} // namespace kestrune
