// SPDX-License-Identifier: MIT
#include "panel/pixelsparkline.h"

#include "support/testregistry.h"
#include "zonebuilder.h"

#include <QPainter>
#include <QTest>

#include <cmath>
#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;
using test::closeTo;
using test::makeZone;

using Values = std::vector<double>;
Q_DECLARE_METATYPE(Values)

namespace {

const QSizeF drawing(72, 18); // 70 x 16 inside its margin of one unit

} // namespace

class PixelSparklineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void points();
    void unusableSeriesDrawNothing();
    void curveGoesHalfWayAndMeetsTheEnd();
    void markers_data();
    void markers();
    void onlySupportsAndResistancesAreMarked();
    void phase();
    void pixels();
    void pulsesOnlyWhileVisible();
};

void PixelSparklineTest::points()
{
    const Values data{10, 30, 20};
    const auto points = sparklinePoints(data, drawing);
    QCOMPARE(points, (std::vector<QPointF>{{1, 17}, {36, 1}, {71, 9}}));
    // A flat series lies on the lower margin.
    const Values flat{5, 5};
    QCOMPARE(sparklinePoints(flat, drawing), (std::vector<QPointF>{{1, 17}, {71, 17}}));
}

void PixelSparklineTest::unusableSeriesDrawNothing()
{
    const std::vector<SparklineLevel> levels{{1, true}};
    for (const Values &data :
         {Values{1}, Values{1, std::nan(""), 2}, Values{1, 2, std::numeric_limits<double>::infinity()}}) {
        QVERIFY(sparklineCurve(sparklinePoints(data, drawing)).isEmpty());
        QVERIFY(sparklineMarkers(data, levels, drawing).empty());
    }
}

void PixelSparklineTest::curveGoesHalfWayAndMeetsTheEnd()
{
    const std::vector<QPointF> points{{0, 0}, {8, 8}, {16, 0}};
    const QPainterPath path = sparklineCurve(points);
    // A quadratic curve is kept as a cubic: move, then three elements per curve, then the closing line.
    QCOMPARE(path.elementCount(), 1 + 3 + 3 + 1);
    QCOMPARE(QPointF(path.elementAt(3)), QPointF(4, 4));
    QCOMPARE(QPointF(path.elementAt(6)), QPointF(10, 2));
    QCOMPARE(QPointF(path.elementAt(7)), QPointF(16, 0));
    QVERIFY(path.elementAt(7).isLineTo());
    // The pen is its own control point: the first inner control point stays with it.
    QCOMPARE(QPointF(path.elementAt(1)), QPointF(0, 0));
    QCOMPARE(QPointF(path.elementAt(4)), QPointF(4, 4));
}

void PixelSparklineTest::markers_data()
{
    QTest::addColumn<Values>("data");
    QTest::addColumn<double>("mid");
    QTest::addColumn<QPointF>("center"); // x below 0: no marker
    QTest::newRow("interpolated on the crossing segment") << Values{10, 30} << 15.0 << QPointF(18.5, 13);
    QTest::newRow("on the last of several crossings") << Values{10, 30, 10} << 15.0 << QPointF(62.25, 13);
    QTest::newRow("touching a value counts as a crossing of both its segments")
        << Values{10, 20, 30} << 20.0 << QPointF(36, 9);
    QTest::newRow("a flat series is marked at its first value") << Values{5, 5, 5} << 5.0 << QPointF(1, 17);
    QTest::newRow("just above the range there is none") << Values{10, 30} << 30.0001 << QPointF(-1, 0);
    QTest::newRow("a NaN level is not marked") << Values{10, 30} << std::nan("") << QPointF(-1, 0);
}

void PixelSparklineTest::markers()
{
    QFETCH(const Values, data);
    QFETCH(const double, mid);
    QFETCH(const QPointF, center);
    const std::vector<SparklineLevel> levels{{mid, false}};
    const auto markers = sparklineMarkers(data, levels, drawing);
    QCOMPARE(markers.size(), std::size_t(center.x() < 0 ? 0 : 1));
    if (!markers.empty()) {
        QVERIFY(closeTo(markers[0].center.x(), center.x(), 1e-9));
        QVERIFY(closeTo(markers[0].center.y(), center.y(), 1e-9));
    }
}

void PixelSparklineTest::onlySupportsAndResistancesAreMarked()
{
    const std::vector zones{makeZone(u"resistance"_s, 12), makeZone(u"current"_s, 13),
                            makeZone(u"support"_s, 11), makeZone({}, 12)};
    QCOMPARE(sparklineLevels(zones), (std::vector<SparklineLevel>{{12, true}, {11, false}}));
}

void PixelSparklineTest::phase()
{
    QCOMPARE(sparklinePhase(0), 0.5);
    QVERIFY(closeTo(sparklinePhase(0.3), 1, 1e-12));
    QVERIFY(closeTo(sparklinePhase(0.9), 0, 1e-12));
    QVERIFY(closeTo(sparklinePhase(1700000000.4), sparklinePhase(1700000000.4 + 1.2), 1e-5));
}

void PixelSparklineTest::pixels()
{
    PixelSparkline sparkline([] { return 0.3; }); // full pulse
    sparkline.resize(72, 18);
    const Values data{10, 10, 30};
    const std::vector zones{makeZone(u"resistance"_s, 30)};
    sparkline.setContent(data, zones);
    QImage image(144, 36, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    image.fill(Qt::white);
    sparkline.render(&image, {}, {}, QWidget::DrawChildren);
    // The line runs along the lower margin; its colour is the told one where it covers a whole pixel.
    QCOMPARE(image.pixel(20, 33), QColor::fromRgbF(0.1F, 0.36F, 0.8F).rgba());
    QCOMPARE(image.pixelColor(20, 20), QColor(Qt::white));
    // At full pulse the core disc is opaque and covers its centre (71, 1).
    QCOMPARE(image.pixel(141, 2), QColor::fromRgbF(0.95F, 0.25F, 0.25F).rgba());
}

void PixelSparklineTest::pulsesOnlyWhileVisible()
{
    QWidget window;
    auto *sparkline = new PixelSparkline([] { return 0.0; }, &window);
    const Values data{10, 30};
    sparkline->setContent(data, std::vector{makeZone(u"support"_s, 20)});
    QVERIFY(!sparkline->isPulsing());
    window.show();
    QVERIFY(sparkline->isPulsing());
    window.hide();
    QVERIFY(!sparkline->isPulsing());
    window.show();
    sparkline->setContent(data, {}); // nothing left to pulse
    QVERIFY(!sparkline->isPulsing());
}

KESTRUNE_TEST(PixelSparklineTest)
#include "tst_pixelsparkline.moc"
