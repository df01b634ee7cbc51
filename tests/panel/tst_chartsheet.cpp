// SPDX-License-Identifier: MIT
#include "chart/chartwidget.h"
#include "panel/chartsheet.h"
#include "panel/chartsource.h"
#include "panel/panelfixture.h"
#include "panel/zonerow.h"
#include "support/bytesinuse.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QMenu>
#include <QWheelEvent>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

class ChartSheetTest : public QObject
{
    Q_OBJECT

    /// A panel with the chart over it.
    struct Charted : Shown
    {
        Charted()
        {
            state->lastSRCandles = waveCandles(200, 3456.78);
            press(u"图表"_s);
            chart = view->findChild<ChartWidget *>();
        }
        [[nodiscard]] ChartScene scene() const
        {
            return makeChartScene(chart->content(), chart->view(), chart->size(), 1);
        }
        [[nodiscard]] QPoint band(std::size_t zone) const
        {
            return scene().base.bands[zone].rect.center().toPoint();
        }
        /// A place at a price where nothing else is.
        [[nodiscard]] QPoint free(double price) const
        {
            return {100, int(std::lround(scene().base.prices.y(price)))};
        }
        void drag(const QPoint &from, const QPoint &to, bool release = true) const
        {
            QTest::mousePress(chart, Qt::LeftButton, {}, from);
            QTest::mouseMove(chart, (from + to) / 2);
            QTest::mouseMove(chart, to);
            if (release)
                QTest::mouseRelease(chart, Qt::LeftButton, {}, to);
            drainEvents();
        }
        void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const
        {
            QTest::keyClick(chart, key, modifiers);
            drainEvents();
        }
        QPointer<ChartWidget> chart;
    };

private Q_SLOTS:
    void opensAndCloses()
    {
        Charted charted;
        QVERIFY(charted.chart && charted.chart->hasFocus() && !charted.chart->content().candles.empty());
        const auto closed = [&] {
            drainEvents();
            return charted.chart.isNull() && charted.view->isVisible();
        };
        const auto open = [&] {
            return (charted.chart = charted.view->findChild<ChartWidget *>()) != nullptr;
        };
        charted.key(Qt::Key_Escape);
        QVERIFY(closed());
        QTest::keyClick(charted.view.get(), Qt::Key_C);
        QVERIFY(open());
        charted.press(u"图表"_s);
        QVERIFY(closed());
        QTest::mouseClick(charted.find(u"价格走势"_s), Qt::LeftButton);
        QVERIFY(open());
        charted.press(u"关闭图表"_s);
        QVERIFY(closed());
        const qint64 before = bytesInUse();
        charted.press(u"图表"_s);
        QVERIFY(open() && bytesInUse() - before < 6 << 20);
        charted.press(u"图表"_s);
        QVERIFY(closed() && bytesInUse() - before < 64 << 10);
        charted.press(u"图表"_s);
        QVERIFY(open());
        charted.view->hide();
        drainEvents();
        QVERIFY(charted.chart.isNull());
        KESTRUNE_VERIFY_APP(charted);
    }

    void standsBesideThePanelWhereThereIsRoom()
    {
        const QSize wanted(720, 460);
        const QRect screen(0, 30, 1600, 900);
        const struct
        {
            const char *name;
            QRect panel, screen, chart;
        } rows[] = {
            {"at the right", {1280, 30, 320, 900}, screen, {554, 30, 720, 460}},
            {"at the left", {0, 30, 320, 900}, screen, {326, 30, 720, 460}},
            {"narrower", {704, 30, 320, 700}, {0, 30, 1024, 700}, {0, 30, 698, 460}},
            {"over it", {480, 30, 320, 570}, {0, 30, 800, 570}, {80, 30, 720, 460}},
            {"low, above the bar", {1280, 600, 320, 330}, screen, {554, 470, 720, 460}},
        };
        forEachRow(rows,
                   [&](const auto &row) { QCOMPARE(chartPlace(row.panel, wanted, row.screen), row.chart); });
    }

