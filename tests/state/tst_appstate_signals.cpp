// SPDX-License-Identifier: MIT
#include "state/conclusion.h"
#include "state/timeframescore.h"
#include "support/appfixture.h"
#include "support/tasks.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

/// The labels and scores of a snapshot in one text.
QString spelled(const std::vector<TimeframeSignal> &snapshot)
{
    QStringList parts;
    for (const TimeframeSignal &signal : snapshot)
        parts.append(u"%1 %2 %3"_s.arg(signal.label).arg(signal.score).arg(signal.reason));
    return parts.join(u" | "_s);
}

QString scored(const QString &label, const CandleList &candles, double price)
{
    return spelled({scoreTimeframe(label, candles, price)});
}

Zone zoneAt(const QString &type, double distPct)
{
    return {1, 1, 1, {}, distPct, 1, false, type, {}, {}};
}

} // namespace

class AppStateSignalsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void eachTimeframeIsScoredAgainstTheOnePrice();
    void aFailedTimeframeIsLeftOut();
    void withoutAPriceTheFirstTimeframeGivesIt();
    void withoutAnyReferenceTheSnapshotStays_data();
    void withoutAnyReferenceTheSnapshotStays();
    void aContextValueThatCannotBeComputedIsKeptOrEmptied();
    void theLightFollowsZonesAndThreshold();
    void titles();
};

void AppStateSignalsTest::eachTimeframeIsScoredAgainstTheOnePrice()
{
    AppFixture app;
    const CandleList short_ = waveCandles(200, 2900);
    const CandleList middle = waveCandles(49, 2900); // one too few
    const CandleList long_ = waveCandles(50, 3300);
    app.serveCrypto(3000);
    AppState &state = app.start();
    app.crypto.answer(gateCandleLine(u"ETH"_s, u"1h"_s), gateCandles(short_));
    app.crypto.answer(gateCandleLine(u"ETH"_s, u"4h"_s), gateCandles(middle));
    app.crypto.hold(gateCandleLine(u"ETH"_s, u"1d"_s));
    begin(state.refreshSnapshot());
    drainEvents();
    QVERIFY(app.announcements.isEmpty()); // scored only when all three are there
    app.tickTo(3050);
    begin(state.refreshPrice());
    drainEvents();
    app.announcements.clear();
    app.crypto.release(gateCandleLine(u"ETH"_s, u"1d"_s), gateCandles(long_));
    QCOMPARE(app.announcements, (QStringList{u"snapshot"_s, u"snapshotConclusion"_s}));
    const QStringList expected{scored(u"1H"_s, short_, 3050), u"4H 0 数据不足"_s,
                               scored(u"日线"_s, long_, 3050)};
    QCOMPARE(spelled(state.snapshot()), expected.join(u" | "_s));
    QCOMPARE(state.snapshotConclusion(), buildConclusion(state.snapshot()));
    KESTRUNE_VERIFY_APP(app);
}

void AppStateSignalsTest::aFailedTimeframeIsLeftOut()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    app.crypto.fail(gateCandleLine(u"ETH"_s, u"4h"_s));
    begin(state.refreshSnapshot());
    drainEvents();
    QCOMPARE(state.snapshot().size(), std::size_t(2));
    QCOMPARE(state.snapshot()[0].label, u"1H"_s);
    QCOMPARE(state.snapshot()[1].label, u"日线"_s);
    QCOMPARE(state.snapshotConclusion(), u"数据加载中…"_s);
    QVERIFY(!state.errorMessage());

    app.crypto.failAlways(u"/api/v4/spot/candlesticks"_s);
    begin(state.refreshSnapshot()); // with a price, none at all gives none at all
    drainEvents();
    QVERIFY(state.snapshot().empty());
}

void AppStateSignalsTest::withoutAPriceTheFirstTimeframeGivesIt()
{
    AppFixture app;
    app.serveCrypto(3000);
    app.crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s);
    const CandleList middle = waveCandles(120, 2500);
    const CandleList long_ = waveCandles(120, 4000);
    app.crypto.failAlways(gateCandleLine(u"ETH"_s, u"1h"_s));
    app.crypto.answerAlways(gateCandleLine(u"ETH"_s, u"4h"_s), gateCandles(middle));
    app.crypto.answerAlways(gateCandleLine(u"ETH"_s, u"1d"_s), gateCandles(long_));
    const AppState &state = app.start();
    const double reference = middle.back().c;
    QCOMPARE(spelled(state.snapshot()),
             scored(u"4H"_s, middle, reference) + u" | "_s + scored(u"日线"_s, long_, reference));
}

void AppStateSignalsTest::withoutAnyReferenceTheSnapshotStays_data()
{
    QTest::addColumn<double>("price");
    QTest::newRow("no price and no candles") << 3000.0;
    QTest::newRow("a price of nothing") << 0.0;
    QTest::newRow("a negative price") << -1.0;
    QTest::newRow("a price that is no number") << std::nan("");
}

