// SPDX-License-Identifier: MIT
#include "statusbar/desktop/notifierwatch.h"

#include "statusbar/desktop/notifiertypes.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>

#include <functional>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int watcherLimitMs = 3000;

QByteArray commandLineOf(uint pid)
{
    QFile file(u"/proc/%1/cmdline"_s.arg(pid));
    return file.open(QIODevice::ReadOnly) ? file.read(4096) : QByteArray();
}

/// Runs `reaction` with the finished reply while `context` lives.
template <typename T>
void whenAnswered(QObject *context, const QDBusPendingCall &call,
                  std::function<void(const QDBusPendingReply<T> &)> reaction)
{
    auto *watcher = new QDBusPendingCallWatcher(call, context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [watcher, reaction = std::move(reaction)] {
                         watcher->deleteLater();
                         reaction(QDBusPendingReply<T>(*watcher));
                     });
}

} // namespace

NotifierWatch::NotifierWatch(const QDBusConnection &connection)
    : m_connection(connection), m_watcher(connection, notifierWatcherName)
{
    connect(&m_watcher, &NameWatch::changed, this, &NotifierWatch::ownerChanged);
    for (const QString &signal : {u"StatusNotifierHostRegistered"_s, u"StatusNotifierHostUnregistered"_s})
        m_connection.connect(notifierWatcherName, notifierWatcherPath, notifierWatcherName, signal, this,
                             SLOT(askForHost()));
}

std::optional<NotifierHost> NotifierWatch::host() const
{
    return m_hasHost ? m_kind : std::nullopt;
}

void NotifierWatch::ownerChanged()
{
    m_kind.reset();
    m_hasHost = true;
    ++m_generation;
    if (m_watcher.owner().isEmpty()) {
        Q_EMIT changed();
        return;
    }
    askForKind();
    askForHost();
}

void NotifierWatch::askForKind()
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus"_s, u"GetConnectionUnixProcessID"_s);
    call << m_watcher.owner();
    whenAnswered<uint>(this, m_connection.asyncCall(call, watcherLimitMs),
                       [this, owner = m_watcher.owner()](const QDBusPendingReply<uint> &reply) {
                           if (owner != m_watcher.owner())
                               return;
                           m_kind =
                               notifierHostOf(reply.isValid() ? commandLineOf(reply.value()) : QByteArray());
                           Q_EMIT changed();
                       });
}

void NotifierWatch::askForHost()
{
    if (m_watcher.owner().isEmpty())
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(m_watcher.owner(), notifierWatcherPath,
                                                       u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    call << notifierWatcherName << u"IsStatusNotifierHostRegistered"_s;
    whenAnswered<QVariant>(this, m_connection.asyncCall(call, watcherLimitMs),
                           [this, owner = m_watcher.owner()](const QDBusPendingReply<QVariant> &reply) {
                               if (owner != m_watcher.owner())
                                   return;
                               // A watcher that cannot be asked counts as one with a host.
                               const bool hasHost = !reply.isValid() || reply.value().toBool();
                               if (hasHost == std::exchange(m_hasHost, hasHost) || !m_kind)
                                   return;
                               Q_EMIT changed();
                           });
}

} // namespace kestrune
