// SPDX-License-Identifier: MIT
#include "platform/jsonpreferences.h"

#include <QStandardPaths>

#include <utility>

namespace kestrune {

JsonPreferences::JsonPreferences(const QString &folder) : m_file(folder, QStringLiteral("preferences.json"))
{}

QString JsonPreferences::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/kestrune-bar");
}

void JsonPreferences::onFirstWriteFailure(std::function<void()> report)
{
    m_report = std::move(report);
    if (m_failed && m_report)
        m_report();
}

QJsonValue JsonPreferences::json(const QString &key) const
{
    const auto unsaved = m_unsaved.constFind(key);
    return unsaved != m_unsaved.constEnd() ? *unsaved : m_file.content().value(key);
}

void JsonPreferences::setJson(const QString &key, const QJsonValue &value)
{
    m_unsaved = withChanges(m_unsaved, {{key, value}});
    if (m_file.merge(m_unsaved)) {
        m_unsaved = {};
        return;
    }
    if (std::exchange(m_failed, true) || !m_report)
        return;
    m_report();
}

} // namespace kestrune
