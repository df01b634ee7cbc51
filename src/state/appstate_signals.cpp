// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "analysis/indicators.h"
#include "analysis/priceformat.h"
#include "state/conclusion.h"
#include "state/timeframescore.h"

#include <algorithm>
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

Subject AppState::selection() const
{
    return {market(), coinSymbol(), timeframe()};
}

Judgement AppState::priceStanding() const
{
    return judgePrice(price() ? priceOrigin : std::nullopt, selection(), m_dependencies.clock.steady(),
                      m_dependencies.clock.now());
}

Judgement AppState::zonesStanding() const
{
    return judgeAnalysis(zonesOrigin, selection(), m_dependencies.clock.steady());
}

Judgement AppState::signalsStanding() const
{
    return judgeAnalysis(signalsOrigin, {market(), coinSymbol(), {}}, m_dependencies.clock.steady());
}

std::optional<double> AppState::livePrice() const
{
    return priceStanding().fresh() ? price() : std::nullopt;
}

std::optional<double> AppState::ownZonePrice() const
{
    const auto owner = m_zonePriceOf || !zonesOrigin ? m_zonePriceOf : std::optional(zonesOrigin->subject);
    return owner && owner->sameInstrument(selection()) && isPrice(zonePrice()) ? std::optional(zonePrice())
                                                                               : std::nullopt;
}

bool AppState::verdictStands() const
{
    const Standing ofPrice = priceStanding().standing;
    return zonesStanding().fresh() && (ofPrice == Standing::fresh || ofPrice == Standing::none);
}

std::optional<double> AppState::candleGapPct() const
{
    constexpr double worthSaying = 20;
    const auto live = livePrice();
    if (!live || lastSRCandles.empty() || !zonesOrigin || !zonesOrigin->subject.sameInstrument(selection()))
        return std::nullopt;
    const double gap = std::abs(lastSRCandles.back().c - *live) / *live * 100;
    return gap > worthSaying ? std::optional(gap) : std::nullopt;
}

BarSignal AppState::barSignal() const
{
    if (!verdictStands())
        return BarSignal::neutral;
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
    const Subject asked{market(), coinSymbol(), {}};
    m_signalsAsked.push_back(asked);
    auto first = fetchCandles(labels[0]);
    auto second = fetchCandles(labels[1]);
    auto third = fetchCandles(labels[2]);
    std::array<std::optional<CandleList>, 3> candles;
    candles[0] = co_await first;
    candles[1] = co_await second;
    candles[2] = co_await third;

    m_signalsAsked.erase(std::ranges::find(m_signalsAsked, asked));
    const Subject selected{market(), coinSymbol(), {}};

    std::optional<double> reference = asked == selected ? livePrice() : std::nullopt;
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
    bool stale = false;
    for (std::size_t i = 0; i < candles.size(); ++i) {
        if (!candles[i])
            continue;
        scored.push_back(scoreTimeframe(labels[i], *candles[i], *reference));
        stale = stale || isOld(*candles[i], {asked.market, asked.symbol, labels[i]});
    }
    signalsOrigin.reset();
    if (!scored.empty())
        signalsOrigin = Origin{asked, m_dependencies.clock.steady(), stale};
    snapshot = std::move(scored);
    snapshotConclusion = buildConclusion(snapshot());
    watchAges();
    if (asked != selected && std::ranges::find(m_signalsAsked, selected) == m_signalsAsked.end())
        runInBackground(&AppState::refreshSnapshot);
}

void AppState::fillMarketContext(const CandleList &candles, const Subject &asked, ZonesAt at)
{
    const double curPrice = candles.back().c;
    zonePrice = curPrice;
    m_zonePriceOf = m_readingsOf = asked;
    decimals = decimalsFor(curPrice);
    const IndicatorReadings readings = readIndicators(candles);
    ctxEMA50 = readings.ema50;
    ctxEMA200 = readings.ema200;
    // deliberate: a tunnel or histogram that cannot be computed keeps its earlier value, the others do not.
    if (readings.ema144 && readings.ema169) {
        ctxVegas = VegasTunnel{*readings.ema144, *readings.ema169};
        m_tunnelOf = asked;
    }
    ctxRSI = readings.rsi14;
    if (readings.macd) {
        ctxMACDHist = readings.macd->hist;
        m_histogramOf = asked;
    }
    ctxATR = readings.atr14;
    ctxVWAP = readings.vwap;
    if (at == ZonesAt::livePrice)
        rebuildZonesAtLivePrice();
}

// The readings come a little after the zones of their candles: a verdict stands on them as long as on the
// zones, once both are of the selection.
template <typename T>
std::optional<T> AppState::standing(const std::optional<T> &reading,
                                    const std::optional<Subject> &owner) const
{
    return owner.value_or(selection()) == selection() && zonesStanding().fresh() ? reading : std::nullopt;
}

std::optional<double> AppState::liveATR() const
{
    return standing(ctxATR(), m_readingsOf);
}

Verdict AppState::trend() const
{
    return trendVerdict(livePrice(), standing(ctxVegas(), m_tunnelOf), standing(ctxEMA200(), m_readingsOf));
}

QString AppState::trendText() const
{
    return trend().text;
}

NamedColor AppState::trendColor() const
{
    return trend().color;
}

QString AppState::rsiText() const
{
    return rsiVerdict(standing(ctxRSI(), m_readingsOf)).text;
}

NamedColor AppState::rsiColor() const
{
    return rsiVerdict(standing(ctxRSI(), m_readingsOf)).color;
}

QString AppState::macdText() const
{
    return macdVerdict(standing(ctxMACDHist(), m_histogramOf)).text;
}

NamedColor AppState::macdColor() const
{
    return macdVerdict(standing(ctxMACDHist(), m_histogramOf)).color;
}

QString AppState::atrText() const
{
    return atrReadout(liveATR(), livePrice(), decimals());
}

} // namespace kestrune
