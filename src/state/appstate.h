// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "analysis/zone.h"
#include "analysis/zonebuilding.h"
#include "market/marketsegment.h"
#include "market/marketservice.h"
#include "market/stockmarketservice.h"
#include "platform/attention.h"
#include "platform/clock.h"
#include "platform/httpclient.h"
#include "platform/preferences.h"
#include "state/barsignal.h"
#include "state/marginmode.h"
#include "state/marketcontext.h"
#include "state/observable.h"
#include "state/planselection.h"
#include "state/pricealert.h"
#include "state/timeframesignal.h"
#include "state/tradeplan.h"

#include <QCoroTask>
#include <QStringList>
#include <QUrl>

#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace kestrune {

struct RefreshOutcome
{
    bool success = false;
    QString message; ///< user-facing
};

/// The one observable object of the application and the only owner of displayed data. Its operations never
/// fail: what goes wrong becomes `errorMessage`, and the old data stay.
class AppState final : public ObservableObject, public std::enable_shared_from_this<AppState>
{
    Q_OBJECT
    struct Private
    {
        explicit Private() = default;
    };

public:
    /// All outlive the state, but for a refresh that is still waiting when the clients go: their end
    /// resumes it, and then it ends too.
    struct Dependencies
    {
        HttpClient &cryptoHttp;
        HttpClient &stockHttp;
        Clock &clock;
        Preferences &preferences;
        Attention &attention;
        Endpoints endpoints;
    };

    /// Restores settings and alerts, starts the loops and the first full refresh, schedules the hint.
    [[nodiscard]] static std::shared_ptr<AppState> create(const Dependencies &dependencies);
    AppState(Private, const Dependencies &dependencies);
    ~AppState() override;

private:
    void store(const QString &key, const QString &value) { m_dependencies.preferences.setText(key, value); }
    void store(const QString &key, bool value) { m_dependencies.preferences.setBoolean(key, value); }
    void store(const QString &key, double value) { m_dependencies.preferences.setNumber(key, value); }
    void store(const QString &key, int value) { m_dependencies.preferences.setInteger(key, value); }
    void store(const QString &key, MarketSegment value) { store(key, rawValue(value)); }
    void store(const QString &key, MarginMode value) { store(key, rawValue(value)); }
    /// Did-set action of a persisted field.
    struct Stored
    {
        AppState *state;
        QStringView key; ///< a literal
        void operator()(const auto &value) const { state->store(key.toString(), value); }
    };
    [[nodiscard]] Stored stored(QStringView key) { return {this, key}; }

    Dependencies m_dependencies;
    std::weak_ptr<const void> m_cryptoLifetime, m_stockLifetime;
    MarketService m_marketService;
    StockMarketService m_stockService;

public:
    // Prices in the quote currency, percentages in percent units.
    const QStringList coinList, cnList, hkList; ///< instruments in picker order

