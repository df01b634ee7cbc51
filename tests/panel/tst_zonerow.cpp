// SPDX-License-Identifier: MIT
#include "panel/zonerow.h"
#include "viewmodel/paneltexts.h"
#include "panel/tones.h"

#include "ui/iconbutton.h"
#include "ui/tag.h"
#include "support/testregistry.h"
#include "zonebuilder.h"

#include <QAccessible>
#include <QSignalSpy>
#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;
using test::makeZone;

namespace {

QStringList shownTags(const ZoneRow &row)
{
    QStringList words;
    for (const Tag *tag : row.findChildren<Tag *>()) {
        if (!tag->isHidden())
            words.append(tag->text());
    }
    return words;
}

} // namespace

class ZoneRowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tags_data();
    void tags();
    void distances();
    void tapsByMouseAndKeys();
    void bellIsNotATap();
    void updatesInPlace();
    void speaksToAssistiveTechnology();
    void longPricesAreNotCut();
};

void ZoneRowTest::tags_data()
{
    QTest::addColumn<QStringList>("sources");
    QTest::addColumn<int>("confirm");
    QTest::addColumn<bool>("golden");
    QTest::addColumn<QStringList>("words");
    QTest::newRow("one level shows its source only")
        << QStringList{u"fib"_s} << 1 << false << QStringList{u"Fib"_s};
    QTest::newRow("sources once each in order of appearance, then the two verdicts")
        << QStringList{u"vol"_s, u"fib"_s, u"vol"_s} << 3 << true
        << QStringList{u"量能"_s, u"Fib"_s, u"多指标确认"_s, u"黄金位"_s};
    QTest::newRow("two levels confirm already")
        << QStringList{u"pivot"_s, u"pivot"_s} << 2 << false << QStringList{u"Pivot"_s, u"多指标确认"_s};
    QTest::newRow("unknown sources are skipped")
        << QStringList{u"moon"_s, u"swing"_s} << 1 << false << QStringList{u"摆动"_s};
}

void ZoneRowTest::tags()
{
    QFETCH(const QStringList, sources);
    QFETCH(const int, confirm);
    QFETCH(const bool, golden);
    const auto block = std::shared_ptr<QString[]>(new QString[static_cast<std::size_t>(sources.size())]);
    std::copy(sources.begin(), sources.end(), block.get());
    const TextList list(block, 0, static_cast<std::size_t>(sources.size()));
    const ZoneRow row(makeZone(u"support"_s, 100, 1, confirm, list, golden), 2);
    QTEST(shownTags(row), "words");
}

void ZoneRowTest::distances()
{
    QCOMPARE(distanceText(2.346), u"+2.35%"_s);
    QCOMPARE(distanceText(0), u"+0.00%"_s);      // at the price it counts as above
    QCOMPARE(distanceText(-0.001), u"-0.00%"_s); // a trace below keeps its sign
    QCOMPARE(distanceTone(0), Tone::red);
    QCOMPARE(distanceTone(-0.001), Tone::green);
}

void ZoneRowTest::tapsByMouseAndKeys()
{
    ZoneRow row(makeZone(u"support"_s, 3418, -1.12, 2, {u"vol"_s}), 2);
    row.resize(304, row.heightForWidth(304));
    row.show();
    QSignalSpy taps(&row, &ZoneRow::tapped);
    QTest::mouseClick(&row, Qt::LeftButton, {}, {40, 10});
    QCOMPARE(taps.count(), 1);
    // On its tags too: they are part of the row.
    QTest::mouseClick(&row, Qt::LeftButton, {}, row.findChild<Tag *>()->mapTo(&row, QPoint(3, 3)));
    QCOMPARE(taps.count(), 2);
    QTest::keyClick(&row, Qt::Key_Return);
    QTest::keyClick(&row, Qt::Key_Space);
    QTest::keyClick(&row, Qt::Key_Enter);
    QCOMPARE(taps.count(), 5);
    QTest::mouseClick(&row, Qt::RightButton, {}, {40, 10});
    QTest::keyClick(&row, Qt::Key_A);
    // Pressed here, released elsewhere: a change of mind.
    QTest::mousePress(&row, Qt::LeftButton, {}, {40, 10});
    QTest::mouseRelease(&row, Qt::LeftButton, {}, {40, 400});
    QCOMPARE(taps.count(), 5);
}

void ZoneRowTest::bellIsNotATap()
{
    ZoneRow row(makeZone(u"resistance"_s, 3642.1), 2);
    row.resize(304, row.heightForWidth(304));
    row.show();
    QSignalSpy taps(&row, &ZoneRow::tapped);
    QSignalSpy bells(&row, &ZoneRow::bellPressed);
    QTest::mouseClick(row.bell(), Qt::LeftButton);
    QTest::keyClick(row.bell(), Qt::Key_Return);
    QCOMPARE(bells.count(), 2);
    QCOMPARE(taps.count(), 0);
}

void ZoneRowTest::updatesInPlace()
{
    ZoneRow row(makeZone(u"support"_s, 100, -1, 2, {u"vol"_s, u"fib"_s}), 2);
    const Tag *first = row.findChild<Tag *>();
    row.setZone(makeZone(u"support"_s, 101.5, -2, 1, {u"fib"_s}), 2);
    QCOMPARE(row.priceText(), u"101.50"_s);
    QCOMPARE(row.distance(), u"-2.00%"_s);
    QCOMPARE(shownTags(row), QStringList{u"Fib"_s});
    QCOMPARE(row.findChild<Tag *>(), first);
    row.setZone(makeZone(u"support"_s, 101.5, -2, 3, {u"fib"_s}, true), 2);
    QCOMPARE(shownTags(row), (QStringList{u"Fib"_s, u"多指标确认"_s, u"黄金位"_s}));
}

void ZoneRowTest::speaksToAssistiveTechnology()
{
    ZoneRow row(makeZone(u"resistance"_s, 3528.45, 2.07, 2, {u"fib"_s}), 2);
    QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(&row);
    QVERIFY(spoken);
    QCOMPARE(spoken->text(QAccessible::Name), u"阻力 3,528.45 +2.07%"_s);
    QCOMPARE(spoken->text(QAccessible::Description), u"Fib、多指标确认"_s);
    QVERIFY(!spoken->state().checked);
    row.setSelected(true);
    QVERIFY(spoken->state().checked);
    QSignalSpy taps(&row, &ZoneRow::tapped);
    spoken->actionInterface()->doAction(spoken->actionInterface()->actionNames().constFirst());
    QCOMPARE(taps.count(), 1);
}

void ZoneRowTest::longPricesAreNotCut()
{
    ZoneRow row(
        makeZone(u"support"_s, 1234567.89, -123.45, 9, {u"vol"_s, u"fib"_s, u"pivot"_s, u"swing"_s}, true),
        2);
    row.resize(304, row.heightForWidth(304));
    row.show();
    // The text's own pixels end before the bell; tags stay inside the row and clear of the distance.
    const QImage image = row.grab().toImage();
    const int bellLeft = row.bell()->x();
    const QRgb ground = image.pixel(bellLeft - 4, 8);
    for (int y = 4; y < 20; ++y)
        QCOMPARE(image.pixel(bellLeft - 1, y), ground);
    for (const Tag *tag : row.findChildren<Tag *>()) {
        const QRect place(tag->mapTo(&row, QPoint(0, 0)), tag->size());
        QVERIFY(place.right() < 304 - 50);
        QVERIFY(row.rect().contains(place));
    }
}

KESTRUNE_TEST(ZoneRowTest)
#include "tst_zonerow.moc"
