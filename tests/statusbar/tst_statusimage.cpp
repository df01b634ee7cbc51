// SPDX-License-Identifier: MIT
#include "statusbar/statusimage.h"

#include "support/testregistry.h"

#include <QPainter>
#include <QTest>

#include <cmath>
#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;
using test::closeTo;

namespace {

class FixedAppearance : public AppearanceSource
{
public:
    explicit FixedAppearance(bool paletteDark, std::optional<bool> scheme = {},
                             std::optional<QColor> text = {})
        : m_paletteDark(paletteDark), m_scheme(scheme), m_text(text)
    {}

    [[nodiscard]] std::optional<QColor> trayTextColor() const override { return m_text; }
    [[nodiscard]] std::optional<bool> prefersDark() const override { return m_scheme; }
    [[nodiscard]] bool paletteIsDark() const override { return m_paletteDark; }

private:
    bool m_paletteDark;
    std::optional<bool> m_scheme;
    std::optional<QColor> m_text;
};

const FixedAppearance darkBar(true);
const FixedAppearance lightBar(false);

StatusPicture normal(const QString &text, BarSignal signal, bool alert = false, int pulse = 0,
                     const AppearanceSource &appearance = darkBar)
{
    return makeStatusBarImage(text, signal, VAlign::center, 0, alert, pulse, appearance);
}

/// The strongest pixel from column `from` on: the colour of the text.
QRgb textColor(const QImage &image, int from)
{
    QRgb strongest = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = from; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > qAlpha(strongest))
                strongest = image.pixel(x, y);
        }
    }
    return strongest;
}

/// First and last row with ink from column `from` on.
std::pair<int, int> inkRows(const QImage &image, int from)
{
    int first = image.height();
    int last = -1;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = from; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0) {
                first = std::min(first, y);
                last = y;
            }
        }
    }
    return {first, last};
}

} // namespace

class StatusImageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void darkness();
    void emptyTextsHaveTheirWidths();
    void bitmapIsTwiceAsLargeAndCut();
    void dotStandsInPlace();
    void alertBlinks();
    void signalColoursTheText();
    void alignmentAndShift();
    void paintsTheSameOnAnyPainter_data();
    void paintsTheSameOnAnyPainter();
};

void StatusImageTest::darkness()
{
    QVERIFY(!isDarkMenuBar(lightBar));
    QVERIFY(isDarkMenuBar(darkBar)); // nothing known but the palette
    QVERIFY(!isDarkMenuBar(FixedAppearance(true, false)));
    QVERIFY(!isDarkMenuBar(FixedAppearance(true, true, QColor(46, 52, 54)))); // the bar itself knows best
}

void StatusImageTest::emptyTextsHaveTheirWidths()
{
    const StatusPicture calm = normal({}, BarSignal::neutral);
    QCOMPARE(calm.width, 18.0);
    QCOMPARE(calm.image.size(), QSize(36, 44));
    const StatusPicture alarmed = normal({}, BarSignal::neutral, true);
    QCOMPARE(alarmed.width, 36.0);
    QCOMPARE(alarmed.image.size(), QSize(72, 44));
}

void StatusImageTest::bitmapIsTwiceAsLargeAndCut()
{
    // Some of these advances are no whole pixels: the bitmap is cut, the width is not.
    bool someFraction = false;
    for (const QString &text : {u"ETH 3,456.78"_s, u"W"_s, u"1"_s, u"Ty."_s, u"贵州茅台 1,688.00"_s}) {
        const StatusPicture picture = normal(text, BarSignal::buy);
        QCOMPARE(picture.image.devicePixelRatio(), 2.0);
        QCOMPARE(picture.image.height(), 44);
        QCOMPARE(picture.image.width(), static_cast<int>(std::floor(picture.width * 2)));
        QCOMPARE(picture.width, statusWidth({.text = text}));
        someFraction |= picture.width * 2 != std::floor(picture.width * 2);
    }
    QVERIFY(someFraction);
}

