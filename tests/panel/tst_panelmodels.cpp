// SPDX-License-Identifier: MIT
#include "panelfixture.h"

#include "panel/pixelsparkline.h"
#include "panel/tones.h"
#include "panel/zonetags.h"
#include "state/alertlog.h"
#include "support/rows.h"
#include "support/testregistry.h"
#include "viewmodel/alertlines.h"
#include "viewmodel/paneltexts.h"
#include "viewmodel/planbannermodel.h"
#include "viewmodel/settingsinput.h"
#include "viewmodel/standingtexts.h"
#include "viewmodel/zonelisting.h"

#include <QPainter>

#include <limits>

using namespace kestrune;
using namespace kestrune::test;
using namespace std::chrono_literals;

/// What the panel shows, worked out without it.
class PanelModelsTest : public QObject
{
    Q_OBJECT

    using Values = std::vector<double>;
    using Points = std::vector<QPointF>;
    static constexpr QSizeF drawing{72, 18}; // 70 x 16 inside the sparkline's margin of one unit

    static TradePlan planOf(PlanGrade grade, TradeDirection dir)
    {
        TradePlan plan{};
        plan.grade = grade;
        plan.dir = dir;
        return plan;
    }

private Q_SLOTS:
    void listedZonesAreTheBestOnesNearThePrice()
    {
        const QString up = u"resistance"_s;
        const QString down = u"support"_s;
        const std::vector<Zone> zones{
            makeZone(up, 101, 1, 1),   makeZone(up, 102, 2, 3),     makeZone(down, 95, -5, 5),
            makeZone(up, 104, 4, 3),   makeZone(up, 103, 3, 2),     makeZone(u"current"_s, 100, 0, 9),
            makeZone(up, 112, 12, 1),  makeZone(up, 113, 12.01, 9), makeZone(down, 99, -1, 5),
            makeZone(down, 97, -3, 1), makeZone(down, 90, -10, 0),  makeZone(down, 91, 10, 0)};
        const struct
        {
            const char *name;
            QString type;
            int count;
            Values mids;
        } rows[] = {
            {"of confirm 1, 3, 3, 2, 1 the two threes, the farther on top", up, 2, {104, 102}},
            {"the range is inclusive, beyond it no strength counts", up, 9, {112, 104, 103, 102, 101}},
            {"supports begin at the price, equals keep their order", down, 9, {99, 97, 95, 90, 91}},
            {"the nearer of two equally confirmed", down, 1, {99}},
        };
        forEachRow(rows, [&](const auto &row) {
            Values mids;
            for (const Zone &zone : listedZones(zones, row.type, 12, row.count))
                mids.push_back(zone.mid);
            QCOMPARE(mids, row.mids);
        });
    }

    void rowsAreMatchedByLevelThenByPlace()
    {
        const struct
        {
            const char *name;
            Values shown, next; // a negative middle: a resistance, else a support
            std::vector<std::optional<std::size_t>> matches;
        } rows[] = {
            {"moved and gone", {1, 2, 3}, {3, 1}, {2, 0}},
            {"a new level in the same place", {1, 2, 3}, {1, 9, 3}, {0, 1, 2}},
            {"the place is taken by its own level", {1, 2, 3}, {9, 1, 2, 3}, {std::nullopt, 0, 1, 2}},
            {"the other side", {1, 2, 3}, {-1}, {std::nullopt}},
            {"each row once", {1, 1}, {1, 1}, {0, 1}},
        };
        forEachRow(rows, [](const auto &row) {
            std::vector<Zone> zones[2];
            for (const double mid : row.shown)
                zones[0].push_back(makeZone(u"support"_s, mid));
            for (const double mid : row.next)
                zones[1].push_back(makeZone(mid < 0 ? u"resistance"_s : u"support"_s, std::abs(mid)));
            QCOMPARE(matchRows(zones[0], zones[1]), row.matches);
        });
    }

