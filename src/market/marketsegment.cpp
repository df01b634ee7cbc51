// SPDX-License-Identifier: MIT
#include "market/marketsegment.h"

#include "market/shanghaitime.h"

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

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
    std::chrono::hours length; ///< of a candle, without end
    int tradingDays;           ///< of a stock's candle
};
/// In menu order.
constexpr std::array timeframeTable{
    Timeframe{hourLabel, u"1h", {}, u"60", 1h, 1},
    Timeframe{fourHoursLabel, u"4h", {}, u"240", 4h, 1},
    Timeframe{defaultTimeframe, u"1d", u"day", u"1D", 24h, 1},
    Timeframe{weekLabel, {}, u"week", u"1W", 168h, 5},
    Timeframe{monthLabel, {}, u"month", u"1M", 744h, 23},
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

const Timeframe &timeframeOf(QStringView label, QStringView Timeframe::*meaning)
{
    const auto *found = std::ranges::find(timeframeTable, label, &Timeframe::label);
    if (found == timeframeTable.end() || (found->*meaning).isEmpty())
        found = std::ranges::find(timeframeTable, defaultTimeframe, &Timeframe::label);
    return *found;
}

QString meaningOf(QStringView label, QStringView Timeframe::*meaning)
{
    return (timeframeOf(label, meaning).*meaning).toString();
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

MarketSession marketSession(StockMarket market, Instant instant)
{
    using namespace std::chrono;
    // deliberate: public holidays are not known, a holiday weekday counts as trading
    const auto &sessions = market == StockMarket::hk ? hongKongSessions : chinaSessions;
    const ShanghaiTime now = shanghaiTime(instant);
    const auto intoMinute = floor<milliseconds>(instant.time_since_epoch()) % minutes(1);
    const auto passed = [&](int daysAgo, int minute) {
        return minutes(daysAgo * 1440 + now.minuteOfDay - minute) + intoMinute;
    };
    for (int daysAgo = 0;; ++daysAgo) { // back to the last beginning or end of a session
        const int weekday = (now.weekday + 7 - daysAgo % 7) % 7;
        if (weekday == 0 || weekday == 6)
            continue;
        for (auto session = sessions.rbegin(); session != sessions.rend(); ++session) {
            const bool last = session == sessions.rbegin();
            if (const auto since = passed(daysAgo, session->end + 1); since >= milliseconds::zero())
                return {.open = false, .noonBreak = !last && daysAgo == 0, .since = since};
            if (const auto since = passed(daysAgo, session->start); since >= milliseconds::zero())
                return {.open = true, .noonBreak = false, .since = since};
        }
    }
}

bool isTrading(StockMarket market, Instant instant)
{
    return marketSession(market, instant).open;
}

bool candlesAreOld(MarketSegment segment, QStringView timeframe, qint64 lastTs, Instant now)
{
    using namespace std::chrono;
    const Instant last{milliseconds(std::clamp<qint64>(lastTs, 0, 4'102'444'800'000))}; // before 2100
    if (segment == MarketSegment::crypto)
        return now - last > 2 * timeframeOf(timeframe, &Timeframe::cryptoInterval).length + 5min;
    const int allowed = 2 * timeframeOf(timeframe, &Timeframe::stockPeriod).tradingDays;
    constexpr auto oneDay = std::chrono::days(1);
    int weekdays = 0;
    for (Instant day = last + oneDay; day <= now && weekdays <= allowed; day += oneDay) {
        const int weekday = shanghaiTime(day).weekday;
        weekdays += weekday != 0 && weekday != 6 ? 1 : 0;
    }
    return weekdays > allowed;
}

MarketSegment segmentOf(QStringView symbol)
{
    const auto exchange = stockMarketOf(symbol);
    if (!exchange || symbol.size() == 2 ||
        !std::all_of(symbol.begin() + 2, symbol.end(), [](QChar c) { return c >= u'0' && c <= u'9'; }))
        return MarketSegment::crypto;
    return *exchange == StockMarket::hk ? MarketSegment::hk : MarketSegment::cn;
}

std::optional<QString> codeFromTyped(MarketSegment segment, const QString &text)
{
    constexpr qsizetype longestCoin = 20;
    const QString plain = text.normalized(QString::NormalizationForm_KC).trimmed();
    const auto isDigit = [](QChar c) { return c >= u'0' && c <= u'9'; };
    if (segment == MarketSegment::crypto) {
        QString coin = plain.toUpper();
        if (coin.endsWith("USDT"_L1))
            coin.chop(coin.endsWith("_USDT"_L1) ? 5 : 4);
        const bool named =
            std::ranges::all_of(coin, [&](QChar c) { return isDigit(c) || (c >= u'A' && c <= u'Z'); });
        return named && !coin.isEmpty() && coin.size() <= longestCoin ? std::optional(coin) : std::nullopt;
    }
    const auto prefixed = stockMarketOf(plain);
    const QString number = prefixed ? plain.mid(2) : plain;
    const bool hongKong = segment == MarketSegment::hk;
    if (number.size() != (hongKong ? 5 : 6) || !std::ranges::all_of(number, isDigit) ||
        (prefixed && (*prefixed == StockMarket::hk) != hongKong))
        return std::nullopt;
    if (prefixed || hongKong)
        return rawValue(prefixed.value_or(StockMarket::hk)) + number;
    if (QStringView(u"569").contains(number.front()))
        return rawValue(StockMarket::sh) + number;
    if (QStringView(u"0123").contains(number.front()))
        return rawValue(StockMarket::sz) + number;
    return std::nullopt;
}

std::optional<MarketSegment> listedSegment(const QString &code)
{
    const MarketSegment segment = segmentOf(code);
    return codeFromTyped(segment, code) == code ? std::optional(segment) : std::nullopt;
}

QString shownCode(MarketSegment segment, const QString &code)
{
    const bool coin = segment == MarketSegment::crypto && segmentOf(code) == segment; // such as SHIB
    return coin ? code : bareCode(code);
}

PriceGrid priceGrid(QStringView stockCode)
{
    for (const QStringView fund : {u"sh5", u"sz15", u"sz16"}) {
        if (stockCode.startsWith(fund, Qt::CaseInsensitive))
            return {0.001, 3};
    }
    return {0.01, 2};
}

QString bareCode(const QString &code)
{
    return stockMarketOf(code) ? code.mid(2) : code;
}

} // namespace kestrune