    Published<QString> coinSymbol{*this, QStringLiteral("ETH")}; ///< stored by setCoin and setMarket only
    Published<std::optional<double>> price{*this};               ///< live price
    Published<std::optional<double>> changePct{*this};           ///< 24 h for crypto, day for stocks
    Published<int> decimals{*this, 2};                           ///< of every price text of the instrument
    Published<MarketSegment> market{*this, MarketSegment::crypto, stored(u"ks_market")};
    Published<std::optional<StockQuote>> stockQuote{*this};
    Published<double> accountSize{*this, 0, stored(u"ks_account_size")};   ///< money, 0 when not set
    Published<double> riskPctPerTrade{*this, 1.0, stored(u"ks_risk_pct")}; ///< percent of the account
    Published<double> leverage{*this, 10.0, stored(u"ks_leverage")};       ///< multiple
    Published<MarginMode> marginMode{*this, MarginMode::isolated, stored(u"ks_margin_mode")};
    Published<std::optional<double>> selectedZonePrice{*this}; ///< `mid` of the picked zone
    Published<std::optional<QString>> selectedZoneType{*this}; ///< its type
    Published<QString> timeframe{*this, QStringLiteral("日线"), stored(u"ks_tf")}; ///< of timeframeOptions()
    Published<std::vector<Zone>> zones{*this};
    Published<double> zonePrice{*this};              ///< price that `zones` were built against
    Published<std::vector<double>> sparkline{*this}; ///< closes, oldest first
    Published<std::optional<Instant>> lastUpdated{*this};
    Published<QString> dataSource{*this};
    Published<bool> isLoading{*this}; ///< a zone refresh is running
    Published<std::optional<QString>> errorMessage{*this};
    Published<std::optional<double>> ctxEMA50{*this};
    Published<std::optional<double>> ctxEMA200{*this};
    Published<std::optional<VegasTunnel>> ctxVegas{*this};
    Published<std::optional<double>> ctxRSI{*this};
    Published<std::optional<double>> ctxMACDHist{*this};
    Published<std::optional<double>> ctxATR{*this}; ///< price units
    Published<std::optional<double>> ctxVWAP{*this};
    Published<std::vector<TimeframeSignal>> snapshot{*this};
    Published<QString> snapshotConclusion{*this, QStringLiteral("加载中…")};
    Published<bool> marketContextExpanded{*this, false, stored(u"ks_ctx_expanded")};
    Published<bool> miniMode{*this, false, stored(u"ks_mini")};
    std::optional<std::stop_source> priceTask, srTask, alertPulseTask, blingTask, blingPulseTask;
    CandleList lastSRCandles; ///< of the last successful zone refresh
    Published<bool> blingMode{*this, false, [this](bool on) { blingModeDidChange(on); }};
    Published<std::vector<SymbolPrice>> multiPrices{*this};
    Published<int> blingPulse{*this};
    Published<std::vector<PriceAlert>> alerts{*this}; ///< of all instruments, stored by saveAlerts()
    Published<int> pulsePhase{*this};
    Published<double> signalThreshold{*this, 2.5, stored(u"ks_signal_threshold")}; ///< percent
    Published<double> displayRangePct{*this, 12.0, stored(u"ks_disp_range")};      ///< percent
    Published<int> maxPerSide{*this, 5, stored(u"ks_disp_maxside")};

    // Derived values, computed on each read.
    [[nodiscard]] const QStringList &symbolList() const;
    [[nodiscard]] bool isStock() const { return market() != MarketSegment::crypto; }
    [[nodiscard]] double tick() const; ///< price step, 0 for crypto
    [[nodiscard]] const QStringList &timeframeOptions() const { return timeframes(market()); }
    [[nodiscard]] double tradeCostPct() const;
    [[nodiscard]] QString displayName() const;
    [[nodiscard]] QString tradingViewSymbol() const;
    [[nodiscard]] QString tradingViewInterval() const;
    [[nodiscard]] std::optional<QUrl> tradingViewURL() const;

    [[nodiscard]] std::optional<double> nearestBuyDistPct() const;  ///< absolute, percent
    [[nodiscard]] std::optional<double> nearestSellDistPct() const; ///< absolute, percent
    [[nodiscard]] BarSignal barSignal() const;
    [[nodiscard]] QString statusSymbol() const;
    [[nodiscard]] NamedColor statusColor() const;
    [[nodiscard]] QString statusText() const;
    [[nodiscard]] QString menuTitle() const;
    [[nodiscard]] QString headerTitle() const;
    [[nodiscard]] QString dataSourceNote() const;

    [[nodiscard]] QStringList snapshotLabels() const;
    [[nodiscard]] QString trendText() const;
    [[nodiscard]] NamedColor trendColor() const;
    [[nodiscard]] QString rsiText() const;
    [[nodiscard]] NamedColor rsiColor() const;
    [[nodiscard]] QString macdText() const;
    [[nodiscard]] NamedColor macdColor() const;
    [[nodiscard]] QString atrText() const;

    [[nodiscard]] std::optional<QString> sessionWarning() const;
    [[nodiscard]] std::optional<TradePlan> tradePlan() const;
    [[nodiscard]] std::optional<TradePlan> planForEntry(double entry, TradeDirection dir) const;

