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

/// By StockMarket, in the order in which prefixes are tried.
constexpr std::array exchangePrefixes{QStringView(u"sh"), QStringView(u"sz"), QStringView(u"hk")};

/// Minutes after midnight on the Asia/Shanghai clock, both ends inclusive.
struct TradingSession
{
    int start;
    int end;
};
constexpr std::array chinaSessions{TradingSession{570, 690}, TradingSession{780, 900}};
constexpr std::array hongKongSessions{TradingSession{570, 720}, TradingSession{780, 960}};

constexpr QStringView hourLabel = u"1H";
constexpr QStringView fourHoursLabel = u"4H";
constexpr QStringView weekLabel = u"周线";
constexpr QStringView monthLabel = u"月线";

/// Without an interval or period a segment does not offer it.
struct Timeframe
{
    QStringView label;
    QStringView cryptoInterval;
    QStringView stockPeriod;
    QStringView chartInterval;
};
/// In menu order.
constexpr std::array timeframeTable{
    Timeframe{hourLabel, u"1h", {}, u"60"},
    Timeframe{fourHoursLabel, u"4h", {}, u"240"},
    Timeframe{defaultTimeframe, u"1d", u"day", u"1D"},
    Timeframe{weekLabel, {}, u"week", u"1W"},
    Timeframe{monthLabel, {}, u"month", u"1M"},
};

QStringList labelsWith(QStringView Timeframe::*meaning)
{
    QStringList labels;
    for (const Timeframe &timeframe : timeframeTable) {
        if (!(timeframe.*meaning).isEmpty())
            labels.append(timeframe.label.toString());
    }
    return labels;
}

QString meaningOf(QStringView label, QStringView Timeframe::*meaning)
{
    const auto *found = std::ranges::find(timeframeTable, label, &Timeframe::label);
    if (found == timeframeTable.end() || (found->*meaning).isEmpty())
        found = std::ranges::find(timeframeTable, defaultTimeframe, &Timeframe::label);
    return (found->*meaning).toString();
}

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
    static const QStringList crypto = labelsWith(&Timeframe::cryptoInterval);
    static const QStringList stocks = labelsWith(&Timeframe::stockPeriod);
    return segment == MarketSegment::crypto ? crypto : stocks;
}

const std::array<QString, 3> &snapshotTimeframes(MarketSegment segment)
{
    static const std::array crypto{hourLabel.toString(), fourHoursLabel.toString(),
                                   defaultTimeframe.toString()};
    static const std::array stocks{defaultTimeframe.toString(), weekLabel.toString(), monthLabel.toString()};
    return segment == MarketSegment::crypto ? crypto : stocks;
}

QString cryptoInterval(QStringView label)
{
    return meaningOf(label, &Timeframe::cryptoInterval);
}

QString stockPeriod(QStringView label)
{
    return meaningOf(label, &Timeframe::stockPeriod);
}

QString tradingViewInterval(QStringView label)
{
    return meaningOf(label, &Timeframe::chartInterval);
}

QString rawValue(StockMarket market)
{
    return exchangePrefixes[static_cast<std::size_t>(market)].toString();
}

std::optional<StockMarket> stockMarketOf(QStringView code)
{
    const QString lower = code.left(2).toString().toLower();
    const auto *found = std::ranges::find(exchangePrefixes, QStringView{lower});
    if (found == exchangePrefixes.end())
        return std::nullopt;
    return allStockMarkets[static_cast<std::size_t>(found - exchangePrefixes.begin())];
}

bool isTrading(StockMarket market, Instant instant)
{
    const ShanghaiTime now = shanghaiTime(instant);
    if (now.weekday == 0 || now.weekday == 6)
        return false;
    // deliberate: public holidays are not known, a holiday weekday counts as trading
    const auto &sessions = market == StockMarket::hk ? hongKongSessions : chinaSessions;
    return std::ranges::any_of(sessions, [&](const TradingSession &session) {
        return session.start <= now.minuteOfDay && now.minuteOfDay <= session.end;
    });
}

QString bareCode(const QString &code)
{
    return stockMarketOf(code) ? code.mid(2) : code;
}

} // namespace kestrune
