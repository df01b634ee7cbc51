// SPDX-License-Identifier: MIT
#include "statusbar/desktop/stripitem.h"

#include "support/eventloop.h"
#include "support/memorypreferences.h"
#include "support/testregistry.h"

#include <QApplication>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

StatusItemContent contentOf(const QString &text)
{
    StatusItemContent content;
    content.status.text = text;
    content.title = text;
    return content;
}

QWidget *stripWindow()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (qobject_cast<ItemWidget *>(widget))
            return widget;
    }
    return nullptr;
}

void drag(QWidget *window, const QPoint &by)
{
    const QPoint from(10, 10);
    const auto send = [window](QEvent::Type type, const QPoint &at, const QPoint &global,
                               Qt::MouseButtons held) {
        QMouseEvent event(type, at, global, Qt::LeftButton, held, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &event);
    };
    const QPoint start = window->mapToGlobal(from);
    send(QEvent::MouseButtonPress, from, start, Qt::LeftButton);
    send(QEvent::MouseMove, from, start + by / 2, Qt::LeftButton);
    send(QEvent::MouseMove, from, start + by, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, from, start + by, Qt::NoButton);
}

} // namespace

class TestStripItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsItsCorner_data();
    void findsItsCorner();
    void keepsItsRightEndWhenTheTextGrows();
    void rememberedPlaceSurvivesARestart();
    void unreadablePlaceIsForgotten();
    void clickOpensAndDragDoesNot();
};

void TestStripItem::findsItsCorner_data()
{
    QTest::addColumn<std::optional<QPoint>>("remembered");
    QTest::addColumn<QList<QRect>>("areas");
    QTest::addColumn<QPoint>("expected");
    using Place = std::optional<QPoint>;
    const QRect first(0, 27, 1280, 973);
    const QRect second(1280, 0, 1920, 1080);
    QTest::newRow("top right of the first area") << Place() << QList{first, second} << QPoint(1272, 27);
    QTest::newRow("where it was left") << Place({700, 400}) << QList{first} << QPoint(700, 400);
    QTest::newRow("back from a screen that is gone") << Place({3000, 20}) << QList{first} << QPoint(1280, 27);
    QTest::newRow("not under the bar") << Place({700, 0}) << QList{first} << QPoint(700, 27);
    QTest::newRow("not below the lower edge") << Place({700, 2000}) << QList{first} << QPoint(700, 978);
    QTest::newRow("not over the left edge") << Place({20, 100}) << QList{first} << QPoint(100, 100);
    QTest::newRow("wider than the screen it keeps its right end")
        << Place({60, 10}) << QList{QRect(0, 0, 80, 60)} << QPoint(80, 10);
    QTest::newRow("no screen at all") << Place({20, 100}) << QList<QRect>() << QPoint(20, 100);
}

void TestStripItem::findsItsCorner()
{
    QFETCH(std::optional<QPoint>, remembered);
    QFETCH(QList<QRect>, areas);
    QFETCH(QPoint, expected);
    QCOMPARE(stripCorner(remembered, QSize(100, 22), areas), expected);
}

void TestStripItem::keepsItsRightEndWhenTheTextGrows()
{
    MemoryPreferences preferences;
    StripItem strip(preferences);
    strip.show(contentOf(u"ETH  9.5"_s));
    const QRect before = *strip.place();
    strip.show(contentOf(u"ETH  123,456.78"_s));
    const QRect after = *strip.place();
    QVERIFY(after.width() > before.width());
    QCOMPARE(after.topRight(), before.topRight());
    QCOMPARE(preferences.writes(), QStringList());
}

void TestStripItem::rememberedPlaceSurvivesARestart()
{
    MemoryPreferences preferences;
    QRect left;
    {
        StripItem strip(preferences);
        strip.show(contentOf(u"ETH  3,456"_s));
        const QRect before = *strip.place();
        drag(stripWindow(), QPoint(-150, 60));
        left = *strip.place();
        QCOMPARE(left.topLeft(), before.topLeft() + QPoint(-150, 60));
    }
    QCOMPARE(preferences.writes().size(), 1);
    StripItem again(preferences);
    again.show(contentOf(u"ETH  3,456"_s));
    QCOMPARE(*again.place(), left);
}

void TestStripItem::unreadablePlaceIsForgotten()
{
    for (const char *stored : {"", "a,b", "1,2,3", "99999999999,5", "2147483647,-2147483648"}) {
        MemoryPreferences preferences;
        preferences.preset(u"ks_strip_pos"_s, QString::fromLatin1(stored));
        StripItem strip(preferences);
        strip.show(contentOf(u"ETH  3,456"_s));
        const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
        QVERIFY2(strip.place()->topRight() == available.topRight() - QPoint(8, 0), stored);
    }
}

void TestStripItem::clickOpensAndDragDoesNot()
{
    MemoryPreferences preferences;
    StripItem strip(preferences);
    strip.show(contentOf(u"ETH  3,456"_s));
    const QSignalSpy activated(&strip, &StatusItem::activated);
    QTest::mouseClick(stripWindow(), Qt::LeftButton);
    QCOMPARE(activated.size(), 1);
    QCOMPARE(activated[0][0].toRect(), *strip.place());
    drag(stripWindow(), QPoint(-80, 10));
    QCOMPARE(activated.size(), 1);
    QTest::mouseClick(stripWindow(), Qt::RightButton);
    QCOMPARE(activated.size(), 1);
}

KESTRUNE_TEST(TestStripItem)
#include "tst_stripitem.moc"
