// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "market/chartlink.h"
#include "state/instrumentlists.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace kestrune {

std::shared_ptr<AppState> AppState::create(const Dependencies &dependencies)
{
    auto state = std::make_shared<AppState>(Private{}, dependencies);
    state->restore();
    state->startTimers();
    state->runInBackground(&AppState::refreshEverything);
    state->checkFirstLaunchHint();
    return state;
}

AppState::AppState(Private, const Dependencies &dependencies)
    : m_dependencies(dependencies)
    , m_cryptoLifetime(dependencies.cryptoHttp.lifetime())
    , m_stockLifetime(dependencies.stockHttp.lifetime())
    , m_marketService(dependencies.cryptoHttp, dependencies.endpoints)
    , m_stockService(dependencies.stockHttp, dependencies.clock, dependencies.endpoints)
    , coinList(pickerSymbols(MarketSegment::crypto))
    , cnList(pickerSymbols(MarketSegment::cn))
    , hkList(pickerSymbols(MarketSegment::hk))
{}

AppState::~AppState()
{
    // The loops hold the state weakly and end by themselves; their sleeps are cut short so that none of
    // them lies in wait for another minute.
    for (const auto *task : {&priceTask, &srTask, &alertPulseTask, &blingTask, &blingPulseTask}) {
        if (*task)
            std::stop_source(**task).request_stop();
    }
}

// Every restored value is assigned, so it is written straight back.
void AppState::restore()
{
    const Preferences &preferences = m_dependencies.preferences;
    if (const auto code = preferences.text(u"ks_coin"_s))
        coinSymbol = *code;
    miniMode = preferences.boolean(u"ks_mini"_s).value_or(false);
    if (const auto segment = marketSegmentFromRawValue(preferences.text(u"ks_market"_s).value_or(QString())))
        market = *segment;
    const QString label = preferences.text(u"ks_tf"_s).value_or(u"日线"_s);
    timeframe = timeframeOptions().contains(label) ? label : timeframeOptions().value(0, u"日线"_s);
    restoreDisplaySettings();
    restoreTradingSettings();
    marketContextExpanded = preferences.boolean(u"ks_ctx_expanded"_s).value_or(false);
    if (auto restored = decodeAlerts(preferences.data(u"ks_alerts"_s).value_or(QByteArray())))
        alerts = std::move(*restored);
    restoreBlingMode();
}

void AppState::restoreDisplaySettings()
{
    const Preferences &preferences = m_dependencies.preferences;
    if (const auto threshold = preferences.number(u"ks_signal_threshold"_s))
        signalThreshold = *threshold;
    if (const auto range = preferences.number(u"ks_disp_range"_s))
        displayRangePct = *range;
    if (const auto count = preferences.integer(u"ks_disp_maxside"_s))
        maxPerSide = *count == 4 ? 5 : *count; // deliberate: 4 was an earlier default, it becomes today's
}

void AppState::restoreTradingSettings()
{
    const Preferences &preferences = m_dependencies.preferences;
    if (const auto account = preferences.number(u"ks_account_size"_s))
        accountSize = *account;
    if (const auto risk = preferences.number(u"ks_risk_pct"_s))
        riskPctPerTrade = *risk;
    if (const auto multiple = preferences.number(u"ks_leverage"_s); multiple && *multiple > 0)
        leverage = *multiple;
    if (const auto mode = marginModeFromRawValue(preferences.text(u"ks_margin_mode"_s).value_or(QString())))
        marginMode = *mode;
}

void AppState::restoreBlingMode()
{
    if (!m_dependencies.preferences.boolean(u"ks_bling"_s).value_or(false))
        return;
    blingMode = true;
    // deliberate: the start-up repeats what switching on has just done; the doubled first refresh is
    // harmless, and each loop replaces the one before it.
    showBlingPlaceholders();
    runInBackground(&AppState::refreshBlingPrices);
    startBlingTimer();
    startBlingPulse();
}

void AppState::checkFirstLaunchHint()
{
    if (m_dependencies.preferences.boolean(u"ks_has_launched_v2"_s).value_or(false))
        return;
    m_dependencies.preferences.setBoolean(u"ks_has_launched_v2"_s, true);
    firstLaunchHint(weak_from_this(), &m_dependencies.clock);
}

QCoro::Task<> AppState::firstLaunchHint(Weak weak, Clock *clock)
{
    if (!co_await clock->sleep(800ms))
        co_return;
    if (const auto state = weak.lock())
        state->m_dependencies.attention.inform(u"Kestrune Bar 已启动"_s,
                                               u"这是一个菜单栏应用，没有 Dock 图标。\n\n"
                                               u"请查看屏幕右上角菜单栏，点击价格数字即可展开撑压面板。\n\n"
                                               u"如果状态栏图标被折叠，可点击菜单栏最左侧的 ⌃ 展开。"_s,
                                               u"知道了"_s);
}

const QStringList &AppState::symbolList() const
{
    switch (market()) {
    case MarketSegment::crypto:
        return coinList;
    case MarketSegment::cn:
        return cnList;
    case MarketSegment::hk:
        return hkList;
    }
    Q_UNREACHABLE();
}

double AppState::tick() const
{
    return isStock() ? 0.01 : 0;
}

double AppState::tradeCostPct() const
{
    return kestrune::tradeCostPct(market());
}

QString AppState::displayName() const
{
    if (stockQuote() && !stockQuote()->name.isEmpty())
        return stockQuote()->name;
    return bareCode(coinSymbol()).toUpper();
}

QString AppState::tradingViewSymbol() const
{
    return kestrune::tradingViewSymbol(coinSymbol(), market());
}

QString AppState::tradingViewInterval() const
{
    return kestrune::tradingViewInterval(timeframe());
}

std::optional<QUrl> AppState::tradingViewURL() const
{
    return tradingViewUrl(coinSymbol(), market(), timeframe());
}

const QStringList &AppState::blingSymbols() const
{
    return kestrune::blingSymbols(market());
}

} // namespace kestrune
