// SPDX-License-Identifier: MIT
#include "statusbar/pixelshapes.h"
#include "statusbar/statusimage.h"

#include "support/testregistry.h"

#include <QPainter>
#include <QTest>

#include <cmath>

#include <sys/resource.h>

using namespace kestrune;
using namespace Qt::StringLiterals;
using test::closeTo;

namespace {

using Items = std::vector<BlingItem>;

const Items coins{{u"BTC"_s, 67250.5, 1.2}, {u"ETH"_s, 3120.4, -0.4}, {u"SOL"_s, 171.23, 0},
                  {u"BNB"_s, 612.5, {}},    {u"XRP"_s, 0.5234, 2.0},  {u"DOGE"_s, {}, {}},
                  {u"ADA"_s, 0.4512, -3.1}, {u"LINK"_s, 14.52, 0.7}};

double phaseOf(int pulse, int index)
{
    return (std::sin(1.2 * pulse + 1.25 * index) + 1) / 2;
}

/// Logical left edge of the last cell: the width of the items before it and the gap.
double lastCellLeft(const Items &items)
{
    if (items.size() == 1)
        return 0;
    return blingStatusWidth(Items(items.begin(), items.end() - 1)) + 3;
}

/// A pixel of the last cell's body that no text covers: near its left edge, at half height.
QColor bodyColor(const Items &items, int pulse)
{
    const QImage image = makeBlingStatusBarImage(items, pulse).image;
    return image.pixelColor(static_cast<int>(lastCellLeft(items) * 2) + 5, 22);
}

void compareColor(const QColor &actual, double red, double green, double blue)
{
    const auto near = [](int channel, double value) { return closeTo(channel, value * 255, 1); };
    QVERIFY2(near(actual.red(), red) && near(actual.green(), green) && near(actual.blue(), blue),
             qPrintable(actual.name()));
}

} // namespace

class BlingImageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void labels();
    void coloursBreatheOutOfStep();
    void glowSurroundsTheCell();
    void emptyListShowsTheGreatCoins();
    void shapesAgreeWithTheToolkit();
    void drawsOnItsOwnThread();
};

void BlingImageTest::labels()
{
    QCOMPARE(blingLabel({u"BTC"_s, 67250.5, 1.2}), u"BTC ▲67,250"_s); // half to even
    QCOMPARE(blingLabel({u"SOL"_s, 171.25, 0.0}), u"SOL ▲171.2"_s);   // no change at all points up
    QCOMPARE(blingLabel({u"BNB"_s, 612.3, {}}), u"BNB 612.3"_s);
    QCOMPARE(blingLabel({u"ADA"_s, {}, 2.0}), u"ADA ▲--"_s);
}

void BlingImageTest::coloursBreatheOutOfStep()
{
    struct Cell
    {
        QString symbol;
        int index;
        double red, green, blue;
    };
    const Cell cells[] = {
        {u"LINK"_s, 1, 0.45, 0.3, 0.95},    // a known coin keeps its colour anywhere
        {u"sh600519"_s, 3, 1.0, 0.8, 0.0},  // a stock takes the palette's entry of its place
        {u"sh600519"_s, 8, 1.0, 0.58, 0.0}, // the ninth begins the palette again
    };
    for (const Cell &cell : cells) {
        Items items(static_cast<std::size_t>(cell.index), {u"x"_s, {}, {}});
        items.push_back({cell.symbol, 1688.0, {}});
        for (const int pulse : {0, 1, 5, 1000}) {
            const double k = 0.45 + 0.55 * phaseOf(pulse, cell.index);
            compareColor(bodyColor(items, pulse), k * cell.red, k * cell.green, k * cell.blue);
        }
    }
}

void BlingImageTest::glowSurroundsTheCell()
{
    // Pulse 1 of the first cell: the outline's middle runs 1.5 points above the cell, pixel rows 0 and 1.
    const double t = phaseOf(1, 0);
    const QColor glow = makeBlingStatusBarImage({coins[0]}, 1).image.pixelColor(40, 1);
    QVERIFY(closeTo(glow.alphaF(), 0.25 + 0.6 * t, 0.01));
    QVERIFY(closeTo(glow.redF(), 1, 0.02) && closeTo(glow.greenF(), 0.93, 0.02) &&
            closeTo(glow.blueF(), 0.35, 0.02));
}

void BlingImageTest::emptyListShowsTheGreatCoins()
{
    Items bare;
    for (const BlingItem &coin : coins)
        bare.push_back({coin.symbol, {}, {}});
    const StatusPicture picture = makeBlingStatusBarImage({}, 3);
    const StatusPicture spelled = makeBlingStatusBarImage(bare, 3);
    QCOMPARE(picture.image, spelled.image);
    QCOMPARE(picture.width, spelled.width);
    double sum = 0;
    for (const BlingItem &coin : bare)
        sum += blingStatusWidth({coin});
    QVERIFY(closeTo(picture.width, sum + 7 * 3, 1e-9));
    QCOMPARE(picture.image.size(), QSize(static_cast<int>(picture.width * 2), 44));
}

void BlingImageTest::shapesAgreeWithTheToolkit()
{
    // A second rasteriser: no pixel may differ by more than antialiasing lets two of them differ.
    const QRectF cell(3.3, 4, 57.4, 36);
    QImage own(64, 44, QImage::Format_ARGB32_Premultiplied);
    own.fill(Qt::transparent);
    QImage theirs = own;
    fillRoundedRect(own, cell, 10, QColor(10, 200, 90));
    strokeRoundedRect(own, cell.adjusted(-3, -3, 3, 3), 13, 3, QColor(255, 0, 0, 128));
    {
        QPainter painter(&theirs);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(10, 200, 90));
        painter.drawRoundedRect(cell, 10, 10);
        painter.setPen(QPen(QColor(255, 0, 0, 128), 3));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(cell.adjusted(-3, -3, 3, 3), 13, 13);
    }
    for (int y = 0; y < own.height(); ++y) {
        for (int x = 0; x < own.width(); ++x) {
            const QRgb a = own.pixel(x, y);
            const QRgb b = theirs.pixel(x, y);
            const int difference = std::max({std::abs(qAlpha(a) - qAlpha(b)), std::abs(qRed(a) - qRed(b)),
                                             std::abs(qGreen(a) - qGreen(b))});
            const int limit = qAlpha(a) == 255 && qAlpha(b) == 255 ? 1 : 40;
            QVERIFY2(difference <= limit, qPrintable(u"%1 %2: %3"_s.arg(x).arg(y).arg(difference)));
        }
    }
}

void BlingImageTest::drawsOnItsOwnThread()
{
    // Work handed to a thread pool shows as voluntary context switches of the waiting thread.
    (void)makeBlingStatusBarImage(coins, 0); // fonts are loaded
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    for (int pulse = 0; pulse < 50; ++pulse)
        (void)makeBlingStatusBarImage(coins, pulse);
    getrusage(RUSAGE_THREAD, &after);
    QVERIFY2(after.ru_nvcsw - before.ru_nvcsw <= 5,
             qPrintable(QString::number(after.ru_nvcsw - before.ru_nvcsw)));
}

KESTRUNE_TEST(BlingImageTest)
#include "tst_blingimage.moc"
