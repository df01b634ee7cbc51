// SPDX-License-Identifier: MIT
#include "ui/icons.h"

#include "state/barsignal.h"
#include "support/testregistry.h"

#include <QDir>
#include <QPainter>
#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

QImage drawn(const QString &name, double scale, const QColor &color, const QPointF &at = {0, 0})
{
    const int side = static_cast<int>(std::lround(24 * scale));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.scale(scale, scale);
    drawIcon(painter, QRectF(at, QSizeF(16, 16)), name, color);
    return image;
}

int ink(const QImage &image)
{
    int sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            sum += qAlpha(image.pixel(x, y));
    }
    return sum;
}

} // namespace

class IconsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyNameTheProgramUsesIsThere();
    void cutOutsAreTransparent();
    void standsOnWholePixels_data();
    void standsOnWholePixels();
};

void IconsTest::everyNameTheProgramUsesIsThere()
{
    QStringList names{u"bell"_s,
                      u"bell.fill"_s,
                      u"bell.badge.plus"_s,
                      u"xmark.circle.fill"_s,
                      u"plus.circle.fill"_s,
                      u"arrow.clockwise"_s,
                      u"questionmark.circle"_s,
                      u"globe"_s,
                      u"sparkles"_s,
                      u"chart.line.uptrend.xyaxis"_s,
                      u"exclamationmark.triangle.fill"_s,
                      u"checkmark.circle.fill"_s,
                      u"chevron.right"_s,
                      u"chevron.down"_s,
                      u"command"_s,
                      u"minus"_s,
                      u"plus"_s};
    for (const BarSignal signal : {BarSignal::buy, BarSignal::sell, BarSignal::neutral})
        names.append(statusSymbol(signal));
    for (const QString &name : names) {
        QVERIFY2(hasIcon(name), qPrintable(name));
        QVERIFY2(ink(drawn(name, 2, Qt::red)) > 5000, qPrintable(name));
    }
    QVERIFY(!hasIcon(u"no.such.icon"_s));
    QCOMPARE(ink(drawn(u"no.such.icon"_s, 2, Qt::red)), 0);
}

void IconsTest::cutOutsAreTransparent()
{
    const QImage image = drawn(u"xmark.circle.fill"_s, 2, Qt::black);
    QCOMPARE(qAlpha(image.pixel(16, 16)), 0);  // the middle of the cross
    QCOMPARE(qAlpha(image.pixel(16, 6)), 255); // the disc above it
}

void IconsTest::standsOnWholePixels_data()
{
    QTest::addColumn<double>("scale");
    QTest::newRow("1.25x") << 1.25;
    QTest::newRow("1.5x") << 1.5;
}

void IconsTest::standsOnWholePixels()
{
    QFETCH(const double, scale);
    // The same picture wherever the widget lies: a fraction of a pixel would smear it.
    const QImage home = drawn(u"bell"_s, scale, Qt::black);
    const QImage moved = drawn(u"bell"_s, scale, Qt::black, {4 / scale + 0.1 / scale, 2 / scale});
    const int side = static_cast<int>(std::lround(16 * scale));
    QCOMPARE(moved.copy(4, 2, side, side), home.copy(0, 0, side, side));
}

KESTRUNE_TEST(IconsTest)
#include "tst_icons.moc"