    void aZoneIsPickedAndLitBothWays()
    {
        Charted charted;
        const Zone zone = charted.state->zones()[1];
        std::size_t index = 0;
        while (charted.chart->content().zones[index].mid != zone.mid)
            ++index;
        QTest::mouseClick(charted.chart, Qt::LeftButton, {}, charted.band(index));
        drainEvents();
        QVERIFY(charted.state->selectedZonePrice() == zone.mid &&
                charted.state->selectedZoneType() == zone.type);
        QVERIFY(charted.chart->content().zones[index].picked);
        QTest::mouseClick(charted.chart, Qt::LeftButton, {}, charted.band(index));
        QVERIFY(!charted.state->selectedZonePrice());
        ZoneRow *row = nullptr;
        for (auto *candidate : charted.view->findChildren<ZoneRow *>())
            row = candidate->zone().mid == zone.mid ? candidate : row;
        const auto looks = [](QWidget *widget) { return widget->grab().toImage(); };
        QTest::mouseMove(charted.chart, {2, 2});
        const QImage row0 = looks(row);
        QTest::mouseMove(charted.chart, charted.band(index));
        QVERIFY(looks(row) != row0);
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(charted.chart, &leave);
        QCOMPARE(looks(row), row0);
        const QImage chart0 = looks(charted.chart);
        Q_EMIT row->pointed(true);
        QVERIFY(looks(charted.chart) != chart0);
        Q_EMIT row->pointed(false);
        QCOMPARE(looks(charted.chart), chart0);
        // By the keyboard: from the price up to the nearest zone.
        charted.key(Qt::Key_Up);
        charted.key(Qt::Key_Return);
        QCOMPARE(charted.state->selectedZonePrice(), std::optional(charted.state->zones()[2].mid));
    }

    void alertsAreSetAndMoved()
    {
        Charted charted;
        const auto alerts = [&] { return charted.state->alerts(); };
        const double wanted = charted.state->zones()[0].mid * 0.983;
        QTest::mouseDClick(charted.chart, Qt::LeftButton, {}, charted.free(wanted));
        drainEvents();
        QCOMPARE(alerts().size(), std::size_t(1));
        const PriceAlert set = alerts().front();
        QVERIFY(std::abs(set.targetPrice / wanted - 1) < 0.002 && set.above);
        const auto bell = [&] { return QPoint(12, int(charted.scene().bells.front().top) + 9); };
        // While it moves the bell shows the new price, and Escape puts it back.
        charted.drag(bell(), charted.free(3300), false);
        charted.key(Qt::Key_Escape);
        QTest::mouseRelease(charted.chart, Qt::LeftButton);
        QCOMPARE(alerts(), std::vector{set});
        charted.drag(bell(), charted.free(3300));
        const PriceAlert moved = alerts().front();
        QVERIFY(std::abs(moved.targetPrice / 3300 - 1) < 0.002 && !moved.above && moved.id == set.id);
        QCOMPARE(moved.label, u"手动 "_s + fmtP(moved.targetPrice, charted.state->decimals()));
        // By the keyboard: to the bell, up with it, down again; then a new one.
        charted.key(Qt::Key_Home);
        while (!charted.chart->accessibleDescription().contains(
            u"光标 "_s + fmtP(moved.targetPrice, charted.state->decimals())))
            charted.key(Qt::Key_Down);
        charted.key(Qt::Key_Return);
        charted.key(Qt::Key_Down);
        charted.key(Qt::Key_Return);
        QVERIFY(alerts().size() == 1 && alerts().front().targetPrice < moved.targetPrice);
        charted.key(Qt::Key_Down, Qt::ShiftModifier);
        charted.key(Qt::Key_A);
        QVERIFY(alerts().size() == 2 && alerts().back().targetPrice < alerts().front().targetPrice);
        KESTRUNE_VERIFY_APP(charted);
    }

