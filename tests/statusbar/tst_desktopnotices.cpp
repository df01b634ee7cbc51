// SPDX-License-Identifier: MIT
#include "statusbar/desktop/desktopnotices.h"

#include "statusbar/privatebus.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QDBusContext>
#include <QDBusMetaType>
#include <QTest>

#include <vector>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The desktop's service for messages: writes down what it is asked and answers when told to.
class FakeNotifications : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    explicit FakeNotifications(const QDBusConnection &connection) : m_connection(connection)
    {
        m_connection.registerObject(u"/org/freedesktop/Notifications"_s, this,
                                    QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
        start();
    }
    void start() { m_connection.registerService(u"org.freedesktop.Notifications"_s); }
    void stop() { m_connection.unregisterService(u"org.freedesktop.Notifications"_s); }
    void answer()
    {
        for (QDBusMessage &reply : m_held)
            m_connection.send(reply);
        m_held.clear();
        holds = false;
    }

    QStringList capabilities{u"body"_s, u"actions"_s, u"body-markup"_s};
    QStringList calls; ///< "caps", "5 <- 0 title | body | buttons | urgency | timeout", "close 5"
    bool holds = false;
    uint number = 4;

public Q_SLOTS:
    QStringList GetCapabilities()
    {
        calls.append(u"caps"_s);
        return capabilities;
    }
    uint Notify(const QString &, uint replaces, const QString &, const QString &title, const QString &body,
                const QStringList &actions, const QVariantMap &hints, int timeout)
    {
        const uint given = replaces != 0 ? replaces : ++number;
        calls.append(u"%1 <- %2 %3 | %4 | %5 | %6 | %7"_s.arg(given)
                         .arg(replaces)
                         .arg(title, body, actions.join(u' '))
                         .arg(hints.value(u"urgency"_s).toInt())
                         .arg(timeout));
        quiet = hints.value(u"suppress-sound"_s).toBool();
        if (holds) {
            setDelayedReply(true);
            m_held.push_back(message().createReply(given));
        }
        return given;
    }
    void CloseNotification(uint closed) { calls.append(u"close %1"_s.arg(closed)); }

Q_SIGNALS:
    void ActionInvoked(uint number, const QString &action);
    void NotificationClosed(uint number, uint reason);

public:
    bool quiet = false;

private:
    QDBusConnection m_connection;
    std::vector<QDBusMessage> m_held;
};

/// The same of the sandbox's portal.
class FakeNoticePortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Notification")

public:
    QStringList calls;

public Q_SLOTS:
    void AddNotification(const QString &id, const QVariantMap &message)
    {
        const auto buttons = qdbus_cast<QList<QVariantMap>>(message.value(u"buttons"_s));
        calls.append(u"%1 %2 | %3 | %4 | %5"_s
                         .arg(id, message.value(u"title"_s).toString(), message.value(u"body"_s).toString(),
                              message.value(u"priority"_s).toString())
                         .arg(buttons.size()));
    }
    void RemoveNotification(const QString &id) { calls.append(u"remove "_s + id); }

Q_SIGNALS:
    void ActionInvoked(const QString &id, const QString &action, const QVariantList &parameter);
};

class TestDesktopNotices : public QObject
{
    Q_OBJECT

    struct Desk
    {
        PrivateBus bus;
        FakeNotifications service{bus.connection(u"theirs"_s)};
        DesktopNotices notices{bus.connection(u"ours"_s), DesktopNotices::Way::service};
        QStringList chosen;

        Desk()
        {
            connect(&notices, &DesktopNotices::chosen, [this](const QString &id, NoticeChoice choice) {
                chosen.append(u"%1 %2"_s.arg(id).arg(int(choice)));
            });
        }
        /// Whether these calls and no others have come since the last look.
        [[nodiscard]] bool calls(const QStringList &expected)
        {
            const bool right = waitFor([&] { return service.calls.size() >= expected.size(); }) &&
                               !waitFor([&] { return service.calls.size() > expected.size(); }, 30ms) &&
                               service.calls == expected;
            if (!right)
                qWarning() << service.calls;
            service.calls.clear();
            return right;
        }
    };

private Q_SLOTS:
    void messagesAreReplacedClosedAndAnswered()
    {
        const QString buttons = u"default 打开面板 acknowledge 收到 open 打开面板 snooze 10 分钟后再响"_s;
        Desk desk;
        desk.notices.show({.id = u"a"_s, .title = u"A&B 触及 1"_s, .body = u"<A&B>"_s});
        QVERIFY(
            desk.calls({u"caps"_s, u"5 <- 0 A&B 触及 1 | &lt;A&amp;B&gt; | "_s + buttons + u" | 2 | 0"_s}));
        QVERIFY(desk.service.quiet);
        desk.notices.show({.id = u"a"_s, .title = u"T"_s, .body = u"b"_s});
        desk.notices.show({.id = u"z"_s, .title = u"Z"_s, .body = u"b"_s, .rung = false});
        QVERIFY(desk.calls({u"5 <- 5 T | b | "_s + buttons + u" | 2 | 0"_s, u"6 <- 0 Z | b |  | 1 | -1"_s}));

        for (const QString &action : {u"acknowledge"_s, u"snooze"_s, u"default"_s, u"open"_s, u"odd"_s})
            Q_EMIT desk.service.ActionInvoked(5, action);
        Q_EMIT desk.service.ActionInvoked(99, u"open"_s); // another program's
        QVERIFY(waitFor([&] { return desk.chosen.size() >= 4; }));
        QCOMPARE(desk.chosen, (QStringList{u"a 0"_s, u"a 2"_s, u"a 1"_s, u"a 1"_s}));

        desk.notices.withdraw(u"z"_s);
        desk.notices.withdraw(u"z"_s);
        QVERIFY(desk.calls({u"close 6"_s}));
        Q_EMIT desk.service.NotificationClosed(5, 2); // by the user: no answer, and nothing left to close
        QVERIFY(!waitFor([&] { return desk.chosen.size() > 4; }, 30ms));
        desk.notices.withdraw(u"a"_s);
        desk.notices.show({.id = u"a"_s, .title = u"T"_s, .body = u"b"_s});
        QVERIFY(desk.calls({u"7 <- 0 T | b | "_s + buttons + u" | 2 | 0"_s}));
    }

