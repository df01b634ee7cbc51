// SPDX-License-Identifier: MIT
#include "replay/layouts.h"

#include "replay/numbertext.h"

#include <QUrl>

#include <algorithm>
#include <cmath>

namespace kestrune::replay {

namespace {

constexpr int mostDecimals = 8;

QByteArray quoted(const QByteArray &text)
{
    return '"' + text + '"';
}

QByteArray price(double value)
{
    return trimmedText(value, mostDecimals);
}

/// The candle's volume in the quote currency, at the average of its corner prices.
double quoteVolume(double v, double o, double h, double l, double c)
{
    return v * ((o + h + l + c) / 4);
}

double quoteVolume(const Candle &candle)
{
    return quoteVolume(candle.v, candle.o, candle.h, candle.l, candle.c);
}

/// The base asset of a pair such as "BTC_USDT"; empty when the pair does not end in `suffix`.
QByteArray baseOf(const QByteArray &pair, QByteArrayView suffix)
{
    return pair.endsWith(suffix) ? pair.chopped(suffix.size()) : QByteArray();
}

std::optional<Listing> findPair(Market &market, const QByteArray &pair, QByteArrayView suffix)
{
    const auto listing = market.find(baseOf(pair, suffix));
    return listing && listing->instrument().venue == Venue::crypto ? listing : std::nullopt;
}

/// The last 24 hours up to the listing's moment.
Block lastDay(const Listing &listing)
{
    // A listing has a price, so there is trading; a market that only began today has a shorter window.
    return listing.timeline->window(listing.now - dayMs, listing.now).value_or(Block{});
}

double changePercent(const Block &day)
{
    return day.o > 0 ? (day.c - day.o) / day.o * 100 : 0;
}

int tickDecimals(const Instrument &instrument)
{
    return std::max(0, static_cast<int>(std::lround(std::log10(instrument.ticksPerUnit))));
}

Answer refusal(const QByteArray &body)
{
    return {body, 400};
}

QByteArray gateTickerObject(const Listing &listing)
{
    const Instrument &instrument = listing.instrument();
    const Block day = lastDay(listing);
    const double tick = 1 / instrument.ticksPerUnit;
    const double quote = quoteVolume(day.v, day.o, day.h, day.l, day.c);
    const QByteArray last = price(day.c);
    QByteArrayList members;
    const auto add = [&members](const char *key, const QByteArray &text) {
        members.append(quoted(key) + ':' + quoted(text));
    };
    add("contract", QByteArray(instrument.code) + "_USDT");
    add("last", last);
    add("low_24h", price(day.l));
    add("high_24h", price(day.h));
    add("change_percentage", fixedText(changePercent(day), 4));
    add("change_price", price(day.c - day.o));
    add("total_size", fixedText(day.v / instrument.contractSize / 5, 0));
    add("volume_24h", fixedText(day.v / instrument.contractSize, 0));
    add("volume_24h_btc", fixedText(day.v, 0));
    add("volume_24h_usd", fixedText(quote, 0));
    add("volume_24h_base", trimmedText(day.v, 4));
    add("volume_24h_quote", fixedText(quote, 0));
    add("volume_24h_settle", fixedText(quote, 0));
    add("mark_price", last);
    add("funding_rate", "0.0001");
    add("funding_rate_indicative", "0.0001");
    add("index_price", last);
    add("quanto_base_rate", "");
    add("highest_bid", last);
    add("lowest_ask", price(snapToTick(instrument, day.c + tick)));
    return '{' + members.join(',') + '}';
}

QByteArray binanceTickerObject(const Listing &listing)
{
    const Instrument &instrument = listing.instrument();
    const Block day = lastDay(listing);
    int decimals = std::max(2, tickDecimals(instrument));
    for (const double value : {day.o, day.h, day.l, day.c})
        decimals = neededDecimals(value, decimals, mostDecimals);
    const double quote = quoteVolume(day.v, day.o, day.h, day.l, day.c);
    const double average = day.v > 0 ? quote / day.v : day.c;
    const auto count = static_cast<qint64>(quote / 900) + 1;
    const qint64 lastId = listing.now / 40;
    QByteArray json("{\"symbol\":");
    json.append(quoted(QByteArray(instrument.code) + "USDT"));
    const auto add = [&json](const char *key, double value, int places) {
        json.append(",\"").append(key).append("\":").append(quoted(fixedText(value, places)));
    };
    const auto addNumber = [&json](const char *key, qint64 value) {
        json.append(",\"").append(key).append("\":").append(QByteArray::number(value));
    };
    add("priceChange", day.c - day.o, decimals);
    add("priceChangePercent", changePercent(day), 3);
    add("weightedAvgPrice", average, decimals);
    add("lastPrice", day.c, decimals);
    add("lastQty", std::max(0.001, day.v / 86400), 3);
    add("openPrice", day.o, decimals);
    add("highPrice", day.h, decimals);
    add("lowPrice", day.l, decimals);
    add("volume", day.v, 3);
    add("quoteVolume", quote, 2);
    addNumber("openTime", bucketStart(Interval{Interval::Unit::fixed, minuteMs, 0}, listing.now - dayMs));
    addNumber("closeTime", listing.now);
    addNumber("firstId", lastId - count + 1);
    addNumber("lastId", lastId);
    addNumber("count", count);
    return json.append('}');
}

bool isOneOf(const QByteArray &text, std::initializer_list<const char *> texts)
{
    return std::any_of(texts.begin(), texts.end(), [&text](const char *each) { return text == each; });
}

std::optional<Interval> binanceInterval(const QByteArray &text)
{
    const bool known = isOneOf(
        text, {"1m", "3m", "5m", "15m", "30m", "1h", "2h", "4h", "6h", "8h", "12h", "1d", "1w", "1M"});
    return known ? intervalFromText(text) : std::nullopt;
}

/// OKX spells hours and longer in capitals and opens its days at midnight in Hong Kong, unless "utc" follows.
std::optional<Interval> okxInterval(QByteArray bar)
{
    qint64 offset = chinaOffsetMs;
    if (bar.endsWith("utc")) {
        bar.chop(3);
        offset = 0;
    }
    if (!isOneOf(bar, {"1m", "3m", "5m", "15m", "30m", "1H", "2H", "4H", "6H", "12H", "1D", "1W", "1M"}))
        return std::nullopt;
    if (bar != "1M")
        bar = bar.toLower();
    return intervalFromText(bar, offset);
}

} // namespace

Answer gateCandles(Market &market, const Query &query)
{
    const QByteArray pair = query.value("currency_pair");
    if (pair.isEmpty()) {
        return refusal(
            R"({"label":"MISSING_REQUIRED_PARAM","message":"Missing required parameter: currency_pair"})");
    }
    const auto listing = findPair(market, pair, "_USDT");
    if (!listing) {
        const QByteArray base = pair.left(std::max<qsizetype>(0, pair.indexOf('_')));
        const QString shown = QString::fromUtf8(base.isEmpty() ? pair : base);
        return refusal(R"({"label":"INVALID_CURRENCY","message":)" +
                       escapedJson(QLatin1String("Invalid currency ") + shown) + '}');
    }
    const QByteArray asked = query.value("interval");
    const auto interval = intervalFromText(asked.isEmpty() ? QByteArrayView("30m") : QByteArrayView(asked));
    if (!interval)
        return refusal(R"({"label":"INVALID_PARAM_VALUE","message":"Invalid interval"})");
    const auto limit = query.number("limit", 100);
    if (!limit)
        return refusal(R"({"label":"INVALID_PARAM_VALUE","message":"Invalid limit"})");
    if (*limit > 1000) {
        return refusal(R"({"label":"INVALID_PARAM_VALUE","message":"Candlestick range too broad. )"
                       R"(Maximum 1000 data points are allowed per request"})");
    }
    QByteArrayList rows;
    for (const Row &row : listing->timeline->rows(*interval, *limit, listing->now)) {
        const Candle &candle = row.candle;
        rows.push_back(R"([")" + QByteArray::number(candle.ts / 1000) + R"(",")" +
                       fixedText(quoteVolume(candle), 8) + R"(",")" + price(candle.c) + R"(",")" +
                       price(candle.h) + R"(",")" + price(candle.l) + R"(",")" + price(candle.o) + R"(",")" +
                       fixedText(candle.v, 8) + R"(",")" + (row.end <= listing->now ? "true" : "false") +
                       R"("])");
    }
    return {jsonArray(rows)};
}

