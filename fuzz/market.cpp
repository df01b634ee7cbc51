// SPDX-License-Identifier: MIT
#include "fuzztarget.h"
#include "market/candleparsers.h"
#include "market/quoteparser.h"
#include "platform/decompression.h"
#include "platform/textdecoding.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace kestrune::fuzz {

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t leastCandles = 25;

bool isPlausible(const Candle &candle)
{
    return candle.o > 0 && candle.h > 0 && candle.l > 0 && candle.c > 0 && candle.l <= candle.h;
}

bool isFinite(const Candle &candle)
{
    return std::isfinite(candle.o) && std::isfinite(candle.h) && std::isfinite(candle.l) &&
           std::isfinite(candle.c) && std::isfinite(candle.v);
}

void gate(const QByteArray &body)
{
    if (const auto candles = parseGateCandles(body)) {
        KESTRUNE_REQUIRE(candles->size() >= leastCandles);
        KESTRUNE_REQUIRE(std::ranges::all_of(*candles, isPlausible));
        KESTRUNE_REQUIRE(std::ranges::all_of(*candles, [](const Candle &c) { return c.ts % 1000 == 0; }));
    }
}

void binance(const QByteArray &body)
{
    const auto candles = parseBinanceCandles(body);
    KESTRUNE_REQUIRE(!candles || candles->size() >= leastCandles);
}

void okx(const QByteArray &body)
{
    const auto candles = parseOkxCandles(body);
    KESTRUNE_REQUIRE(!candles || candles->size() >= leastCandles);
}

void gateTicker(const QByteArray &body)
{
    static_cast<void>(parseGateTicker(body));
}

void binanceTicker(const QByteArray &body)
{
    static_cast<void>(parseBinanceTicker(body));
}

void quotes(const QByteArray &body)
{
    const QString text = decodeGb18030(body);
    KESTRUNE_REQUIRE(text.isValidUtf16());
    const StockQuotes found = parseQuotes(text, Instant{});
    for (auto quote = found.begin(); quote != found.end(); ++quote) {
        KESTRUNE_REQUIRE(quote.key() == quote->symbol && quote->symbol == quote->symbol.toLower());
        KESTRUNE_REQUIRE(std::isfinite(quote->price) && quote->price > 0);
        KESTRUNE_REQUIRE(std::isfinite(quote->prevClose) && std::isfinite(quote->open));
        KESTRUNE_REQUIRE(!quote->limitUp || *quote->limitUp > 0);
        KESTRUNE_REQUIRE(!quote->limitDown || *quote->limitDown > 0);
        KESTRUNE_REQUIRE(!quote->name.contains(u'~') && !quote->name.contains(u';'));
    }
}

void stockCandles(const QByteArray &body)
{
    for (const QString &period : {u"day"_s, u"week"_s}) {
        const auto candles = parseStockCandles(body, u"sh600519"_s, period);
        if (!candles) {
            KESTRUNE_REQUIRE(candles.error().code >= 3 && candles.error().code <= 5);
            KESTRUNE_REQUIRE(!candles.error().message.isEmpty());
            continue;
        }
        KESTRUNE_REQUIRE(candles->size() >= leastCandles);
        KESTRUNE_REQUIRE(std::ranges::all_of(*candles, isPlausible));
        KESTRUNE_REQUIRE(std::ranges::all_of(*candles, isFinite));
        KESTRUNE_REQUIRE(std::ranges::is_sorted(*candles, {}, &Candle::ts));
    }
}

void packedBody(const QByteArray &bytes)
{
    constexpr qsizetype largest = 100'000;
    const auto content = unpackGzip(bytes, largest);
    KESTRUNE_REQUIRE(!content || content->size() <= largest);
    // The limit only decides whether there is a content, not which.
    if (content && !content->isEmpty()) {
        KESTRUNE_REQUIRE(unpackGzip(bytes, content->size()) == content);
        KESTRUNE_REQUIRE(!unpackGzip(bytes, content->size() - 1));
    }
    // The other way round: what was packed comes back, whole or not at all.
    if (bytes.isEmpty())
        return;                                           // Qt packs nothing into nothing
    const QByteArray packed = qCompress(bytes).sliced(4); // behind Qt's own length
    KESTRUNE_REQUIRE(unpackGzip(packed, largest) == bytes);
    const auto shorter = static_cast<std::uint8_t>(bytes.front()) % packed.size();
    KESTRUNE_REQUIRE(!unpackGzip(packed.first(shorter), largest));
}

constexpr std::array<Target, 8> targets{{{"packed-body", packedBody},
                                         {"gate-candles", gate},
                                         {"binance-candles", binance},
                                         {"okx-candles", okx},
                                         {"gate-ticker", gateTicker},
                                         {"binance-ticker", binanceTicker},
                                         {"quotes", quotes},
                                         {"stock-candles", stockCandles}}};

} // namespace

std::span<const Target> marketTargets()
{
    return targets;
}

} // namespace kestrune::fuzz
