// SPDX-License-Identifier: MIT
#include "statusbar/desktop/autostart.h"
#include "statusbar/desktop/backgroundportal.h"
#include "statusbar/desktop/desktoptheme.h"
#include "statusbar/desktop/singleinstance.h"
#include "statusbar/desktop/statusitemchooser.h"
#include "statusbar/desktop/wakewatch.h"
#include "statusbar/privatebus.h"
#include "support/eventloop.h"
#include "support/memorypreferences.h"
#include "support/testregistry.h"

#include <QApplication>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDir>
#include <QPalette>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The desktop portal's settings, as far as they are asked for.
class FakePortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    uint scheme = 0;

    explicit FakePortal(QDBusConnection connection)
    {
        connection.registerObject(u"/org/freedesktop/portal/desktop"_s, this,
                                  QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
    }
    void set(uint newScheme, const QString &key = u"color-scheme"_s)
    {
        scheme = newScheme;
        Q_EMIT SettingChanged(u"org.freedesktop.appearance"_s, key, QDBusVariant(scheme));
    }

public Q_SLOTS:
    QDBusVariant Read(const QString &, const QString &)
    {
        return QDBusVariant(QVariant::fromValue(QDBusVariant(scheme))); // wrapped twice, as the real one does
    }

Q_SIGNALS:
    void SettingChanged(const QString &group, const QString &key, const QDBusVariant &value);
};

/// The desktop portal's leave to run in the background: answers as told, by a signal of the request's object.
class FakeBackgroundPortal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Background")

public:
    QVariantMap asked;
    uint code = 0;
    bool grants = true, answers = true;

public Q_SLOTS:
    QDBusObjectPath RequestBackground(const QString &, const QVariantMap &options)
    {
        asked = options;
        const QString sender = message().service().mid(1).replace(u'.', u'_');
        const QString path = u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(
            sender, options.value(u"handle_token"_s).toString());
        auto response = QDBusMessage::createSignal(path, u"org.freedesktop.portal.Request"_s, u"Response"_s);
        response << code << QVariantMap{{u"autostart"_s, grants && options.value(u"autostart"_s).toBool()}};
        if (answers)
            connection().send(response);
        return QDBusObjectPath(path);
    }
};

class TestDesktopServices : public QObject
{
    Q_OBJECT

    static constexpr Appearance light{};
    static constexpr Appearance dark{true, true};

private Q_SLOTS:
    void themeFollowsPalettePortalAndBar()
    {
        PrivateBus bus;
        DesktopTheme theme(bus.connection(u"ours"_s), 20ms);
        const QSignalSpy changed(&theme, &DesktopTheme::changed);
        const auto becomes = [&](const Appearance &expected) {
            return waitFor([&] { return theme.appearance() == expected; });
        };
        const QPalette before = QApplication::palette();
        QApplication::setPalette(QColor(30, 30, 30)); // looked at while nobody else knows
        QVERIFY(becomes(dark));
        theme.setBar({.text = Qt::black});
        QVERIFY(theme.appearance() == (Appearance{.darkBar = false, .darkDesktop = true}));
        QApplication::setPalette(before); // windows only
        QVERIFY(becomes(light));
        theme.setBar({});

        QDBusConnection theirs = bus.connection(u"theirs"_s);
        FakePortal portal(theirs); // may come later
        portal.scheme = 1;
        theirs.registerService(u"org.freedesktop.portal.Desktop"_s);
        QVERIFY(becomes(dark));
        const qsizetype count = changed.size();
        portal.set(2, u"accent-color"_s);
        theirs.unregisterService(u"org.freedesktop.portal.Desktop"_s); // and go: what it said still holds
        QVERIFY(!waitFor([&] { return changed.size() > count; }, 100ms));
        theirs.registerService(u"org.freedesktop.portal.Desktop"_s); // has another scheme now
        QVERIFY(becomes(light));
        theme.setBar({.usuallyDark = true});
        portal.set(0); // no preference: what is known of the bar counts again
        QVERIFY(becomes({.darkBar = true, .darkDesktop = false}));
    }

