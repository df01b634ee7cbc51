// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"
#include "platform/wholefile.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <functional>
#include <optional>

namespace kestrune {

/// All entries of both; those of `changes` count where both have one. Made anew: an object that is changed in
/// place keeps the bytes of every text it ever held, and hands them on to its copies.
[[nodiscard]] QJsonObject withChanges(const QJsonObject &base, const QJsonObject &changes);

/// A file that holds one JSON object and that several running programs change entry by entry.
///
/// A change is merged into what the file holds at that moment, under a lock on the folder that the kernel
/// lifts with its holder, and replaces the file in one step: after kill -9 at any moment the file is the old
/// or the new one, complete. A file that is no JSON object of reasonable size is renamed, never overwritten.
class SharedJsonFile
{
public:
    /// Larger files count as broken, and no larger one is written: some 10 000 alerts. What does not come
    /// from this program must not hold up the start.
    static constexpr qint64 largestSize = qint64(3) * 1024 * 1024;

    /// The folder need not exist; the first write creates it for its owner alone.
    SharedJsonFile(const QString &folder, const QString &fileName);

    /// What the file holds now; read again only when it has changed. A broken file is set aside, and what it
    /// held before it broke, if this object saw that, stays.
    [[nodiscard]] const QJsonObject &content();

    /// Writes the entries, and what the changes make of theirs, over those of the file and keeps all others;
    /// writes nothing when the file holds them already. False when they could not be written; the file is
    /// unchanged then.
    [[nodiscard]] bool merge(const QJsonObject &entries, const EntryChanges &changes = {});

    /// Calls `report` whenever the file is found to be unreadable, and at once when it has been found so
    /// before.
    void onUnread(std::function<void(const UnreadFile &)> report);

    /// How often content that another program had written was taken over.
    [[nodiscard]] int readings() const { return m_readings; }
    /// Of the file itself, whatever links lead to it.
    [[nodiscard]] const QString &path() const { return m_path; }

private:
    enum class Locked { no, yes };
    enum class State { missing, readable, broken, unusable };

    [[nodiscard]] State inspect(FileStamp &stamp) const;
    void refresh(Locked locked = Locked::no);
    [[nodiscard]] QJsonObject changed(QJsonObject entries, const EntryChanges &changes) const;
    [[nodiscard]] bool holds(const QJsonObject &entries) const;
    void tell(const UnreadFile &unread);
    [[nodiscard]] bool replaceWith(const QJsonObject &content);

    QString m_folder;
    QString m_path;
    QJsonObject m_content;
    FileStamp m_stamp{};
    // Something is there that can be neither read nor moved away, so that nothing may be written over it.
    bool m_blocked = false;
    int m_readings = 0;
    std::optional<UnreadFile> m_unread;
    std::function<void(const UnreadFile &)> m_report;
};

} // namespace kestrune
