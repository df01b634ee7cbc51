// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

namespace kestrune {

/// Follows who owns a name on a bus. Knows of nobody before the bus has answered.
class NameWatch : public QObject
{
    Q_OBJECT
public:
    /// Nobody ever owns an empty name.
    NameWatch(const QDBusConnection &connection, const QString &name);

    /// Its unique name; empty while nobody has the name, or there is no bus.
    [[nodiscard]] const QString &owner() const { return m_owner; }

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void busGone();

private:
    void setOwner(const QString &owner);

    QDBusServiceWatcher m_watcher;
    QString m_owner;
};

} // namespace kestrune
