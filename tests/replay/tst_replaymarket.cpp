// SPDX-License-Identifier: MIT
#include "replay/bars.h"
#include "replay/replayserver.h"
#include "support/testregistry.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

#include <cmath>

using namespace kestrune::test;

/// The simulated market, read from outside in each source's layout.
class ReplayMarketTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void servesEveryInstrument();
    void writesNumbersAsEachSourceDoes();
    void givesTheRowsAskedFor();
    void tickersAreTheCloseOfEveryFormingCandle();
    void tickersSpanTheLastDay();
    void finerCandlesJoinToCoarserOnes();
    void okxDaysOpenAtMidnightInHongKong();
    void stocksKeepTheirHours_data();
    void stocksKeepTheirHours();
    void sharesKeepTheirDailyLimits();
    void refusesAsTheSourcesDo_data();
    void refusesAsTheSourcesDo();
    void equalRunsAreEqualByteForByte();
    void closedCandlesNeverChange();
    void pricesMoveWithTheClock();
};

namespace {

constexpr qint64 hourMs = 3600 * 1000;

const QByteArrayList coins = {"ETH", "BTC", "SOL", "BNB", "XRP", "DOGE", "ADA", "AVAX", "LINK", "TON"};
const QByteArrayList shares = {"sh600519", "sz300750", "sh601318", "sz000001", "sh600036",
                               "sz000858", "sh601899", "sz002594", "sh600900", "sz300059",
                               "sz000651", "sz000333", "sh600276"};
const QByteArrayList hongkong = {"hk00700", "hk09988", "hk03690", "hk01810", "hk00005",
                                 "hk00939", "hk01299", "hk09618", "hk02318", "hk01024"};

// A Wednesday, 10:15:07 in China: exchanges open, no candle of any interval just closed.
const QString instant = QStringLiteral("2026-08-19T02:15:07Z");

QStringList at(const QString &clock)
{
    return {QStringLiteral("--clock"), clock};
}

/// The server that most tests share; nothing that it is asked changes its answers.
std::unique_ptr<ReplayServer> shared;

const ReplayServer &market()
{
    return *shared;
}

QByteArray gateTarget(const QByteArray &coin, const QByteArray &interval, int limit)
{
    return "/api/v4/spot/candlesticks?currency_pair=" + coin + "_USDT&interval=" + interval +
           "&limit=" + QByteArray::number(limit);
}

QByteArray binanceTarget(const QByteArray &coin, const QByteArray &interval, int limit)
{
    return "/api/v3/klines?symbol=" + coin + "USDT&interval=" + interval +
           "&limit=" + QByteArray::number(limit);
}

QByteArray okxTarget(const QByteArray &coin, const QByteArray &bar, int limit)
{
    return "/api/v5/market/candles?instId=" + coin + "-USDT-SWAP&bar=" + bar +
           "&limit=" + QByteArray::number(limit);
}

QByteArray stockTarget(const QByteArray &code, const QByteArray &period, int count)
{
    return "/appstock/app/fqkline/get?param=" + code + ',' + period + ",,," + QByteArray::number(count) +
           ",qfq";
}

/// Hong Kong candles come under the bare period, A-shares under the adjusted one.
std::vector<Bar> stockBars(const ReplayServer &server, const QByteArray &code, const QByteArray &period,
                           int count)
{
    const QString key = QString::fromLatin1(code.startsWith("hk") ? period : "qfq" + period);
    return tencentBars(server.get(stockTarget(code, period, count)), QString::fromLatin1(code), key);
}

QStringList quote(const ReplayServer &server, const QByteArray &code)
{
    return quoteFields(server.get("/q=" + code), QString::fromLatin1(code));
}

QJsonObject gateTicker(const ReplayServer &server, const QByteArray &coin)
{
    const QByteArray body = server.get("/api/v4/futures/usdt/tickers?contract=" + coin + "_USDT");
    return QJsonDocument::fromJson(body).array().first().toObject();
}

QJsonObject binanceTicker(const ReplayServer &server, const QByteArray &coin)
{
    return QJsonDocument::fromJson(server.get("/fapi/v1/ticker/24hr?symbol=" + coin + "USDT")).object();
}

double number(const QJsonObject &object, const char *key)
{
    return object[QLatin1String(key)].toString().toDouble();
}

bool hasChinese(const QString &text)
{
    return std::any_of(text.begin(), text.end(),
                       [](QChar c) { return c.unicode() >= 0x4e00 && c.unicode() < 0xa000; });
}

} // namespace

