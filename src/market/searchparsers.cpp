// SPDX-License-Identifier: MIT
#include "market/searchparsers.h"

#include "market/jsonbody.h"
#include "market/jsonnumber.h"

#include <simdjson.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

/// Where a source's list keeps what is read of a contract.
struct ContractKeys
{
    std::string_view pair, last, turnover;
    std::string_view quote; ///< how the pairs end that are kept
};
constexpr ContractKeys gateKeys{"contract", "last", "volume_24h_quote", "_USDT"};
constexpr ContractKeys binanceKeys{"symbol", "lastPrice", "quoteVolume", "USDT"};

std::optional<double> finiteAt(const simdjson::dom::object &entry, std::string_view key)
{
    simdjson::dom::element value;
    return entry.at_key(key).get(value) == simdjson::SUCCESS ? anyNum(value) : std::nullopt;
}

std::optional<Found> contractIn(const simdjson::dom::element &element, const ContractKeys &keys)
{
    simdjson::dom::object entry;
    std::string_view pair;
    if (element.get(entry) != simdjson::SUCCESS || entry.at_key(keys.pair).get(pair) != simdjson::SUCCESS ||
        !pair.ends_with(keys.quote) || finiteAt(entry, keys.last).value_or(0) <= 0)
        return std::nullopt;
    pair.remove_suffix(keys.quote.size());
    const QString symbol = QString::fromUtf8(pair.data(), qsizetype(pair.size()));
    if (codeFromTyped(MarketSegment::crypto, symbol) != symbol)
        return std::nullopt;
    return Found{symbol, {}, std::max(finiteAt(entry, keys.turnover).value_or(0), 0.0)};
}

std::optional<FoundList> contractsIn(const QByteArray &body, const ContractKeys &keys)
{
    const JsonBody json{body};
    simdjson::dom::array entries;
    if (!json.isValid() || json.root().get(entries) != simdjson::SUCCESS)
        return std::nullopt;
    FoundList contracts;
    for (const simdjson::dom::element entry : entries) {
        if (auto contract = contractIn(entry, keys))
            contracts.push_back(std::move(*contract));
    }
    if (contracts.empty())
        return std::nullopt;
    return contracts;
}

/// Text with its \uXXXX read and without what is no letter to be shown; none where an escape is another.
std::optional<QString> unescaped(QStringView text)
{
    QString plain;
    while (!text.empty()) {
        QChar letter = text.front();
        qsizetype taken = 1;
        if (letter == u'\\') {
            bool isNumber = false;
            taken = 6;
            if (text.size() < taken || text[1] != u'u')
                return std::nullopt;
            letter = QChar(text.sliced(2, 4).toUShort(&isNumber, 16));
            if (!isNumber)
                return std::nullopt;
        }
        if (letter.isPrint() || letter.isSurrogate())
            plain += letter;
        text = text.sliced(taken);
    }
    return plain.isValidUtf16() ? std::optional(plain.trimmed()) : std::nullopt;
}

bool isKept(QStringView type, MarketSegment segment)
{
    if (segment == MarketSegment::hk)
        return type.startsWith(u"GP") || type == u"ETF";
    return type.startsWith(u"GP-A") || type == u"ETF" || type == u"LOF" || type == u"ZS";
}

/// One entry such as: sh~600036~\u62db…~zsyh~GP-A
std::optional<Found> foundIn(QStringView entry, MarketSegment segment)
{
    std::array<QStringView, 5> fields;
    std::size_t count = 0;
    for (const QStringView part : entry.tokenize(u'~')) {
        if (count < fields.size())
            fields[count] = part;
        ++count;
    }
    const auto &[market, number, name, pinyin, type] = fields;
    if (count < fields.size() || !isKept(type, segment))
        return std::nullopt;
    const QString symbol = market.toString() + number.toString();
    const auto shown = unescaped(name);
    if (!shown || market.size() != 2 || codeFromTyped(segment, symbol) != symbol)
        return std::nullopt;
    return Found{symbol, *shown, 0};
}

} // namespace

ServiceError searchFailure(std::optional<Refusal> refusal)
{
    return {6, u"搜索失败，可直接输入代码"_s, refusal};
}

std::optional<FoundList> parseGateContracts(const QByteArray &body)
{
    return contractsIn(body, gateKeys);
}

std::optional<FoundList> parseBinanceContracts(const QByteArray &body)
{
    return contractsIn(body, binanceKeys);
}

std::optional<FoundList> parseSearchAnswer(QStringView text, MarketSegment segment)
{
    constexpr QStringView opening = u"v_hint=\"";
    text = text.trimmed();
    if (text.endsWith(u';'))
        text.chop(1);
    if (!text.startsWith(opening) || text.indexOf(u'"', opening.size()) != text.size() - 1)
        return std::nullopt;
    text = text.sliced(opening.size()).chopped(1);
    FoundList found;
    if (text == u"N")
        return found;
    for (const QStringView entry : text.tokenize(u'^')) {
        if (auto instrument = foundIn(entry, segment))
            found.push_back(std::move(*instrument));
    }
    return found;
}

} // namespace kestrune
