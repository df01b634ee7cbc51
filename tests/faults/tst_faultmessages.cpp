// SPDX-License-Identifier: MIT
#include "platform/qthttpclient.h"
#include "support/appfixture.h"
#include "support/loopbackserver.h"
#include "support/tasks.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Answer = LoopbackServer::Answer;
using Fault = LoopbackServer::Fault;

const QStringList &tickerPaths()
{
    static const QStringList paths{u"/api/v4/futures/usdt/tickers"_s, u"/fapi/v1/ticker/24hr"_s};
    return paths;
}

const QStringList &candlePaths()
{
    static const QStringList paths{u"/api/v4/spot/candlesticks"_s, u"/api/v3/klines"_s,
                                   u"/api/v5/market/candles"_s};
    return paths;
}

const QString quotePath = u"/q=sh600519"_s;
const QString stockCandlePath = u"/appstock/app/fqkline/get"_s;

Answer sound(const QByteArray &body)
{
    Answer answer;
    answer.body = body;
    return answer;
}

Answer faulty(const QByteArray &body, Fault fault, int status = 200)
{
    Answer answer = sound(body);
    answer.fault = fault;
    answer.status = status;
    answer.interval = 200ms;
    return answer;
}

/// A state over the real HTTP client, and the market it asks.
class Market
{
public:
    Market()
    {
        preferences.preset(u"ks_has_launched_v2"_s, true);
        heal();
    }

    void heal()
    {
        const CandleList days = waveCandles(200, 60000);
        server.serve(candlePaths()[0], sound(gateCandles(days)));
        server.serve(candlePaths()[1], sound(binanceCandles(days)));
        server.serve(tickerPaths()[0], sound(gateTicker(61234.5, -2.25)));
        server.serve(tickerPaths()[1], sound(binanceTicker(61234.5, -2.25)));
        server.serve(quotePath, sound(stockQuotes({{"sh600519", "Name", 1500, 1.25}})));
        // For the day alone: the snapshot then holds one record.
        server.serve(stockCandlePath, sound(stockCandles(u"sh600519"_s, u"day"_s, waveCandles(320, 1500))));
    }
    void breakAll(const QStringList &paths, const Answer &answer)
    {
        for (const QString &path : paths)
            server.serve(path, answer);
    }
    /// Makes the state; true when its first data have come.
    [[nodiscard]] bool start(MarketSegment segment)
    {
        if (segment == MarketSegment::cn) {
            preferences.preset(u"ks_market"_s, rawValue(segment));
            preferences.preset(u"ks_coin"_s, u"sh600519"_s);
        }
        const QString base = server.url(QString()).toString();
        state = AppState::create({http, stockHttp, clock, preferences, attention, Endpoints::via(base)});
        return waitFor(
            [this] { return state->price() && !state->zones().empty() && !state->snapshot().empty(); });
    }
    /// Runs a refresh to its end.
    [[nodiscard]] bool run(QCoro::Task<> (AppState::*refresh)())
    {
        bool done = false;
        begin(runThen((state.get()->*refresh)(), &done));
        return waitFor([&done] { return done; }, 15s);
    }
    [[nodiscard]] std::optional<RefreshOutcome> refreshAll()
    {
        std::optional<RefreshOutcome> outcome;
        begin(keepResult(state->refreshAll(), &outcome));
        static_cast<void>(waitFor([&outcome] { return outcome.has_value(); }, 15s));
        return outcome;
    }

    LoopbackServer server;
    RecordingAttention attention;
    MemoryPreferences preferences;
    FakeClock clock; // stands still: no loop joins in
    QtHttpClient http{{.idleTimeout = 400ms, .totalTimeout = 600ms}};
    QtHttpClient stockHttp{{.idleTimeout = 400ms, .totalTimeout = 600ms}};
    std::shared_ptr<AppState> state;

private:
    static QCoro::Task<> runThen(QCoro::Task<> task, bool *done)
    {
        co_await task;
        *done = true;
    }
};

/// What the panel shows.
struct Shown
{
    explicit Shown(const AppState &state)
        : price(state.price())
        , change(state.changePct())
        , zonePrice(state.zonePrice())
        , zones(state.zones())
        , sparkline(state.sparkline())
        , rsi(state.ctxRSI())
        , conclusion(state.snapshotConclusion())
        , source(state.dataSource())
    {}
    [[nodiscard]] bool operator==(const Shown &other) const
    {
        return price == other.price && change == other.change && zonePrice == other.zonePrice &&
               sameZones(zones, other.zones) && sparkline == other.sparkline && rsi == other.rsi &&
               conclusion == other.conclusion && source == other.source;
    }