void ReplayMarketTest::initTestCase()
{
    shared = std::make_unique<ReplayServer>(at(instant));
    QVERIFY(shared->port() != 0);
}

void ReplayMarketTest::cleanupTestCase()
{
    shared.reset();
}

void ReplayMarketTest::servesEveryInstrument()
{
    for (const QByteArray &coin : coins) {
        const auto bars = binanceBars(market().get(binanceTarget(coin, "1m", 200)));
        QVERIFY2(bars.size() == 200 && soundBars(bars), coin.constData());
    }
    const QByteArray quotes = market().get("/q=" + (shares + hongkong).join(','));
    for (const QByteArray &code : shares + hongkong) {
        const auto bars = stockBars(market(), code, "day", 320);
        QVERIFY2(bars.size() == 320 && soundBars(bars), code.constData());
        const QStringList fields = quoteFields(quotes, QString::fromLatin1(code));
        QCOMPARE(fields.size(), code.startsWith("hk") ? 78 : 88);
        QCOMPARE(fields[0], code.startsWith("hk")   ? QStringLiteral("100")
                            : code.startsWith("sh") ? QStringLiteral("1")
                                                    : QStringLiteral("51"));
        QVERIFY2(hasChinese(fields[1]), qPrintable(fields[1]));
        QCOMPARE(fields[2].toLatin1(), code.sliced(2));
    }
}

void ReplayMarketTest::writesNumbersAsEachSourceDoes()
{
    // One row of each source, its shape taken from captured answers.
    const struct
    {
        QByteArray target;
        const char *pattern;
    } cases[] = {
        {gateTarget("BTC", "1h", 1),
         R"(^\[\["\d{10}","\d+\.\d{8}"(,"\d+(\.\d{1,8})?"){4},"\d+\.\d{8}","false"\]\]$)"},
        {binanceTarget("BTC", "1h", 1),
         R"(^\[\[\d{13}(,"\d+\.\d{8}"){5},\d{10}599999|^\[\[\d{13}(,"\d+\.\d{8}"){5},\d{8}99999,"\d+\.\d{8}",\d+(,"\d+\.\d{8}"){2},"0"\]\]$)"},
        {okxTarget("BTC", "1H", 1),
         R"(^\{"code":"0","msg":"","data":\[\["\d{13}"(,"\d+(\.\d+)?"){7},"0"\]\]\}$)"},
        {stockTarget("sh600519", "day", 1),
         R"(^\{"code":0,"msg":"","data":\{"sh600519":\{"qfqday":\[\["2026-08-19"(,"\d+\.\d{3}"){4},"\d+\.000"\]\],)"},
        {stockTarget("hk00005", "week", 1),
         R"(^\{"code":0,"msg":"","data":\{"hk00005":\{"week":\[\["2026-08-19"(,"\d+\.\d{2,3}"){4},"\d+\.000"\]\],)"},
        {"/q=hk00700",
         R"(^v_hk00700="100~[^;]*~00700~\d+\.\d{3}~[^;]*~2026/08/19 10:15:07~[^;]*~HKD~1~50";\n$)"},
        {"/q=sz000001", R"(^v_sz000001="51~[^;]*~000001~\d+\.\d\d~[^;]*~20260819101507~[^;]*";\n$)"},
    };
    for (const auto &each : cases) {
        const QString body = QString::fromLatin1(market().get(each.target));
        const QRegularExpression pattern(QLatin1String(each.pattern));
        QVERIFY(pattern.isValid());
        QVERIFY2(pattern.match(body).hasMatch(), qPrintable(body.left(400)));
    }
    // Chinese letters and slashes are escaped in the candles' quote block, which reads as the quote does.
    const QByteArray body = market().get(stockTarget("hk00700", "day", 1));
    QVERIFY(body.contains("\\u817e\\u8baf") && body.contains("2026\\/08\\/19"));
    const QJsonObject stock = QJsonDocument::fromJson(body)
                                  .object()[QLatin1String("data")]
                                  .toObject()[QLatin1String("hk00700")]
                                  .toObject();
    const QJsonArray block = stock[QLatin1String("qt")].toObject()[QLatin1String("hk00700")].toArray();
    QCOMPARE(QVariant(block.toVariantList()).toStringList(), quote(market(), "hk00700"));
}