void StatusImageTest::dotStandsInPlace()
{
    for (const bool alert : {false, true}) {
        const int left = alert ? 42 : 6; // bitmap column; the bell has its room before the dot
        const QImage image = normal({}, alert ? BarSignal::neutral : BarSignal::buy, alert, 1).image;
        const QColor middle = image.pixelColor(left + 8, 22);
        QCOMPARE(middle.alpha(), 255);
        QVERIFY(alert ? middle == QColor(128, 128, 128) : middle.hue() > 100 && middle.hue() < 160);
        // 16 columns and rows, 14 to 29, touched in their middles; corners and neighbours are clear.
        for (const QPoint edge :
             {QPoint(left, 22), QPoint(left + 15, 22), QPoint(left + 8, 14), QPoint(left + 8, 29)})
            QVERIFY(qAlpha(image.pixel(edge)) > 128);
        for (const QPoint outside : {QPoint(left - 1, 22), QPoint(left + 16, 22), QPoint(left + 8, 13),
                                     QPoint(left + 8, 30), QPoint(left, 14), QPoint(left + 15, 29)})
            QCOMPARE(qAlpha(image.pixel(outside)), 0);
    }
}

void StatusImageTest::alertBlinks()
{
    const QString text = u"ETH 3,456.78"_s;
    const int from = 66;                      // behind the dot
    for (int pulse = 0; pulse < 8; ++pulse) { // the bell has its room but leaves no mark
        const QImage image = normal(u"ETH"_s, BarSignal::buy, true, pulse).image;
        QVERIFY(inkRows(image.copy(0, 0, 42, 44), 0).second < 0);
    }
    const QRgb orange = textColor(normal(text, BarSignal::neutral, true, 0).image, from);
    QVERIFY(QColor(orange).hue() > 25 && QColor(orange).hue() < 50);
    for (const int pulse : {2, 4})
        QCOMPARE(textColor(normal(text, BarSignal::buy, true, pulse).image, from), orange);
    for (const int pulse : {1, 3}) {
        QCOMPARE(textColor(normal(text, BarSignal::neutral, true, pulse).image, from), qRgb(255, 255, 255));
        QCOMPARE(textColor(normal(text, BarSignal::neutral, true, pulse, lightBar).image, from),
                 qRgb(0, 0, 0));
    }
}

void StatusImageTest::signalColoursTheText()
{
    for (const BarSignal signal : {BarSignal::buy, BarSignal::sell}) {
        const QImage image = normal(u"ETH 3,456.78"_s, signal).image;
        QCOMPARE(textColor(image, 30), image.pixel(14, 22)); // the dot's colour
    }
    QCOMPARE(textColor(normal(u"ETH"_s, BarSignal::neutral).image, 30), qRgb(255, 255, 255));
    QCOMPARE(textColor(normal(u"ETH"_s, BarSignal::neutral, false, 0, lightBar).image, 30), qRgb(0, 0, 0));
}

void StatusImageTest::alignmentAndShift()
{
    const auto rows = [](VAlign align, double shift) {
        return inkRows(makeStatusBarImage(u"188"_s, BarSignal::buy, align, shift, false, 0, darkBar).image,
                       30);
    };
    const auto center = rows(VAlign::center, 0);
    // Digits are cap-high: their middle stands near the middle of the line box, that in the picture's.
    QVERIFY(std::abs((center.first + center.second) / 2 - 22) <= 2);
    QVERIFY(rows(VAlign::top, 0).second > center.second); // the lower edge, in spite of its name
    QVERIFY(rows(VAlign::bottom, 0).second < center.second);
    QCOMPARE(rows(VAlign::center, 1).second, center.second + 2); // one point down, two pixels
}

void StatusImageTest::paintsTheSameOnAnyPainter_data()
{
    QTest::addColumn<double>("scale");
    QTest::newRow("1.25x") << 1.25;
    QTest::newRow("2x") << 2.0;
}

void StatusImageTest::paintsTheSameOnAnyPainter()
{
    QFETCH(const double, scale);
    const StatusContent content{.text = u"ETH 3,456.78"_s, .signal = BarSignal::buy, .dark = true};
    const double width = statusWidth(content, scale);
    QImage screen(static_cast<int>(width * scale) + 8, static_cast<int>(std::lround(22 * scale)),
                  QImage::Format_ARGB32_Premultiplied);
    screen.fill(Qt::transparent);
    {
        QPainter painter(&screen);
        painter.scale(scale, scale);
        paintStatus(painter, {0, 0}, content);
    }
    QCOMPARE(QColor(screen.pixel(qRound(7 * scale), qRound(11 * scale))), QColor(textColor(screen, 0)));
    QVERIFY(inkRows(screen, static_cast<int>((width - 3) * scale) + 2).second < 0); // the right margin
    if (scale == 2) {
        QImage picture = normal(content.text, content.signal).image;
        picture.setDevicePixelRatio(1);
        QCOMPARE(screen.copy(picture.rect()), picture);
    }
}

KESTRUNE_TEST(StatusImageTest)
#include "tst_statusimage.moc"