Answer gateTicker(Market &market, const Query &query)
{
    const QByteArray contract = query.value("contract");
    QByteArrayList tickers;
    if (contract.isEmpty()) {
        for (const Listing &listing : market.all(Venue::crypto))
            tickers.push_back(gateTickerObject(listing));
    } else if (const auto listing = findPair(market, contract, "_USDT")) {
        tickers.push_back(gateTickerObject(*listing));
    } else {
        return refusal(R"({"label":"CONTRACT_NOT_FOUND"})");
    }
    return {jsonArray(tickers)};
}

Answer binanceCandles(Market &market, const Query &query)
{
    const QByteArray symbol = query.value("symbol");
    if (symbol.isEmpty()) {
        return refusal(
            R"({"code":-1102,"msg":"Mandatory parameter 'symbol' was not sent, was empty/null, or malformed."})");
    }
    const auto listing = findPair(market, symbol, "USDT");
    if (!listing)
        return refusal(R"({"code":-1121,"msg":"Invalid symbol."})");
    const auto interval = binanceInterval(query.value("interval"));
    if (!interval)
        return refusal(R"({"code":-1120,"msg":"Invalid interval."})");
    const auto limit = query.number("limit", 500);
    if (!limit)
        return refusal(R"({"code":-1130,"msg":"Data sent for parameter 'limit' is not valid."})");
    QByteArrayList rows;
    for (const Row &row : listing->timeline->rows(*interval, std::min(*limit, 1000), listing->now)) {
        const Candle &candle = row.candle;
        const double quote = quoteVolume(candle);
        // Rising candles were bought into; the share only has to be plausible.
        const double taken = candle.c >= candle.o ? 0.54 : 0.46;
        rows.push_back('[' + QByteArray::number(candle.ts) + R"(,")" + fixedText(candle.o, 8) + R"(",")" +
                       fixedText(candle.h, 8) + R"(",")" + fixedText(candle.l, 8) + R"(",")" +
                       fixedText(candle.c, 8) + R"(",")" + fixedText(candle.v, 8) + R"(",)" +
                       QByteArray::number(row.end - 1) + R"(,")" + fixedText(quote, 8) + R"(",)" +
                       QByteArray::number(static_cast<qint64>(quote / 900) + 1) + R"(,")" +
                       fixedText(candle.v * taken, 8) + R"(",")" + fixedText(quote * taken, 8) + R"(","0"])");
    }
    return {jsonArray(rows)};
}