    [[nodiscard]] std::vector<PriceAlert> currentAlerts() const;
    [[nodiscard]] bool alertActive() const; ///< some alert of the instrument is triggered
    [[nodiscard]] bool hasAlert(double target) const;
    [[nodiscard]] const QStringList &blingSymbols() const;

    // Refreshes. Overlapping ones are applied in order of arrival and never compared with the selection.
    [[nodiscard]] QCoro::Task<RefreshOutcome> refreshAll();
    [[nodiscard]] QCoro::Task<> refreshPrice();
    [[nodiscard]] QCoro::Task<> refreshSR();
    [[nodiscard]] QCoro::Task<> refreshSnapshot();
    [[nodiscard]] QCoro::Task<> refreshBlingPrices();
    /// Replaces whatever loops run: price every 5 s, zones and snapshot every 60 s, alert pulse.
    void startTimers();

    // Selection.
    void setCoin(const QString &code);
    void setMarket(MarketSegment segment);
    void setTimeframe(const QString &label);

    // Alerts.
    void addAlert(double target, std::optional<QString> label = {}, std::optional<bool> above = {});
    void toggleZoneAlert(const Zone &zone);
    void removeAlert(const QString &id);
    void dismissAlert(const QString &id);
    void evaluateAlerts();
    void addPlanAlerts(const TradePlan &plan);

    // Neon mode.
    void toggleBlingMode();
    void startBlingTimer();
    void startBlingPulse();
    void stopBlingPulse();

    [[nodiscard]] const Clock &clock() const { return m_dependencies.clock; }

private:
    using Weak = std::weak_ptr<AppState>;
    using LoopFunction = QCoro::Task<> (*)(Weak, Clock *, std::stop_token);

    void restore();
    void restoreDisplaySettings();
    void restoreTradingSettings();
    void restoreBlingMode();
    void checkFirstLaunchHint();
    static QCoro::Task<> firstLaunchHint(Weak weak, Clock *clock);

    void runInBackground(QCoro::Task<> (AppState::*refresh)());
    [[nodiscard]] QCoro::Task<> refreshEverything(); ///< refreshAll without its result
    void startLoop(std::optional<std::stop_source> &handle, LoopFunction loop);
    static QCoro::Task<> priceLoop(Weak weak, Clock *clock, std::stop_token stop);
    static QCoro::Task<> srLoop(Weak weak, Clock *clock, std::stop_token stop);
    static QCoro::Task<> alertPulseLoop(Weak weak, Clock *clock, std::stop_token stop);
    static QCoro::Task<> blingLoop(Weak weak, Clock *clock, std::stop_token stop);
    static QCoro::Task<> blingPulseLoop(Weak weak, Clock *clock, std::stop_token stop);

    [[nodiscard]] bool programIsEnding() const;
    [[nodiscard]] QCoro::Task<std::optional<double>> refreshStockPrice();
    [[nodiscard]] QCoro::Task<std::optional<double>> refreshCryptoPrice();
    [[nodiscard]] QCoro::Task<bool> refreshStockZones();
    [[nodiscard]] QCoro::Task<bool> refreshCryptoZones();
    void applyCandles(const CandleList &candles, double step); ///< never empty
    void fillMarketContext(const CandleList &candles);
    [[nodiscard]] QCoro::Task<std::optional<CandleList>> fetchCandles(QString label);
    void clearAnalysisState();
    void selectCoin(const QString &code);

    void saveAlerts();
    void playAlertSound();
    void startAlertPulseIfNeeded();
    [[nodiscard]] bool advanceAlertPulse();

    void blingModeDidChange(bool on);
    void showBlingPlaceholders();
    void refreshBlingIfNeeded();

    [[nodiscard]] PlanInputs planInputs() const;

    CandleLevels m_lastSRLevels; ///< what zone building takes from lastSRCandles, once per candle list
};

} // namespace kestrune
