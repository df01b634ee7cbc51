// SPDX-License-Identifier: MIT
#include "platform/jsonpreferences.h"

#include "platform/configfolder.h"

#include <utility>

namespace kestrune {

JsonPreferences::JsonPreferences(const QString &folder) : m_file(folder, QStringLiteral("preferences.json"))
{}

QString JsonPreferences::defaultFolder()
{
    return configFolder() + QStringLiteral("/kestrune-bar");
}

void JsonPreferences::onFirstWriteFailure(std::function<void()> report)
{
    m_report = std::move(report);
    if (m_failed && m_report)
        m_report();
}

void JsonPreferences::onUnread(std::function<void(const UnreadFile &)> report)
{
    m_file.onUnread(std::move(report));
}

void JsonPreferences::onOutsideChange(std::function<void()> reaction)
{
    const auto look = [this, reaction = std::move(reaction)] {
        static_cast<void>(m_file.content());
        if (std::exchange(m_seenReadings, m_file.readings()) != m_file.readings())
            reaction();
    };
    m_watch = std::make_unique<FileWatch>(m_file.path(), look);
    look();
}

QJsonValue JsonPreferences::json(const QString &key) const
{
    const auto unsaved = m_unsaved.constFind(key);
    return unsaved != m_unsaved.constEnd() ? *unsaved : m_file.content().value(key);
}

void JsonPreferences::setJson(const QString &key, const QJsonValue &value)
{
    m_unsaved = withChanges(m_unsaved, {{key, value}});
    static_cast<void>(write());
}

bool JsonPreferences::update(const QString &key, EntryChange change)
{
    m_unsavedUpdates.insert_or_assign(key, std::move(change));
    return write();
}

bool JsonPreferences::write()
{
    if (m_file.merge(m_unsaved, m_unsavedUpdates)) {
        m_unsaved = {};
        m_unsavedUpdates.clear();
        if (m_watch)
            m_watch->arm(); // this may have created the folder
        return true;
    }
    if (!std::exchange(m_failed, true) && m_report)
        m_report();
    return false;
}

} // namespace kestrune