void ReplayMarketTest::givesTheRowsAskedFor()
{
    QCOMPARE(gateBars(market().get(gateTarget("BTC", "4h", 200))).size(), std::size_t(200));
    QCOMPARE(gateBars(market().get(gateTarget("BTC", "1m", 1000))).size(), std::size_t(1000));
    QCOMPARE(binanceBars(market().get(binanceTarget("BTC", "1h", 5000))).size(), std::size_t(1000));
    QCOMPARE(okxBars(market().get(okxTarget("BTC", "1H", 5000))).size(), std::size_t(300));
    QCOMPARE(stockBars(market(), "sh600519", "week", 320).size(), std::size_t(320));
    // Sources write forming candles of their own: only the last one is open.
    const QJsonArray rows = QJsonDocument::fromJson(market().get(gateTarget("BTC", "1h", 30))).array();
    for (qsizetype i = 0; i < rows.size(); ++i)
        QCOMPARE(rows[i].toArray()[7].toString(),
                 i + 1 < rows.size() ? QStringLiteral("true") : QStringLiteral("false"));
}

void ReplayMarketTest::tickersAreTheCloseOfEveryFormingCandle()
{
    const qint64 now = QDateTime::fromString(instant, Qt::ISODate).toMSecsSinceEpoch();
    for (const QByteArray &coin : coins) {
        const double last = number(gateTicker(market(), coin), "last");
        QCOMPARE(number(binanceTicker(market(), coin), "lastPrice"), last);
        for (const QByteArray interval : {"1m", "5m", "15m", "1h", "4h", "1d"}) {
            const Bar bar = gateBars(market().get(gateTarget(coin, interval, 2))).back();
            QCOMPARE(bar.c, last);
            QVERIFY(bar.ts <= now);
        }
        for (const QByteArray interval : {"1m", "1h", "1d", "1w", "1M"})
            QCOMPARE(binanceBars(market().get(binanceTarget(coin, interval, 2))).back().c, last);
        for (const QByteArray bar : {"1m", "1H", "4H", "1D", "1W", "1M", "1Dutc"})
            QCOMPARE(okxBars(market().get(okxTarget(coin, bar, 2))).back().c, last);
    }
    for (const QByteArray &code : shares + hongkong) {
        const QStringList fields = quote(market(), code);
        const auto days = stockBars(market(), code, "day", 2);
        QCOMPARE(days.back().key, QStringLiteral("2026-08-19"));
        QCOMPARE(fields[3].toDouble(), days.back().c);
        QCOMPARE(fields[4].toDouble(), days.front().c);
        QCOMPARE(fields[5].toDouble(), days.back().o);
        QCOMPARE(fields[6].toDouble(), days.back().v);
        QCOMPARE(fields[33].toDouble(), days.back().h);
        QCOMPARE(fields[34].toDouble(), days.back().l);
        for (const QByteArray period : {"week", "month"}) {
            const Bar bar = stockBars(market(), code, period, 1).back();
            QCOMPARE(bar.c, days.back().c);
            QCOMPARE(bar.key, days.back().key);
        }
    }
}