    void composedTexts()
    {
        QCOMPARE(changeText(2.345), u"▲ 2.35%"_s); // the binary value lies above the half
        QCOMPARE(changeText(0), u"▲ 0.00%"_s);
        QCOMPARE(shortAge(59s) + shortAge(60s) + shortAge(59min) + shortAge(25h), u"<1m1m59m1d"_s);
        QCOMPARE(longAge(59s) + longAge(119min) + longAge(48h), u"不到 1 分钟前1 小时前2 天前"_s);
        QCOMPARE(changeText(-0.001), u"▼ -0.00%"_s); // too small to show
        QCOMPARE(distanceText(0), u"+0.00%"_s);      // at the price it counts as above
        QCOMPARE(pickedZoneTitle(1234.5, u"support", 1), u"支撑 1,234.5 · 做多"_s);
        QCOMPARE(signalTip({u"4H"_s, 0, SignalType::bull, u"均线多头"_s}), u"4H：均线多头"_s);
        QCOMPARE(distancesText(1.2, std::nullopt), u"暂无撑压数据"_s);
        QCOMPARE(marketNotice(true, std::nullopt), u"演示行情"_s);
        QCOMPARE(marketNotice(false, u"http://127.0.0.1:8080/prefix"_s), u"行情服务器 127.0.0.1"_s);
        QVERIFY(marketNotice(false, std::nullopt).isEmpty());
        const QByteArray zone = qgetenv("TZ");
        qputenv("TZ", "Asia/Shanghai");
        tzset();
        const QString shanghai = updateText(Instant(std::chrono::milliseconds(1767601805999)));
        qputenv("TZ", zone);
        tzset();
        QCOMPARE(shanghai, u"更新 16:30:05"_s);
    }

    void whoseAPriceIsAndHowOldIsSaid()
    {
        using Happening = void (*)(AppState &, FakeClock &);
        const struct
        {
            const char *name;
            Happening happens;
            QString line, plan;
        } rows[] = {
            {"of now", [](auto &, auto &) {}, u"更新 08:30:00"_s, u""_s},
            {"just old", [](auto &, auto &clock) { clock.passSteady(21s); }, u"不到 1 分钟前 · 等待新报价…"_s,
             u"价格已过时…"_s},
            {"another's", [](auto &state, auto &) { state.coinSymbol = u"BTC"_s; }, u"等待 BTC 报价…"_s,
             u"等待 BTC 报价…"_s},
            {"a leap", [](auto &state, auto &) { state.priceOrigin->believed = 1; }, u"价格骤变，等待确认…"_s,
             u"等待价格确认…"_s},
            {"none", [](auto &state, auto &) { state.price = std::nullopt; }, u"等待 ETH 报价…"_s,
             u"等待 ETH 报价…"_s},
            {"old zones", [](auto &state, auto &) { state.zonesOrigin->stale = true; }, u"更新 08:30:00"_s,
             u"撑压数据已过时…"_s},
            {"another timeframe", [](auto &state, auto &) { state.timeframe = u"4H"_s; }, u"更新 08:30:00"_s,
             u"等待撑压数据…"_s},
        };
        forEachRow(rows, [](const auto &row) {
            PanelFixture panel;
            panel.fillMarket();
            row.happens(*panel.state, panel.clock);
            QCOMPARE(priceLine(*panel.state), row.line);
            QCOMPARE(planNotice(*panel.state).remove(u"开单助手："_s), row.plan);
        });
    }

    void aStockSaysWhatItsExchangeDoes()
    {
        const struct
        {
            const char *name;
            std::chrono::seconds afterOpening, quotedBefore;
            QString line;
            QString symbol = u"sh600519"_s;
            double volume = 1;
            bool suspended = false;
        } rows[] = {
            {"trading", 60s, 3s, u"更新 01:30:57"_s},
            {"at noon", 3h, 50min, u"午间休市"_s},
            {"closed", 8h, 150min, u"已收盘 15:00"_s},
            {"touched up after the close", 8h, 70min, u"已收盘 15:00"_s},
            {"not traded", 60s, 3s, u"更新 01:30:57 · 停牌"_s, u"sh600519"_s, 0},
            {"suspended", 8h, 150min, u"停牌"_s, u"sh600519"_s, 1, true},
            {"delayed", 1h, 15min, u"更新 02:15:00 · 延迟约 15 分钟"_s, u"hk00700"_s},
            {"before the first quote", 10s, 17h, u"更新 08:30:10"_s, u"hk00700"_s},
        };
        forEachRow(rows, [](const auto &row) {
            AppFixture app;
            AppState &state = app.create();
            state.market = row.symbol.startsWith(u"hk") ? MarketSegment::hk : MarketSegment::cn;
            state.coinSymbol = row.symbol;
            app.clock.setNow(Instant(1767576600s + row.afterOpening)); // a Monday, 1:30 UTC
            StockQuote quote;
            quote.open = quote.volume = row.volume;
            quote.suspended = row.suspended;
            quote.quotedAt = app.clock.now() - row.quotedBefore;
            state.price = 1688.0;
            state.stockQuote = quote;
            state.priceOrigin = originOfPrice({state.market(), row.symbol, {}}, 1688, &quote, {}, app.clock);
            QCOMPARE(priceLine(state), row.line);
        });
    }

