// SPDX-License-Identifier: MIT
#include "platform/curlhttpclient.h"
#include "support/appfixture.h"
#include "support/loopbackserver.h"
#include "support/rows.h"
#include "support/tasks.h"
#include "support/testregistry.h"

#include <tuple>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// Every fault of a transfer, at every source of a datum at once: the message is the right one, what was on
/// the screen stays, and a market that is well again clears it.
class FaultMessagesTest : public QObject
{
    Q_OBJECT
    using Answer = LoopbackServer::Answer;
    using Fault = LoopbackServer::Fault;

    static Answer damagedGzip()
    {
        Answer made = LoopbackServer::gzipped("[[]]");
        made.body[made.body.size() / 2] = 'x';
        return made;
    }

    /// A state over the real HTTP client, and the market it asks.
    struct Market
    {
        explicit Market(MarketSegment segment)
        {
            preferences.preset(u"ks_has_launched_v2"_s, true);
            preferences.preset(u"ks_market"_s, rawValue(segment));
            preferences.preset(u"ks_coin"_s, segment == MarketSegment::cn ? u"sh600519"_s : u"ETH"_s);
            heal();
            const QString base = server.url(QString()).toString();
            state = AppState::create({http, http, clock, preferences, attention, Endpoints::via(base)});
        }

        void heal()
        {
            const CandleList days = waveCandles(200, 60000);
            server.serve(u"/api/v4/spot/candlesticks"_s, {.body = gateCandles(days)});
            server.serve(u"/api/v3/klines"_s, {.body = binanceCandles(days)});
            server.serve(u"/api/v4/futures/usdt/tickers"_s, {.body = gateTicker(61234.5, -2.25)});
            server.serve(u"/fapi/v1/ticker/24hr"_s, {.body = binanceTicker(61234.5, -2.25)});
            server.serve(u"/q=sh600519"_s, {.body = stockQuotes({{"sh600519", "Name", 1500, 1.25}})});
            // For the day alone: the snapshot then holds one record.
            server.serve(u"/appstock/app/fqkline/get"_s,
                         {.body = stockCandles(u"sh600519"_s, u"day"_s, days)});
        }
        void breakAll(const QStringList &paths, const Answer &broken)
        {
            for (const QString &path : paths)
                server.serve(path, broken);
        }
        /// Runs a refresh to its end; the message that then shows.
        [[nodiscard]] std::optional<QString> messageAfter(QCoro::Task<> (AppState::*refresh)())
        {
            bool done = false;
            begin(runThen((state.get()->*refresh)(), &done));
            return waitFor([&done] { return done; }, 60s) ? state->errorMessage() : u"it does not end"_s;
        }
        /// What the panel shows beside the message.
        [[nodiscard]] auto shown() const
        {
            return std::tuple(state->price(), state->changePct(), state->zonePrice(), state->sparkline(),
                              state->ctxRSI(), state->snapshotConclusion(), state->dataSource(),
                              state->isLoading());
        }

        LoopbackServer server;
        RecordingAttention attention;
        MemoryPreferences preferences;
        FakeClock clock; // stands still: no loop joins in
        CurlHttpClient http{{.idleTimeout = 400ms, .totalTimeout = 600ms}};
        std::shared_ptr<AppState> state;
        static QCoro::Task<> runThen(QCoro::Task<> task, bool *done)
        {
            co_await task;
            *done = true;
        }
    };

private Q_SLOTS:
    void theOldDataStayBesideTheMessage()
    {
        const QByteArray body = gateCandles(waveCandles(200, 10));
        const QByteArray page = "<html><body>busy</body></html>";
        const struct
        {
            const char *name;
            Answer answer;
        } rows[] = {
            {"reset", {.body = body, .fault = Fault::reset}},
            {"cut off", {.body = body, .fault = Fault::truncate}},
            {"stall", {.body = body, .fault = Fault::stall}},
            {"drip", {.body = body, .fault = Fault::drip, .interval = 200ms}},
            {"endless body", {.body = page, .fault = Fault::endless}},
            {"no HTTP", {.body = body, .fault = Fault::garbage}},
            {"empty", {.body = {}}},
            {"page", {.body = page}},
            {"501 with a page", {.body = page, .status = 501}},
            {"gzip bomb", LoopbackServer::gzipped(QByteArray(qsizetype{64} * 1024 * 1024, ' '))},
            {"damaged gzip", damagedGzip()},
            {"refused", LoopbackServer::redirect("http://127.0.0.1:1/")},
            {"redirect loop", LoopbackServer::redirect("?again")},
            {"redirect away from http", LoopbackServer::redirect("file:///etc/passwd")},
        };
        Market crypto(MarketSegment::crypto), stock(MarketSegment::cn);
        for (Market *market : {&crypto, &stock}) {
            QVERIFY(waitFor([&] { return market->state->price() && !market->state->isLoading(); }));
            for (const auto refresh :
                 {&AppState::refreshSnapshot, &AppState::refreshSR, &AppState::refreshPrice})
                QCOMPARE(market->messageAfter(refresh), std::nullopt);
        }
        const auto cryptoShown = crypto.shown();
        const auto stockShown = stock.shown();
        const auto cryptoZones = crypto.state->zones(), stockZones = stock.state->zones();
        QVERIFY(!cryptoZones.empty() && !stockZones.empty());

        forEachRow(rows, [&](const auto &row) {
            crypto.breakAll({u"/api/v4/futures/usdt/tickers"_s, u"/fapi/v1/ticker/24hr"_s}, row.answer);
            stock.breakAll({u"/appstock/app/fqkline/get"_s}, row.answer);
            QCOMPARE(crypto.messageAfter(&AppState::refreshPrice), u"价格获取失败"_s);
            QCOMPARE(stock.messageAfter(&AppState::refreshSR), u"撑压数据获取失败"_s);
            crypto.breakAll(
                {u"/api/v4/spot/candlesticks"_s, u"/api/v3/klines"_s, u"/api/v5/market/candles"_s},
                row.answer);
            stock.breakAll({u"/q=sh600519"_s}, row.answer);
            QCOMPARE(crypto.messageAfter(&AppState::refreshSR), u"撑压数据获取失败"_s);
            QCOMPARE(stock.messageAfter(&AppState::refreshPrice), u"行情获取失败"_s);
            QVERIFY(crypto.shown() == cryptoShown && sameZones(crypto.state->zones(), cryptoZones));
            QVERIFY(stock.shown() == stockShown && sameZones(stock.state->zones(), stockZones));

            for (Market *market : {&crypto, &stock}) {
                market->heal();
                for (const auto refresh : {&AppState::refreshSR, &AppState::refreshPrice})
                    QCOMPARE(market->messageAfter(refresh), std::nullopt);
            }
        });
    }
};

KESTRUNE_TEST(FaultMessagesTest)
#include "tst_faultmessages.moc"
