// SPDX-License-Identifier: MIT
#include "viewmodel/standingtexts.h"

#include "analysis/priceformat.h"
#include "analysis/utczone.h"
#include "state/appstate.h"
#include "state/fixedtext.h"

#include <QDateTime>

#include <cmath>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using std::chrono::floor;

/// The clock of the mainland and of Hong Kong.
QString exchangeTime(Instant time)
{
    constexpr auto eastOfGreenwich = 8h;
    const auto shifted = floor<std::chrono::seconds>(time).time_since_epoch() + eastOfGreenwich;
    return QDateTime::fromSecsSinceEpoch(shifted.count(), utcZone).toString(u"HH:mm"_s);
}

struct AgeUnit
{
    std::chrono::minutes length;
    QChar letter;
    QStringView word;
};

constexpr AgeUnit ageUnits[]{{24h, u'd', u" 天前"}, {1h, u'h', u" 小时前"}, {1min, u'm', u" 分钟前"}};

/// Not the display name, which comes with a quote that may be another's.
QString selectedCode(const AppState &state)
{
    return shownCode(state.market(), state.coinSymbol());
}

QString waitingForPrice(const AppState &state)
{
    return u"等待 "_s + selectedCode(state) + u" 报价…"_s;
}

/// One that is not traded, whether the source says so or a session goes by without a trade.
bool isSuspended(const AppState &state, StockMarket exchange)
{
    const auto &quote = state.stockQuote();
    const Instant quotedAt = state.priceOrigin->quotedAt.value_or(state.clock().now());
    return state.priceOrigin->suspended ||
           (quote && quote->open == 0 && quote->volume == 0 && isTrading(exchange, quotedAt));
}

/// Of a fresh price of a stock; empty while it is traded as usual.
QString stockCaveat(const AppState &state, StockMarket exchange)
{
    const PriceOrigin &origin = *state.priceOrigin;
    const Instant now = state.clock().now();
    if (isSuspended(state, exchange))
        return u"停牌"_s;
    const MarketSession session = marketSession(exchange, now);
    if (session.noonBreak)
        return u"午间休市"_s;
    if (!session.open) {
        // A session's last minute belongs to it; some quotes are still touched up later in the day.
        const Instant end = now - session.since - 1min;
        return u"已收盘 "_s + exchangeTime(std::min(origin.quotedAt.value_or(end), end));
    }
    // Until the first quote of a session the one before it is no measure.
    const auto delay = quoteDelay(origin, now);
    const bool ofSession = delay && isTrading(exchange, *origin.quotedAt);
    return exchange == StockMarket::hk && ofSession ? u"延迟约 %1 分钟"_s.arg(delay->count()) : QString();
}

QString staleCandles(const CandleList &candles)
{
    return u"K线停在 "_s + localTime(Instant(std::chrono::milliseconds(candles.back().ts)), u"MM-dd HH:mm"_s);
}

} // namespace

QString localTime(Instant time, const QString &format)
{
    return QDateTime::fromSecsSinceEpoch(floor<std::chrono::seconds>(time).time_since_epoch().count())
        .toString(format);
}

QString shortAge(std::chrono::nanoseconds age)
{
    for (const AgeUnit &unit : ageUnits) {
        if (age >= unit.length)
            return QString::number(age / unit.length) + unit.letter;
    }
    return u"<1m"_s;
}

QString longAge(std::chrono::nanoseconds age)
{
    for (const AgeUnit &unit : ageUnits) {
        if (age >= unit.length)
            return QString::number(age / unit.length) + unit.word.toString();
    }
    return u"不到 1 分钟前"_s;
}

QString updateText(Instant time)
{
    return u"更新 "_s + localTime(time, u"HH:mm:ss"_s);
}

QString itemText(const AppState &state)
{
    const Judgement judged = state.priceStanding();
    return judged.standing == Standing::old ? state.menuTitle() + u" ·"_s + shortAge(judged.age)
                                            : state.menuTitle();
}

QString titleLine(const AppState &state)
{
    QString caveat = priceCaveat(state);
    if (!state.priceStanding().own())
        return caveat;
    QString title = state.displayName() + u"  "_s + fmtP(*state.price(), state.decimals());
    if (const auto change = state.changePct(); change && std::isfinite(*change))
        title += u"  "_s + QString::asprintf("%+.2f%%", *change);
    if (!caveat.isEmpty())
        title += u" · "_s + caveat;
    return title;
}