    void whatStandsBesideTheZonesAndSignals()
    {
        PanelFixture panel;
        panel.fillMarket();
        AppState &state = *panel.state;
        state.lastSRCandles = {{.o = 69189, .h = 69189, .l = 69189, .c = 69189}};
        QCOMPARE(dataNotices(state), QStringList(u"K线收盘 69,189 与现价相差 1902%，请核对"_s));
        state.priceFailure = Failure{u"价格获取失败"_s, panel.clock.now()};
        state.zonesFailure = Failure{u"撑压数据获取失败"_s, panel.clock.now() + 2min};
        panel.clock.passSteady(260s);
        QCOMPARE(dataNotices(state), (QStringList{u"价格获取失败 · 自 08:30"_s,
                                                  u"撑压数据获取失败 · 自 08:32"_s, u"撑压 4 分钟前"_s}));
        QCOMPARE(conclusionText(state), u"多周期同步偏多 · 短中长一致 · 4 分钟前"_s);
        QCOMPARE(verdictText(state), u"等待数据"_s);
        state.timeframe = u"4H"_s;
        QCOMPARE(dataNotices(state).value(2), u"撑压属于日线，等待4H数据…"_s);
        state.coinSymbol = u"BTC"_s;
        QCOMPARE(dataNotices(state).value(2), u"撑压属于 ETH，等待 BTC 数据…"_s);
        QCOMPARE(conclusionText(state), u"多周期同步偏多 · 短中长一致 · 属于 ETH"_s);
    }

    // Deliberate: bullish is red and bearish green, the other way round than the change of the price.
    void tones()
    {
        const auto conclusion = [](SignalType last) { // the last signal alone decides
            const TimeframeSignal first{u"1H"_s, 0, SignalType::bull, {}};
            return conclusionTone(std::vector{first, TimeframeSignal{u"4H"_s, 0, last, {}}});
        };
        QVERIFY(conclusion(SignalType::strongBull) == Tone::red &&
                conclusion(SignalType::bear) == Tone::green);
        QVERIFY(conclusion(SignalType::neutral) == Tone::orange && conclusionTone({}) == Tone::secondary);
        QCOMPARE(planTone(planOf(PlanGrade::good, TradeDirection::short_)), Tone::green);
        QCOMPARE(planTone(planOf(PlanGrade::fair, TradeDirection::long_)), Tone::orange);
        QVERIFY(changeTone(0) == Tone::green && changeTone(-0.001) == Tone::red);
        QVERIFY(distanceTone(0) == Tone::red && distanceTone(-0.001) == Tone::green);
    }

    void planLinesPutWarningsApart()
    {
        const struct
        {
            const char *name;
            QString tip;
            std::optional<QString> position, session;
            QStringList lines; // warnings behind a "!"
        } rows[] = {
            {"in the order of reading", u"顺"_s, u"仓 5"_s, u"周末"_s, {u"仓 5"_s, u"顺"_s, u"!周末"_s}},
            {"a tip that is a warning", u"⚠️ 会被强平"_s, {}, {}, {u"!会被强平"_s}},
            {"a warning after the position",
             u"顺"_s,
             u"仓 5 · 逐仓 · ⚠️ 杠杆"_s,
             {},
             {u"仓 5 · 逐仓"_s, u"!杠杆"_s, u"顺"_s}},
        };
        forEachRow(rows, [](const auto &row) {
            TradePlan plan = planOf(PlanGrade::good, TradeDirection::long_);
            plan.tip = row.tip;
            plan.positionText = row.position;
            plan.sessionText = row.session;
            QStringList lines;
            for (const PlanLine &line : planLines(plan))
                lines.append((line.isWarning ? u"!"_s : QString()) + line.text);
            QCOMPARE(lines, row.lines);
        });
    }