void ReplayMarketTest::tickersSpanTheLastDay()
{
    for (const QByteArray coin : {"BTC", "DOGE"}) {
        const QJsonObject ticker = binanceTicker(market(), coin);
        const double open = number(ticker, "openPrice");
        const double last = number(ticker, "lastPrice");
        QVERIFY(std::abs(number(ticker, "priceChange") - (last - open)) < 1e-9 * last);
        QVERIFY(std::abs(number(ticker, "priceChangePercent") - (last - open) / open * 100) < 0.001);
        QVERIFY(std::abs(number(gateTicker(market(), coin), "change_percentage") -
                         (last - open) / open * 100) < 0.0001);
        // The day's extremes lie between those of the 1440 and 1441 minutes that it reaches into.
        const auto minutes = [&coin](int skipped) {
            const auto newest = binanceBars(market().get(binanceTarget(coin, "1m", 1000)));
            const auto hours = binanceBars(market().get(binanceTarget(coin, "1h", 26)));
            const Bar older = joined(std::span(hours).subspan(static_cast<std::size_t>(skipped), 16));
            return std::pair(std::max(joined(newest).h, older.h), std::min(joined(newest).l, older.l));
        };
        const auto [innerHigh, innerLow] = minutes(2);
        const auto [outerHigh, outerLow] = minutes(1);
        QVERIFY(number(ticker, "highPrice") >= innerHigh && number(ticker, "highPrice") <= outerHigh);
        QVERIFY(number(ticker, "lowPrice") <= innerLow && number(ticker, "lowPrice") >= outerLow);
    }
}

void ReplayMarketTest::finerCandlesJoinToCoarserOnes()
{
    const struct
    {
        const char *fine;
        const char *coarse;
        int limit;
    } pairs[] = {
        {"1m", "1h", 1000}, {"1h", "4h", 1000}, {"4h", "1d", 1000}, {"1d", "1w", 500}, {"1d", "1M", 1000}};
    for (const QByteArray coin : {"BTC", "XRP", "TON"}) {
        for (const auto &pair : pairs) {
            const auto fine = binanceBars(market().get(binanceTarget(coin, pair.fine, pair.limit)));
            const auto coarse = binanceBars(market().get(binanceTarget(coin, pair.coarse, 200)));
            int compared = 0;
            for (std::size_t i = 0; i < coarse.size(); ++i) {
                if (coarse[i].ts < fine.front().ts)
                    continue;
                std::vector<Bar> inside;
                for (const Bar &bar : fine) {
                    if (bar.ts >= coarse[i].ts && (i + 1 == coarse.size() || bar.ts < coarse[i + 1].ts))
                        inside.push_back(bar);
                }
                QVERIFY2(sameTrading(joined(inside), coarse[i]), (coin + ' ' + pair.coarse).constData());
                ++compared;
            }
            QVERIFY(compared >= 10);
        }
    }
}

void ReplayMarketTest::okxDaysOpenAtMidnightInHongKong()
{
    for (const Bar &bar : okxBars(market().get(okxTarget("BTC", "1D", 30))))
        QCOMPARE(bar.ts % (24 * hourMs), 16 * hourMs);
    for (const Bar &bar : okxBars(market().get(okxTarget("BTC", "1Dutc", 30))))
        QCOMPARE(bar.ts % (24 * hourMs), 0);
    // "1M" is a month here, whoever asks for it.
    const auto months = okxBars(market().get(okxTarget("BTC", "1M", 30)));
    QCOMPARE(months.size(), std::size_t(30));
    for (const Bar &bar : months) {
        const QDateTime local = QDateTime::fromMSecsSinceEpoch(bar.ts + 8 * hourMs, Qt::UTC);
        QVERIFY(local.date().day() == 1 && local.time() == QTime(0, 0));
    }
}

