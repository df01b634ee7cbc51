// SPDX-License-Identifier: MIT
// From the bytes of an answer to candles, and beside each body the JSON library's bare pass over it.

#include "market/candleparsers.h"
#include "support/marketbodies.h"

#include <benchmark/benchmark.h>

#include <cmath>

#include <simdjson.h>

namespace {

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

/// Numbers with one decimal, as markets spell them.
CandleList shortNumbers(std::size_t count)
{
    CandleList candles = waveCandles(count, 64000);
    for (Candle &candle : candles) {
        for (double *value : {&candle.o, &candle.h, &candle.l, &candle.c, &candle.v})
            *value = std::round(*value * 10) / 10;
    }
    return candles;
}

Result<CandleList> stockDays(const QByteArray &body)
{
    return parseStockCandles(body, u"sh600519"_s, u"day"_s);
}

/// Parses again and again. Every row must arrive, or the time would be that of a refusal.
void parse(benchmark::State &state, const QByteArray &body, auto parser, std::size_t rows)
{
    if (const auto candles = parser(body); !candles || candles->size() != rows)
        state.SkipWithError("rows are missing");
    for (auto _ : state)
        benchmark::DoNotOptimize(parser(body));
}

void pass(benchmark::State &state, const QByteArray &body)
{
    simdjson::dom::parser parser;
    for (auto _ : state)
        benchmark::DoNotOptimize(parser.parse(body.data(), static_cast<std::size_t>(body.size())).error());
}

#define KESTRUNE_PARSE(name, body, parser, rows)                                                             \
    BENCHMARK_CAPTURE(parse, name, body, parser, rows);                                                      \
    BENCHMARK_CAPTURE(pass, name, body)
KESTRUNE_PARSE(gate, gateCandles(shortNumbers(200)), parseGateCandles, 200);
KESTRUNE_PARSE(binance, binanceCandles(shortNumbers(200)), parseBinanceCandles, 200);
KESTRUNE_PARSE(okx, okxCandles(shortNumbers(200)), parseOkxCandles, 200);
KESTRUNE_PARSE(stock, stockCandles(u"sh600519"_s, u"day"_s, shortNumbers(320)), stockDays, 320);
#undef KESTRUNE_PARSE

} // namespace