QString priceCaveat(const AppState &state)
{
    const Judgement judged = state.priceStanding();
    switch (judged.standing) {
    case Standing::none:
    case Standing::foreign:
        return waitingForPrice(state);
    case Standing::doubted:
        return u"价格骤变，等待确认…"_s;
    case Standing::old:
        return longAge(judged.age) + u" · "_s +
               (state.priceFailure ? state.priceFailure->message : u"等待新报价…"_s);
    case Standing::fresh:
        break;
    }
    const auto exchange = exchangeOf(state.selection());
    return exchange ? stockCaveat(state, *exchange) : QString();
}

QString priceLine(const AppState &state)
{
    QString caveat = priceCaveat(state);
    const auto exchange = exchangeOf(state.selection());
    const bool trading = !exchange || isTrading(*exchange, state.clock().now());
    if (!state.priceStanding().fresh() || !trading)
        return caveat;
    QString updated = updateText(state.priceOrigin->time);
    return caveat.isEmpty() ? updated : updated + u" · "_s + caveat;
}

bool verdictShows(const AppState &state)
{
    return state.verdictStands() && !state.zones().empty();
}

QString verdictText(const AppState &state)
{
    return verdictShows(state) ? state.statusText() : u"等待数据"_s;
}

QString conclusionText(const AppState &state)
{
    const Judgement judged = state.signalsStanding();
    const QString &conclusion = state.snapshotConclusion();
    if (judged.standing == Standing::foreign)
        return conclusion + u" · "_s + u"属于 "_s +
               shownCode(state.signalsOrigin->subject.market, state.signalsOrigin->subject.symbol);
    if (judged.standing == Standing::old)
        return conclusion + u" · "_s + (state.signalsOrigin->stale ? u"K线已过时"_s : longAge(judged.age));
    return conclusion;
}

QString zonesCaveat(const AppState &state)
{
    const Judgement judged = state.zonesStanding();
    if (state.zones().empty())
        return {};
    if (judged.standing == Standing::old) {
        return state.zonesOrigin->stale && !state.lastSRCandles.empty()
                   ? u"撑压的 "_s + staleCandles(state.lastSRCandles)
                   : u"撑压 "_s + longAge(judged.age);
    }
    if (judged.standing != Standing::foreign)
        return {};
    const Subject &theirs = state.zonesOrigin->subject;
    if (theirs.sameInstrument(state.selection()))
        return u"撑压属于%1，等待%2数据…"_s.arg(theirs.timeframe, state.timeframe());
    return u"撑压属于 %1，等待 %2 数据…"_s.arg(shownCode(theirs.market, theirs.symbol), selectedCode(state));
}

QStringList dataNotices(const AppState &state)
{
    QStringList notices;
    for (const auto &failure : {state.priceFailure, state.zonesFailure}) {
        if (failure)
            notices.append(failure->message + u" · 自 "_s + localTime(failure->since, u"HH:mm"_s));
    }
    if (const QString caveat = zonesCaveat(state); !caveat.isEmpty())
        notices.append(caveat);
    if (const auto gap = state.candleGapPct()) {
        const double close = state.lastSRCandles.back().c;
        notices.append(
            u"K线收盘 %1 与现价相差 %2%，请核对"_s.arg(fmtP(close, getDecimals(close)), fixedText(*gap, 0)));
    }
    return notices;
}

QString planNotice(const AppState &state)
{
    if (state.zones().empty() && state.isLoading())
        return {};
    const QString about = u"开单助手："_s;
    switch (state.priceStanding().standing) {
    case Standing::none:
    case Standing::foreign:
        return about + waitingForPrice(state);
    case Standing::doubted:
        return about + u"等待价格确认…"_s;
    case Standing::old:
        return about + u"价格已过时…"_s;
    case Standing::fresh:
        break;
    }
    const Standing zones = state.zonesStanding().standing;
    if (zones == Standing::fresh)
        return {};
    return about + (zones == Standing::old ? u"撑压数据已过时…"_s : u"等待撑压数据…"_s);
}

} // namespace kestrune
