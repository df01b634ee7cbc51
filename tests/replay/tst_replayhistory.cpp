// SPDX-License-Identifier: MIT
#include "replay/bars.h"
#include "replay/replayserver.h"
#include "support/testregistry.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrune::test;

/// Recorded candles, from CSV files written here.
class ReplayHistoryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFileOfTheWantedIntervalWins();
    void theFileWithTheNewestCandleCounts();
    void fineFilesContinueCoarseOnes();
    void stocksAreGroupedByTradingWeeksAndMonths();
    void sharesCountLotsAndLeaveOutIdleDays();
    void skipsMalformedLinesWithOneWarning();
    void hidesWhatComesAfterTheClock();
    void movesOnFromTheLastClose();
    void simulatesWhatHasNoFile();

private:
    [[nodiscard]] QStringList replaying(const QString &clock = QStringLiteral("2030-01-01T00:00:00Z")) const
    {
        return {QStringLiteral("--history"), m_folder->path(), QStringLiteral("--clock"), clock};
    }
    void write(const char *name, const QByteArray &text) const
    {
        QFile file(m_folder->filePath(QLatin1String(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(text), text.size());
    }

    std::unique_ptr<QTemporaryDir> m_folder;

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
};

namespace {

constexpr qint64 hourMs = 3600 * 1000;
constexpr qint64 dayMs = 24 * hourMs;

qint64 utc(const char *text)
{
    return QDateTime::fromString(QLatin1String(text), Qt::ISODate).toMSecsSinceEpoch();
}

/// `count` candles around `level`, `step` apart, each different from the others.
std::vector<Bar> makeBars(qint64 start, qint64 step, int count, double level)
{
    std::vector<Bar> bars;
    double open = level;
    for (int i = 0; i < count; ++i) {
        const double close = level + ((i * 7) % 11 - 5) * level / 1000;
        bars.push_back({{},
                        start + i * step,
                        open,
                        std::max(open, close) + 3.25,
                        std::min(open, close) - 2.5,
                        close,
                        100.0 + i});
        open = close;
    }
    return bars;
}

QByteArray csv(const std::vector<Bar> &bars)
{
    QByteArray text("ts_ms,o,h,l,c,v\n");
    for (const Bar &bar : bars) {
        text += QByteArray::number(bar.ts);
        for (const double value : {bar.o, bar.h, bar.l, bar.c, bar.v})
            text += ',' + QByteArray::number(value, 'g', 15);
        text += '\n';
    }
    return text;
}

std::vector<Bar> coinBars(const ReplayServer &server, const QByteArray &interval, int limit = 1000)
{
    return binanceBars(server.get("/api/v3/klines?symbol=BTCUSDT&interval=" + interval +
                                  "&limit=" + QByteArray::number(limit)));
}

double lastPrice(const ReplayServer &server)
{
    const QByteArray body = server.get("/fapi/v1/ticker/24hr?symbol=BTCUSDT");
    return QJsonDocument::fromJson(body).object()[QLatin1String("lastPrice")].toString().toDouble();
}

std::vector<Bar> shareBars(const ReplayServer &server, const QByteArray &period)
{
    return tencentBars(server.get("/appstock/app/fqkline/get?param=sh600519," + period + ",,,320,qfq"),
                       QStringLiteral("sh600519"), QString::fromLatin1("qfq" + period));
}

bool sameSeries(const std::vector<Bar> &a, const std::vector<Bar> &b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](const Bar &x, const Bar &y) {
               return x.ts == y.ts && sameTrading(x, y);
           });
}

} // namespace

void ReplayHistoryTest::aFileOfTheWantedIntervalWins()
{
    // The days tell another story than the hours; each interval is served from its own file, and what
    // has none, from the finest.
    const auto hours = makeBars(utc("2026-01-05T00:00:00Z"), hourMs, 72, 50000);
    const auto days = makeBars(utc("2026-01-01T00:00:00Z"), dayMs, 7, 40000);
    write("BTCUSDT_1h_a.csv", csv(hours));
    write("BTCUSDT_1d_b.csv", csv(days));
    const ReplayServer server(replaying());
    const auto servedDays = coinBars(server, "1d");
    QCOMPARE(servedDays.size(), days.size());
    for (std::size_t i = 0; i + 1 < days.size(); ++i)
        QVERIFY(sameTrading(servedDays[i], days[i]));
    const auto servedHours = coinBars(server, "1h", 72);
    QVERIFY(sameSeries(servedHours, hours));
    const auto four = coinBars(server, "4h", 18);
    for (std::size_t i = 0; i < four.size(); ++i)
        QVERIFY(sameTrading(four[i], joined(std::span(hours).subspan(4 * i, 4))));
    // The newest day is the hours' one, so that it closes where the ticker stands.
    QCOMPARE(lastPrice(server), hours.back().c);
    QVERIFY(sameTrading(servedDays.back(), joined(std::span(hours).subspan(48))));
}

