// SPDX-License-Identifier: MIT
#include "statusbar/desktop/singleinstance.h"

#include "line/barbus.h"
#include "statusbar/wayland.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

const QString objectPath = u"/org/kestrune/bar"_s;
const QString applicationInterface = u"org.freedesktop.Application"_s;
constexpr int instanceLimitMs = 5000;

/// What the starter gave this process so that the window it leads to may take the focus.
QVariantMap platformDataOfThisStart()
{
    QVariantMap data;
    if (const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN"); !token.isEmpty())
        data.insert(u"activation-token"_s, token);
    if (const QString id = qEnvironmentVariable("DESKTOP_STARTUP_ID"); !id.isEmpty())
        data.insert(u"desktop-startup-id"_s, id);
    return data;
}

} // namespace

SingleInstance::SingleInstance(const QDBusConnection &connection) : m_connection(connection) {}

SingleInstance::~SingleInstance()
{
    if (!m_first)
        return;
    m_connection.unregisterService(barBusName);
    m_connection.unregisterObject(objectPath);
}

SingleInstance::Role SingleInstance::claim()
{
    if (!m_connection.isConnected() || !m_connection.interface())
        return Role::alone;
    // The object first: whoever sees the name may call at once.
    m_connection.registerObject(objectPath, this, QDBusConnection::ExportScriptableSlots);
    const auto reply =
        m_connection.interface()->registerService(barBusName, QDBusConnectionInterface::DontQueueService,
                                                  QDBusConnectionInterface::DontAllowReplacement);
    m_first = reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
    if (m_first)
        return Role::first;
    m_connection.unregisterObject(objectPath);
    // A bus that refuses the name for another reason must not keep the program from starting.
    return m_connection.interface()->isServiceRegistered(barBusName) ? Role::second : Role::alone;
}

bool SingleInstance::activateFirst() const
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(barBusName, objectPath, applicationInterface, u"Activate"_s);
    call << platformDataOfThisStart();
    const QDBusMessage answer = m_connection.call(call, QDBus::Block, instanceLimitMs);
    return answer.type() == QDBusMessage::ReplyMessage && answer.arguments().isEmpty();
}

QString SingleInstance::strangerText() const
{
    const QDBusReply<uint> process = m_connection.interface()->servicePid(barBusName);
    QString text = u"总线名称 "_s + barBusName + u" 已被占用，但占用它的程序"_s;
    if (process.isValid())
        text += u"（进程 %1）"_s.arg(process.value());
    return text + u"不像正在运行的 Kestrune Bar 那样应答。请结束该程序后再启动。"_s;
}

void SingleInstance::Activate(const QVariantMap &platformData)
{
    useActivationToken(platformData.value(u"activation-token"_s).toString());
    QMetaObject::invokeMethod(this, &SingleInstance::activated, Qt::QueuedConnection);
}

void SingleInstance::Open(const QStringList &, const QVariantMap &platformData)
{
    Activate(platformData); // the panel is all there is to open
}

void SingleInstance::ActivateAction(const QString &, const QVariantList &, const QVariantMap &platformData)
{
    Activate(platformData);
}

} // namespace kestrune
