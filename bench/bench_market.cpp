// From the bytes of an answer to candles: the parsers, and beside each a plain version over QJsonDocument.

#include "market/candleparsers.h"
#include "market/stockparsers.h"

#include <QDate>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

using namespace kestrune;
using namespace Qt::StringLiterals;

constexpr int cryptoRows = 200;
constexpr int stockRows = 320;

struct Bar
{
    QByteArray o, h, l, c, v;
};

Bar bar(int i, int decimals)
{
    const double close = 64'000 + 900 * std::sin(i * 0.31);
    const auto text = [&](double value) { return QByteArray::number(value, 'f', decimals); };
    return {text(close - 37.5), text(close + 81.25), text(close - 99.75), text(close), text(700 + i * 1.7)};
}

QByteArray binanceBody()
{
    QByteArrayList rows;
    for (int i = 0; i < cryptoRows; ++i) {
        const QByteArray time = QByteArray::number(1'788'000'000'000LL + i * 3'600'000LL);
        const Bar b = bar(i, 8);
        rows << '[' + time + ",\"" + b.o + "\",\"" + b.h + "\",\"" + b.l + "\",\"" + b.c + "\",\"" + b.v +
                    "\"," + time + ",\"1581977.30045550\",2513,\"14.67623000\",\"890960.53957490\",\"0\"]";
    }
    return '[' + rows.join(',') + ']';
}

QByteArray gateBody()
{
    QByteArrayList rows;
    for (int i = 0; i < cryptoRows; ++i) {
        const QByteArray time = QByteArray::number(1'788'000'000LL + i * 3600LL);
        const Bar b = bar(i, 1);
        rows << "[\"" + time + "\",\"355349.00613100\",\"" + b.c + "\",\"" + b.h + "\",\"" + b.l + "\",\"" +
                    b.o + "\",\"" + b.v + "\",\"true\"]";
    }
    return '[' + rows.join(',') + ']';
}

QByteArray stockBody()
{
    QByteArrayList rows;
    for (int i = 0; i < stockRows; ++i) {
        const Bar b = bar(i, 3);
        rows << "[\"" + QDate(2025, 1, 1).addDays(i).toString(Qt::ISODate).toLatin1() + "\",\"" + b.o +
                    "\",\"" + b.c + "\",\"" + b.h + "\",\"" + b.l + "\",\"" + b.v + "\"]";
    }
    return R"({"code":0,"msg":"","data":{"sh600519":{"qfqday":[)" + rows.join(',') + "]}}}";
}

CandleList plainBinance(const QByteArray &body)
{
    CandleList candles;
    for (const QJsonValue &value : QJsonDocument::fromJson(body).array()) {
        const QJsonArray row = value.toArray();
        const auto number = [&](int i) { return row[i].toString().toDouble(); };
        candles.push_back({row[0].toInteger(), number(1), number(2), number(3), number(4), number(5)});
    }
    return candles;
}

CandleList plainStock(const QByteArray &body)
{
    const QTimeZone zone("Asia/Shanghai");
    CandleList candles;
    const QJsonObject data = QJsonDocument::fromJson(body)["data"_L1].toObject();
    for (const QJsonValue &value : data["sh600519"_L1]["qfqday"_L1].toArray()) {
        const QJsonArray row = value.toArray();
        const auto number = [&](int i) { return row[i].toString().toDouble(); };
        const QDate date = QDate::fromString(row[0].toString(), u"yyyy-MM-dd"_s);
        candles.push_back({QDateTime(date, QTime(0, 0), zone).toMSecsSinceEpoch(), number(1), number(3),
                           number(4), number(2), number(5)});
    }
    return candles;
}

void binanceCandles(benchmark::State &state)
{
    const QByteArray body = binanceBody();
    for (auto _ : state)
        benchmark::DoNotOptimize(parseBinanceCandles(body));
}
BENCHMARK(binanceCandles)->Unit(benchmark::kMicrosecond);

void binanceCandlesPlain(benchmark::State &state)
{
    const QByteArray body = binanceBody();
    for (auto _ : state)
        benchmark::DoNotOptimize(plainBinance(body));
}
BENCHMARK(binanceCandlesPlain)->Unit(benchmark::kMicrosecond);

void gateCandles(benchmark::State &state)
{
    const QByteArray body = gateBody();
    for (auto _ : state)
        benchmark::DoNotOptimize(parseGateCandles(body));
}
BENCHMARK(gateCandles)->Unit(benchmark::kMicrosecond);

void stockCandles(benchmark::State &state)
{
    const QByteArray body = stockBody();
    for (auto _ : state)
        benchmark::DoNotOptimize(parseStockCandles(body, u"sh600519"_s, u"day"_s));
}
BENCHMARK(stockCandles)->Unit(benchmark::kMicrosecond);

void stockCandlesPlain(benchmark::State &state)
{
    const QByteArray body = stockBody();
    for (auto _ : state)
        benchmark::DoNotOptimize(plainStock(body));
}
BENCHMARK(stockCandlesPlain)->Unit(benchmark::kMicrosecond);

} // namespace