void ReplayHistoryTest::theFileWithTheNewestCandleCounts()
{
    const auto older = makeBars(utc("2026-01-01T00:00:00Z"), dayMs, 90, 50000);
    const auto newer = makeBars(utc("2026-03-01T00:00:00Z"), dayMs, 40, 60000);
    write("BTCUSDT_1d_1.csv", csv(newer));
    write("BTCUSDT_1d_2.csv", csv(older));
    const ReplayServer server(replaying());
    QVERIFY(sameSeries(coinBars(server, "1d"), newer));
    QVERIFY(sameSeries(okxBars(server.get("/api/v5/market/candles?instId=BTC-USDT-SWAP&bar=1Dutc&limit=300")),
                       newer));
}

void ReplayHistoryTest::fineFilesContinueCoarseOnes()
{
    // The day file ends with a day that was not over when it was written; the hours go on.
    auto days = makeBars(utc("2026-01-01T00:00:00Z"), dayMs, 5, 50000);
    const auto hours = makeBars(utc("2026-01-05T00:00:00Z"), hourMs, 31, days.back().o);
    write("BTCUSDT_1d_x.csv", csv(days));
    write("BTCUSDT_1h_x.csv", csv(hours));
    // Hours that end within the last day stand for it too.
    write("ETHUSDT_1d_x.csv", csv(days));
    write("ETHUSDT_1h_x.csv", csv({hours.begin(), hours.begin() + 10}));
    const ReplayServer server(replaying());
    const auto shorter = binanceBars(server.get("/api/v3/klines?symbol=ETHUSDT&interval=1d&limit=10"));
    QCOMPARE(shorter.size(), std::size_t(5));
    QVERIFY(sameTrading(shorter[4], joined(std::span(hours).first(10))));
    const auto served = coinBars(server, "1d");
    QCOMPARE(served.size(), std::size_t(6));
    QVERIFY(sameTrading(served[3], days[3]));
    QVERIFY(sameTrading(served[4], joined(std::span(hours).first(24))));
    QVERIFY(sameTrading(served[5], joined(std::span(hours).subspan(24))));
}

void ReplayHistoryTest::stocksAreGroupedByTradingWeeksAndMonths()
{
    // Midnights in China from Monday 2026-07-20 on; Tuesday the 28th is missing.
    std::vector<Bar> days;
    for (const Bar &bar : makeBars(utc("2026-07-19T16:00:00Z"), dayMs, 16, 1300)) {
        const QDate date = QDateTime::fromMSecsSinceEpoch(bar.ts + 8 * hourMs, Qt::UTC).date();
        if (date.dayOfWeek() <= 5 && date != QDate(2026, 7, 28))
            days.push_back(bar);
    }
    QCOMPARE(days.size(), std::size_t(11));
    write("sh600519_1d_x.csv", csv(days));
    const ReplayServer server(replaying());
    QCOMPARE(shareBars(server, "day").size(), days.size());
    const auto weeks = shareBars(server, "week");
    QCOMPARE(weeks.size(), std::size_t(3));
    const auto months = shareBars(server, "month");
    QCOMPARE(months.size(), std::size_t(2));
    const auto check = [&days](const Bar &bar, std::size_t first, std::size_t count, const char *key) {
        Bar whole = joined(std::span(days).subspan(first, count));
        whole.v = bar.v;
        return bar.key == QLatin1String(key) && sameTrading(whole, bar);
    };
    QVERIFY(check(weeks[0], 0, 5, "2026-07-24"));
    QVERIFY(check(weeks[1], 5, 4, "2026-07-31"));
    QVERIFY(check(weeks[2], 9, 2, "2026-08-04"));
    QVERIFY(check(months[0], 0, 9, "2026-07-31"));
    QVERIFY(check(months[1], 9, 2, "2026-08-04"));
}

void ReplayHistoryTest::sharesCountLotsAndLeaveOutIdleDays()
{
    write("sh600519_1d.csv", "ts_ms,o,h,l,c,v\n"
                             "1784476800000,1300,1310,1290,1305.5,5512752\n" // Monday 2026-07-20
                             "1784563200000,1305.5,1305.5,1305.5,1305.5,0\n" // suspended
                             "1784649600000,1306,1320.12345,1301,1318.25,4000049\n");
    const ReplayServer server(replaying());
    const auto days = shareBars(server, "day");
    QCOMPARE(days.size(), std::size_t(2));
    QCOMPARE(days[0].v, 55128.0);
    QCOMPARE(days[1].v, 40000.0);
    QCOMPARE(days[1].h, 1320.123);
    const QStringList fields = quoteFields(server.get("/q=sh600519"), QStringLiteral("sh600519"));
    QCOMPARE(fields[3].toDouble(), 1318.25);
    QCOMPARE(fields[4].toDouble(), 1305.5);
    QCOMPARE(fields[33].toDouble(), 1320.123);
}

