// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "analysis/indicators.h"
#include "analysis/priceformat.h"
#include "state/conclusion.h"
#include "state/timeframescore.h"

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

std::optional<double> absolute(std::optional<double> value)
{
    if (!value)
        return std::nullopt;
    return std::abs(*value);
}

} // namespace

std::optional<double> AppState::nearestBuyDistPct() const
{
    return absolute(nearestDistPct(zones(), u"support"));
}

std::optional<double> AppState::nearestSellDistPct() const
{
    return absolute(nearestDistPct(zones(), u"resistance"));
}

BarSignal AppState::barSignal() const
{
    return kestrune::barSignal(nearestBuyDistPct(), nearestSellDistPct(), signalThreshold());
}

QString AppState::statusSymbol() const
{
    return kestrune::statusSymbol(barSignal());
}

NamedColor AppState::statusColor() const
{
    return kestrune::statusColor(barSignal());
}

QString AppState::statusText() const
{
    return kestrune::statusText(barSignal());
}

QString AppState::menuTitle() const
{
    const QString priceText = price() ? fmtP(*price(), decimals()) : u"…"_s;
    return miniMode() ? priceText : displayName() + u"  "_s + priceText;
}

QString AppState::headerTitle() const
{
    if (!isStock())
        return coinSymbol() + u"/USDT · 永续"_s;
    return displayName() + u" · "_s + rawValue(market());
}

QString AppState::dataSourceNote() const
{
    return u"仅供学习参考，不构成投资建议。"_s;
}

QCoro::Task<> AppState::refreshSnapshot()
{
    const auto self = shared_from_this();
    const auto &labels = snapshotLabels(); // of the segment that is asked
    auto first = fetchCandles(labels[0]);
    auto second = fetchCandles(labels[1]);
    auto third = fetchCandles(labels[2]);
    std::array<std::optional<CandleList>, 3> candles;
    candles[0] = co_await first;
    candles[1] = co_await second;
    candles[2] = co_await third;

    std::optional<double> reference = price();
    for (std::size_t i = 0; i < candles.size() && !reference; ++i) {
        if (candles[i] && !candles[i]->empty())
            reference = candles[i]->back().c;
    }
    if (!reference || !(*reference > 0)) {
        snapshotConclusion = u"数据加载中…"_s;
        co_return;
    }
    std::vector<TimeframeSignal> scored;
    scored.reserve(candles.size());
    for (std::size_t i = 0; i < candles.size(); ++i) {
        if (candles[i])
            scored.push_back(scoreTimeframe(labels[i], *candles[i], *reference));
    }
    snapshot = std::move(scored);
    snapshotConclusion = buildConclusion(snapshot());
}

void AppState::fillMarketContext(const CandleList &candles)
{
    const double curPrice = candles.back().c;
    zonePrice = curPrice;
    decimals = isStock() ? 2 : getDecimals(curPrice);
    const IndicatorReadings readings = readIndicators(candles);
    ctxEMA50 = readings.ema50;
    ctxEMA200 = readings.ema200;
    // deliberate: a tunnel or histogram that cannot be computed keeps its earlier value, the others do not.
    if (readings.ema144 && readings.ema169)
        ctxVegas = VegasTunnel{*readings.ema144, *readings.ema169};
    ctxRSI = readings.rsi14;
    if (readings.macd)
        ctxMACDHist = readings.macd->hist;
    ctxATR = readings.atr14;
    ctxVWAP = readings.vwap;
}

QString AppState::trendText() const
{
    return trendVerdict(price(), ctxVegas(), ctxEMA200()).text;
}

NamedColor AppState::trendColor() const
{
    return trendVerdict(price(), ctxVegas(), ctxEMA200()).color;
}

QString AppState::rsiText() const
{
    return rsiVerdict(ctxRSI()).text;
}

NamedColor AppState::rsiColor() const
{
    return rsiVerdict(ctxRSI()).color;
}

QString AppState::macdText() const
{
    return macdVerdict(ctxMACDHist()).text;
}

NamedColor AppState::macdColor() const
{
    return macdVerdict(ctxMACDHist()).color;
}

QString AppState::atrText() const
{
    return atrReadout(ctxATR(), price(), decimals());
}

} // namespace kestrune
