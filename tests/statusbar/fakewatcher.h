// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

namespace kestrune::test {

using namespace Qt::StringLiterals;

/// Stands for a desktop's bar: takes registrations and counts the items' signals.
class FakeWatcher : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

public:
    explicit FakeWatcher(const QDBusConnection &connection) : m_connection(connection)
    {
        m_connection.registerObject(u"/StatusNotifierWatcher"_s, this,
                                    QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties |
                                        QDBusConnection::ExportAllSignals);
        m_connection.connect({}, u"/StatusNotifierItem"_s, u"org.kde.StatusNotifierItem"_s, {}, this,
                             SLOT(heard(QDBusMessage)));
        m_connection.connect({}, {}, u"com.canonical.dbusmenu"_s, u"LayoutUpdated"_s, this,
                             SLOT(heard(QDBusMessage)));
    }
    ~FakeWatcher() override { stop(); }
    void start() { m_connection.registerService(name); }
    void stop() { m_connection.unregisterService(name); }
    [[nodiscard]] bool hasHost() const { return host; }
    void setHost(bool there)
    {
        host = there;
        if (there)
            Q_EMIT StatusNotifierHostRegistered();
        else
            Q_EMIT StatusNotifierHostUnregistered();
    }

    QStringList items;
    QStringList heardSignals;
    bool host = true;

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString &service) { items.append(service); }

Q_SIGNALS:
    void StatusNotifierHostRegistered();
    void StatusNotifierHostUnregistered();

private Q_SLOTS:
    void heard(const QDBusMessage &message) { heardSignals.append(message.member()); }

private:
    inline static const QString name = u"org.kde.StatusNotifierWatcher"_s;
    QDBusConnection m_connection;
};

} // namespace kestrune::test