void ReplayMarketTest::stocksKeepTheirHours_data()
{
    QTest::addColumn<QString>("clock");
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<QString>("day");
    QTest::addColumn<QString>("time");
    const auto row = [](const char *name, const char *clock, const char *code, const char *day,
                        const char *time) {
        QTest::newRow(name) << QString::fromLatin1(clock) << QByteArray(code) << QString::fromLatin1(day)
                            << QString::fromLatin1(time);
    };
    row("before the opening yesterday's close stands", "2026-08-19T01:29:59Z", "sh600519", "2026-08-18",
        "20260818150000");
    row("the first second of trading opens the day", "2026-08-19T01:30:00Z", "sh600519", "2026-08-19",
        "20260819093000");
    row("Hong Kong closes an hour later", "2026-08-19T07:30:00Z", "hk00700", "2026-08-19",
        "2026/08/19 15:30:00");
    row("the weekend shows Friday", "2026-08-23T04:00:00Z", "hk00700", "2026-08-21", "2026/08/21 16:00:00");
    row("China's midnight, not UTC's, turns the day", "2026-08-18T17:00:00Z", "sh600519", "2026-08-18",
        "20260818150000");
}

void ReplayMarketTest::stocksKeepTheirHours()
{
    QFETCH(QString, clock);
    QFETCH(QByteArray, code);
    QFETCH(QString, day);
    QFETCH(QString, time);
    const ReplayServer server(at(clock));
    const auto days = stockBars(server, code, "day", 2);
    QCOMPARE(days.back().key, day);
    const QStringList fields = quote(server, code);
    QCOMPARE(fields[30], time);
    QCOMPARE(fields[3].toDouble(), days.back().c);
    QCOMPARE(fields[4].toDouble(), days.front().c);
}

void ReplayMarketTest::sharesKeepTheirDailyLimits()
{
    for (const QByteArray &code : shares) {
        const double limit = code.startsWith("sz300") ? 0.2 : 0.1;
        const auto days = stockBars(market(), code, "day", 2000);
        for (std::size_t i = 1; i < days.size(); ++i) {
            const double before = days[i - 1].c;
            // The limits are rounded to a cent, half a cent at most to either side.
            QVERIFY(days[i].h <= before * (1 + limit) + 0.005001 &&
                    days[i].l >= before * (1 - limit) - 0.005001);
            const int weekday = QDate::fromString(days[i].key, Qt::ISODate).dayOfWeek();
            QVERIFY(weekday <= 5);
        }
        const QStringList fields = quote(market(), code);
        QVERIFY(std::abs(fields[47].toDouble() - fields[4].toDouble() * (1 + limit)) < 0.00501);
        QVERIFY(std::abs(fields[48].toDouble() - fields[4].toDouble() * (1 - limit)) < 0.00501);
    }
}

void ReplayMarketTest::refusesAsTheSourcesDo_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    const auto row = [](const char *name, const QByteArray &target, int status, const char *body) {
        QTest::newRow(name) << target << status << QByteArray(body);
    };
    row("Gate knows no such coin", gateTarget("NOTACOIN", "1h", 30), 400,
        R"({"label":"INVALID_CURRENCY","message":"Invalid currency NOTACOIN"})");
    row("Gate bounds its rows", gateTarget("BTC", "1h", 1001), 400,
        R"({"label":"INVALID_PARAM_VALUE","message":"Candlestick range too broad. Maximum 1000 data points are allowed per request"})");
    row("a stock is no contract", "/api/v4/futures/usdt/tickers?contract=sh600519_USDT", 400,
        R"({"label":"CONTRACT_NOT_FOUND"})");
    row("Binance knows no such symbol", binanceTarget("NOTACOIN", "1h", 30), 400,
        R"({"code":-1121,"msg":"Invalid symbol."})");
    row("Binance has no such interval", binanceTarget("BTC", "1H", 30), 400,
        R"({"code":-1120,"msg":"Invalid interval."})");
    row("OKX answers politely that there is no such instrument", okxTarget("NOTACOIN", "1H", 30), 200,
        R"({"code":"51001","msg":"Instrument ID, Instrument ID code, or Spread ID doesn't exist.","data":[]})");
    row("no stock of the quoted ones is known", "/q=sh999999,BTC", 200, "v_pv_none_match=\"1\";\n");
    row("candles of no period", "/appstock/app/fqkline/get?param=sh600519,hour,,,30,qfq", 200,
        R"({"code":1,"msg":"bad params"})");
}

