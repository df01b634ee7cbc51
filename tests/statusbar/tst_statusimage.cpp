// SPDX-License-Identifier: MIT
#include "statusbar/statusimage.h"

#include "statusbar/pixelshapes.h"
#include "statusbar/statusitem.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QPainter>
#include <QTest>

#include <cmath>

using namespace kestrune;
using namespace Qt::StringLiterals;
using test::closeTo;

class StatusImageTest : public QObject
{
    Q_OBJECT

    using Items = std::vector<BlingItem>;
    static constexpr int alertShift = 36; // columns; the bell's room before the dot

    /// Where there is ink from column `from` on: its rows, and its strongest pixel, which is the text's
    /// colour.
    struct Ink
    {
        int first = -1, last = -1;
        QRgb strongest = 0;

        Ink(const QImage &image, int from)
        {
            for (int y = 0; y < image.height(); ++y) {
                for (int x = from; x < image.width(); ++x) {
                    const QRgb pixel = image.pixel(x, y);
                    if (qAlpha(pixel) == 0)
                        continue;
                    first = first < 0 ? y : first;
                    last = y;
                    strongest = qAlpha(pixel) > qAlpha(strongest) ? pixel : strongest;
                }
            }
        }
    };

private Q_SLOTS:
    void sizes()
    {
        const StatusPicture calm = makeStatusBarImage({});
        QCOMPARE(calm.width, 18.0);
        QCOMPARE(calm.image.size(), QSize(36, 44));
        QCOMPARE(makeStatusBarImage({.text = {}, .alertActive = true}).width, 36.0);
        // Some of these advances are no whole pixels: the bitmap is cut, the width is not.
        for (const QString &text : {u"ETH 3,456.78"_s, u"W"_s, u"1"_s, u"Ty."_s, u"贵州茅台 1,688.00"_s}) {
            const StatusPicture picture = makeStatusBarImage({.text = text, .signal = BarSignal::buy});
            QCOMPARE(picture.image.size(), QSize(static_cast<int>(picture.width * 2), 44));
            QCOMPARE(picture.width, statusWidth({.text = text}));
        }
        // What is longer than any price loses its middle.
        const StatusContent endless{.text = u"BTC "_s + QString(400, u'7'), .alertActive = true};
        QVERIFY(closeTo(statusWidth(endless), 475, 5.01));
        QVERIFY(closeTo(blingStatusWidth({{u"BTC"_s, 1e60, 1.2}}), 155, 5.01));
        QVERIFY(statusWidth({.text = QString(40, u'7')}) > 300);
    }

    void dotStandsInPlace()
    {
        const QImage image = makeStatusBarImage({}).image;
        // 16 columns and rows, 14 to 29, touched in their middles; corners and neighbours are clear.
        for (const QPoint edge : {QPoint(6, 22), QPoint(21, 22), QPoint(14, 14), QPoint(14, 29)})
            QVERIFY(qAlpha(image.pixel(edge)) > 128);
        for (const QPoint outside :
             {QPoint(5, 22), QPoint(22, 22), QPoint(14, 13), QPoint(14, 30), QPoint(6, 14), QPoint(21, 29)})
            QCOMPARE(qAlpha(image.pixel(outside)), 0);
    }

    void colours()
    {
        constexpr QRgb grey = 0xff808080;
        constexpr int calm = -1;
        const struct
        {
            const char *name;
            BarSignal signal;
            int pulse; ///< of an alert, or calm
            bool dark;
            QRgb dot, text;
        } rows[] = {
            {"neutral on a dark bar", BarSignal::neutral, calm, true, grey, 0xffffffff},
            {"neutral on a light bar", BarSignal::neutral, calm, false, grey, 0xff000000},
            {"buy on a dark bar", BarSignal::buy, calm, true, 0xff32D15B, 0xff32D15B},
            {"sell on a dark bar", BarSignal::sell, calm, true, 0xffFF5A50, 0xffFF5A50},
            {"buy on a light bar", BarSignal::buy, calm, false, 0xff17803A, 0xff17803A},
            {"sell on a light bar", BarSignal::sell, calm, false, 0xffC9281E, 0xffC9281E},
            {"an alert begins orange", BarSignal::neutral, 0, true, grey, 0xffFF9F0A},
            {"and shows the signal in turn", BarSignal::buy, 1, true, 0xff32D15B, 0xff32D15B},
            {"orange on a light bar", BarSignal::sell, 4, false, 0xffC9281E, 0xffA85800},
        };
        test::forEachRow(rows, [](const auto &row) {
            const bool alert = row.pulse != calm;
            const StatusContent content{.text = u"ETH 3,456.78"_s,
                                        .signal = row.signal,
                                        .alertActive = alert,
                                        .pulse = row.pulse,
                                        .dark = row.dark};
            const QImage image = makeStatusBarImage(content).image;
            const int shift = alert ? alertShift : 0;
            QCOMPARE(image.pixel(14 + shift, 22), row.dot);
            QCOMPARE(Ink(image, 30 + shift).strongest, row.text);
            QVERIFY(Ink(image.copy(0, 0, 6 + shift, 44), 0).last < 0); // the bell leaves no mark
        });
    }

