// SPDX-License-Identifier: MIT
#include "line/barclient.h"

#include "line/barbus.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

#include <unistd.h>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

const QString busDaemon = u"org.freedesktop.DBus"_s;

} // namespace

BarClient::BarClient(const QDBusConnection &connection, Limits limits)
    : m_connection(connection)
    , m_limits(limits)
    , m_watcher(barBusName, connection, QDBusServiceWatcher::WatchForOwnerChange)
{
    m_silence.setSingleShot(true);
    m_silence.setTimerType(Qt::VeryCoarseTimer);
    connect(&m_silence, &QTimer::timeout, this, &BarClient::ask);
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &owner) {
                if (owner.isEmpty())
                    lose();
                else
                    look();
            });
}

void BarClient::start()
{
    if (!m_connection.isConnected()) {
        lose();
        return;
    }
    m_connection.connect(barBusName, barObjectPath, barInterface, u"Changed"_s, this, SLOT(ask()));
    look();
}

void BarClient::call(const QString &method, const QVariantList &arguments) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(barBusName, barObjectPath, barInterface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    m_connection.send(message);
}

void BarClient::send(const QDBusMessage &message, std::function<void(const QDBusPendingCall &)> answered)
{
    const auto limit = static_cast<int>(m_limits.answer.count());
    auto *watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(message, limit), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, answered = std::move(answered)] {
        watcher->deleteLater();
        answered(*watcher);
    });
}

// A bus may be shared: what another user's program shows is not for us.
void BarClient::look()
{
    QDBusMessage message = QDBusMessage::createMethodCall(busDaemon, u"/org/freedesktop/DBus"_s, busDaemon,
                                                          u"GetConnectionUnixUser"_s);
    message << barBusName;
    send(message, [this](const QDBusPendingCall &answer) {
        const QDBusPendingReply<uint> user(answer);
        if (user.isValid() && user.value() == ::getuid())
            ask();
        else
            lose();
    });
}

void BarClient::ask()
{
    if (m_asking) {
        m_askAgain = true;
        return;
    }
    m_asking = true;
    QDBusMessage message = QDBusMessage::createMethodCall(barBusName, barObjectPath,
                                                          u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    message << barInterface << u"Json"_s;
    message.setAutoStartService(false);
    send(message, [this](const QDBusPendingCall &answer) { take(answer); });
}

void BarClient::take(const QDBusPendingCall &answer)
{
    m_asking = false;
    if (std::exchange(m_askAgain, false)) {
        ask();
        return;
    }
    const QDBusPendingReply<QDBusVariant> reply(answer);
    const auto record =
        reply.isValid() ? barRecord(reply.value().variant().toString().toUtf8()) : std::nullopt;
    if (!record) {
        lose();
        return;
    }
    m_following = true;
    m_silence.start(m_limits.silence);
    Q_EMIT told(*record);
}

void BarClient::lose()
{
    m_following = false;
    m_silence.stop();
    Q_EMIT gone();
}

} // namespace kestrune
