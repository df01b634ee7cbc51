// SPDX-License-Identifier: MIT
#include "market/stockparsers.h"

#include "market/jsonbody.h"
#include "market/jsonnumber.h"
#include "market/shanghaitime.h"

#include <simdjson.h>

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <string_view>

namespace kestrune {

using namespace Qt::StringLiterals;
namespace dom = simdjson::dom;

namespace {

/// Positions in the "~"-separated value of a quote.
namespace position {
constexpr std::size_t marker = 0;
constexpr std::size_t name = 1;
constexpr std::size_t price = 3;
constexpr std::size_t prevClose = 4;
constexpr std::size_t open = 5;
constexpr std::size_t volume = 6;
constexpr std::size_t change = 31;
constexpr std::size_t changePct = 32;
constexpr std::size_t high = 33;
constexpr std::size_t low = 34;
constexpr std::size_t limitUp = 47;
constexpr std::size_t limitDown = 48;
constexpr std::size_t end = 49;
} // namespace position

constexpr std::size_t minFields = 35;
/// A first guess only: a body of empty rows must not reserve memory for millions of candles.
constexpr std::size_t mostReservedRows = 1024;

/// Without spaces and tabs at both ends. deliberate: line breaks stay.
QStringView trimBlanks(QStringView text)
{
    const auto isBlank = [](QChar c) { return c == u' ' || c == u'\t'; };
    while (!text.empty() && isBlank(text.front()))
        text = text.sliced(1);
    while (!text.empty() && isBlank(text.back()))
        text.chop(1);
    return text;
}

QStringView trimQuotationMarks(QStringView text)
{
    while (text.startsWith(u'"'))
        text = text.sliced(1);
    while (text.endsWith(u'"'))
        text.chop(1);
    return text;
}

/// The fields of a value as far as any of them is read; `count` becomes the number of all.
std::span<const QStringView> splitFields(QStringView value, std::array<QStringView, position::end> &fields,
                                         std::size_t &count)
{
    count = 0;
    for (const QStringView part : value.tokenize(u'~')) {
        if (count < fields.size())
            fields[count] = part;
        ++count;
    }
    return std::span(fields).first(std::min(count, fields.size()));
}

std::optional<double> positiveField(std::span<const QStringView> fields, std::size_t index)
{
    const auto value = field(fields, index);
    return value && *value > 0 ? value : std::nullopt;
}

std::optional<StockQuote> parseQuoteFields(std::span<const QStringView> fields)
{
    const auto price = positiveField(fields, position::price);
    const auto prevClose = field(fields, position::prevClose);
    const auto open = field(fields, position::open);
    if (!price || !prevClose || !open)
        return std::nullopt;

    const double change = *price - *prevClose;
    StockQuote quote;
    quote.name = fields[position::name].toString();
    quote.price = *price;
    quote.prevClose = *prevClose;
    quote.open = *open;
    quote.high = field(fields, position::high).value_or(std::max(*price, *open));
    quote.low = field(fields, position::low).value_or(std::min(*price, *open));
    quote.volume = field(fields, position::volume).value_or(0);
    quote.change = field(fields, position::change).value_or(change);
    quote.changePct =
        field(fields, position::changePct).value_or(*prevClose > 0 ? change / *prevClose * 100 : 0);
    // "1" is Shanghai, "51" Shenzhen; elsewhere these positions hold other things.
    const QStringView marker = fields[position::marker];
    if (marker == u"1" || marker == u"51") {
        quote.limitUp = positiveField(fields, position::limitUp);
        quote.limitDown = positiveField(fields, position::limitDown);
    }
    return quote;
}

/// One piece such as: v_sh600519="1~…~…"
std::optional<StockQuote> parseQuote(QStringView piece)
{
    const qsizetype equals = piece.indexOf(u'=');
    if (equals <= 0 || equals + 1 == piece.size())
        return std::nullopt;
    const QStringView value = trimQuotationMarks(trimBlanks(piece.sliced(equals + 1)));
    std::array<QStringView, position::end> storage;
    std::size_t count = 0;
    const auto fields = splitFields(value, storage, count);
    if (count < minFields)
        return std::nullopt;
    auto quote = parseQuoteFields(fields);
    if (quote)
        quote->symbol = trimBlanks(piece.first(equals)).toString().remove("v_"_L1).toLower();
    return quote;
}

QStringView withoutLeadingLineBreaks(QStringView text)
{
    while (!text.empty() && (text.front() == u'\n' || text.front() == u'\r'))
        text = text.sliced(1);
    return text;
}

tl::unexpected<ServiceError> failure(int code, const QString &message)
{
    return tl::unexpected(ServiceError{code, message});
}

std::optional<dom::array> arrayAt(const dom::object &object, std::string_view key)
{
    dom::array rows;
    return object.at_key(key).get(rows) == simdjson::SUCCESS ? std::optional(rows) : std::nullopt;
}

std::optional<Candle> parseStockRow(const dom::element &element)
{
    constexpr std::size_t rowEntries = 6;
    dom::array row;
    if (element.get(row) != simdjson::SUCCESS || row.size() < rowEntries)
        return std::nullopt;
    std::array<dom::element, rowEntries> entries;
    auto next = row.begin();
    for (dom::element &entry : entries) {
        entry = *next;
        ++next;
    }
    std::string_view date;
    if (entries[0].get(date) != simdjson::SUCCESS)
        return std::nullopt;
    const auto ts = shanghaiMidnight(date);
    const auto open = anyNum(entries[1]);
    const auto close = anyNum(entries[2]);
    const auto high = anyNum(entries[3]);
    const auto low = anyNum(entries[4]);
    if (!ts || !open || !close || !high || !low)
        return std::nullopt;
    if (!(*open > 0 && *close > 0 && *high > 0 && *low > 0 && *low <= *high))
        return std::nullopt;
    return Candle{*ts, *open, *high, *low, *close, anyNum(entries[5]).value_or(0)};
}

} // namespace

StockQuotes parseQuotes(QStringView text, Instant now)
{
    StockQuotes quotes;
    bool first = true;
    for (QStringView piece : text.tokenize(u';')) {
        // Answers for several codes put a line break behind each ";", which does not belong to the next key.
        if (!first)
            piece = withoutLeadingLineBreaks(piece);
        first = false;
        if (auto quote = parseQuote(piece)) {
            quote->updatedAt = now;
            quotes.insert(quote->symbol, *quote);
        }
    }
    return quotes;
}

Result<CandleList> parseStockCandles(const QByteArray &body, const QString &code, const QString &period)
{
    constexpr std::size_t tooFew = 24;
    const JsonBody json{body};
    dom::object stock;
    if (!json.isValid() ||
        json.root().at_key("data").at_key(code.toStdString()).get(stock) != simdjson::SUCCESS)
        return failure(3, u"K线返回结构异常"_s);

    const std::string plainKey = period.toStdString();
    auto rows = arrayAt(stock, "qfq" + plainKey);
    if (!rows)
        rows = arrayAt(stock, plainKey);
    if (!rows || rows->size() <= tooFew)
        return failure(4, u"K线数据不足"_s);

    CandleList candles;
    candles.reserve(std::min(rows->size(), mostReservedRows));
    for (const dom::element row : *rows) {
        if (const auto candle = parseStockRow(row))
            candles.push_back(*candle);
    }
    std::ranges::stable_sort(candles, {}, &Candle::ts);
    if (candles.size() <= tooFew)
        return failure(5, u"K线有效数据不足"_s);
    return candles;
}

} // namespace kestrune