    void planRowsKeepTheWordsOfThePlan()
    {
        TradePlan plan = planOf(PlanGrade::good, TradeDirection::short_);
        plan.detail = u"100.00 进 · 止盈 98.00（−2.00% +1,234） · 止损 101.50（+1.50%） · 净盈亏比 1.12"_s;
        plan.tp = 98;
        plan.netRR = 1.12;
        const std::vector<PlanRow> between{{u"进"_s, u"100.00"_s, {}, {}},
                                           {u"止盈"_s, u"98.00"_s, u"−2.00% +1,234"_s, {}},
                                           {u"止损"_s, u"101.50"_s, u"+1.50%"_s, {}},
                                           {u"净盈亏比"_s, u"1.12"_s, {}, 1.12}};
        QVERIFY(planRows(plan) == between);
        plan.detail = u"50.00 进 · 止损 48.50（−3.00%） · 每盈利 1.00 上移一次止损"_s;
        plan.tp = std::nullopt;
        QVERIFY(planRows(plan).back() == (PlanRow{u"每盈利"_s, u"1.00"_s, u"上移一次止损"_s, {}}));
    }

    void fieldsSayWhatTheyMakeOfAText()
    {
        const struct
        {
            const char *name;
            const NumberField &field;
            QString text;
            std::optional<double> value;
            QString note = {};
        } rows[] = {
            {"above", fields::threshold, u"25"_s, 20, u"最大 20%，已改为 20.0"_s},
            {"below", fields::range, u"1"_s, 2, u"最小 2%，已改为 2"_s},
            {"inside, whatever is spelled", fields::threshold, u"3.26"_s, 3.26},
            {"no number", fields::risk, u"0x10"_s, {}, u"不是数字，仍为 7.0"_s},
            {"an endless one", fields::range, u"inf"_s, {}, u"不是数字，仍为 7"_s},
            {"no whole number", fields::perSide, u"3.5"_s, {}, u"不是整数，仍为 7"_s},
            {"a huge count", fields::perSide, u"99999999999"_s, 10, u"最大 10，已改为 10"_s},
            {"too low to be raised", fields::leverage, u"0.5"_s, {}, u"最小 1x，仍为 7"_s},
            {"just high enough", fields::leverage, u"1"_s, 1},
            {"nothing", fields::risk, u"0"_s, {}, u"须大于 0，仍为 7.0"_s},
            {"no amount", fields::account, u"x"_s, 0, u"不是金额，已清空"_s},
            {"a grouped amount", fields::account, u"12,000"_s, 12000},
            {"an emptied amount", fields::account, u" "_s, 0},
            {"groups of three", fields::alertPrice, u" 1,067 000.50"_s, 1067000.5},
            {"full-width signs", fields::alertPrice, u"６７，０００。５"_s, 67000.5},
            {"a decimal comma", fields::alertPrice, u"67,5"_s, {}, u"不是数字，仍为 7"_s},
            {"a group too long", fields::alertPrice, u"1,0000"_s, {}, u"不是数字，仍为 7"_s},
        };
        forEachRow(rows, [](const auto &row) {
            const NumberField::Answer answer = row.field.answer(row.text, 7);
            QCOMPARE(answer.value, row.value);
            QCOMPARE(answer.note, row.note);
        });
    }

    void theLogTellsWhatRangWhileAway()
    {
        const Instant now(1767601805s); // 08:30 on 5 January
        AlertLogEntry old;
        old.time = now - 25h;
        AlertLogEntry stock{u"id"_s, now - 2h, u"sh600519"_s, {}, 1690, true, 1690.5, u"手动 1,690.00"_s};
        stock.acknowledgedAt = now - 26h;
        stock.acknowledgedWhere = u"notification"_s;
        stock.away = true;
        std::vector<AlertLogEntry> entries(25, old);
        entries.insert(entries.end(), {stock, stock, old});
        const auto lines = alertLogLines(entries, now);
        QCOMPARE(lines.size(), 20);
        QStringList headings;
        for (std::size_t i = 0; i < 5; ++i)
            headings.append(lines[i].heading);
        QCOMPARE(headings.join(u'|'), u"|离开期间||此前|"_s);
        const AlertLogLine expected{u"离开期间"_s,
                                    u"600519"_s,
                                    u"手动 1,690.00"_s,
                                    u"06:30"_s,
                                    u"上涨触及 1,690.50"_s,
                                    u"已收到 01-04 06:30 · 通知"_s,
                                    true};
        QVERIFY(lines[1] == expected);
        QVERIFY(lines[0].time == u"01-04 07:30"_s && lines[0].touch.startsWith(u"下跌"_s));
    }