Answer binanceTicker(Market &market, const Query &query)
{
    const QByteArray symbol = query.value("symbol");
    if (symbol.isEmpty()) {
        QByteArrayList tickers;
        for (const Listing &listing : market.all(Venue::crypto))
            tickers.push_back(binanceTickerObject(listing));
        return {jsonArray(tickers)};
    }
    const auto listing = findPair(market, symbol, "USDT");
    if (!listing)
        return refusal(R"({"code":-1121,"msg":"Invalid symbol."})");
    return {binanceTickerObject(*listing)};
}

Answer okxCandles(Market &market, const Query &query)
{
    const QByteArray instrumentId = query.value("instId");
    auto listing = findPair(market, instrumentId, "-USDT-SWAP");
    const bool swap = listing.has_value();
    if (!swap)
        listing = findPair(market, instrumentId, "-USDT");
    if (!listing) {
        // An unknown instrument is a success on the HTTP level.
        return {
            R"({"code":"51001","msg":"Instrument ID, Instrument ID code, or Spread ID doesn't exist.","data":[]})"};
    }
    const QByteArray bar = query.value("bar");
    const auto interval = okxInterval(bar.isEmpty() ? QByteArray("1m") : bar);
    const auto limit = query.number("limit", 100);
    if (!interval || !limit) {
        return refusal(QByteArray(R"({"code":"51000","msg":"Parameter )") + (interval ? "limit" : "bar") +
                       R"( error","data":[]})");
    }
    std::vector<Row> rows = listing->timeline->rows(*interval, std::min(*limit, 300), listing->now);
    std::reverse(rows.begin(), rows.end());
    QByteArrayList texts;
    for (const Row &row : rows) {
        const Candle &candle = row.candle;
        const QByteArray base = trimmedText(candle.v, 8);
        const QByteArray quote = trimmedText(quoteVolume(candle), 9);
        // A swap counts contracts first, a spot pair repeats its quote volume.
        const QByteArray volume = swap ? trimmedText(candle.v / listing->instrument().contractSize, 2) : base;
        texts.push_back(R"([")" + QByteArray::number(candle.ts) + R"(",")" + price(candle.o) + R"(",")" +
                        price(candle.h) + R"(",")" + price(candle.l) + R"(",")" + price(candle.c) + R"(",")" +
                        volume + R"(",")" + (swap ? base : quote) + R"(",")" + quote + R"(",")" +
                        (row.end <= listing->now ? "1" : "0") + R"("])");
    }
    return {R"({"code":"0","msg":"","data":)" + jsonArray(texts) + '}'};
}

} // namespace kestrune::replay