    void oldPricesLookOld()
    {
        StatusContent old{.text = u"ETH 3,456.78 ·3m"_s, .signal = BarSignal::buy, .dimmed = true};
        const auto textColor = [&] { return Ink(makeStatusBarImage(old).image, 30).strongest; };
        QCOMPARE(textColor(), 0xff63636B); // no light, no verdict
        old.dark = true;
        old.signal = BarSignal::neutral;
        QCOMPARE(textColor(), 0xffA0A0A8);
        const QImage image = makeStatusBarImage(old).image;
        QVERIFY(qAlpha(image.pixel(14, 22)) == 0 && qAlpha(image.pixel(6, 22)) > 128); // a ring
        QCOMPARE(image.size(), makeStatusBarImage({.text = old.text}).image.size());
        old.alertActive = true;
        QCOMPARE(Ink(makeStatusBarImage(old).image, 30 + alertShift).strongest, 0xffFF9F0A);

        const auto sign = [](bool dimmed, int pulse) {
            return makeBlingStatusBarImage({{u"BNB"_s, 612.3, 1.2, dimmed}}, pulse).image;
        };
        QVERIFY(sign(false, 0) != sign(false, 1) && sign(true, 0) == sign(true, 1));
        StatusItemContent on;
        on.bling = true;
        on.signs = {{u"BNB"_s, 612.3, 1.2}};
        StatusItemContent off = on;
        off.signs[0].dimmed = true;
        QVERIFY(!samePicture(on, off));
        QVERIFY(qGray(sign(true, 0).pixel(5, 22)) < 50 && sign(true, 0).pixel(20, 1) == 0); // dark, no glow
    }

    void alignmentAndShift()
    {
        const auto ink = [](VAlign align, double shift) {
            const StatusContent content{.text = u"188"_s, .align = align, .baselineShift = shift};
            return Ink(makeStatusBarImage(content).image, 30);
        };
        const Ink center = ink(VAlign::center, 0);
        // Digits are cap-high: their middle stands near the middle of the line box, that in the picture's.
        QVERIFY(std::abs((center.first + center.last) / 2 - 22) <= 2);
        QVERIFY(ink(VAlign::top, 0).last > center.last); // the lower edge, in spite of its name
        QVERIFY(ink(VAlign::bottom, 0).last < center.last);
        QCOMPARE(ink(VAlign::center, 1).last, center.last + 2); // one point down, two pixels
    }

    void paintsTheSameOnAnyPainter()
    {
        const StatusContent content{.text = u"ETH 3,456.78"_s, .signal = BarSignal::buy, .dark = true};
        QImage picture = makeStatusBarImage(content).image;
        picture.setDevicePixelRatio(1);
        for (const double scale : {1.25, 2.0}) {
            const double width = statusWidth(content, scale);
            QImage screen(static_cast<int>(width * scale) + 8, static_cast<int>(std::lround(22 * scale)),
                          QImage::Format_ARGB32_Premultiplied);
            screen.fill(Qt::transparent);
            QPainter painter(&screen);
            painter.scale(scale, scale);
            paintStatus(painter, {0, 0}, content);
            painter.end();
            QCOMPARE(screen.pixel(qRound(7 * scale), qRound(11 * scale)), Ink(screen, 0).strongest);
            QVERIFY(Ink(screen, static_cast<int>((width - 3) * scale) + 2).last < 0); // the right margin
            if (scale == 2)
                QCOMPARE(screen.copy(picture.rect()), picture);
        }
    }

    void signLabels()
    {
        QCOMPARE(blingLabel({u"BTC"_s, 67250.5, 1.2}), u"BTC ▲67,250"_s); // half to even
        QCOMPARE(blingLabel({u"SOL"_s, 171.25, 0.0}), u"SOL ▲171.2"_s);   // no change at all points up
        QCOMPARE(blingLabel({u"BNB"_s, 612.3, {}}), u"BNB 612.3"_s);
        QCOMPARE(blingLabel({u"ADA"_s, {}, -2.0}), u"ADA ▼--"_s);
    }

