// SPDX-License-Identifier: MIT
#include "support/appfixture.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace kestrune::test {

QString gateCandleLine(const QString &coin, const QString &interval, int limit)
{
    return u"/api/v4/spot/candlesticks?currency_pair=%1_USDT&interval=%2&limit=%3"_s.arg(coin, interval)
        .arg(limit);
}

QString binanceCandleLine(const QString &coin, const QString &interval, int limit)
{
    return u"/api/v3/klines?symbol=%1USDT&interval=%2&limit=%3"_s.arg(coin, interval).arg(limit);
}

QString okxCandleLine(const QString &coin, const QString &bar, int limit)
{
    return u"/api/v5/market/candles?instId=%1-USDT-SWAP&bar=%2&limit=%3"_s.arg(coin, bar).arg(limit);
}

QString gateTickerLine(const QString &coin)
{
    return u"/api/v4/futures/usdt/tickers?contract=%1_USDT"_s.arg(coin);
}

QString binanceTickerLine(const QString &coin)
{
    return u"/fapi/v1/ticker/24hr?symbol=%1USDT"_s.arg(coin);
}

QString stockCandleLine(const QString &code, const QString &period)
{
    return u"/appstock/app/fqkline/get?param=%1,%2,,,320,qfq"_s.arg(code, period);
}

QString quoteLine(const QString &codes)
{
    return u"/q="_s + codes;
}

QString fieldName(const AppState &state, const PublishedField *field)
{
#define FIELD(name) std::pair<const PublishedField *, QString>(&state.name, u"" #name##_s)
    const auto nameAmong = [field](const auto &...known) {
        QString found = u"unknown field"_s;
        ((known.first == field ? void(found = known.second) : void()), ...);
        return found;
    };
    return nameAmong(FIELD(coinSymbol), FIELD(price), FIELD(changePct), FIELD(decimals), FIELD(market),
                     FIELD(stockQuote), FIELD(accountSize), FIELD(riskPctPerTrade), FIELD(leverage),
                     FIELD(marginMode), FIELD(selectedZonePrice), FIELD(selectedZoneType), FIELD(timeframe),
                     FIELD(zones), FIELD(zonePrice), FIELD(sparkline), FIELD(lastUpdated), FIELD(dataSource),
                     FIELD(isLoading), FIELD(errorMessage), FIELD(unreadSettings), FIELD(ctxEMA50),
                     FIELD(ctxEMA200), FIELD(ctxVegas), FIELD(ctxRSI), FIELD(ctxMACDHist), FIELD(ctxATR),
                     FIELD(ctxVWAP), FIELD(snapshot), FIELD(snapshotConclusion), FIELD(marketContextExpanded),
                     FIELD(miniMode), FIELD(blingMode), FIELD(multiPrices), FIELD(blingPulse), FIELD(alerts),
                     FIELD(pulsePhase), FIELD(signalThreshold), FIELD(displayRangePct), FIELD(maxPerSide),
                     FIELD(agesPassed), FIELD(proxyCrypto), FIELD(proxyStock), FIELD(desktopNotices),
                     FIELD(zoneNotices), FIELD(alertToShow), FIELD(chartLines), FIELD(chartSize));
#undef FIELD
}

bool sameZones(const std::vector<Zone> &a, const std::vector<Zone> &b)
{
    return std::ranges::equal(a, b, [](const Zone &x, const Zone &y) {
        return x.lo == y.lo && x.hi == y.hi && x.mid == y.mid && x.names == y.names &&
               x.distPct == y.distPct && x.confirm == y.confirm && x.isGolden == y.isGolden &&
               x.type == y.type && x.strength == y.strength && x.sources == y.sources;
    });
}

AppFixture::AppFixture(Launch launch)
{
    if (launch == Launch::later)
        preferences.preset(u"ks_has_launched_v2"_s, true);
}

AppState &AppFixture::create()
{
    state = AppState::create({crypto, stock, clock, preferences, attention, Endpoints::live()});
    QObject::connect(state.get(), &ObservableObject::fieldWillChange, state.get(),
                     [this, made = state.get()](const PublishedField *field) {
                         announcements.append(fieldName(*made, field));
                     });
    return *state;
}

AppState &AppFixture::start()
{
    create();
    drainEvents();
    clearLogs();
    return *state;
}

void AppFixture::serveCrypto(double price, const CandleList &candles)
{
    tickTo(price);
    crypto.answerAlways(u"/api/v4/spot/candlesticks"_s, gateCandles(candles));
    crypto.answerAlways(u"/api/v3/klines"_s, binanceCandles(waveCandles(25, 3000)));
    crypto.failAlways(u"/api/v5/market/candles"_s);
    crypto.failAlways(u"/fapi/v1/ticker/24hr"_s);
}

void AppFixture::serveStock(const QString &code, double price, const CandleList &candles)
{
    stock.answerAlways(quoteLine(code), stockQuotes({{code.toLatin1(), "Name", price, 1.25}}));
    for (const QString &period : {u"day"_s, u"week"_s, u"month"_s})
        stock.answerAlways(stockCandleLine(code, period), stockCandles(code, period, candles));
}

void AppFixture::own() const
{
    const Subject whole = state->selection();
    const Subject instrument{whole.market, whole.symbol, {}};
    state->priceOrigin = originOfPrice(instrument, state->price().value_or(0), nullptr, {}, clock);
    state->zonesOrigin = Origin{whole, clock.steady()};
    state->signalsOrigin = Origin{instrument, clock.steady()};
    state->priceFailure.reset();
    state->zonesFailure.reset();
}

void AppFixture::tickTo(double price)
{
    crypto.answerAlways(u"/api/v4/futures/usdt/tickers"_s, gateTicker(price, 1.5));
}

void AppFixture::clearLogs()
{
    announcements.clear();
    preferences.clearWrites();
    crypto.clearRequests();
    stock.clearRequests();
}

QString AppFixture::problems() const
{
    return (crypto.problems() + stock.problems()).join(u'\n');
}

} // namespace kestrune::test
