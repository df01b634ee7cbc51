// SPDX-License-Identifier: MIT
#include "statusbar/panelplacement.h"

#include "support/testregistry.h"

#include <QTest>

#include <array>

using namespace kestrune;

namespace {

constexpr QSize panel(320, 900);

} // namespace

class TestPanelPlacement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void opensAtTheItem_data();
    void opensAtTheItem();
    void staysInsideAtEveryItemPlace();
    void convertsWindowSystemPixels();
    void trustsOnlyPlacesWhereABarCanBe();
};

void TestPanelPlacement::opensAtTheItem_data()
{
    QTest::addColumn<QRect>("item");
    QTest::addColumn<QRect>("available");
    QTest::addColumn<QRect>("expected");
    const QRect screen(0, 27, 1280, 973);
    QTest::newRow("centred under a narrow item")
        << QRect(600, 0, 100, 26) << screen << QRect(490, 27, 320, 900);
    QTest::newRow("under the rightmost 340 points of a wide one")
        << QRect(300, 0, 500, 26) << screen << QRect(470, 27, 320, 900);
    QTest::newRow("exactly 340 points count whole")
        << QRect(300, 0, 340, 26) << screen << QRect(310, 27, 320, 900);
    QTest::newRow("pushed in from the right edge")
        << QRect(1200, 0, 80, 26) << screen << QRect(960, 27, 320, 900);
    QTest::newRow("pushed in from the left edge") << QRect(0, 0, 80, 26) << screen << QRect(0, 27, 320, 900);
    QTest::newRow("above an item at the lower edge")
        << QRect(600, 974, 100, 26) << QRect(0, 0, 1280, 974) << QRect(490, 74, 320, 900);
    QTest::newRow("below where there is enough room, though there is more above")
        << QRect(600, 560, 100, 22) << QRect(0, 0, 1280, 1100) << QRect(490, 582, 320, 518);
    QTest::newRow("a strip inside the free area stays uncovered")
        << QRect(1100, 27, 172, 22) << QRect(0, 27, 1280, 693) << QRect(960, 49, 320, 671);
    QTest::newRow("in the middle of a low screen the panel rather covers the item")
        << QRect(600, 350, 100, 22) << QRect(0, 0, 1280, 720) << QRect(490, 0, 320, 480);
    QTest::newRow("on a screen to the left of the first")
        << QRect(-200, 0, 100, 26) << QRect(-1280, 27, 1280, 973) << QRect(-320, 27, 320, 900);
    QTest::newRow("a screen narrower than the panel")
        << QRect(0, 0, 50, 26) << QRect(0, 26, 240, 294) << QRect(0, 26, 240, 294);
    QTest::newRow("the corner of the free area")
        << cornerAnchor(screen, QRect(0, 0, 1280, 1000)) << screen << QRect(960, 27, 320, 900);
    QTest::newRow("below a bar that cannot be seen")
        << cornerAnchor(QRect(0, 0, 1280, 1000), QRect(0, 0, 1280, 1000)) << QRect(0, 0, 1280, 1000)
        << QRect(960, 32, 320, 900);
}

void TestPanelPlacement::opensAtTheItem()
{
    QFETCH(QRect, item);
    QFETCH(QRect, available);
    QFETCH(QRect, expected);
    QCOMPARE(placePanel(item, panel, available), expected);
}

void TestPanelPlacement::staysInsideAtEveryItemPlace()
{
    const QRect available(100, 30, 1000, 700);
    for (int x = -200; x < 1400; x += 37) {
        for (int y = -100; y < 900; y += 23) {
            for (const int width : {1, 90, 700}) {
                const QRect place = placePanel({x, y, width, 22}, panel, available);
                QVERIFY2(available.contains(place),
                         qPrintable(QStringLiteral("item %1,%2 width %3").arg(x).arg(y).arg(width)));
                QVERIFY(place.height() >= 480);
            }
        }
    }
}

void TestPanelPlacement::convertsWindowSystemPixels()
{
    // One screen of 1920 x 1080 pixels at a scale, a second one to its right at scale 1.
    const auto converted = [](double scale, const QPoint &native) {
        const std::array screens{ScreenShape{QRect(0, 0, int(1920 / scale), int(1080 / scale)), scale},
                                 ScreenShape{QRect(1920, 0, 1280, 1024), 1}};
        return toLogical(native, screens);
    };
    QCOMPARE(converted(1.25, {1800, 25}), QPoint(1440, 20));
    QCOMPARE(converted(2, {1800, 26}), QPoint(900, 13));
    QCOMPARE(converted(2, {2000, 13}), QPoint(2000, 13)); // it starts where it does in pixels
    QCOMPARE(converted(2, {9000, 13}), QPoint(9000, 13)); // on no screen
}

void TestPanelPlacement::trustsOnlyPlacesWhereABarCanBe()
{
    const std::array screens{ScreenShape{QRect(0, 0, 1280, 1000), 1},
                             ScreenShape{QRect(1280, 0, 1280, 1000), 1}};
    const auto trusted = [&](const QPoint &told, const QPoint &pointer) {
        const auto anchor = anchorOfClick(told, pointer, screens);
        return anchor && *anchor == QRect(told, QSize(1, 1));
    };
    QVERIFY(trusted({1201, 13}, {1201, 13}));
    QVERIFY(trusted({2000, 990}, {2003, 991})); // a bar at the lower edge of the second screen
    QVERIFY(trusted({900, 30}, {1201, 13}));    // the corner of a wide item
    QVERIFY(!trusted({56, 14}, {1201, 13}));    // inside the host's own window
    QVERIFY(!trusted({640, 500}, {640, 500}));  // in the middle of the screen
    QVERIFY(!trusted({0, 0}, {640, 500}));      // pressed by key
    QVERIFY(!trusted({5000, 13}, {5000, 13}));  // on no screen
    const QRect halfOut(2500, 2, 72, 22);
    QCOMPARE(placeInSight(halfOut, screens), halfOut);
    QVERIFY(!placeInSight({-8778, -9999, 22, 22}, screens)); // where a tray keeps it until it has room
}

KESTRUNE_TEST(TestPanelPlacement)
#include "tst_panelplacement.moc"
