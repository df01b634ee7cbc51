// SPDX-License-Identifier: MIT
#include "state/appstate.h"

#include "market/chartlink.h"
#include "market/instrumentsearch.h"
#include "market/marketservice.h"
#include "market/sourcehealth.h"
#include "market/stockmarketservice.h"
#include "platform/attention.h"
#include "platform/proxychoice.h"
#include "state/alertdesk.h"
#include "state/instrumentlists.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace kestrune {

std::shared_ptr<AppState> AppState::create(const Dependencies &dependencies)
{
    auto state = std::make_shared<AppState>(Private{}, dependencies);
    state->restore();
    state->startTimers();
    state->runInBackground(&AppState::refreshEverything);
    state->m_alertDesk->askNow();
    state->checkFirstLaunchHint();
    dependencies.attention.onNoticeAnswer(
        [weak = state->weak_from_this()](const QString &id, NoticeChoice choice) {
            if (const auto living = weak.lock())
                living->m_alertDesk->answered(id, choice);
        });
    return state;
}

AppState::AppState(Private, const Dependencies &dependencies)
    : m_dependencies(dependencies)
    , m_cryptoLifetime(dependencies.cryptoHttp.lifetime())
    , m_stockLifetime(dependencies.stockHttp.lifetime())
    , m_sources(std::make_shared<SourceHealth>(dependencies.clock))
    , m_marketService(
          std::make_unique<MarketService>(dependencies.cryptoHttp, dependencies.endpoints, m_sources))
    , m_stockService(std::make_unique<StockMarketService>(dependencies.stockHttp, dependencies.clock,
                                                          dependencies.endpoints, m_sources))
    , m_search(std::make_unique<InstrumentSearch>(*m_marketService, *m_stockService, dependencies.clock))
    , m_book(dependencies.preferences)
    , m_alertDesk(std::make_unique<AlertDesk>(*this))
{
    connect(&m_book, &InstrumentBook::removed, this, [this](const QString &symbol, int position) {
        if (symbol == coinSymbol()) // its neighbour takes its place
            setCoin(symbolList()[std::min<qsizetype>(position, symbolList().size() - 1)]);
    });
    connect(&m_book, &InstrumentBook::listChanged, this, [this](MarketSegment segment) {
        if (segment == market())
            refreshBlingIfNeeded();
    });
}

AppState::~AppState()
{
    // The loops hold the state weakly and end by themselves; their sleeps are cut short so that none of
    // them lies in wait for another minute.
    for (const auto *task :
         {&priceTask, &srTask, &alertPulseTask, &blingTask, &blingPulseTask, &ageTask, &resumeTask}) {
        if (*task)
            std::stop_source(**task).request_stop();
    }
}

void AppState::restore()
{
    for (const auto &restoreField : std::exchange(m_restoring, {}))
        restoreField();
    m_storedAlerts = alerts();
    m_alertDesk->restore();
    if (!blingMode())
        return;
    // deliberate: the start-up repeats what switching on has just done; the doubled first refresh is
    // harmless, and each loop replaces the one before it.
    showBlingPlaceholders();
    runInBackground(&AppState::refreshBlingPrices);
    startBlingTimer();
    startBlingPulse();
}

void AppState::proxyDidChange(const Setting<QString> &setting, HttpClient &http, const QString &text)
{
    setting.store(m_dependencies.preferences, text);
    if (const auto proxy = parseProxy(text))
        http.setProxy(*proxy);
}

bool AppState::chooseProxy(Published<QString> AppState::*proxy, const QString &text)
{
    if (!parseProxy(text))
        return false;
    if (const QString chosen = text.trimmed(); chosen != (this->*proxy)()) {
        this->*proxy = chosen;
        m_sources->forgetRefusals(); // they were meant for another address
        refreshNow();
    }
    return true;
}

void AppState::checkFirstLaunchHint()
{
    if (settings::hasLaunched.restored(m_dependencies.preferences) == true)
        return;
    settings::hasLaunched.store(m_dependencies.preferences, true);
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
    return m_book.list(market());
}

double AppState::tick() const
{
    return isStock() ? priceGrid(coinSymbol()).step : 0;
}

QString AppState::displayName() const
{
    if (stockQuote() && !stockQuote()->name.isEmpty())
        return stockQuote()->name;
    return shownCode(market(), coinSymbol()).toUpper();
}

QString AppState::tradingViewSymbol() const
{
    return kestrune::tradingViewSymbol(coinSymbol(), market());
}

std::optional<QUrl> AppState::tradingViewURL() const
{
    return tradingViewUrl(coinSymbol(), market(), timeframe());
}

QStringList AppState::blingSymbols() const
{
    constexpr qsizetype mostSigns = 8;
    return m_book.isDefault(market()) ? kestrune::blingSymbols(market())
                                      : symbolList().first(std::min(mostSigns, symbolList().size()));
}

} // namespace kestrune