    void tagsOfZones()
    {
        const struct
        {
            const char *name;
            decltype(Zone::sources) sources;
            int confirm;
            bool golden;
            QString words;
        } rows[] = {
            {"one level", {u"fib"_s}, 1, false, u"Fib"_s},
            {"sources once each", {u"vol"_s, u"fib"_s, u"vol"_s}, 3, true, u"量能 Fib 多指标确认 黄金位"_s},
            {"two levels confirm already", {u"pivot"_s, u"pivot"_s}, 2, false, u"Pivot 多指标确认"_s},
            {"unknown sources are skipped", {u"moon"_s, u"swing"_s}, 1, false, u"摆动"_s},
        };
        forEachRow(rows, [](const auto &row) {
            QStringList words;
            for (const TagContent &tag : zoneTags(makeZone({}, 1, 1, row.confirm, row.sources, row.golden)))
                words.append(tag.text);
            QCOMPARE(words.join(u' '), row.words);
        });
    }

    void theSparklineLagsHalfWayAndMeetsTheEnd()
    {
        QCOMPARE(sparklinePoints(Values{10, 30, 20}, drawing), (Points{{1, 17}, {36, 1}, {71, 9}}));
        QCOMPARE(sparklinePoints(Values{5, 5}, drawing), (Points{{1, 17}, {71, 17}})); // on the lower margin
        const double endless = std::numeric_limits<double>::infinity();
        for (const Values &data : {Values{1}, Values{1, std::nan(""), 2}, Values{1, 2, endless}})
            QVERIFY(sparklineCurve(sparklinePoints(data, drawing)).isEmpty());
        const QPainterPath path = sparklineCurve(Points{{0, 0}, {8, 8}, {16, 0}});
        // A quadratic curve is kept as a cubic: move, three elements per curve, then the closing line. The
        // pen is its own control point, so that the first inner control point stays with it.
        QCOMPARE(path.elementCount(), 8);
        const std::pair<int, QPointF> elements[] = {
            {1, {0, 0}}, {3, {4, 4}}, {4, {4, 4}}, {6, {10, 2}}, {7, {16, 0}}};
        for (const auto &[at, point] : elements)
            QCOMPARE(QPointF(path.elementAt(at)), point);
    }

    void levelsAreMarkedWhereTheLineCrossesThem()
    {
        const std::vector zones{makeZone(u"resistance"_s, 12), makeZone(u"current"_s, 13),
                                makeZone(u"support"_s, 11), makeZone({}, 12)};
        QCOMPARE(sparklineLevels(zones), (std::vector<SparklineLevel>{{12, true}, {11, false}}));
        const struct
        {
            const char *name;
            Values data;
            double mid;
            Points centers;
        } rows[] = {
            {"interpolated on the crossing segment", {10, 30}, 15, {{18.5, 13}}},
            {"on the last of several crossings", {10, 30, 10}, 15, {{62.25, 13}}},
            {"touching a value crosses both its segments", {10, 20, 30}, 20, {{36, 9}}},
            {"a flat series is marked at its first value", {5, 5, 5}, 5, {{1, 17}}},
            {"just above the range", {10, 30}, 30.0001, {}},
            {"a level that is no number", {10, 30}, std::nan(""), {}},
        };
        forEachRow(rows, [](const auto &row) {
            Points centers;
            for (const auto &marker :
                 sparklineMarkers(row.data, std::vector<SparklineLevel>{{row.mid, true}}, drawing))
                centers.push_back(marker.center);
            QCOMPARE(centers, row.centers);
        });
    }

    void theSparklinePulsesWhileItsMarkersShow()
    {
        QWidget window;
        auto *sparkline = new PixelSparkline([] { return 0.3; }, &window); // full pulse
        sparkline->resize(drawing.toSize());
        const Values data{10, 10, 30};
        sparkline->setContent(data, std::vector{makeZone(u"resistance"_s, 30)});
        QImage image(144, 36, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(2);
        image.fill(Qt::white);
        sparkline->render(&image, {}, {}, QWidget::DrawChildren);
        QCOMPARE(image.pixel(20, 33), QColor::fromRgbF(0.1F, 0.36F, 0.8F).rgba());   // along the lower margin
        QCOMPARE(image.pixel(141, 2), QColor::fromRgbF(0.95F, 0.25F, 0.25F).rgba()); // the opaque core disc
        QVERIFY(closeTo(sparklinePhase(1700000000.7), 1, 1e-5) &&
                closeTo(sparklinePhase(1700000001.3), 0, 1e-5));
        window.show();
        QVERIFY(sparkline->isPulsing());
        sparkline->setContent(data, {}); // nothing left to pulse
        QVERIFY(!sparkline->isPulsing());
    }
};

KESTRUNE_TEST(PanelModelsTest)
#include "tst_panelmodels.moc"
