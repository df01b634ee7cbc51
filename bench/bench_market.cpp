// SPDX-License-Identifier: MIT
// From the bytes of an answer to candles: the parsers, and beside each a plain version over QJsonDocument.

#include "market/candleparsers.h"

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

QByteArray okxBody()
{
    QByteArrayList rows;
    for (int i = cryptoRows; i > 0; --i) { // newest first
        const QByteArray time = QByteArray::number(1'788'000'000'000LL + i * 3'600'000LL);
        const Bar b = bar(i, 1);
        rows << "[\"" + time + "\",\"" + b.o + "\",\"" + b.h + "\",\"" + b.l + "\",\"" + b.c + "\",\"" + b.v +
                    "\",\"1581.97730455\",\"101246547.12\",\"1\"]";
    }
    return R"({"code":"0","msg":"","data":[)" + rows.join(',') + "]}";
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

CandleList plainGate(const QByteArray &body)
{
    CandleList candles;
    for (const QJsonValue &value : QJsonDocument::fromJson(body).array()) {
        const QJsonArray row = value.toArray();
        const auto number = [&](int i) { return row[i].toString().toDouble(); };
        candles.push_back(
            {row[0].toString().toLongLong() * 1000, number(5), number(3), number(4), number(2), number(6)});
    }
    return candles;
}

CandleList plainOkx(const QByteArray &body)
{
    CandleList candles;
    const QJsonArray rows = QJsonDocument::fromJson(body)["data"_L1].toArray();
    for (qsizetype i = rows.size() - 1; i >= 0; --i) {
        const QJsonArray row = rows[i].toArray();
        const auto number = [&](int column) { return row[column].toString().toDouble(); };
        candles.push_back(
            {row[0].toString().toLongLong(), number(1), number(2), number(3), number(4), number(5)});
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

std::size_t rowsOf(const CandleList &candles)
{
    return candles.size();
}

std::size_t rowsOf(const auto &candlesOrNone)
{
    return candlesOrNone ? candlesOrNone->size() : 0;
}

/// Parses again and again. Every row must arrive, or the time would be that of a refusal.
void parse(benchmark::State &state, const QByteArray &body, std::size_t rows, auto parser)
{
    if (rowsOf(parser(body)) != rows)
        state.SkipWithError("rows are missing");
    for (auto _ : state)
        benchmark::DoNotOptimize(parser(body));
}

Result<CandleList> stockDays(const QByteArray &body)
{
    return parseStockCandles(body, u"sh600519"_s, u"day"_s);
}

#define KESTRUNE_PARSE(name, body, rows, parser)                                                             \
    BENCHMARK_CAPTURE(parse, name, body, rows, parser)->Unit(benchmark::kMicrosecond)
KESTRUNE_PARSE(binance, binanceBody(), cryptoRows, parseBinanceCandles);
KESTRUNE_PARSE(binancePlain, binanceBody(), cryptoRows, plainBinance);
KESTRUNE_PARSE(gate, gateBody(), cryptoRows, parseGateCandles);
KESTRUNE_PARSE(gatePlain, gateBody(), cryptoRows, plainGate);
KESTRUNE_PARSE(okx, okxBody(), cryptoRows, parseOkxCandles);
KESTRUNE_PARSE(okxPlain, okxBody(), cryptoRows, plainOkx);
KESTRUNE_PARSE(stock, stockBody(), stockRows, stockDays);
KESTRUNE_PARSE(stockPlain, stockBody(), stockRows, plainStock);
#undef KESTRUNE_PARSE

} // namespace
