// SPDX-License-Identifier: MIT
#include "statusbar/presentation.h"

#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;

namespace {

QString shown(const Presentation &presentation)
{
    QStringList parts;
    if (presentation.tray)
        parts.append(QStringLiteral("tray"));
    if (presentation.notifier)
        parts.append(QStringLiteral("notifier"));
    if (presentation.strip)
        parts.append(QStringLiteral("strip"));
    return parts.join(u'+');
}

} // namespace

class TestPresentation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void picksByWhatTheDesktopShows_data();
    void picksByWhatTheDesktopShows();
    void knowsHostsByTheirProcess_data();
    void knowsHostsByTheirProcess();
};

void TestPresentation::picksByWhatTheDesktopShows_data()
{
    QTest::addColumn<DesktopFacts>("facts");
    QTest::addColumn<QString>("expected");
    using enum NotifierHost;
    const auto row = [](const char *name, const DesktopFacts &facts, const char *expected) {
        QTest::newRow(name) << facts << QString::fromLatin1(expected);
    };
    row("an empty desktop waits", {}, "");
    row("an empty desktop gets the strip after the wait", {.waited = true}, "strip");
    row("a tray is taken at once", {.tray = true}, "tray");
    row("a tray that does not answer gets a strip beside it",
        {.tray = true, .trayIsLate = true, .waited = true}, "tray+strip");
    row("a tray that does not answer has the time of all hosts", {.tray = true, .trayIsLate = true}, "tray");
    row("a tray that does not answer does not keep a label away",
        {.tray = true, .trayIsLate = true, .notifier = label}, "tray+notifier");
    row("a host of wide pictures is preferred to a tray beside it", {.tray = true, .notifier = wide},
        "notifier");
    row("a tray is preferred to a label", {.tray = true, .notifier = label, .waited = true}, "tray");
    row("a shell's squeezing tray is left alone", {.tray = true, .notifier = shell, .waited = true},
        "notifier");
    row("a label cannot be neon", {.notifier = label, .waited = true, .bling = true}, "notifier+strip");
    row("a dot shows at once, its strip waits for a tray", {.notifier = dot}, "notifier");
    row("a dot gets a strip beside it", {.notifier = dot, .waited = true}, "notifier+strip");
    row("asked for, the strip stands alone",
        {.stripForced = true, .tray = true, .notifier = wide, .waited = false, .bling = true}, "strip");
}

void TestPresentation::picksByWhatTheDesktopShows()
{
    QFETCH(DesktopFacts, facts);
    QFETCH(QString, expected);
    QCOMPARE(shown(choosePresentation(facts)), expected);
}

void TestPresentation::knowsHostsByTheirProcess_data()
{
    QTest::addColumn<QByteArray>("commandLine");
    QTest::addColumn<NotifierHost>("expected");
    using enum NotifierHost;
    const auto row = [](const char *name, const QByteArray &line, NotifierHost expected) {
        QByteArray arguments = line;
        QTest::newRow(name) << arguments.replace(' ', '\0') << expected;
    };
    row("waybar by its path", "/usr/bin/waybar", wide);
    row("a program in a folder of that name is another one", "/usr/lib/mate-panel/other-applet", dot);
    row("a wrapped plugin", "/usr/lib/xfce4/panel/wrapper-2.0 /usr/lib/xfce4/panel/plugins/libsystray.so 2",
        dot);
    row("later arguments do not count", "swaybar -b waybar", dot);
    row("nothing readable", "", dot);
}

void TestPresentation::knowsHostsByTheirProcess()
{
    QFETCH(QByteArray, commandLine);
    QFETCH(NotifierHost, expected);
    QCOMPARE(notifierHostOf(commandLine), expected);
}

KESTRUNE_TEST(TestPresentation)
#include "tst_presentation.moc"