    void oneInstancePerBus()
    {
        PrivateBus bus;
        auto first = std::make_unique<SingleInstance>(bus.connection(u"first"_s));
        QCOMPARE(first->claim(), SingleInstance::Role::first);
        const QDBusConnection other = bus.connection(u"second"_s);
        SingleInstance second(other);
        QCOMPARE(second.claim(), SingleInstance::Role::second);
        const QSignalSpy activated(first.get(), &SingleInstance::activated);
        const auto call = [&](const QString &member, const QVariantList &arguments) {
            return PrivateBus::call(other, u"org.kestrune.bar"_s, u"/org/kestrune/bar"_s,
                                    u"org.freedesktop.Application"_s, member, arguments)
                       .type() == QDBusMessage::ReplyMessage;
        };
        QVERIFY(call(u"Activate"_s, {QVariantMap{{u"activation-token"_s, u"t"_s}}}));
        QVERIFY(call(u"Open"_s, {QStringList{u"file:///x"_s}, QVariantMap()}));
        QVERIFY(call(u"ActivateAction"_s, {u"any"_s, QVariantList(), QVariantMap()}));
        QVERIFY(!call(u"deleteLater"_s, {}));
        QCOMPARE(activated.size(), 3);
        first.reset();
        QCOMPARE(SingleInstance(bus.connection(u"third"_s)).claim(), SingleInstance::Role::first);

        QDBusConnection stranger = bus.connection(u"stranger"_s);
        QVERIFY(stranger.registerService(u"org.kestrune.bar"_s));
        QCOMPARE(second.claim(), SingleInstance::Role::second);
        QVERIFY(!second.activateFirst());
        QVERIFY(second.strangerText().contains(u"（进程 %1）"_s.arg(QCoreApplication::applicationPid())));
    }

    void comingBackIsAnnounced()
    {
        PrivateBus bus; // the system's and the session's in one
        const QDBusConnection ours = bus.connection(u"ours"_s);
        QDBusConnection theirs = bus.connection(u"theirs"_s);
        theirs.registerService(u"org.freedesktop.login1"_s);
        theirs.registerService(u"org.freedesktop.portal.Desktop"_s);
        const WakeWatch watch(ours, ours);
        theirs.registerService(u"org.freedesktop.NetworkManager"_s); // comes later
        const QSignalSpy resumed(&watch, &WakeWatch::resumed);
        const QSignalSpy away(&watch, &WakeWatch::awayChanged);
        const QString manager = u"/org/freedesktop/login1"_s, session = manager + u"/session/_32"_s;
        const QString network = u"/org/freedesktop/NetworkManager"_s,
                      desktop = u"/org/freedesktop/portal/desktop"_s;
        const QString login = u"org.freedesktop.login1."_s,
                      networkManager = u"org.freedesktop.NetworkManager"_s;
        const QString saver = u"org.xfce.ScreenSaver"_s, properties = u"org.freedesktop.DBus.Properties"_s;
        const auto primary = [](const QString &path) { return QVariant::fromValue(QDBusObjectPath(path)); };
        const struct
        {
            QString path, interface, name;
            QVariant value;
            bool resumes, isProperty = true;
        } rows[] = {
            {manager, login + u"Manager"_s, u"PrepareForSleep"_s, true, false, false},
            {manager, login + u"Manager"_s, u"PrepareForSleep"_s, false, true, false},
            {session, login + u"Session"_s, u"Lock"_s, {}, false, false},
            {session, login + u"Session"_s, u"Unlock"_s, {}, true, false},
            {session, login + u"Session"_s, u"LockedHint"_s, true, false},
            {session, login + u"Session"_s, u"LockedHint"_s, false, true},
            {session, login + u"Session"_s, u"IdleHint"_s, false, false},
            {session, login + u"User"_s, u"State"_s, 70U, false},
            {network, networkManager, u"State"_s, 20U, false},
            {network, networkManager, u"State"_s, 60U, true},
            {network, networkManager, u"Connectivity"_s, 1U, false},
            {network, networkManager, u"Connectivity"_s, 4U, true},
            {network, networkManager, u"PrimaryConnection"_s, primary(u"/"_s), false},
            {network, networkManager, u"PrimaryConnection"_s, primary(u"/2"_s), true},
            {desktop, u"org.freedesktop.portal.NetworkMonitor"_s, u"changed"_s, {}, true, false},
            {u"/"_s, saver, u"ActiveChanged"_s, true, false, false},
            {u"/"_s, saver, u"ActiveChanged"_s, false, true, false},
        };
        qsizetype expected = 0;
        for (const auto &row : rows) {
            QDBusMessage signal =
                row.isProperty ? QDBusMessage::createSignal(row.path, properties, u"PropertiesChanged"_s)
                               : QDBusMessage::createSignal(row.path, row.interface, row.name);
            if (row.isProperty)
                signal << row.interface << QVariantMap{{row.name, row.value}} << QStringList();
            else if (row.value.isValid())
                signal << row.value;
            theirs.send(signal);
            expected += row.resumes;
            // What must not announce anything is over when the next call has been answered.
            QVERIFY(PrivateBus::call(theirs, ours.baseService(), u"/"_s, u"org.freedesktop.DBus.Peer"_s,
                                     u"Ping"_s)
                        .type() == QDBusMessage::ReplyMessage);
            QVERIFY2(waitFor([&] { return resumed.size() >= expected; }) && resumed.size() == expected,
                     qPrintable(row.name));
        }
        for (qsizetype i = 0; i < away.size(); ++i) // sleep, lock, hint and saver begin and end
            QCOMPARE(away.at(i).at(0).toBool(), i % 2 == 0);
        QCOMPARE(away.size(), 8);
    }

