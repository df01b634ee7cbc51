// SPDX-License-Identifier: MIT
#include "statusbar/desktop/desktopnotices.h"

#include "statusbar/desktop/portal.h"

#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QGuiApplication>
#include <QVariantMap>

#include <algorithm>
#include <array>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

const QString noticeService = u"org.freedesktop.Notifications"_s; // its interface's too
const QString noticeServicePath = u"/org/freedesktop/Notifications"_s;
const QString noticePortal = u"Notification"_s;

struct NoticeButton
{
    NoticeChoice choice;
    QLatin1StringView action;
    QStringView label;
};
constexpr std::array noticeButtons{
    NoticeButton{NoticeChoice::acknowledge, "acknowledge"_L1, u"收到"},
    NoticeButton{NoticeChoice::open, "open"_L1, u"打开面板"},
    NoticeButton{NoticeChoice::snooze, "snooze"_L1, u"10 分钟后再响"},
};
constexpr auto clickAction = "default"_L1; // of the message itself

QDBusMessage serviceCall(const QString &method, const QVariantList &arguments = {})
{
    auto call = QDBusMessage::createMethodCall(noticeService, noticeServicePath, noticeService, method);
    call.setArguments(arguments);
    return call;
}

/// The click on the message first, which only Xfce's service, known by this word, shows as one more button.
QStringList serviceActions(const QStringList &capabilities)
{
    QStringList actions;
    if (!capabilities.contains("x-canonical-private-icon-only"_L1))
        actions << clickAction << u"打开面板"_s;
    for (const NoticeButton &button : noticeButtons)
        actions << button.action << button.label.toString();
    return actions;
}

} // namespace

DesktopNotices::Way DesktopNotices::usualWay()
{
    return insideSandbox() ? Way::portal : Way::service;
}

DesktopNotices::DesktopNotices(const QDBusConnection &connection, Way way)
    : m_connection(connection)
    , m_way(way)
    , m_watcher(noticeService, connection, QDBusServiceWatcher::WatchForOwnerChange)
{
    if (!m_connection.isConnected())
        return;
    if (m_way == Way::portal) {
        qDBusRegisterMetaType<QList<QVariantMap>>();
        m_connection.connect(portalName, portalPath, portalInterface(noticePortal), u"ActionInvoked"_s, this,
                             SLOT(portalActed(QString, QString)));
        return;
    }
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &DesktopNotices::ownerChanged);
    const auto listen = [this](const QString &signal, const char *slot) {
        m_connection.connect(noticeService, noticeServicePath, noticeService, signal, this, slot);
    };
    listen(u"ActionInvoked"_s, SLOT(serviceActed(uint, QString)));
    listen(u"NotificationClosed"_s, SLOT(serviceClosed(uint)));
    listen(u"ActivationToken"_s, SLOT(serviceActivates(uint, QString)));
}

void DesktopNotices::show(const Notice &notice)
{
    if (!m_connection.isConnected())
        return;
    if (m_way == Way::portal) {
        toPortal(notice);
        return;
    }
    if (!m_shown.contains(notice.id) && m_shown.size() >= mostNotices)
        return;
    Shown &shown = m_shown[notice.id];
    shown.wanted = notice;
    shown.due = true;
    shown.again = false;
    advance(notice.id);
}

void DesktopNotices::withdraw(const QString &id)
{
    if (m_way == Way::portal && m_connection.isConnected()) {
        m_connection.send(portalCall(noticePortal, u"RemoveNotification"_s, {id}));
    } else if (const auto shown = m_shown.find(id); shown != m_shown.end()) {
        shown->wanted.reset();
        advance(id);
    }
}

void DesktopNotices::advance()
{
    const QStringList ids = m_shown.keys();
    for (const QString &id : ids)
        advance(id);
}

// One call per message is under way at a time, so that what was wanted last is what stands in the end.
void DesktopNotices::advance(const QString &id)
{
    const auto shown = m_shown.find(id);
    if (shown->underWay)
        return;
    if (!shown->wanted) {
        if (shown->number != 0)
            m_connection.send(serviceCall(u"CloseNotification"_s, {shown->number}));
        m_shown.erase(shown);
    } else if (shown->due && m_capabilities) {
        send(id, *shown);
    } else if (shown->due) {
        askCapabilities();
    }
}

