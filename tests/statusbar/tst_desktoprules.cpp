// SPDX-License-Identifier: MIT
#include "statusbar/appearance.h"
#include "statusbar/desktop/autostart.h"
#include "statusbar/desktop/stripitem.h"
#include "statusbar/editactions.h"
#include "statusbar/panelplacement.h"
#include "statusbar/presentation.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QKeyEvent>
#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

/// The decisions that depend on the desktop, each a plain function.
class TestDesktopRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsDark()
    {
        const QColor white(Qt::white);
        const QColor ink(46, 52, 54);
        const struct
        {
            const char *name;
            BarColors bar;
            std::optional<bool> prefersDark;
            bool darkPalette;
            Appearance expected;
        } rows[] = {
            {"nothing is known but a light palette", {}, {}, false, {false, false}},
            {"nothing is known but a dark palette", {}, {}, true, {true, true}},
            {"the desktop's preference beats the palette", {}, false, true, {false, false}},
            {"light words are on a dark bar, windows stay light", {white}, false, false, {true, false}},
            {"dark words are on a light bar, windows stay dark", {ink}, true, true, {false, true}},
            {"a silent bar is what bars like it are", {{}, true}, {}, false, {true, false}},
            {"but follows a preference for light", {{}, true}, false, false, {false, false}},
            {"and its own words first", {ink, true}, {}, false, {false, false}},
        };
        test::forEachRow(rows, [](const auto &row) {
            QVERIFY(appearanceOf(row.bar, row.prefersDark, row.darkPalette) == row.expected);
        });
    }

    void whichPresentationsShow()
    {
        using enum NotifierHost;
        constexpr Presentation strip{.strip = true};
        constexpr Presentation tray{.tray = true};
        constexpr Presentation item{.notifier = true};
        constexpr Presentation both{.notifier = true, .strip = true};
        const struct
        {
            const char *name;
            DesktopFacts facts;
            Presentation expected;
        } rows[] = {
            {"an empty desktop waits", {}, {}},
            {"and gets the strip then", {.waited = true}, strip},
            {"a tray at once", {.tray = true}, tray},
            {"a tray before a label", {.tray = true, .notifier = label, .waited = true}, tray},
            {"wide pictures before a tray", {.tray = true, .notifier = wide}, item},
            {"not a shell's squeezing tray", {.tray = true, .notifier = shell, .waited = true}, item},
            {"a silent tray has the time of all hosts", {.tray = true, .trayIsLate = true}, tray},
            {"then a strip beside it",
             {.tray = true, .trayIsLate = true, .waited = true},
             {.tray = true, .strip = true}},
            {"it does not keep a label away",
             {.tray = true, .trayIsLate = true, .notifier = label},
             {.tray = true, .notifier = true}},
            {"a label cannot be neon", {.notifier = label, .waited = true, .bling = true}, both},
            {"a dot shows at once, its strip waits for a tray", {.notifier = dot}, item},
            {"a dot and its strip", {.notifier = dot, .waited = true}, both},
            {"asked for", {.stripForced = true, .tray = true, .notifier = wide, .bling = true}, strip},
        };
        test::forEachRow(rows,
                         [](const auto &row) { QVERIFY(choosePresentation(row.facts) == row.expected); });
    }

    void hostsAreKnownByTheirProcess()
    {
        const auto kind = [](const char *line) {
            return notifierHostOf(QByteArray(line).replace(' ', '\0'));
        };
        QCOMPARE(kind("/usr/bin/waybar"), NotifierHost::wide);
        QCOMPARE(kind("/usr/bin/python3 /usr/bin/xapp-sn-watcher"), NotifierHost::wide);
        QCOMPARE(kind("/usr/lib/mate-panel/other-applet"), NotifierHost::dot); // folders do not count
        QCOMPARE(kind("swaybar -b waybar"), NotifierHost::dot);                // nor do later arguments
        QCOMPARE(kind(""), NotifierHost::dot);
    }

    void whereThePanelOpens()
    {
        constexpr QRect screen(0, 27, 1280, 973);
        constexpr QRect whole(0, 0, 1280, 1000);
        const struct
        {
            const char *name;
            QRect item, available, expected;
        } rows[] = {
            {"under a narrow item", {600, 0, 100, 26}, screen, {490, 27, 320, 900}},
            {"under the last 340 points of a wide one", {300, 0, 500, 26}, screen, {470, 27, 320, 900}},
            {"340 points count whole", {300, 0, 340, 26}, screen, {310, 27, 320, 900}},
            {"in from the right edge", {1200, 0, 80, 26}, screen, {960, 27, 320, 900}},
            {"in from the left edge", {0, 0, 80, 26}, screen, {0, 27, 320, 900}},
            {"above", {600, 974, 100, 26}, {0, 0, 1280, 974}, {490, 74, 320, 900}},
            {"below, if it fits", {600, 560, 100, 22}, {0, 0, 1280, 1100}, {490, 582, 320, 518}},
            {"a strip stays free", {1100, 27, 172, 22}, {0, 27, 1280, 693}, {960, 49, 320, 671}},
            {"a low screen: over it", {600, 350, 100, 22}, {0, 0, 1280, 720}, {490, 0, 320, 480}},
            {"below at a tie", {600, 300, 100, 20}, {0, 0, 1280, 620}, {490, 140, 320, 480}},
            {"left screen", {-200, 0, 100, 26}, {-1280, 27, 1280, 973}, {-320, 27, 320, 900}},
            {"a screen narrower than it", {0, 0, 50, 26}, {0, 26, 240, 294}, {0, 26, 240, 294}},
            {"the corner of the free area", cornerAnchor(screen, whole), screen, {960, 27, 320, 900}},
            {"below a bar that cannot be seen", cornerAnchor(whole, whole), whole, {960, 32, 320, 900}},
        };
        test::forEachRow(rows, [](const auto &row) {
            QCOMPARE(placePanel(row.item, QSize(320, 900), row.available), row.expected);
        });
    }

    void placesInTheWindowSystemsPixels()
    {
        // One screen of 1920 x 1080 pixels at a scale, a second one to its right at scale 1.
        const auto converted = [](double scale, const QPoint &native) {
            const QRect first(0, 0, int(1920 / scale), int(1080 / scale));
            const ScreenShape screens[] = {{first, scale}, {{1920, 0, 1280, 1024}, 1}};
            return toLogical(native, screens);
        };
        QCOMPARE(converted(1.25, {1800, 25}), QPoint(1440, 20));
        QCOMPARE(converted(2, {1800, 26}), QPoint(900, 13));
        QCOMPARE(converted(2, {2000, 13}), QPoint(2000, 13)); // it starts where it does in pixels
        QCOMPARE(converted(2, {9000, 13}), QPoint(9000, 13)); // on no screen
    }

    void onlyPlacesWhereABarCanBeAreTrusted()
    {
        constexpr ScreenShape screens[] = {{{0, 0, 1280, 1000}, 1}, {{1280, 0, 1280, 1000}, 1}};
        const auto trusted = [&](const QPoint &given, const QPoint &pointer) {
            return anchorOfClick(given, pointer, screens) == QRect(given, QSize(1, 1));
        };
        QVERIFY(trusted({1201, 13}, {1201, 13}));
        QVERIFY(trusted({2000, 990}, {2003, 991}));        // a bar at the lower edge of the second screen
        QVERIFY(trusted({900, 30}, {1201, 13}));           // the corner of a wide item
        QVERIFY(!trusted({56, 14}, {1201, 13}));           // inside the host's own window
        QVERIFY(!trusted({640, 500}, {640, 500}));         // in the middle of the screen
        QVERIFY(!trusted({0, 0}, {640, 500}));             // pressed by key
        QVERIFY(!trusted({5000, 13}, {5000, 13}));         // on no screen
        QVERIFY(placeInSight({2500, 2, 72, 22}, screens)); // half out
        QVERIFY(!placeInSight({-8778, -9999, 22, 22}, screens)); // where a tray keeps it until it has room
    }

    void whereTheStripStands()
    {
        constexpr QRect first(0, 27, 1280, 973);
        constexpr QRect second(1280, 0, 1920, 1080);
        const auto corner = [](std::optional<QPoint> remembered, const QList<QRect> &areas) {
            return stripCorner(remembered, QSize(100, 22), areas);
        };
        QCOMPARE(corner({}, {first, second}), QPoint(1272, 27));
        QCOMPARE(corner({{700, 400}}, {first}), QPoint(700, 400));
        QCOMPARE(corner({{3000, 20}}, {first}), QPoint(1280, 27));         // back from a screen that is gone
        QCOMPARE(corner({{3300, 20}}, {first, second}), QPoint(3200, 20)); // on the nearest one
        QCOMPARE(corner({{700, 0}}, {first}), QPoint(700, 27));            // not under the bar
        QCOMPARE(corner({{700, 2000}}, {first}), QPoint(700, 978));
        QCOMPARE(corner({{20, 100}}, {first}), QPoint(100, 100));
        QCOMPARE(corner({{60, 10}}, {{0, 0, 80, 60}}), QPoint(80, 10)); // wider than the screen
        QCOMPARE(corner({{20, 100}}, {}), QPoint(20, 100));             // no screen at all
    }

    void whichEditingCommandAKeyMeans()
    {
        const auto means = [](int key, Qt::KeyboardModifiers modifiers, quint32 scanCode,
                              std::optional<EditCommand> expected) {
            return editCommandOf(QKeyEvent(QEvent::KeyPress, key, modifiers, scanCode, 0, 0)) == expected;
        };
        constexpr auto paste = EditCommand::paste;
        constexpr auto ctrl = Qt::ControlModifier;
        constexpr quint32 scanV = 55;
        constexpr int cyrillicM = 0x041c; // on the V key of a Russian keyboard
        QVERIFY(means(Qt::Key_V, ctrl, scanV, paste));
        QVERIFY(means(Qt::Key_V, ctrl | Qt::KeypadModifier, scanV, paste)); // locks do not matter
        QVERIFY(means(cyrillicM, ctrl, scanV, paste));
        QVERIFY(means(cyrillicM, ctrl, 40, {}));
        QVERIFY(means(Qt::Key_K, ctrl, scanV, {})); // a Latin letter counts by its name
        QVERIFY(means(Qt::Key_V, ctrl, 60, paste));
        QVERIFY(means(Qt::Key_V, ctrl | Qt::ShiftModifier, scanV, {}));
        QVERIFY(means(Qt::Key_V, ctrl | Qt::MetaModifier, scanV, {}));
        QVERIFY(means(Qt::Key_V, Qt::NoModifier, scanV, {}));
    }

    // The desktop unescapes the value of Exec as a string first and then as a quoted argument.
    void pathsAreQuotedForTheDesktop()
    {
        QCOMPARE(quotedForExec(u"/a b/100%"_s), u"\"/a b/100%%\""_s);
        QCOMPARE(quotedForExec(u"/a$b"_s), u"\"/a\\\\$b\""_s);
        QCOMPARE(quotedForExec(u"/a\"b"_s), u"\"/a\\\\\"b\""_s);
        QCOMPARE(quotedForExec(u"/a\\b"_s), u"\"/a\\\\\\\\b\""_s);
    }
};

KESTRUNE_TEST(TestDesktopRules)
#include "tst_desktoprules.moc"
