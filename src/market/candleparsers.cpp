// SPDX-License-Identifier: MIT
#include "market/candleparsers.h"

#include "market/jsonbody.h"
#include "market/jsonnumber.h"
#include "market/shanghaitime.h"

#include <simdjson.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

namespace kestrune {

using namespace Qt::StringLiterals;
namespace dom = simdjson::dom;

namespace {

/// A history shorter than this is of no use to the analysis.
constexpr std::size_t minCandles = 25;
/// A first guess only: a body of empty rows must not reserve memory for millions of candles.
constexpr std::size_t maxReserved = 1024;

/// Where a source keeps the values of a row; positions count from 0.
struct RowLayout
{
    std::size_t minEntries;
    std::size_t open, high, low, close, volume;
    std::optional<qint64> (*time)(const dom::element &); ///< milliseconds from entry 0
    std::optional<double> (*number)(const dom::element &);
    bool (*accepts)(const Candle &);
};

/// Without its fraction; none for what does not fit, NaN included.
std::optional<qint64> truncated(double value)
{
    constexpr double limit = 0x1p63; // itself one too large
    if (!(value >= -limit && value < limit))
        return std::nullopt;
    return static_cast<qint64>(value);
}

/// Seconds since the epoch, usually as text.
std::optional<qint64> gateTime(const dom::element &entry)
{
    const auto value = num(entry);
    const auto seconds = value ? truncated(*value) : std::nullopt;
    qint64 milliseconds = 0;
    if (!seconds || __builtin_mul_overflow(*seconds, qint64{1000}, &milliseconds))
        return std::nullopt;
    return milliseconds;
}

/// Milliseconds as a JSON number of integral value, which may be written 1.7e12.
std::optional<qint64> binanceTime(const dom::element &entry)
{
    std::int64_t integer = 0;
    if (entry.get(integer) == simdjson::SUCCESS)
        return integer;
    double value = 0;
    if (!entry.is_double() || entry.get(value) != simdjson::SUCCESS || value != std::trunc(value))
        return std::nullopt;
    return truncated(value);
}

/// Milliseconds, usually as text.
std::optional<qint64> okxTime(const dom::element &entry)
{
    const auto value = num(entry);
    return value ? truncated(*value) : std::nullopt;
}

/// A date in Shanghai as text.
std::optional<qint64> stockTime(const dom::element &entry)
{
    std::string_view date;
    return entry.get(date) == simdjson::SUCCESS ? shanghaiMidnight(date) : std::nullopt;
}

bool isPlausible(const Candle &candle)
{
    return candle.o > 0 && candle.c > 0 && candle.h > 0 && candle.l > 0 && candle.l <= candle.h;
}

// deliberate: Binance and OKX rows are trusted as delivered
bool anyCandle(const Candle &)
{
    return true;
}

// Position 1 of a Gate.io row is the quote volume; the base volume stands last, so six entries are too few.
constexpr RowLayout gateLayout{7, 5, 3, 4, 2, 6, gateTime, num, isPlausible};
constexpr RowLayout binanceLayout{6, 1, 2, 3, 4, 5, binanceTime, num, anyCandle};
constexpr RowLayout okxLayout{6, 1, 2, 3, 4, 5, okxTime, num, anyCandle};
constexpr RowLayout stockLayout{6, 1, 3, 4, 2, 5, stockTime, anyNum, isPlausible};

std::optional<Candle> parseRow(const dom::element &element, const RowLayout &layout)
{
    dom::array row;
    if (element.get(row) != simdjson::SUCCESS || row.size() < layout.minEntries)
        return std::nullopt;
    std::array<dom::element, 7> entries; // no layout reads more
    std::size_t count = 0;
    for (const dom::element entry : row) {
        if (count == entries.size())
            break;
        entries[count++] = entry;
    }
    const auto time = layout.time(entries[0]);
    const auto open = layout.number(entries[layout.open]);
    const auto high = layout.number(entries[layout.high]);
    const auto low = layout.number(entries[layout.low]);
    const auto close = layout.number(entries[layout.close]);
    if (!time || !open || !high || !low || !close)
        return std::nullopt;
    const auto volume = layout.number(entries[layout.volume]);
    const Candle candle{*time, *open, *high, *low, *close, volume.value_or(0)};
    return layout.accepts(candle) ? std::optional(candle) : std::nullopt;
}

CandleList usableRows(const dom::array &rows, const RowLayout &layout)
{
    CandleList candles;
    candles.reserve(std::min(rows.size(), maxReserved));
    for (const dom::element element : rows) {
        if (const auto candle = parseRow(element, layout))
            candles.push_back(*candle);
    }
    return candles;
}

/// One entry of another kind means another layout altogether.
bool allAre(dom::element_type type, const dom::array &list)
{
    return std::all_of(list.begin(), list.end(), [&](dom::element entry) { return entry.type() == type; });
}

std::optional<CandleList> parseRows(const dom::element &list, const RowLayout &layout)
{
    dom::array rows;
    if (list.get(rows) != simdjson::SUCCESS || !allAre(dom::element_type::ARRAY, rows))
        return std::nullopt;
    CandleList candles = usableRows(rows, layout);
    return candles.size() < minCandles ? std::nullopt : std::optional(std::move(candles));
}

std::optional<dom::array> arrayAt(const dom::object &object, std::string_view key)
{
    dom::array rows;
    return object.at_key(key).get(rows) == simdjson::SUCCESS ? std::optional(rows) : std::nullopt;
}

tl::unexpected<ServiceError> failure(int code, const QString &message)
{
    return tl::unexpected(ServiceError{code, message});
}

std::optional<double> numberAt(const dom::object &object, std::string_view key)
{
    dom::element value;
    return object.at_key(key).get(value) == simdjson::SUCCESS ? num(value) : std::nullopt;
}

std::optional<PriceResult> parseTicker(const dom::object &ticker, std::string_view priceKey,
                                       std::string_view changeKey)
{
    const auto price = numberAt(ticker, priceKey);
    if (!price)
        return std::nullopt;
    return PriceResult{*price, numberAt(ticker, changeKey)};
}

} // namespace

std::optional<CandleList> parseGateCandles(const QByteArray &body)
{
    const JsonBody json{body};
    return json.isValid() ? parseRows(json.root(), gateLayout) : std::nullopt;
}

std::optional<CandleList> parseBinanceCandles(const QByteArray &body)
{
    const JsonBody json{body};
    return json.isValid() ? parseRows(json.root(), binanceLayout) : std::nullopt;
}

std::optional<CandleList> parseOkxCandles(const QByteArray &body)
{
    const JsonBody json{body};
    dom::object answer;
    dom::element rows;
    if (!json.isValid() || json.root().get(answer) != simdjson::SUCCESS ||
        answer.at_key("data").get(rows) != simdjson::SUCCESS)
        return std::nullopt;
    auto candles = parseRows(rows, okxLayout);
    if (candles)
        std::ranges::reverse(*candles);
    return candles;
}

Result<CandleList> parseStockCandles(const QByteArray &body, const QString &code, const QString &period)
{
    const JsonBody json{body};
    dom::object stock;
    if (!json.isValid() ||
        json.root().at_key("data").at_key(code.toStdString()).get(stock) != simdjson::SUCCESS)
        return failure(3, u"K线返回结构异常"_s);

    const std::string plainKey = period.toStdString();
    auto rows = arrayAt(stock, "qfq" + plainKey);
    if (!rows)
        rows = arrayAt(stock, plainKey);
    if (!rows || rows->size() < minCandles)
        return failure(4, u"K线数据不足"_s);

    CandleList candles = usableRows(*rows, stockLayout);
    std::ranges::stable_sort(candles, {}, &Candle::ts);
    if (candles.size() < minCandles)
        return failure(5, u"K线有效数据不足"_s);
    return candles;
}

std::optional<PriceResult> parseGateTicker(const QByteArray &body)
{
    const JsonBody json{body};
    dom::array tickers;
    if (!json.isValid() || json.root().get(tickers) != simdjson::SUCCESS)
        return std::nullopt;
    dom::object first;
    if (!allAre(dom::element_type::OBJECT, tickers) || tickers.at(0).get(first) != simdjson::SUCCESS)
        return std::nullopt;
    return parseTicker(first, "last", "change_percentage");
}

std::optional<PriceResult> parseBinanceTicker(const QByteArray &body)
{
    const JsonBody json{body};
    dom::object ticker;
    if (!json.isValid() || json.root().get(ticker) != simdjson::SUCCESS)
        return std::nullopt;
    return parseTicker(ticker, "lastPrice", "priceChangePercent");
}

} // namespace kestrune
