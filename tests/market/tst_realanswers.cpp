// SPDX-License-Identifier: MIT
#include "market/answers.h"
#include "market/candleparsers.h"
#include "market/stockparsers.h"
#include "platform/textdecoding.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

QDir sampleFolder()
{
    return QDir(QStringLiteral(KESTRUNE_SOURCE_DIR "/../shared/market-samples"));
}

QByteArray sample(const QString &name)
{
    QFile file(sampleFolder().filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The kept samples hold a few rows; a source's answer must hold 25. So their rows are said over again.
QByteArray withRowsRepeated(const QByteArray &body)
{
    static const QRegularExpression list(u"\\[(\\s*\\[.*?\\]\\s*)\\](?=\\s*(,\"|\\}|$))"_s,
                                         QRegularExpression::DotMatchesEverythingOption);
    const QString text = QString::fromUtf8(body);
    const auto match = list.match(text);
    QStringList rows;
    for (int i = 0; i < 25; ++i)
        rows << match.captured(1);
    return (text.left(match.capturedStart(1)) + rows.join(u',') + text.mid(match.capturedEnd(1))).toUtf8();
}

std::optional<CandleList> parseSample(const QString &name)
{
    const QByteArray body = withRowsRepeated(sample(name));
    if (name.startsWith("gate"_L1))
        return parseGateCandles(body);
    if (name.contains("binance"_L1))
        return parseBinanceCandles(body);
    if (name.contains("okx"_L1))
        return parseOkxCandles(body);
    const QStringList parts = name.split(u'_');
    static const QRegularExpression period(u"(day|week|month)"_s);
    const auto result = parseStockCandles(body, parts.at(2), period.match(name).captured());
    return result ? std::optional(*result) : std::nullopt;
}

} // namespace

/// Recorded answers that may not be passed on; they are looked for beside the repository.
class RealAnswersTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        if (!sampleFolder().exists())
            QSKIP("no recorded answers beside the repository");
    }
    void candlesOfEverySource();
    void quotes();
    void tickers();
    void errorsAreNoData();
};

void RealAnswersTest::candlesOfEverySource()
{
    const QStringList patterns{u"gate_spot_*"_s, u"*binance_spot_klines*"_s, u"*okx_market_candles_*rows*"_s,
                               u"tencent_fqkline_*"_s};
    int seen = 0;
    for (const QString &name : sampleFolder().entryList(patterns)) {
        const auto candles = parseSample(name);
        QVERIFY2(candles, qPrintable(name));
        for (const Candle &candle : *candles) {
            QVERIFY2(candle.ts > 1'400'000'000'000 && candle.ts < 2'000'000'000'000, qPrintable(name));
            QVERIFY2(candle.l <= std::min(candle.o, candle.c), qPrintable(name));
            QVERIFY2(candle.h >= std::max(candle.o, candle.c), qPrintable(name));
            QVERIFY2(candle.v > 0, qPrintable(name));
        }
        ++seen;
    }
    QVERIFY(seen >= 15);
}

void RealAnswersTest::quotes()
{
    int seen = 0;
    for (const QString &name : sampleFolder().entryList({u"tencent_quote_*.gbk.txt"_s})) {
        const auto fromBytes = parseQuotes(decodeGb18030(sample(name)), {});
        const QByteArray twin = sample(QString(name).replace(".gbk."_L1, ".utf8."_L1));
        const auto fromText = parseQuotes(QString::fromUtf8(twin), {});
        QVERIFY2(!fromBytes.isEmpty(), qPrintable(name));
        QCOMPARE(fromBytes.size(), twin.count('='));
        for (const StockQuote &quote : fromBytes) {
            QCOMPARE(quote.name, fromText.value(quote.symbol).name);
            QVERIFY2(quote.low <= quote.price && quote.price <= quote.high, qPrintable(quote.symbol));
            QVERIFY2(closeTo(quote.price - quote.prevClose, quote.change, 0.0051), qPrintable(quote.symbol));
            QVERIFY2(closeTo(quote.change / quote.prevClose * 100, quote.changePct, 0.0051),
                     qPrintable(quote.symbol));
            const bool limited = !quote.symbol.contains("hk"_L1) && quote.symbol != "sh000001"_L1; // an index
            QCOMPARE(quote.limitUp.has_value(), limited);
            if (limited) {
                QVERIFY2(closeTo(*quote.limitUp / quote.prevClose, 1.1, 0.002), qPrintable(quote.symbol));
                QVERIFY2(closeTo(*quote.limitDown / quote.prevClose, 0.9, 0.002), qPrintable(quote.symbol));
            }
            ++seen;
        }
    }
    QVERIFY(seen >= 13);
}

void RealAnswersTest::tickers()
{
    for (const QString &name : sampleFolder().entryList({u"*binance_fapi_ticker*"_s})) {
        const auto ticker = parseBinanceTicker(sample(name));
        QVERIFY2(ticker && ticker->price > 0 && ticker->change, qPrintable(name));
    }
    const auto gate = parseGateTicker(sample(u"docs_gate_futures_tickers_BTC_USDT.json"_s));
    QVERIFY(gate && gate->price > 0 && gate->change);
}

void RealAnswersTest::errorsAreNoData()
{
    const QStringList names = sampleFolder().entryList({u"*err_*"_s, u"*empty*"_s});
    QVERIFY(names.size() >= 15);
    for (const QString &name : names) {
        const QByteArray body = sample(name);
        QVERIFY2(!parseGateCandles(body) && !parseBinanceCandles(body) && !parseOkxCandles(body),
                 qPrintable(name));
        QVERIFY2(!parseGateTicker(body) && !parseBinanceTicker(body), qPrintable(name));
        QVERIFY2(parseQuotes(decodeGb18030(body), {}).isEmpty(), qPrintable(name));
        const auto stock = parseStockCandles(body, u"sh999999"_s, u"day"_s);
        QVERIFY2(!stock, qPrintable(name));
        QCOMPARE(stock.error().code, name.contains("unknown_code"_L1) ? 4 : 3);
    }
}

KESTRUNE_TEST(RealAnswersTest)

#include "tst_realanswers.moc"
