// SPDX-License-Identifier: MIT
#include "market/marketsegment.h"

#include "market/shanghaitime.h"

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

struct SegmentText
{
    MarketSegment segment;
    QStringView rawValue;
};
constexpr std::array segmentTexts{
    SegmentText{MarketSegment::crypto, u"加密"},
    SegmentText{MarketSegment::cn, u"A股"},
    SegmentText{MarketSegment::hk, u"港股"},
};

struct ExchangeText
{
    StockMarket market;
    QStringView rawValue;
    QStringView displayName;
};
/// In the order in which prefixes are tried.
constexpr std::array exchangeTexts{
    ExchangeText{StockMarket::sh, u"sh", u"沪市"},
    ExchangeText{StockMarket::sz, u"sz", u"深市"},
    ExchangeText{StockMarket::hk, u"hk", u"港股"},
};

const ExchangeText &textsOf(StockMarket market)
{
    return exchangeTexts[static_cast<std::size_t>(market)];
}

constexpr std::array chinaSessions{TradingSession{570, 690}, TradingSession{780, 900}};
constexpr std::array hongKongSessions{TradingSession{570, 720}, TradingSession{780, 960}};

} // namespace

QString rawValue(MarketSegment segment)
{
    return segmentTexts[static_cast<std::size_t>(segment)].rawValue.toString();
}

std::optional<MarketSegment> marketSegmentFromRawValue(QStringView text)
{
    const auto *found = std::ranges::find(segmentTexts, text, &SegmentText::rawValue);
    return found == segmentTexts.end() ? std::nullopt : std::optional(found->segment);
}

const QStringList &timeframes(MarketSegment segment)
{
    static const QStringList crypto{u"1H"_s, u"4H"_s, u"日线"_s};
    static const QStringList stocks{u"日线"_s, u"周线"_s, u"月线"_s};
    return segment == MarketSegment::crypto ? crypto : stocks;
}

QString rawValue(StockMarket market)
{
    return textsOf(market).rawValue.toString();
}

QString displayName(StockMarket market)
{
    return textsOf(market).displayName.toString();
}

std::optional<StockMarket> stockMarketOf(QStringView code)
{
    const QString lower = code.left(2).toString().toLower();
    const auto *found = std::ranges::find(exchangeTexts, QStringView{lower}, &ExchangeText::rawValue);
    return found == exchangeTexts.end() ? std::nullopt : std::optional(found->market);
}

std::span<const TradingSession> sessions(StockMarket market)
{
    if (market == StockMarket::hk)
        return hongKongSessions;
    return chinaSessions;
}

bool isTrading(StockMarket market, Instant instant)
{
    const ShanghaiTime now = shanghaiTime(instant);
    if (now.weekday == 0 || now.weekday == 6)
        return false;
    // deliberate: public holidays are not known, a holiday weekday counts as trading
    return std::ranges::any_of(sessions(market), [&](const TradingSession &session) {
        return session.start <= now.minuteOfDay && now.minuteOfDay <= session.end;
    });
}

QString bareCode(const QString &code)
{
    return stockMarketOf(code) ? code.mid(2) : code;
}

QString cryptoInterval(QStringView timeframe)
{
    if (timeframe == u"1H")
        return u"1h"_s;
    if (timeframe == u"4H")
        return u"4h"_s;
    return u"1d"_s;
}

QString stockPeriod(QStringView timeframe)
{
    if (timeframe == u"周线")
        return u"week"_s;
    if (timeframe == u"月线")
        return u"month"_s;
    return u"day"_s;
}

} // namespace kestrune