void AppStateSignalsTest::withoutAnyReferenceTheSnapshotStays()
{
    QFETCH(double, price);
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    const QString before = spelled(state.snapshot());
    QVERIFY(!before.isEmpty());
    if (price == 3000) {
        state.price = std::nullopt;
        app.crypto.failAlways(u"/api/v4/spot/candlesticks"_s);
    } else {
        app.crypto.answer(gateTickerLine(u"ETH"_s), gateTicker(price));
        begin(state.refreshPrice());
        drainEvents();
    }
    app.announcements.clear();
    begin(state.refreshSnapshot());
    drainEvents();
    QCOMPARE(app.announcements, QStringList{u"snapshotConclusion"_s});
    QCOMPARE(state.snapshotConclusion(), u"数据加载中…"_s);
    QCOMPARE(spelled(state.snapshot()), before);
}

void AppStateSignalsTest::aContextValueThatCannotBeComputedIsKeptOrEmptied()
{
    AppFixture app;
    const CandleList many = waveCandles(200, 3000);
    app.serveCrypto(2000, many);
    AppState &state = app.start();
    QVERIFY(state.ctxEMA200() && state.ctxVegas() && state.ctxMACDHist() && state.ctxVWAP());
    QCOMPARE(state.trendText(), u"空头趋势（价格位于 Vegas 隧道下方）"_s);
    const VegasTunnel tunnel = *state.ctxVegas();
    const double histogram = *state.ctxMACDHist();

    const CandleList few = waveCandles(30, 2000);
    app.crypto.answer(gateCandleLine(u"ETH"_s, u"1d"_s), gateCandles(few));
    begin(state.refreshSR());
    drainEvents();
    // 30 candles: no averages, and a histogram needs 34; the tunnel and the histogram keep showing.
    QVERIFY(!state.ctxEMA50() && !state.ctxEMA200() && state.ctxRSI() && state.ctxATR());
    QVERIFY(state.ctxVegas()->up == tunnel.up && state.ctxVegas()->down == tunnel.down);
    QCOMPARE(state.ctxMACDHist(), histogram);
    QCOMPARE(app.announcements.count(u"ctxVegas"_s), 0);

    app.crypto.answerAlways(gateCandleLine(u"BTC"_s, u"1d"_s), gateCandles(waveCandles(150, 2000)));
    state.setCoin(u"BTC"_s);
    drainEvents();
    QVERIFY(state.ctxEMA50() && !state.ctxEMA200() && !state.ctxVegas());
    QCOMPARE(state.trendText(), u"数据不足"_s);
}

void AppStateSignalsTest::theLightFollowsZonesAndThreshold()
{
    AppFixture app;
    AppState &state = app.create();
    QVERIFY(!state.nearestBuyDistPct() && !state.nearestSellDistPct());
    QCOMPARE(state.statusText(), u"中间区域 · 观望"_s);
    state.zones = std::vector{zoneAt(u"resistance"_s, 4.0), zoneAt(u"resistance"_s, 3.0),
                              zoneAt(u"current"_s, 0), zoneAt(u"support"_s, -3.5)};
    QCOMPARE(state.nearestBuyDistPct(), std::optional(3.5)); // without its sign
    QCOMPARE(state.nearestSellDistPct(), std::optional(3.0));
    QCOMPARE(state.statusText(), u"中间区域 · 观望"_s);
    state.signalThreshold = 3.0;
    QCOMPARE(state.statusText(), u"接近阻力区 · 偏卖出"_s);
    QCOMPARE(state.statusSymbol(), u"chevron.up.circle.fill"_s);
}

void AppStateSignalsTest::titles()
{
    AppFixture app;
    AppState &state = app.create();
    state.coinSymbol = u"eth"_s;
    QCOMPARE(state.headerTitle(), u"eth/USDT · 永续"_s);
    QCOMPARE(state.menuTitle(), u"ETH  …"_s);
    state.price = 3456.78;
    QCOMPARE(state.menuTitle(), u"ETH  3,456.78"_s);
    state.miniMode = true;
    QCOMPARE(state.menuTitle(), u"3,456.78"_s);
    state.price = std::nullopt;
    QCOMPARE(state.menuTitle(), u"…"_s);
    state.coinSymbol = u"sz000001"_s;
    QCOMPARE(state.displayName(), u"000001"_s);
    StockQuote quote;
    quote.symbol = u"sz000001"_s;
    state.stockQuote = quote;
    QCOMPARE(state.displayName(), u"000001"_s); // a name of nothing does not count
    quote.name = u"平安银行"_s;
    state.stockQuote = quote;
    state.miniMode = false;
    QCOMPARE(state.menuTitle(), u"平安银行  …"_s);
    QCOMPARE(state.dataSourceNote(), u"仅供学习参考，不构成投资建议。"_s);
}

KESTRUNE_TEST(AppStateSignalsTest)
#include "tst_appstate_signals.moc"
