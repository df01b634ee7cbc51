// SPDX-License-Identifier: MIT
#include "analysis/indicators.h"
#include "analysis/utczone.h"
#include "chart/chartscene.h"
#include "support/rows.h"
#include "support/testregistry.h"
#include "ui/typography.h"

#include <QDateTime>

#include <cmath>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

constexpr qint64 hours = 3'600'000;

/// Waves round `price`, one candle after another every `step` hours up to the end of July 2026.
ChartContent waves(int count, int step = 4, double price = 1000)
{
    ChartContent content;
    const qint64 end = QDateTime({2026, 7, 31}, {16, 0}, utcZone).toMSecsSinceEpoch();
    for (int i = 0; i < count; ++i) {
        const double open = price * (1 + 0.05 * std::sin(i / 7.0));
        const double close = price * (1 + 0.05 * std::sin((i + 1) / 7.0));
        content.candles.push_back({end - (count - 1 - i) * step * hours, open, std::max(open, close) * 1.004,
                                   std::min(open, close) * 0.996, close, 100.0 + i % 7});
    }
    content.decimals = 1;
    content.timeZone = QTimeZone("UTC");
    content.intraday = step < 24;
    return content;
}

ChartContent withEverything()
{
    ChartContent content = waves(120);
    for (int i = 0; i < 14; ++i) {
        const double mid = 1000 + (i - 6.5) * 3;
        content.zones.push_back({.lo = mid - 2,
                                 .hi = mid + 2,
                                 .mid = mid,
                                 .type = i > 6 ? u"resistance"_s : u"support"_s,
                                 .tags = {},
                                 .note = u"Pivot 摆动"_s});
    }
    content.price = ChartPrice{1000, true};
    content.plan = ChartPlan{1001, 985, 1030, u"+2.9%"_s, u"-1.6%"_s, u"1:1.8"_s};
    content.bells = {{u"a"_s, 1010, false}, {u"b"_s, 1010.5, true}, {u"c"_s, 960, false}};
    return content;
}

/// The price at a height as a reader finds it: between two bells that tell theirs.
double readOff(const ChartScene &scene, double y)
{
    const BellMark &high = scene.bells.front();
    const BellMark &low = scene.bells.back();
    const double top = QString(high.text).remove(u',').toDouble();
    const double bottom = QString(low.text).remove(u',').toDouble();
    return top + (y - high.anchor) / (low.anchor - high.anchor) * (bottom - top);
}

} // namespace

class ChartSceneTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everythingStandsAtItsPrice()
    {
        const ChartContent content = withEverything();
        const ChartScene scene = makeChartScene(content, {}, {720, 460}, 8);
        const double perPixel = readOff(scene, 0) - readOff(scene, 1);
        QVERIFY(perPixel > 0);
        const auto verify = [&](double y, double price) {
            QVERIFY2(std::abs(readOff(scene, y) - price) < perPixel / 2,
                     qPrintable(u"%1 at %2"_s.arg(price).arg(y)));
        };
        QCOMPARE(scene.base.candles.size(), content.candles.size());
        for (std::size_t i = 0; i < content.candles.size(); ++i) {
            verify(scene.base.candles[i].high, content.candles[i].h);
            verify(scene.base.candles[i].low, content.candles[i].l);
            QCOMPARE(scene.base.candles[i].rising, content.candles[i].c >= content.candles[i].o);
        }
        for (std::size_t i = 0; i < content.zones.size(); ++i) {
            verify(scene.base.bands[i].rect.top(), content.zones[i].hi);
            verify(scene.base.bands[i].rect.bottom(), content.zones[i].lo);
            QCOMPARE(scene.base.bands[i].tone, i > 6 ? Tone::red : Tone::green);
        }
        verify(scene.price->y, 1000);
        const double plan[]{1001, 1030, 985};
        for (std::size_t i = 0; i < 3; ++i)
            verify(scene.plan[i].y, plan[i]);
        for (const BellMark &bell : scene.bells) {
            QCOMPARE(bell.text, QString::number(content.bells[bell.bell].price, 'f', 1)
                                    .insert(1, bell.text.size() > 5 ? u","_s : QString()));
            QCOMPARE(bellAt(scene, {10, bell.top + 9}), std::optional(bell.bell));
        }
        verify(200, *priceAt(scene, content, 200));
        QVERIFY(!priceAt(scene, content, 5) && !priceAt(scene, content, 455));
        // A band begins with the candle that touched it first, and what lies under the pointer is found.
        const ChartZone &zone = content.zones[9];
        std::size_t first = 0;
        while (content.candles[first].l > zone.hi || content.candles[first].h < zone.lo)
            ++first;
        const QRectF band = scene.base.bands[9].rect;
        QCOMPARE(candleAt(scene, content, band.left() + scene.base.times.pitch / 2), std::optional(first));
        QVERIFY(bandAt(scene, band.center()).has_value() && !bandAt(scene, {300, 30}));
    }

    void labelsNeverOverlap()
    {
        ChartContent content = withEverything();
        for (const QSizeF size : {QSizeF(360, 260), QSizeF(720, 460), QSizeF(1600, 300)}) {
            const ChartScene scene = makeChartScene(content, {}, size, 2);
            QVERIFY(scene.labels.size() > 5);
            double above = scene.base.frame.plot.top() - 1;
            double anchor = 0;
            bool price = false;
            for (const ChartLabel &label : scene.labels) {
                QVERIFY(label.top >= above - 0.01 && label.anchor >= anchor);
                above = label.top + chartLabelHeight - 1; // whole pixels
                anchor = label.anchor;
                price = price || label.look == ChartLabel::Look::live;
            }
            QVERIFY(above <= scene.base.frame.plot.bottom() && price); // dropped are others
            for (const AxisMark &mark : scene.base.priceMarks) {
                for (const ChartLabel &label : scene.labels)
                    QVERIFY(mark.text.isEmpty() || std::abs(mark.at - label.top - 7.5) >= 15);
            }
        }
        const struct
        {
            const char *name;
            std::vector<double> wanted, moved;
        } rows[] = {
            {"none", {}, {}},
            {"free", {0, 10, 30}, {0, 10, 30}},
            {"a pair", {20, 22}, {16, 26}},
            {"a block meets the next", {20, 20, 29}, {13, 23, 33}},
            {"at the ends", {-5, 2, 95, 99}, {0, 10, 80, 90}},
            {"too many", {5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5}, {0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100}},
        };
        forEachRow(rows, [](const auto &row) {
            const auto moved = movedApart(row.wanted, 10, 0, 100);
            QCOMPARE(moved.size(), row.moved.size());
            for (std::size_t i = 0; i < moved.size(); ++i)
                QVERIFY(std::abs(moved[i] - row.moved[i]) < 1e-9);
        });
    }

    void timesAreThoseOfTheMarket()
    {
        const struct
        {
            const char *name;
            int count, step;
            const char *zone;
            double width;
            QString texts;
        } rows[] = {
            {"hours", 30, 1, "UTC", 720, u"12:00 18:00 31日 06:00 12:00"_s},
            {"the same elsewhere", 30, 1, "Asia/Shanghai", 720, u"31日 06:00 12:00 18:00 8月"_s},
            {"days and a month", 120, 4, "UTC", 720, u"16日 21日 26日"_s},
            {"months and a year", 320, 24, "UTC", 720, u"11月 2026年 3月 5月 7月"_s},
            {"years", 200, 24 * 30, "UTC", 480, u"2015年 2020年 2025年"_s},
            {"one candle", 1, 24, "UTC", 720, u"2026-07-31"_s},
        };
        forEachRow(rows, [](const auto &row) {
            ChartContent content = waves(row.count, row.step);
            content.timeZone = QTimeZone(row.zone);
            const ChartScene scene = makeChartScene(content, {}, {row.width, 460}, 1);
            QStringList texts;
            for (const AxisMark &mark : scene.base.timeMarks)
                texts.append(mark.text);
            QCOMPARE(texts.join(u' '), row.texts);
        });
        for (const int step : {1, 4, 24, 168, 720}) {
            for (const double width : {360.0, 500.0, 720.0, 1300.0}) {
                const ChartScene scene = makeChartScene(waves(317, step), {}, {width, 460}, 1);
                double right = 0;
                QVERIFY2(scene.base.timeMarks.size() > 1, qPrintable(u"%1 %2"_s.arg(step).arg(width)));
                for (const AxisMark &mark : scene.base.timeMarks) {
                    const double half = textWidth(mark.text, TypeRole::captionBold) / 2.0;
                    QVERIFY(mark.at - half > right);
                    right = mark.at + half;
                }
            }
        }
    }

    void everyMarketIsReadable()
    {
        ChartContent flat = waves(200, 24, 0);
        for (Candle &candle : flat.candles)
            candle.o = candle.h = candle.l = candle.c = 5;
        ChartContent spike = waves(200);
        spike.candles[100].h *= 1000;
        ChartContent crash = waves(200);
        crash.candles[3].l /= 1000;
        ChartContent farAway = withEverything();
        farAway.bells = {{u"a"_s, 1e6, false}};
        const struct
        {
            const char *name;
            ChartContent content;
            double least; ///< share of the height that ordinary candles reach over
            std::size_t beyond;
        } rows[] = {{"flat", flat, 0, 0},
                    {"a spike of a thousand", spike, 0.5, 1},
                    {"a crash", crash, 0.5, 1},
                    {"an alert far away", farAway, 0.8, 0},
                    {"one candle", waves(1), 0.3, 0},
                    {"two", waves(2), 0.5, 0}};
        forEachRow(rows, [](const auto &row) {
            const ChartScene scene = makeChartScene(row.content, {}, {720, 460}, 2);
            const QRectF plot = scene.base.frame.plot;
            double top = plot.bottom();
            double bottom = plot.top();
            for (const CandleMark &mark : scene.base.candles) {
                QVERIFY(mark.high >= plot.top() && mark.low <= plot.bottom() && mark.bottom > mark.top);
                QVERIFY(mark.left >= plot.left() && mark.left + mark.width <= plot.right());
                top = std::min(top, mark.top);
                bottom = std::max(bottom, mark.bottom);
            }
            QVERIFY(bottom - top >= row.least * plot.height());
            QCOMPARE(scene.base.beyond.size(), row.beyond);
            QVERIFY(scene.base.priceMarks.size() > 2);
        });
        ChartContent none;
        none.message = u"…"_s;
        const ChartScene empty = makeChartScene(none, {}, {720, 460}, 1);
        QVERIFY(empty.base.candles.empty() && empty.labels.empty() && empty.base.message == none.message);
        QVERIFY(!candleAt(empty, none, 100) && !priceAt(empty, none, 100));
        ChartContent still = waves(50); // without volume the prices have its room
        for (Candle &candle : still.candles)
            candle.v = 0;
        QVERIFY(makeChartScene(still, {}, {720, 460}, 1).base.frame.plot.bottom() > 430);
    }

    void theViewStaysWhereItWasPut()
    {
        constexpr std::size_t count = 200;
        auto view = zoomed({}, count, 0.5, 150);
        QCOMPARE(view, OptionalChartView(ChartView{75, 100})); // half on either side of the place
        view = zoomed(view, count, 0.01, 80);
        QCOMPARE(view->count, 10.0); // no closer
        QCOMPARE(panned(view, count, 1e9)->first, 190.0);
        QCOMPARE(panned(view, count, -1e9)->first, 0.0);
        QVERIFY(!zoomed(view, count, 1e9, 80) && !panned({}, count, 5));
        CandleList before = waves(count).candles;
        CandleList after(before.begin() + 3, before.end()); // three have left, two have come
        for (int i = 1; i < 3; ++i)
            after.push_back({before.back().ts + i * 4 * hours, 1, 1, 1, 1, 1});
        QCOMPARE(kept(view, before, after)->first, view->first - 3);
        QVERIFY(!kept({}, before, after) && !kept(view, before, std::span(after).last(1)));
        const ChartContent content = waves(int(count));
        const ChartScene scene = makeChartScene(content, ChartView{20, 40}, {720, 460}, 1);
        QCOMPARE(candleAt(scene, content, 0), std::optional<std::size_t>(20));
        QCOMPARE(candleAt(scene, content, 700), std::optional<std::size_t>(59));
        QCOMPARE(scene.base.times.index(scene.base.times.x(33.5)), 33.5);
    }

    void linesEndAtTheReadings()
    {
        const CandleList candles = waves(260).candles;
        QString all;
        for (const ChartLineChoice &choice : chartLineChoices())
            all = withToggled(all, choice.key);
        const IndicatorReadings readings = readIndicators(candles);
        const std::optional<double> wanted[]{readings.ema50, readings.ema200, readings.ema144,
                                             readings.ema169, readings.vwap};
        const auto lines = chartLines(candles, all);
        QCOMPARE(lines.size(), std::size(wanted));
        for (std::size_t i = 0; i < lines.size(); ++i)
            QVERIFY(lines[i].values.back() == wanted[i]);
        QCOMPARE(lines[4].values.size(), candles.size());
        QVERIFY(chartLines(candles, withToggled(all, u"vegas"_s)).size() == 3 &&
                chartLines(candles, {}).empty());
        QCOMPARE(chartLines(waves(100).candles, all).size(), std::size_t(2)); // as far as there are enough
        const CandleList visits{
            {0, 5, 6, 4, 5, 0}, {1, 9, 9, 8, 9, 0}, {2, 9, 9, 6, 7, 0}, {3, 7, 7, 5, 6, 0}};
        QCOMPARE(touches(visits, 5, 6), 2);
        QVERIFY(firstTouch(visits, 7.5, 8) == 1u && !firstTouch(visits, 1, 2));
    }
};

KESTRUNE_TEST(ChartSceneTest)
#include "tst_chartscene.moc"