void ReplayMarketTest::refusesAsTheSourcesDo()
{
    QFETCH(QByteArray, target);
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    WireClient client(market().port());
    client.ask(target);
    const WireReply reply = client.readReply();
    QCOMPARE(reply.status, status);
    QCOMPARE(reply.body, body);
    // Unknown codes beside known ones are just missing, and have no candles.
    const QByteArray known = market().get("/q=sh600519");
    QCOMPARE(market().get("/q=sh999999,sh600519,"), known);
    QVERIFY(market()
                .get(stockTarget("sh999999", "day", 30))
                .startsWith(R"({"code":0,"msg":"","data":{"sh999999":{"day":[],"qt":{"sh999999":[],)"));
}

void ReplayMarketTest::equalRunsAreEqualByteForByte()
{
    QByteArrayList targets = {"/q=" + (shares + hongkong).join(','), "/api/v4/futures/usdt/tickers",
                              "/fapi/v1/ticker/24hr", stockTarget("sz300750", "month", 320)};
    for (const QByteArray &coin : coins)
        targets << gateTarget(coin, "4h", 200) << okxTarget(coin, "1D", 100)
                << binanceTarget(coin, "1m", 160);
    const ReplayServer first(at(instant) + QStringList{QStringLiteral("--seed"), QStringLiteral("1")});
    const ReplayServer other(at(instant) + QStringList{QStringLiteral("--seed"), QStringLiteral("2")});
    for (qsizetype i = 0; i < targets.size(); ++i) {
        // Asked in another order, and by other requests before, in the shared server: nothing remembers.
        const QByteArray &target = targets[targets.size() - 1 - i];
        const QByteArray body = first.get(target);
        QVERIFY(!body.startsWith("status"));
        QCOMPARE(market().get(target), body);
        QVERIFY(other.get(target) != body);
    }
}

void ReplayMarketTest::closedCandlesNeverChange()
{
    const ReplayServer later(at(QStringLiteral("2026-08-21T09:00:00Z")));
    for (const QByteArray interval : {"1h", "1d"}) {
        const auto before = gateBars(market().get(gateTarget("ETH", interval, 100)));
        const auto after = gateBars(later.get(gateTarget("ETH", interval, 200)));
        const auto same = std::find_if(after.begin(), after.end(),
                                       [&before](const Bar &bar) { return bar.ts == before.front().ts; });
        QVERIFY(same != after.end());
        for (std::size_t i = 0; i + 1 < before.size(); ++i)
            QVERIFY(sameTrading(before[i], same[static_cast<std::ptrdiff_t>(i)]));
        // The one that was forming only widened.
        const Bar &forming = before.back();
        const Bar &closed = same[static_cast<std::ptrdiff_t>(before.size() - 1)];
        QVERIFY(closed.o == forming.o && closed.h >= forming.h && closed.l <= forming.l &&
                closed.v > forming.v);
    }
}

void ReplayMarketTest::pricesMoveWithTheClock()
{
    const ReplayServer fast(at(instant) + QStringList{QStringLiteral("--speed"), QStringLiteral("3600")});
    QSet<double> prices;
    const auto opened = gateBars(fast.get(gateTarget("BTC", "1h", 1))).back().ts;
    for (int i = 0; i < 8; ++i) {
        prices.insert(number(gateTicker(fast, "BTC"), "last"));
        QTest::qSleep(200);
    }
    QVERIFY(prices.size() >= 6);
    QVERIFY(gateBars(fast.get(gateTarget("BTC", "1h", 1))).back().ts > opened);

    // Without a clock of its own the market lives now.
    const ReplayServer live({});
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 newest = gateBars(live.get(gateTarget("BTC", "1m", 30))).back().ts;
    QVERIFY(newest > now - 60 * 1000 - 5000 && newest <= now + 5000);
}

KESTRUNE_TEST(ReplayMarketTest)

#include "tst_replaymarket.moc"
