// SPDX-License-Identifier: MIT
#pragma once

#include "platform/filewatch.h"
#include "platform/preferences.h"
#include "platform/sharedjsonfile.h"

#include <QJsonObject>

#include <functional>
#include <memory>

namespace kestrune {

/// Preferences in the file "preferences.json" of a folder: one indented JSON object, an entry per key, for
/// its owner's eyes. A value that the file holds already is not written again.
class JsonPreferences final : public Preferences
{
public:
    explicit JsonPreferences(const QString &folder);

    /// "kestrune-bar" in the user's folder of settings.
    [[nodiscard]] static QString defaultFolder();

    /// Calls `report` at the first write that fails, once in the object's life, and at once when one has
    /// failed before. What could not be written reads back all the same, and later writes try it again.
    void onFirstWriteFailure(std::function<void()> report);

    /// Calls `report` whenever the file is found to be unreadable, and at once when it has been found so
    /// before. It runs inside whatever reads or writes a setting then.
    void onUnread(std::function<void(const UnreadFile &)> report);
    /// Calls `reaction` on a later turn when another program has changed the file, and once at once, for what
    /// has changed since the settings were first read.
    void onOutsideChange(std::function<void()> reaction);

    [[nodiscard]] QJsonValue json(const QString &key) const override;
    void setJson(const QString &key, const QJsonValue &value) override;
    bool update(const QString &key, EntryChange change) override;

private:
    [[nodiscard]] bool write();

    mutable SharedJsonFile m_file; // reading looks whether another program has written
    QJsonObject m_unsaved;
    EntryChanges m_unsavedUpdates;
    bool m_failed = false;
    std::function<void()> m_report;
    int m_seenReadings = 0;
    std::unique_ptr<FileWatch> m_watch; // absent until onOutsideChange()
};

} // namespace kestrune