    std::optional<double> price, change;
    double zonePrice;
    std::vector<Zone> zones;
    std::vector<double> sparkline;
    std::optional<double> rsi;
    QString conclusion, source;
};

} // namespace

/// Every fault of a transfer, at every source of a datum at once: the message is the documented one, what was
/// on the screen stays, and a market that is well again clears it.
class FaultMessagesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theOldDataStayBesideTheMessage_data();
    void theOldDataStayBesideTheMessage();
};

void FaultMessagesTest::theOldDataStayBesideTheMessage_data()
{
    QTest::addColumn<Answer>("answer");
    const QByteArray body = gateCandles(waveCandles(200, 10));
    const QByteArray page = "<html><body>busy</body></html>";
    QTest::newRow("reset") << faulty(body, Fault::reset);
    QTest::newRow("cut off") << faulty(body, Fault::truncate);
    QTest::newRow("stall") << faulty(body, Fault::stall);
    QTest::newRow("drip") << faulty(body, Fault::drip);
    QTest::newRow("endless body") << faulty(page, Fault::endless);
    QTest::newRow("no HTTP") << faulty(body, Fault::garbage);
    QTest::newRow("empty") << faulty({}, Fault::none);
    QTest::newRow("page") << faulty(page, Fault::none);
    QTest::newRow("501 with a page") << faulty(page, Fault::none, 501);
    QTest::newRow("gzip bomb") << LoopbackServer::gzipped(QByteArray(qsizetype{64} * 1024 * 1024, ' '));
    QTest::newRow("damaged gzip") << [] {
        Answer answer = LoopbackServer::gzipped("[[]]");
        answer.body[answer.body.size() / 2] = 'x';
        return answer;
    }();
    QTest::newRow("refused") << LoopbackServer::redirect("http://127.0.0.1:1/");
    QTest::newRow("redirect loop") << LoopbackServer::redirect("?again");
    QTest::newRow("redirect away from http") << LoopbackServer::redirect("file:///etc/passwd");
}

void FaultMessagesTest::theOldDataStayBesideTheMessage()
{
    QFETCH(Answer, answer);
    Market crypto;
    Market stock;
    QVERIFY(crypto.start(MarketSegment::crypto));
    QVERIFY(stock.start(MarketSegment::cn));
    // What the first refresh left open ends before anything breaks.
    QTRY_VERIFY(!crypto.state->isLoading() && !stock.state->isLoading());
    QVERIFY(crypto.run(&AppState::refreshSnapshot));
    QVERIFY(stock.run(&AppState::refreshSnapshot));
    const Shown cryptoShown(*crypto.state);
    const Shown stockShown(*stock.state);

    crypto.breakAll(tickerPaths(), answer);
    stock.breakAll({stockCandlePath}, answer);
    QVERIFY(crypto.run(&AppState::refreshPrice));
    QCOMPARE(crypto.state->errorMessage(), u"价格获取失败"_s);
    QVERIFY(stock.run(&AppState::refreshSR));
    QCOMPARE(stock.state->errorMessage(), u"撑压数据获取失败"_s);

    crypto.breakAll(candlePaths(), answer);
    stock.breakAll({quotePath}, answer);
    QVERIFY(crypto.run(&AppState::refreshSR));
    QCOMPARE(crypto.state->errorMessage(), u"撑压数据获取失败"_s);
    QVERIFY(stock.run(&AppState::refreshPrice));
    QCOMPARE(stock.state->errorMessage(), u"行情获取失败"_s);

    QVERIFY(!crypto.state->isLoading() && !stock.state->isLoading());
    QVERIFY(Shown(*crypto.state) == cryptoShown);
    QVERIFY(Shown(*stock.state) == stockShown);

    for (Market *market : {&crypto, &stock}) {
        market->heal();
        const auto outcome = market->refreshAll();
        QVERIFY(outcome && outcome->success);
        QCOMPARE(outcome->message, u"刷新成功"_s);
        QVERIFY(!market->state->errorMessage());
    }
}

KESTRUNE_TEST(FaultMessagesTest)
#include "tst_faultmessages.moc"
