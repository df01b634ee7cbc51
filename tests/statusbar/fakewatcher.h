// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

namespace kestrune::test {

/// Stands for a desktop's bar: takes registrations and keeps the names of the items' signals.
class FakeWatcher : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered MEMBER host)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems MEMBER listed)

public:
    explicit FakeWatcher(const QDBusConnection &connection) : m_connection(connection)
    {
        m_connection.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                    QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties |
                                        QDBusConnection::ExportAllSignals);
        m_connection.connect({}, QStringLiteral("/StatusNotifierItem"),
                             QStringLiteral("org.kde.StatusNotifierItem"), {}, this,
                             SLOT(heard(QDBusMessage)));
        m_connection.connect({}, {}, QStringLiteral("com.canonical.dbusmenu"),
                             QStringLiteral("LayoutUpdated"), this, SLOT(heard(QDBusMessage)));
    }
    ~FakeWatcher() override { stop(); }
    void start() { m_connection.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")); }
    void stop() { m_connection.unregisterService(QStringLiteral("org.kde.StatusNotifierWatcher")); }
    void setHost(bool there)
    {
        host = there;
        Q_EMIT there ? StatusNotifierHostRegistered() : StatusNotifierHostUnregistered();
    }

    QStringList items;
    QStringList listed;
    int drops = 0; ///< so many registrations more are taken and forgotten
    QStringList heardSignals;
    bool host = true;

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString &service)
    {
        items.append(service);
        if (drops-- <= 0)
            listed.append(service.startsWith(u'/') ? QString(message().service() + service) : service);
    }

Q_SIGNALS:
    void StatusNotifierHostRegistered();
    void StatusNotifierHostUnregistered();
    void StatusNotifierItemRegistered(const QString &service);
    void StatusNotifierItemUnregistered(const QString &service);

private Q_SLOTS:
    void heard(const QDBusMessage &message) { heardSignals.append(message.member()); }

private:
    QDBusConnection m_connection;
};

} // namespace kestrune::test