    void signsBreatheOutOfStep()
    {
        const auto phase = [](int pulse, std::size_t index) {
            return (std::sin(1.2 * pulse + 1.25 * static_cast<double>(index)) + 1) / 2;
        };
        const auto sign = [&](const QString &symbol, std::size_t index, double red, double green,
                              double blue) {
            const Items before(index, {u"x"_s, {}, {}});
            Items items = before;
            items.push_back({symbol, 1688.0, {}});
            // Near the cell's left edge, at half height, no text covers its body.
            const int column = static_cast<int>((blingStatusWidth(before) + 3) * 2) + 5;
            for (const int pulse : {0, 1, 1000}) {
                const QColor body = makeBlingStatusBarImage(items, pulse).image.pixelColor(column, 22);
                const double k = (0.45 + 0.55 * phase(pulse, index)) * 255;
                if (!closeTo(body.red(), k * red, 1) || !closeTo(body.green(), k * green, 1) ||
                    !closeTo(body.blue(), k * blue, 1))
                    return false;
            }
            return true;
        };
        QVERIFY(sign(u"LINK"_s, 1, 0.45, 0.3, 0.95));    // a known coin keeps its colour anywhere
        QVERIFY(sign(u"sh600519"_s, 3, 1.0, 0.8, 0.0));  // a stock takes the palette's entry of its place
        QVERIFY(sign(u"sh600519"_s, 8, 1.0, 0.58, 0.0)); // the ninth begins the palette again
        // The first sign's outline: its middle runs 1.5 points above the cell, in the pixel rows 0 and 1.
        const QColor glow = makeBlingStatusBarImage({{u"BTC"_s, 67250.5, 1.2}}, 1).image.pixelColor(40, 1);
        QVERIFY(closeTo(glow.alphaF(), 0.25 + 0.6 * phase(1, 0), 0.01));
        QVERIFY(closeTo(glow.redF(), 1, 0.02) && closeTo(glow.greenF(), 0.93, 0.02) &&
                closeTo(glow.blueF(), 0.35, 0.02));
    }

    void whiteStandsOnDarkInEverySign()
    {
        const auto luminance = [](QRgb pixel) {
            const auto linear = [](int value) { return std::pow((value / 255.0 + 0.055) / 1.055, 2.4); };
            return 0.2126 * linear(qRed(pixel)) + 0.7152 * linear(qGreen(pixel)) +
                   0.0722 * linear(qBlue(pixel));
        };
        Items coins;
        for (const QString &symbol : u"BTC ETH SOL BNB XRP DOGE ADA LINK"_s.split(u' '))
            coins.push_back({symbol, 1688.0, 1.2});
        for (const double scale : {1.0, 2.0}) {
            QImage image(qRound(blingStatusWidth(coins, scale) * scale), qRound(22 * scale),
                         QImage::Format_ARGB32_Premultiplied);
            for (int pulse = 0; pulse < 6; ++pulse) {
                image.fill(Qt::transparent);
                QPainter painter(&image);
                painter.scale(scale, scale);
                paintBlingStatus(painter, {0, 0}, coins, pulse);
                painter.end();
                int edges = 0;
                for (int y = 4; y < image.height() - 4; ++y) {
                    for (int x = 4; x < image.width() - 4; ++x) {
                        if (image.pixel(x, y) != 0xffffffff || image.pixel(x - 1, y) == 0xffffffff)
                            continue;
                        double darkest = 1;
                        for (int i = 0; i < 49; ++i)
                            darkest = std::min(darkest, luminance(image.pixel(x + i % 7 - 3, y + i / 7 - 3)));
                        QVERIFY(1.05 / (darkest + 0.05) >= 4.5);
                        ++edges;
                    }
                }
                QVERIFY(edges > 100 * scale);
            }
        }
    }

    void emptyListShowsTheGreatCoins()
    {
        Items coins;
        for (const QString &symbol : u"BTC ETH SOL BNB XRP DOGE ADA LINK"_s.split(u' '))
            coins.push_back({symbol, {}, {}});
        QCOMPARE(makeBlingStatusBarImage({}, 3).image, makeBlingStatusBarImage(coins, 3).image);
        const double two = blingStatusWidth({coins[0], coins[1]});
        QVERIFY(closeTo(two, blingStatusWidth({coins[0]}) + 3 + blingStatusWidth({coins[1]}), 1e-9));
    }

    void shapesCoverTheirPixels()
    {
        // A pixel's opacity is half a pixel minus the distance of its middle from the outline, in 255ths.
        QImage image(8, 8, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        const QRectF box(1.5, 2, 5, 4);
        fillRoundedRect(image, box, 1, Qt::red);
        QCOMPARE(image.pixel(3, 3), 0xffff0000);
        QCOMPARE(qAlpha(image.pixel(1, 3)), 128); // cut in two by the left edge
        QCOMPARE(qAlpha(image.pixel(1, 2)), 97);  // the corner: sqrt(1 + 0.25) - 1 outside
        QCOMPARE(qAlpha(image.pixel(3, 1)) + qAlpha(image.pixel(0, 3)) + qAlpha(image.pixel(7, 3)), 0);
        strokeRoundedRect(image, box, 1, 1, QColor(0, 0, 255, 128));
        QCOMPARE(image.pixel(1, 3), qRgba(64, 0, 128, 192)); // premultiplied: half blue over half red
        QCOMPARE(image.pixel(3, 2), qRgb(191, 0, 64));       // half of its own width over full red
        QCOMPARE(qAlpha(image.pixel(3, 1)), 64);
    }
};

KESTRUNE_TEST(StatusImageTest)
#include "tst_statusimage.moc"
