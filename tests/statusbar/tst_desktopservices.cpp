// SPDX-License-Identifier: MIT
#include "statusbar/desktop/desktoptheme.h"
#include "statusbar/desktop/quitsignals.h"
#include "statusbar/desktop/singleinstance.h"
#include "statusbar/desktop/wakewatch.h"
#include "statusbar/privatebus.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QColor>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>

#include <csignal>

#include <unistd.h>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

/// The desktop portal's settings, as far as they are asked for.
class FakePortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit FakePortal(const QDBusConnection &connection) : m_connection(connection)
    {
        m_connection.registerObject(u"/org/freedesktop/portal/desktop"_s, this,
                                    QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
    }
    ~FakePortal() override { stop(); }
    void start() { m_connection.registerService(u"org.freedesktop.portal.Desktop"_s); }
    void stop() { m_connection.unregisterService(u"org.freedesktop.portal.Desktop"_s); }
    void set(uint newScheme, const QString &key = u"color-scheme"_s)
    {
        scheme = newScheme;
        Q_EMIT SettingChanged(u"org.freedesktop.appearance"_s, key, QDBusVariant(scheme));
    }

    uint scheme = 0;

public Q_SLOTS:
    QDBusVariant Read(const QString &, const QString &)
    {
        return QDBusVariant(QVariant::fromValue(QDBusVariant(scheme))); // wrapped twice, as the real one does
    }

Q_SIGNALS:
    void SettingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    QDBusConnection m_connection;
};

/// The login manager's announcement.
class FakeLogin : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

Q_SIGNALS:
    void PrepareForSleep(bool begins);
};

class TestDesktopServices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void themeFollowsThePortal();
    void barColourIsPassedOn();
    void oneInstancePerBus();
    void quitSignalsReachTheEventLoop();
    void withoutABusOneIsAlone();
    void activationArrives();
    void awakeAfterASleep();
};

void TestDesktopServices::themeFollowsThePortal()
{
    PrivateBus bus;
    DesktopTheme theme(bus.connection(u"ours"_s));
    const QSignalSpy changed(&theme, &ThemeSource::changed);
    const QSignalSpy announces(&theme, &ThemeSource::announcesChanged);
    QVERIFY(!waitFor([&] { return theme.announces(); }, std::chrono::milliseconds(100)));
    FakePortal portal(bus.connection(u"theirs"_s)); // may come later
    portal.scheme = 1;
    portal.start();
    QVERIFY(waitFor([&] { return theme.announces(); }));
    QCOMPARE(theme.prefersDark(), std::optional(true));
    portal.set(0);
    QVERIFY(waitFor([&] { return !theme.prefersDark(); }));
    portal.set(2);
    QVERIFY(waitFor([&] { return theme.prefersDark() == std::optional(false); }));
    QCOMPARE(changed.size(), 3);
    portal.set(1, u"accent-color"_s);
    QVERIFY(!waitFor([&] { return changed.size() > 3; }, std::chrono::milliseconds(100)));
    portal.stop(); // and go
    QVERIFY(waitFor([&] { return !theme.announces(); }));
    QCOMPARE(announces.size(), 2);
    QCOMPARE(theme.prefersDark(), std::optional(false));
}

void TestDesktopServices::barColourIsPassedOn()
{
    PrivateBus bus;
    DesktopTheme theme(bus.connection(u"ours"_s));
    QVERIFY(!theme.trayTextColor());
    const auto yes = [] { return true; };
    theme.setBar([] { return std::optional(QColor(Qt::white)); }, yes);
    QVERIFY(isDarkMenuBar(theme));
    theme.setBar([] { return std::optional(QColor(Qt::black)); }, yes);
    QVERIFY(!isDarkMenuBar(theme));

    // A bar that does not tell is what bars like it usually are, unless the desktop is asked to be light.
    theme.setBar([] { return std::optional<QColor>(); }, yes);
    QVERIFY(isDarkMenuBar(theme));
    FakePortal portal(bus.connection(u"portal"_s));
    portal.scheme = 2;
    portal.start();
    QVERIFY(waitFor([&] { return theme.prefersDark() == std::optional(false); }));
    QVERIFY(!isDarkMenuBar(theme));
}

void TestDesktopServices::oneInstancePerBus()
{
    PrivateBus bus;
    auto first = std::make_unique<SingleInstance>(bus.connection(u"first"_s));
    QCOMPARE(first->claim(), SingleInstance::Role::first);
    SingleInstance second(bus.connection(u"second"_s));
    QCOMPARE(second.claim(), SingleInstance::Role::second);
    first.reset();
    SingleInstance next(bus.connection(u"third"_s));
    QCOMPARE(next.claim(), SingleInstance::Role::first);
}

void TestDesktopServices::withoutABusOneIsAlone()
{
    const QDBusConnection dead(u"nobody knows this connection"_s);
    SingleInstance instance(dead);
    QCOMPARE(instance.claim(), SingleInstance::Role::alone);
    const DesktopTheme theme(dead);
    QVERIFY(!theme.announces());
    const WakeWatch wake(dead);
}

void TestDesktopServices::activationArrives()
{
    PrivateBus bus;
    SingleInstance instance(bus.connection(u"first"_s));
    QCOMPARE(instance.claim(), SingleInstance::Role::first);
    const QSignalSpy activated(&instance, &SingleInstance::activated);
    const QDBusConnection other = bus.connection(u"other"_s);
    const auto call = [&](const QString &member, const QVariantList &arguments) {
        return PrivateBus::call(other, u"org.kestrune.bar"_s, u"/org/kestrune/bar"_s,
                                u"org.freedesktop.Application"_s, member, arguments)
            .type();
    };
    QCOMPARE(call(u"Activate"_s, {QVariantMap{{u"activation-token"_s, u"t"_s}}}), QDBusMessage::ReplyMessage);
    QCOMPARE(call(u"Open"_s, {QStringList{u"file:///x"_s}, QVariantMap()}), QDBusMessage::ReplyMessage);
    QCOMPARE(call(u"ActivateAction"_s, {u"any"_s, QVariantList(), QVariantMap()}),
             QDBusMessage::ReplyMessage);
    QVERIFY(waitFor([&] { return activated.size() == 3; }));
    QCOMPARE(call(u"deleteLater"_s, {}), QDBusMessage::ErrorMessage);
}

void TestDesktopServices::awakeAfterASleep()
{
    PrivateBus bus;
    QDBusConnection theirs = bus.connection(u"theirs"_s);
    FakeLogin login;
    theirs.registerObject(u"/org/freedesktop/login1"_s, &login, QDBusConnection::ExportAllSignals);
    theirs.registerService(u"org.freedesktop.login1"_s);
    WakeWatch wake(bus.connection(u"ours"_s));
    const QSignalSpy awake(&wake, &WakeWatch::awake);
    Q_EMIT login.PrepareForSleep(true);
    QVERIFY(!waitFor([&] { return !awake.isEmpty(); }, std::chrono::milliseconds(100)));
    Q_EMIT login.PrepareForSleep(false);
    QVERIFY(waitFor([&] { return awake.size() == 1; }));
}

void TestDesktopServices::quitSignalsReachTheEventLoop()
{
    QuitSignals quit;
    const QSignalSpy received(&quit, &QuitSignals::received);
    int count = 0;
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        ::kill(::getpid(), number);
        ++count;
        QVERIFY2(waitFor([&] { return received.size() == count; }), qPrintable(QString::number(number)));
    }
}

KESTRUNE_TEST(TestDesktopServices)
#include "tst_desktopservices.moc"