    void aClickThatWouldBeAButtonIsLeftOut()
    {
        Desk desk;
        desk.service.capabilities.append(u"x-canonical-private-icon-only"_s);
        desk.notices.show({.id = u"a"_s, .title = u"T"_s, .body = {}});
        QVERIFY(desk.calls(
            {u"caps"_s, u"5 <- 0 T |  | acknowledge 收到 open 打开面板 snooze 10 分钟后再响 | 2 | 0"_s}));
    }

    void whatIsWantedLastStands()
    {
        Desk desk;
        desk.service.capabilities = {u"body"_s};
        desk.service.holds = true;
        desk.notices.show({.id = u"a"_s, .title = u"1"_s, .body = u"<b>"_s});
        desk.notices.show({.id = u"b"_s, .title = u"1"_s, .body = {}});
        QVERIFY(waitFor([&] { return desk.service.calls.size() == 3; }));
        desk.notices.withdraw(u"a"_s);
        desk.notices.show({.id = u"b"_s, .title = u"2"_s, .body = {}});
        desk.notices.show({.id = u"b"_s, .title = u"3"_s, .body = {}});
        desk.service.calls.sort();
        const QString first = desk.service.calls.value(0), second = desk.service.calls.value(1);
        QVERIFY((first + second).contains(u"1 | <b> |  | 2 | 0"_s)); // without buttons and markup
        const bool aIsFirst = first.contains(u"<b>"_s);
        desk.service.calls.clear();
        desk.service.answer();
        QVERIFY(waitFor([&] { return desk.service.calls.size() >= 2; }));
        desk.service.calls.sort();
        QVERIFY(desk.calls(
            {u"%1 <- %1 3 |  |  | 2 | 0"_s.arg(aIsFirst ? 6 : 5), u"close %1"_s.arg(aIsFirst ? 5 : 6)}));

        for (int i = 0; i < 100; ++i)
            desk.notices.show({.id = QString::number(i), .title = {}, .body = {}});
        QVERIFY(waitFor([&] { return desk.service.calls.size() >= DesktopNotices::mostNotices - 1; }));
        QVERIFY(!waitFor([&] { return desk.service.calls.size() >= DesktopNotices::mostNotices; }, 50ms));
    }

    void servicesComeAndGo()
    {
        Desk desk;
        desk.service.stop();
        desk.notices.show({.id = u"a"_s, .title = u"nobody"_s, .body = {}}); // and later nobody wants it
        QVERIFY(!waitFor([&] { return !desk.service.calls.isEmpty(); }, 50ms));
        desk.service.start();
        desk.notices.show({.id = u"b"_s, .title = u"1"_s, .body = {}, .rung = false});
        QVERIFY(desk.calls({u"caps"_s, u"5 <- 0 1 |  |  | 1 | -1"_s}));
        desk.service.stop(); // what it showed is gone, and its number is another's
        desk.service.start();
        Q_EMIT desk.service.ActionInvoked(5, u"open"_s);
        QVERIFY(!waitFor([&] { return !desk.chosen.isEmpty(); }, 30ms));
        desk.notices.show({.id = u"b"_s, .title = u"2"_s, .body = {}, .rung = false});
        QVERIFY(desk.calls({u"caps"_s, u"6 <- 0 2 |  |  | 1 | -1"_s}));
    }

    void theSandboxAsksItsPortal()
    {
        PrivateBus bus;
        QDBusConnection theirs = bus.connection(u"theirs"_s);
        qDBusRegisterMetaType<QList<QVariantMap>>();
        FakeNoticePortal portal;
        theirs.registerObject(u"/org/freedesktop/portal/desktop"_s, &portal,
                              QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
        theirs.registerService(u"org.freedesktop.portal.Desktop"_s);
        DesktopNotices notices(bus.connection(u"ours"_s), DesktopNotices::Way::portal);
        QStringList chosen;
        connect(&notices, &DesktopNotices::chosen, this, [&](const QString &id) { chosen.append(id); });
        notices.show({.id = u"a"_s, .title = u"T"_s, .body = u"<b>"_s});
        notices.show({.id = u"z"_s, .title = u"Z"_s, .body = u"b"_s, .rung = false});
        notices.withdraw(u"a"_s);
        QVERIFY(waitFor([&] { return portal.calls.size() == 3; }));
        QCOMPARE(portal.calls,
                 (QStringList{u"a T | <b> | urgent | 3"_s, u"z Z | b | normal | 0"_s, u"remove a"_s}));
        Q_EMIT portal.ActionInvoked(u"a"_s, u"snooze"_s, {});
        QVERIFY(waitFor([&] { return chosen == QStringList{u"a"_s}; }));
    }

    void withoutABusNothingHappens()
    {
        DesktopNotices notices(QDBusConnection(u"nobody knows this connection"_s),
                               DesktopNotices::Way::service);
        notices.show({.id = u"a"_s, .title = {}, .body = {}});
        notices.withdraw(u"a"_s);
    }
};

KESTRUNE_TEST(TestDesktopNotices)
#include "tst_desktopnotices.moc"