void ReplayHistoryTest::skipsMalformedLinesWithOneWarning()
{
    const auto days = makeBars(utc("2026-01-01T00:00:00Z"), dayMs, 40, 50000);
    QByteArray text = csv(days);
    text.replace("\n", "\r\n");
    const QByteArray last = QByteArray::number(days.back().ts + dayMs);
    const QByteArrayList malformed = {"words",
                                      last + ",1,2,1,2,3,4",
                                      last + ",1,nan,1,2,3",
                                      last + ",1,1e999,1,2,3",
                                      last + ",1, 2,1,2,3",
                                      last + ",2,1,1,2,3",
                                      last + ",1,2,1.5,2,3",
                                      last + ",1,2,1,2,-3",
                                      "-1,1,2,1,2,3",
                                      "99999999999999999999,1,2,1,2,3",
                                      QByteArray::number(days.back().ts) + ",1,2,1,2,3",
                                      QByteArray("\0\xff\xfe", 3)};
    write("BTCUSDT_1d_x.csv", text + malformed.join('\n'));
    write("BTCUSDT_weird.csv", "not a file of ours");
    write("ETHUSDT_1d_empty.csv", "");
    ReplayServer server(replaying());
    QVERIFY(sameSeries(coinBars(server, "1d"), days));
    QVERIFY(!server.get("/api/v3/klines?symbol=ETHUSDT&interval=1d&limit=30").startsWith("status"));
    server.process().setReadChannel(QProcess::StandardError);
    QVERIFY(server.process().waitForReadyRead(2000));
    const QByteArray warnings = server.process().readAllStandardError();
    QCOMPARE(
        warnings,
        QByteArray("kestrune-replay: BTCUSDT_1d_x.csv: 12 malformed lines skipped, the first is line 42\n"));
}

void ReplayHistoryTest::hidesWhatComesAfterTheClock()
{
    const auto days = makeBars(utc("2026-01-01T00:00:00Z"), dayMs, 60, 50000);
    write("BTCUSDT_1d_x.csv", csv(days));
    const ReplayServer server(replaying(QStringLiteral("2026-02-10T06:30:00Z")));
    const auto served = coinBars(server, "1d");
    QCOMPARE(served.size(), std::size_t(41));
    for (std::size_t i = 0; i < 40; ++i)
        QVERIFY(sameTrading(served[i], days[i]));
    QCOMPARE(served[40].o, days[40].o);
    QVERIFY(served[40].h <= days[40].h && served[40].l >= days[40].l && served[40].v < days[40].v);
    QCOMPARE(served[40].c, lastPrice(server));
    QCOMPARE(coinBars(server, "1m", 1).back().c, lastPrice(server));
    // Before the recording there is no such market.
    const ReplayServer early(replaying(QStringLiteral("2025-06-01T00:00:00Z")));
    QCOMPARE(early.get("/fapi/v1/ticker/24hr?symbol=BTCUSDT"), QByteArray("status 400"));
}

void ReplayHistoryTest::movesOnFromTheLastClose()
{
    const auto days = makeBars(utc("2026-01-01T00:00:00Z"), dayMs, 60, 50000);
    write("BTCUSDT_1d_x.csv", csv(days));
    const ReplayServer server(replaying() + QStringList{QStringLiteral("--speed"), QStringLiteral("86400")});
    QTRY_VERIFY_WITH_TIMEOUT(coinBars(server, "1d").size() > 62, 5000);
    const auto served = coinBars(server, "1d");
    for (std::size_t i = 0; i + 1 < days.size(); ++i)
        QVERIFY(sameTrading(served[i], days[i]));
    // The last recorded day went on: same opening, no narrower, more volume; the next opens at its close.
    const Bar &last = served[59];
    QVERIFY(last.o == days[59].o && last.h >= days[59].h && last.l <= days[59].l && last.v > days[59].v);
    QCOMPARE(served[60].o, last.c);
    QVERIFY(std::abs(served[61].c / days[59].c - 1) < 0.3);
}

void ReplayHistoryTest::simulatesWhatHasNoFile()
{
    write("BTCUSDT_1d_x.csv", csv(makeBars(utc("2026-01-01T00:00:00Z"), dayMs, 60, 50000)));
    const QString clock = QStringLiteral("2026-03-03T10:20:30Z");
    const QByteArray target = "/api/v4/spot/candlesticks?currency_pair=ETH_USDT&interval=1h&limit=100";
    const ReplayServer simulated({QStringLiteral("--clock"), clock});
    QCOMPARE(ReplayServer(replaying(clock)).get(target), simulated.get(target));
}

KESTRUNE_TEST(ReplayHistoryTest)

#include "tst_replayhistory.moc"
