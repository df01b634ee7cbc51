// SPDX-License-Identifier: MIT
#include "market/quoteparser.h"

#include "market/jsonnumber.h"
#include "market/shanghaitime.h"

#include <algorithm>
#include <array>
#include <span>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

/// Positions in the "~"-separated value of a quote.
namespace position {
constexpr std::size_t marker = 0;
constexpr std::size_t name = 1;
constexpr std::size_t price = 3;
constexpr std::size_t prevClose = 4;
constexpr std::size_t open = 5;
constexpr std::size_t volume = 6;
constexpr std::size_t time = 30;
constexpr std::size_t change = 31;
constexpr std::size_t changePct = 32;
constexpr std::size_t high = 33;
constexpr std::size_t low = 34;
constexpr std::size_t state = 40;
constexpr std::size_t limitUp = 47;
constexpr std::size_t limitDown = 48;
constexpr std::size_t end = 49;
} // namespace position

constexpr std::size_t minFields = 35;
constexpr QStringView blanks =
    u" \t"; // deliberate: a line break belongs to the key or value that it stands in

QStringView withoutLeading(QStringView characters, QStringView text)
{
    while (!text.empty() && characters.contains(text.front()))
        text = text.sliced(1);
    return text;
}

QStringView trimmed(QStringView characters, QStringView text)
{
    text = withoutLeading(characters, text);
    while (!text.empty() && characters.contains(text.back()))
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
    quote.quotedAt = shanghaiInstant(fields[position::time]);
    quote.suspended = fields.size() > position::state && fields[position::state] == u"S";
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
    const QStringView value = trimmed(u"\"", trimmed(blanks, piece.sliced(equals + 1)));
    std::array<QStringView, position::end> storage;
    std::size_t count = 0;
    const auto fields = splitFields(value, storage, count);
    if (count < minFields)
        return std::nullopt;
    auto quote = parseQuoteFields(fields);
    if (quote)
        quote->symbol = trimmed(blanks, piece.first(equals)).toString().remove("v_"_L1).toLower();
    return quote;
}

} // namespace

StockQuotes parseQuotes(QStringView text, Instant now)
{
    StockQuotes quotes;
    bool first = true;
    for (QStringView piece : text.tokenize(u';')) {
        // Answers for several codes put a line break behind each ";", which does not belong to the next key.
        if (!first)
            piece = withoutLeading(u"\r\n", piece);
        first = false;
        if (auto quote = parseQuote(piece)) {
            quote->updatedAt = now;
            quotes.insert(quote->symbol, *quote);
        }
    }
    return quotes;
}

} // namespace kestrune