void DesktopNotices::askCapabilities()
{
    if (std::exchange(m_asking, true))
        return;
    auto *watcher =
        new QDBusPendingCallWatcher(m_connection.asyncCall(serviceCall(u"GetCapabilities"_s)), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        m_asking = false;
        if (const QDBusMessage answer = watcher->reply(); answer.type() == QDBusMessage::ReplyMessage)
            m_capabilities = answer.arguments().value(0).toStringList();
        else
            m_shown.clear(); // nobody shows messages here
        advance();
    });
}

void DesktopNotices::send(const QString &id, Shown &shown)
{
    enum Urgency : uchar { normal = 1, critical = 2 };
    constexpr int untilSeen = 0, usualTime = -1;
    const Notice &notice = *shown.wanted;
    const bool buttons = notice.rung && m_capabilities->contains("actions"_L1);
    const QVariantMap hints{{u"urgency"_s, QVariant::fromValue<uchar>(notice.rung ? critical : normal)},
                            {u"category"_s, u"x-kestrune.price"_s},
                            {u"desktop-entry"_s, QGuiApplication::desktopFileName()},
                            {u"suppress-sound"_s, true}}; // the chime is ours
    shown.due = false;
    shown.underWay = true;
    const QDBusMessage call = serviceCall(
        u"Notify"_s,
        {QGuiApplication::applicationDisplayName(), shown.number, QGuiApplication::desktopFileName(),
         notice.title, m_capabilities->contains("body-markup"_L1) ? notice.body.toHtmlEscaped() : notice.body,
         buttons ? serviceActions(*m_capabilities) : QStringList(), hints,
         notice.rung ? untilSeen : usualTime});
    auto *watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, id] {
        watcher->deleteLater();
        sent(id, watcher->reply());
    });
}

void DesktopNotices::sent(const QString &id, const QDBusMessage &answer)
{
    const auto shown = m_shown.find(id);
    if (shown == m_shown.end())
        return;
    shown->underWay = false;
    if (answer.type() == QDBusMessage::ReplyMessage) {
        shown->number = answer.arguments().value(0).toUInt();
    } else if (shown->wanted && !shown->due && !std::exchange(shown->again, true)) {
        shown->due = true; // the service has gone in between; another may be there
        shown->number = 0;
    } else if (!shown->due) {
        m_shown.erase(shown);
        return;
    }
    advance(id);
}

void DesktopNotices::ownerChanged()
{
    m_capabilities.reset();
    // What an earlier service has shown went with it; what it has not answered is settled by the answer.
    m_shown.removeIf([](const auto &shown) { return !shown->underWay && !shown->due; });
    for (Shown &shown : m_shown)
        shown.number = 0;
}

QString DesktopNotices::idOf(uint number) const
{
    const auto shown = std::ranges::find(m_shown.cbegin(), m_shown.cend(), number,
                                         [](const Shown &one) { return one.number; });
    return number != 0 && shown != m_shown.cend() ? shown.key() : QString();
}

// Closing a message acknowledges nothing.
void DesktopNotices::serviceClosed(uint number)
{
    const auto shown = m_shown.find(idOf(number));
    if (shown == m_shown.end())
        return;
    shown->number = 0;
    if (!shown->underWay && !shown->due)
        m_shown.erase(shown);
}

void DesktopNotices::serviceActed(uint number, const QString &action)
{
    if (const QString id = idOf(number); !id.isEmpty())
        act(id, action);
}

// The toolkit hands it to the compositor with the next window that wants to be in front.
void DesktopNotices::serviceActivates(uint number, const QString &token)
{
    if (!idOf(number).isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

void DesktopNotices::portalActed(const QString &id, const QString &action)
{
    act(id, action);
}

void DesktopNotices::act(const QString &id, const QString &action)
{
    const auto button = std::ranges::find(noticeButtons, action, &NoticeButton::action);
    if (button != noticeButtons.end())
        Q_EMIT chosen(id, button->choice);
    else if (action == clickAction)
        Q_EMIT chosen(id, NoticeChoice::open);
}

void DesktopNotices::toPortal(const Notice &notice)
{
    QVariantMap message{{u"title"_s, notice.title},
                        {u"body"_s, notice.body},
                        {u"priority"_s, notice.rung ? u"urgent"_s : u"normal"_s}};
    if (notice.rung) {
        QList<QVariantMap> buttons;
        for (const NoticeButton &button : noticeButtons)
            buttons.append({{u"label"_s, button.label.toString()}, {u"action"_s, QString(button.action)}});
        message.insert(u"default-action"_s, QString(clickAction));
        message.insert(u"buttons"_s, QVariant::fromValue(buttons));
    }
    m_connection.send(portalCall(noticePortal, u"AddNotification"_s, {notice.id, message}));
}

} // namespace kestrune
