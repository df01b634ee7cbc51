// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QSet>
#include <QTemporaryFile>

namespace kestrune::test {

/// A message bus of the test's own. Connections to it are apart from each other like those of processes, but
/// live on one thread: never block on a call to an object of the test.
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();

    /// What DBUS_SESSION_BUS_ADDRESS wants; empty when the bus does not run.
    [[nodiscard]] QString address() const { return m_address; }
    /// The daemon ends; its connections notice.
    void stop();
    [[nodiscard]] QDBusConnection connection(const QString &name);
    /// Calls and lets the event loop run until the answer is there.
    [[nodiscard]] static QDBusMessage call(const QDBusConnection &from, const QString &service,
                                           const QString &path, const QString &interface,
                                           const QString &member, const QVariantList &arguments = {});

private:
    QTemporaryFile m_config;
    QProcess m_daemon;
    QString m_address;
    QSet<QString> m_names;
};

} // namespace kestrune::test