    void wheelAndKeysZoomAndPan()
    {
        Charted charted;
        const auto wheel = [&](const QPoint &angle, const QPoint &pixels = {}) {
            QWheelEvent event(QPointF(100, 100), charted.chart->mapToGlobal(QPointF(100, 100)), pixels, angle,
                              Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(charted.chart, &event);
        };
        const double under = charted.scene().base.times.index(100);
        wheel({0, 120});
        const double once = charted.chart->view()->count;
        QVERIFY(once < 200 && std::abs(charted.scene().base.times.index(100) - under) < 0.01);
        charted.key(Qt::Key_Home);
        for (int i = 0; i < 8; ++i)
            wheel({0, 15}); // a fine wheel comes to the same
        QVERIFY(std::abs(charted.chart->view()->count - once) < 1e-6);
        charted.key(Qt::Key_Plus);
        const double first = charted.chart->view()->first;
        charted.key(Qt::Key_Left);
        QVERIFY(charted.chart->view()->first < first);
        const double before = charted.chart->view()->first;
        charted.drag({100, 100}, {60, 100});
        QVERIFY(charted.chart->view()->first > before);
        const OptionalChartView view = charted.chart->view();
        charted.tick(3460);
        QCOMPARE(charted.chart->view(), view);
        charted.key(Qt::Key_Minus);
        charted.key(Qt::Key_Minus);
        QVERIFY(!charted.chart->view()); // all again
    }

    void nothingForeignIsDrawn()
    {
        Charted charted;
        charted.state->zonesOrigin->subject.timeframe = u"周线"_s;
        charted.state->agesPassed = charted.state->agesPassed() + 1;
        drainEvents();
        const ChartContent foreign = charted.chart->content();
        QVERIFY(foreign.candles.empty() && foreign.zones.empty() && foreign.message.contains(u"周线"_s));
        QVERIFY(charted.chart->accessibleDescription().contains(foreign.message));
        charted.tick(3460);
        QVERIFY(charted.chart->content().price->live);
        QVERIFY(charted.chart->accessibleDescription().contains(u"最近阻力"_s));
        QCOMPARE(charted.chart->content().zones.size(), std::size_t(6));
        QAccessibleInterface *table = charted.readerOf(charted.chart)->child(0);
        QVERIFY(table->role() == QAccessible::Table && table->childCount() == 6);
        QVERIFY(table->child(0)->text(QAccessible::Name).startsWith(u"阻力 "_s));
        QVERIFY(charted.chart->content().zonesCaveat.isEmpty());
        charted.clock.passSteady(std::chrono::seconds(260));
        charted.view->updateNow();
        QVERIFY(!charted.chart->content().price->live);
        QVERIFY(charted.chart->accessibleDescription().contains(u"撑压 4 分钟前"_s));
    }

    void chipsAndSizeAreRemembered()
    {
        Charted charted;
        charted.press(u"EMA50"_s);
        charted.press(u"VWAP"_s);
        QCOMPARE(charted.state->chartLines(), u"ema50 vwap"_s);
        QCOMPARE(charted.chart->content().lines.size(), std::size_t(2));
        QVERIFY(charted.isChecked(u"VWAP"_s) && !charted.isChecked(u"EMA200"_s));
        charted.press(u"EMA50"_s);
        QCOMPARE(charted.chart->content().lines.size(), std::size_t(1));
        QWidget *sheet = charted.chart->parentWidget();
        QWidget *grip = sheet->childAt(sheet->width() - 5, sheet->height() - 5);
        const int height = sheet->height();
        QTest::mousePress(grip, Qt::LeftButton, {}, {5, 5});
        QTest::mouseMove(grip, {5, -95});
        QTest::mouseRelease(grip, Qt::LeftButton);
        QVERIFY(sheet->height() < height - 80);
        const QString size = u"360x%1"_s.arg(sheet->height()); // as wide as wanted, not as the panel here
        QVERIFY(charted.preferences.writes().contains(u"ks_chart_lines=vwap"_s));
        QVERIFY(charted.preferences.writes().contains(u"ks_chart_size="_s + size));
    }
};

KESTRUNE_TEST(ChartSheetTest)
#include "tst_chartsheet.moc"
