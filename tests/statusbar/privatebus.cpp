// SPDX-License-Identifier: MIT
#include "statusbar/privatebus.h"

#include "support/eventloop.h"

#include <QDBusPendingCall>
#include <QDBusPendingReply>

namespace kestrune::test {

using namespace Qt::StringLiterals;

static constexpr char busConfig[] = "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
                                    "<policy context='default'><allow send_destination='*' eavesdrop='true'/>"
                                    "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>";

PrivateBus::PrivateBus()
{
    // The session's own file would start the services of this machine.
    if (!m_config.open() || m_config.write(busConfig) < 0 || !m_config.flush())
        return;
    m_daemon.setStandardErrorFile(QProcess::nullDevice());
    m_daemon.start(u"dbus-daemon"_s,
                   {u"--config-file="_s + m_config.fileName(), u"--nofork"_s, u"--print-address=1"_s});
    if (m_daemon.waitForStarted() && m_daemon.waitForReadyRead())
        m_address = QString::fromLatin1(m_daemon.readLine()).trimmed();
}

PrivateBus::~PrivateBus()
{
    for (const QString &name : m_names)
        QDBusConnection::disconnectFromBus(name);
    stop();
}

void PrivateBus::stop()
{
    m_daemon.terminate();
    m_daemon.waitForFinished();
}

QDBusConnection PrivateBus::connection(const QString &name)
{
    m_names.insert(name);
    return QDBusConnection::connectToBus(m_address, name);
}

QDBusMessage PrivateBus::call(const QDBusConnection &from, const QString &service, const QString &path,
                              const QString &interface, const QString &member, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, member);
    message.setArguments(arguments);
    const QDBusPendingCall pending = from.asyncCall(message, 3000);
    return waitFor([&] { return pending.isFinished(); }) ? pending.reply() : QDBusMessage();
}

} // namespace kestrune::test
