// SPDX-License-Identifier: MIT
#include "statusbar/appearance.h"
#include "statusbar/desktop/autostart.h"
#include "statusbar/desktop/stripitem.h"
#include "statusbar/editactions.h"
#include "statusbar/panelplacement.h"
#include "statusbar/presentation.h"
#include "statusbar/xsettings.h"
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
        const BarColors lightWords{.text = Qt::white};
        const BarColors darkWords{.text = QColor(46, 52, 54), .usuallyDark = true};
        const BarColors silent{.usuallyDark = true};
        const auto dark = [](const BarColors &bar, std::optional<bool> prefersDark, bool darkPalette) {
            const Appearance appearance = appearanceOf(bar, prefersDark, darkPalette);
            return QByteArray(appearance.darkBar ? "bar " : "") + (appearance.darkDesktop ? "windows" : "");
        };
        QCOMPARE(dark({}, {}, false), "");
        QCOMPARE(dark({}, {}, true), "bar windows");
        QCOMPARE(dark({}, false, true), ""); // the desktop's preference beats the palette
        QCOMPARE(dark({}, true, false), "bar windows");
        QCOMPARE(dark(lightWords, false, false), "bar "); // a bar goes by its own words first
        QCOMPARE(dark(darkWords, true, true), "windows");
        QCOMPARE(dark(silent, {}, false), "bar "); // it is what bars like it are
        QCOMPARE(dark(silent, false, true), "");   // but follows a preference for light
    }

    void theDesktopsThemeIsReadFromItsSettings()
    {
        const auto entry = [](char kind, const QByteArray &name, const QByteArray &value) {
            const QByteArray padding((4 - name.size() % 4) % 4, '\0');
            const char head[]{kind, 0, char(name.size()), 0};
            return QByteArray(head, 4) + name + padding + QByteArray(4, '\7') + value;
        };
        const QByteArray block = QByteArray("\0\0\0\0\1\0\0\0\3\0\0\0", 12) +
                                 entry(0, "Xft/DPI", "\1\2\3\4") + entry(2, "Color", "12345678") +
                                 entry(1, "Net/ThemeName", QByteArray("\7\0\0\0Mi-Dark\0", 12));
        QCOMPARE(settingsText(block, "Net/ThemeName"), QByteArray("Mi-Dark"));
        QVERIFY(!settingsText(block, "Xft/DPI") && !settingsText(block, "Net/Theme"));
        for (qsizetype length = 0; length < block.size() - 1; ++length) // cut off anywhere
            QVERIFY(!settingsText(block.first(length), "Net/ThemeName"));
        QByteArray boundless = block;
        boundless[8] = '\xff';
        boundless.replace("\7\0\0\0Mi", "\xff\xff\xff\xff");
        QVERIFY(!settingsText(boundless, "Net/ThemeName"));
        for (const char *dark : {"Adwaita-dark", "Mint-Y-Dark-Aqua", "Yaru:dark", "HighContrastInverse"})
            QVERIFY2(isDarkTheme(dark), dark);
        for (const char *light : {"", "Adwaita", "Arc-Darker", "Darkroom"})
            QVERIFY2(!isDarkTheme(light), light);
    }

    void whichPresentationsShow()
    {
        using enum NotifierHost;
        const auto shown = [](const DesktopFacts &facts) {
            const Presentation now = choosePresentation(facts);
            return QByteArray(now.tray ? "tray " : "") + (now.notifier ? "item " : "") +
                   (now.strip ? "strip" : "");
        };
        QCOMPARE(shown({}), ""); // an empty desktop gets the strip after the wait
        QCOMPARE(shown({.waited = true}), "strip");
        QCOMPARE(shown({.tray = true, .notifier = label, .waited = true}), "tray ");
        QCOMPARE(shown({.tray = true, .notifier = wide}), "item ");
        QCOMPARE(shown({.tray = true, .notifier = shell, .waited = true}), "item "); // its tray squeezes
        // A tray that does not answer goes on being asked beside what would show without it.
        QCOMPARE(shown({.tray = true, .trayIsLate = true, .waited = true}), "tray strip");
        QCOMPARE(shown({.tray = true, .trayIsLate = true, .notifier = label}), "tray item ");
        QCOMPARE(shown({.notifier = label, .waited = true, .bling = true}),
                 "item strip"); // it cannot be neon
        QCOMPARE(shown({.notifier = dot}), "item ");
        QCOMPARE(shown({.unlisted = true, .notifier = shell, .waited = true}), "item strip");
        QCOMPARE(shown({.unlisted = true, .notifier = wide, .waited = true}), "item strip");
        QCOMPARE(shown({.notifier = dot, .waited = true}), "item strip");
        QCOMPARE(shown({.elsewhere = true, .tray = true, .notifier = wide, .waited = true, .bling = true}),
                 "");
        QCOMPARE(
            shown({.stripForced = true, .elsewhere = true, .tray = true, .notifier = wide, .bling = true}),
            "strip");
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
        const auto at = [](const QRect &item, const QRect &available) {
            return placePanel(item, QSize(320, 900), available);
        };
        QCOMPARE(at({600, 0, 100, 26}, screen), QRect(490, 27, 320, 900));
        QCOMPARE(at({300, 0, 500, 26}, screen), QRect(470, 27, 320, 900)); // under the last 340 points
        QCOMPARE(at({1200, 0, 80, 26}, screen), QRect(960, 27, 320, 900)); // in from the edges
        QCOMPARE(at({600, 974, 100, 26}, {0, 0, 1280, 974}), QRect(490, 74, 320, 900)); // above
        // Below where there is enough room, though there is more above, and at a tie.
        QCOMPARE(at({600, 560, 100, 22}, {0, 0, 1280, 1100}), QRect(490, 582, 320, 518));
        QCOMPARE(at({600, 300, 100, 20}, {0, 0, 1280, 620}), QRect(490, 140, 320, 480));
        QCOMPARE(at({1100, 27, 172, 22}, {0, 27, 1280, 693}), QRect(960, 49, 320, 671)); // a strip stays free
        QCOMPARE(at({600, 350, 100, 22}, {0, 0, 1280, 720}), QRect(490, 0, 320, 480));   // too low a screen
        QCOMPARE(at({-200, 0, 100, 26}, {-1280, 27, 1280, 973}), QRect(-320, 27, 320, 900));
        QCOMPARE(at({0, 0, 50, 26}, {0, 26, 240, 294}), QRect(0, 26, 240, 294)); // a screen narrower than it
        QCOMPARE(at(cornerAnchor(screen, whole), screen), QRect(960, 27, 320, 900));
        QCOMPARE(at(cornerAnchor(whole, whole), whole), QRect(960, 32, 320, 900)); // below a bar unseen
        constexpr QRect upper(40, 0, 1240, 960);
        QCOMPARE(at(cornerAnchor(upper, whole), upper),
                 QRect(40, 60, 320, 900)); // a bar below, one at the left
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
        QVERIFY(means(Qt::Key_K, ctrl, scanV, {})); // a Latin letter counts by its name
        QVERIFY(means(Qt::Key_V, ctrl | Qt::ShiftModifier, scanV, {}));
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