    void everythingWorksWithoutABus()
    {
        const QDBusConnection dead(u"nobody knows this connection"_s);
        QCOMPARE(SingleInstance(dead).claim(), SingleInstance::Role::alone);
        QVERIFY(DesktopTheme(dead).appearance() == light);
        const WakeWatch wake(dead, dead);
        MemoryPreferences preferences;
        StatusItemChooser item(dead, preferences, {}, {.hostWait = 10ms});
        item.show({});
        QVERIFY(waitFor([&] { return item.presentation() == Presentation{.strip = true}; }));
    }

    void autostartIsWrittenAndRemoved()
    {
        const QTemporaryDir home;
        const QString folder = home.filePath(u"config/autostart"_s);
        const Autostart autostart(folder, u"/opt/Kestrune Bar/kestrune-bar"_s);
        QVERIFY(!autostart.isOn() && autostart.set(true) && autostart.isOn());
        QFile file(folder + u"/org.kestrune.bar.desktop"_s);
        QVERIFY(file.open(QIODevice::ReadWrite));
        const QByteArray text = file.readAll();
        QVERIFY(text.startsWith("[Desktop Entry]\nType=Application\n"));
        QVERIFY(text.contains("\nExec=\"/opt/Kestrune Bar/kestrune-bar\"\n"));
        // Session settings switch an entry off by a key.
        for (const char *line :
             {"Hidden = true\r\n", "X-GNOME-Autostart-enabled=false\n", "# Hidden=true\n"}) {
            file.resize(0);
            file.write(QByteArray("[Desktop Entry]\nExec=kestrune-bar\n") + line);
            file.flush();
            QVERIFY2(autostart.isOn() == (line[0] == '#'), line);
        }
        file.close();
        QVERIFY(autostart.set(true) && autostart.isOn()); // writes the entry anew
        QVERIFY(autostart.set(false) && autostart.set(false));
        QVERIFY(QDir(folder).isEmpty());
        QVERIFY(!Autostart(u"/dev/null/autostart"_s, u"/usr/bin/kestrune-bar"_s).set(true));
    }

    void theSandboxAsksForTheStartAtLogin()
    {
        PrivateBus bus;
        QDBusConnection theirs = bus.connection(u"theirs"_s);
        FakeBackgroundPortal portal;
        theirs.registerObject(u"/org/freedesktop/portal/desktop"_s, &portal, QDBusConnection::ExportAllSlots);
        MemoryPreferences preferences;
        BackgroundPortal background(bus.connection(u"ours"_s), preferences);
        const QSignalSpy answered(&background, &BackgroundPortal::answered);
        const struct
        {
            bool there, asks;
            uint code;
            bool grants, done, isOn;
        } rows[] = {
            {false, false, 0, true, true, false}, {false, true, 0, true, false, false}, // nobody to be asked
            {true, true, 0, false, false, false}, {true, true, 2, true, false, false},
            {true, true, 0, true, true, true},    {true, false, 1, true, false, true},
            {false, true, 0, true, true, true},   {true, false, 0, true, true, false},
        };
        qsizetype count = 0;
        for (const auto &row : rows) {
            row.there ? theirs.registerService(u"org.freedesktop.portal.Desktop"_s)
                      : theirs.unregisterService(u"org.freedesktop.portal.Desktop"_s);
            portal.code = row.code;
            portal.grants = row.grants;
            background.request(row.asks);
            background.request(!row.asks); // dropped
            QVERIFY(waitFor([&] { return answered.size() > count; }));
            const auto text = qPrintable(u"row %1"_s.arg(count));
            QVERIFY2(answered.at(count).at(0).toBool() == row.done, text);
            QVERIFY2(background.startsAtLogin() == row.isOn, text);
            QVERIFY2(!row.there || portal.asked.value(u"autostart"_s) == row.asks, text);
            ++count;
        }
        QCOMPARE(answered.size(), count);
        QVERIFY(BackgroundPortal(bus.connection(u"next"_s), preferences).startsAtLogin() == false);
    }
};

KESTRUNE_TEST(TestDesktopServices)
#include "tst_desktopservices.moc"
