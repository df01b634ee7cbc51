// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"
#include "analysis/zone.h"
#include "analysis/zonebuilding.h"
#include "market/endpoints.h"
#include "market/marketsegment.h"
#include "market/priceresult.h"
#include "market/stockquote.h"
#include "platform/clock.h"
#include "platform/preferences.h"
#include "state/barsignal.h"
#include "state/dependencies.h"
#include "state/instruments.h"
#include "state/marginmode.h"
#include "state/marketcontext.h"
#include "state/observable.h"
#include "state/pricealert.h"
#include "state/settings.h"
#include "state/standing.h"
#include "state/timeframesignal.h"
#include "state/tradeplan.h"

#include <QCoroTask>
#include <QHash>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace kestrune {

class AlertDesk;
class AlertLog;
class InstrumentSearch;
class MarketService;
class SourceHealth;
class StockMarketService;
struct PlanInputs;

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
    using Dependencies = StateDependencies;

    /// Restores settings and alerts, starts the loops and the first full refresh, schedules the hint.
    [[nodiscard]] static std::shared_ptr<AppState> create(const Dependencies &dependencies);
    AppState(Private, const Dependencies &dependencies);
    ~AppState() override;

private:
    /// A field that the start sets from its setting; all of them in the order of their declaration.
    template <typename T>
    [[nodiscard]] Published<T> restored(const Setting<T> &setting, Published<T> AppState::*field,
                                        typename Published<T>::DidSet didSet = {})
    {
        m_restoring.push_back([this, &setting, field] {
            if (auto value = setting.restored(m_dependencies.preferences))
                this->*field = *std::move(value);
        });
        return Published<T>(*this, setting.initial, std::move(didSet));
    }
    /// The same, and every assignment is stored, also that of the restored value.
    template <typename T>
    [[nodiscard]] Published<T> kept(const Setting<T> &setting, Published<T> AppState::*field)
    {
        return restored(setting, field, [this, &setting](const T &value) {
            setting.store(m_dependencies.preferences, value);
        });
    }

    Dependencies m_dependencies;
    std::weak_ptr<const void> m_cryptoLifetime, m_stockLifetime;
    const std::shared_ptr<SourceHealth> m_sources;
    const std::unique_ptr<const MarketService> m_marketService;
    const std::unique_ptr<const StockMarketService> m_stockService;
    const std::unique_ptr<const InstrumentSearch> m_search;
    InstrumentBook m_book;
    std::vector<std::function<void()>> m_restoring;

public:
    [[nodiscard]] InstrumentBook &instruments() { return m_book; }
    [[nodiscard]] const InstrumentBook &instruments() const { return m_book; }
    [[nodiscard]] const InstrumentSearch &instrumentSearch() const { return *m_search; }
    // The settings; prices in the quote currency, percentages in percent units. Some are not simply stored at
    // every assignment: the instrument and the alerts, the neon mode and the proxies.
    Published<QString> coinSymbol = restored(settings::coin, &AppState::coinSymbol);
    Published<bool> miniMode = kept(settings::miniMode, &AppState::miniMode);
    Published<MarketSegment> market = kept(settings::market, &AppState::market);
    Published<QString> timeframe = kept(settings::timeframe, &AppState::timeframe); ///< of timeframeOptions()
    Published<double> signalThreshold = kept(settings::signalThreshold, &AppState::signalThreshold);
    Published<double> displayRangePct = kept(settings::displayRange, &AppState::displayRangePct);
    Published<int> maxPerSide = kept(settings::maxPerSide, &AppState::maxPerSide);
    Published<double> accountSize = kept(settings::accountSize, &AppState::accountSize);
    Published<double> riskPctPerTrade = kept(settings::riskPerTrade, &AppState::riskPctPerTrade);
    Published<double> leverage = kept(settings::leverage, &AppState::leverage);
    Published<MarginMode> marginMode = kept(settings::marginMode, &AppState::marginMode);
    Published<bool> marketContextExpanded =
        kept(settings::marketContextExpanded, &AppState::marketContextExpanded);
    Published<bool> desktopNotices = kept(settings::desktopNotices, &AppState::desktopNotices);
    Published<bool> zoneNotices = kept(settings::zoneNotices, &AppState::zoneNotices);
    Published<QString> chartLines = kept(settings::chartLines, &AppState::chartLines);
    Published<QString> chartSize = kept(settings::chartSize, &AppState::chartSize);
    Published<std::vector<PriceAlert>> alerts =
        restored(settings::alerts, &AppState::alerts); ///< of all instruments
    Published<bool> blingMode =
        restored(settings::blingMode, &AppState::blingMode, [this](bool on) { blingModeDidChange(on); });

    Published<QString> proxyCrypto =
        restored(settings::proxyCrypto, &AppState::proxyCrypto, [this](const QString &text) {
            proxyDidChange(settings::proxyCrypto, m_dependencies.cryptoHttp, text);
        });
    Published<QString> proxyStock =
        restored(settings::proxyStock, &AppState::proxyStock, [this](const QString &text) {
            proxyDidChange(settings::proxyStock, m_dependencies.stockHttp, text);
        });

    Published<std::optional<double>> price{*this};     ///< live price
    Published<std::optional<double>> changePct{*this}; ///< 24 h for crypto, day for stocks
    Published<int> decimals{*this, 2};                 ///< of every price text of the instrument
    Published<std::optional<StockQuote>> stockQuote{*this};
    Published<std::optional<double>> selectedZonePrice{*this}; ///< `mid` of the picked zone
    Published<std::optional<QString>> selectedZoneType{*this}; ///< its type
    Published<std::vector<Zone>> zones{*this};
    Published<double> zonePrice{*this};              ///< price that `zones` were built against
    Published<std::vector<double>> sparkline{*this}; ///< closes, oldest first
    Published<std::optional<Instant>> lastUpdated{*this};
    Published<QString> dataSource{*this};
    Published<bool> isLoading{*this}; ///< a zone refresh is running
    Published<std::optional<QString>> errorMessage{*this};
    Published<std::optional<UnreadFile>> unreadSettings{*this}; ///< until the user has taken note of it
    Published<std::optional<double>> ctxEMA50{*this};
    Published<std::optional<double>> ctxEMA200{*this};
    Published<std::optional<VegasTunnel>> ctxVegas{*this};
    Published<std::optional<double>> ctxRSI{*this};
    Published<std::optional<double>> ctxMACDHist{*this};
    Published<std::optional<double>> ctxATR{*this}; ///< price units
    Published<std::optional<double>> ctxVWAP{*this};
    Published<std::vector<TimeframeSignal>> snapshot{*this};
    Published<QString> snapshotConclusion{*this, QStringLiteral("加载中…")};
    std::optional<std::stop_source> priceTask, srTask, alertPulseTask, blingTask, blingPulseTask, ageTask,
        resumeTask;
    CandleList lastSRCandles; ///< of the last successful zone refresh
    Published<std::vector<SymbolPrice>> multiPrices{*this};
    Published<int> blingPulse{*this};
    Published<int> pulsePhase{*this};
    Published<std::optional<QString>> alertToShow{*this}; ///< id; the panel shows it and clears this

    // Whose the price, the zones and the signals are, set with them. Readers ask for the standings below.
    std::optional<PriceOrigin> priceOrigin;
    std::optional<Origin> zonesOrigin, signalsOrigin;
    /// Of the selected instrument; each stays until data of its own kind come. They change together with
    /// `errorMessage`, which any success clears.
    std::optional<Failure> priceFailure, zonesFailure;
    /// Counts the moments at which time alone has changed a standing or a shown age.
    Published<int> agesPassed{*this};

    // Whose and how old the values are at this moment.
    [[nodiscard]] Subject selection() const;
    [[nodiscard]] Judgement priceStanding() const;
    [[nodiscard]] Judgement zonesStanding() const;
    [[nodiscard]] Judgement signalsStanding() const;
    /// The price, if it is the instrument's own and fresh: all that is computed or rings comes from this one.
    [[nodiscard]] std::optional<double> livePrice() const;
    /// `zonePrice`, if it is one and of the selected instrument.
    [[nodiscard]] std::optional<double> ownZonePrice() const;
    /// Whether the zones, and the price if there is one, are own and fresh, so that a verdict stands on them.
    [[nodiscard]] bool verdictStands() const;
    /// How far the last candle's close lies from the live price in percent of it, when that is more than 20.
    [[nodiscard]] std::optional<double> candleGapPct() const;
    /// Whether the sign of neon mode has had no price of its own for 20 s.
    [[nodiscard]] bool signIsDim(const QString &symbol) const;

    // Derived values, computed on each read.
    [[nodiscard]] const QStringList &symbolList() const;
    [[nodiscard]] bool isStock() const { return market() != MarketSegment::crypto; }
    [[nodiscard]] double tick() const; ///< price step, 0 for crypto
    [[nodiscard]] const QStringList &timeframeOptions() const { return timeframes(market()); }
    [[nodiscard]] QString displayName() const;
    [[nodiscard]] QString tradingViewSymbol() const;
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

    [[nodiscard]] const auto &snapshotLabels() const { return snapshotTimeframes(market()); }
    [[nodiscard]] Verdict trend() const;
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
    [[nodiscard]] std::vector<PriceAlert> firedAlerts() const; ///< triggered, of all, latest firing first
    [[nodiscard]] int firedElsewhere() const; ///< triggered ones of the instruments that are not selected
    [[nodiscard]] QString alertName(const PriceAlert &alert) const; ///< of its instrument: "ETH", "贵州茅台"
    [[nodiscard]] bool follows(const Zone &zone) const; ///< some alert goes along with the zone of this place
    [[nodiscard]] AlertLog &alertLog();
    [[nodiscard]] QStringList blingSymbols() const; ///< eight, or fewer of the trader's own list

    // Refreshes. Overlapping ones are applied in order of arrival, whatever is selected by then: what was
    // asked for another selection is shown, but nothing is computed from it.
    [[nodiscard]] QCoro::Task<RefreshOutcome> refreshAll();
    [[nodiscard]] QCoro::Task<> refreshPrice();
    [[nodiscard]] QCoro::Task<> refreshSR();
    [[nodiscard]] QCoro::Task<> refreshSnapshot();
    [[nodiscard]] QCoro::Task<> refreshBlingPrices();
    /// For when time has passed unseen or the network is another: ages are told anew at once, and everything
    /// is fetched, also from sources that rest after a failure. Calls of two seconds count as one.
    void refreshNow();
    /// Replaces whatever loops run: price every 5 s, zones and snapshot every 60 s, alert pulse.
    void startTimers();

    // Selection.
    void setCoin(const QString &code);
    void setMarket(MarketSegment segment, const std::optional<QString> &code = {}); ///< the first one
    void setTimeframe(const QString &label);

    /// Sets `proxyCrypto` or `proxyStock` and refreshes at once by it; false, and nothing is done, for a text
    /// that names no proxy.
    bool chooseProxy(Published<QString> AppState::*proxy, const QString &text);

    // Alerts.
    void addAlert(double target, std::optional<QString> label = {}, std::optional<bool> above = {},
                  std::optional<FollowedZone> follows = {});
    void toggleZoneAlert(const Zone &zone);
    void followZone(const Zone &zone);                ///< adds or removes the alert that follows() tells of
    void moveAlert(const QString &id, double target); ///< keeps its label, but one that tells the price
    void removeAlert(const QString &id);
    void restoreAlert(const PriceAlert &alert); ///< one that was removed, as it was
    void dismissAlert(const QString &id, const QString &where = QStringLiteral("panel"));
    void snoozeAlert(const QString &id, const QString &where = QStringLiteral("panel")); ///< for 10 minutes
    void rearmAlert(const QString &id);          ///< at the same target, in the other direction
    void showAlertInstrument(const QString &id); ///< selects it
    void setAway(bool away);                     ///< the screen is locked or the machine goes to sleep
    void evaluateAlerts();
    void addPlanAlerts(const TradePlan &plan);
    /// Takes over what another running program has changed in the stored alerts. What this one has changed
    /// and not stored stays.
    void takeStoredAlerts();

    // Neon mode.
    void toggleBlingMode();
    void startBlingTimer();
    void startBlingPulse();
    void stopBlingPulse();

    [[nodiscard]] const Clock &clock() const { return m_dependencies.clock; }

private:
    using Weak = std::weak_ptr<AppState>;
    using Loop = QCoro::Task<>(Weak, Clock *, std::stop_token);
    friend class AlertDesk;

    void restore();
    void checkFirstLaunchHint();
    static QCoro::Task<> firstLaunchHint(Weak weak, Clock *clock);

    enum class ZonesAt { close, livePrice }; ///< the price that new zones are built against
    [[nodiscard]] QCoro::Task<RefreshOutcome> refreshAll(ZonesAt at);
    void runInBackground(QCoro::Task<> (AppState::*refresh)());
    [[nodiscard]] QCoro::Task<> refreshEverything(); ///< refreshAll without its result
    void startLoop(std::optional<std::stop_source> &handle, Loop *loop);
    static Loop priceLoop, srLoop, resumeLoop, alertPulseLoop, blingLoop, blingPulseLoop, ageLoop;

    [[nodiscard]] bool programIsEnding() const;
    [[nodiscard]] QCoro::Task<bool> refreshStockPrice(Subject asked);
    [[nodiscard]] QCoro::Task<bool> refreshCryptoPrice(Subject asked);
    [[nodiscard]] QCoro::Task<> refreshZones(ZonesAt at);
    [[nodiscard]] QCoro::Task<> refreshZonesAtLivePrice() { return refreshZones(ZonesAt::livePrice); }
    [[nodiscard]] QCoro::Task<bool> refreshStockZones(Subject asked, ZonesAt at);
    [[nodiscard]] QCoro::Task<bool> refreshCryptoZones(Subject asked, ZonesAt at);
    void applyCandles(const CandleList &candles, double step, const Subject &asked,
                      ZonesAt at); ///< never empty
    void fillMarketContext(const CandleList &candles, const Subject &asked, ZonesAt at);
    template <typename T>
    [[nodiscard]] std::optional<T> standing(const std::optional<T> &reading,
                                            const std::optional<Subject> &owner) const;
    [[nodiscard]] std::optional<double> liveATR() const;
    void rebuildZonesAt(double newPrice);
    void rebuildZonesAtLivePrice();
    void notePrice(Subject asked, double value, const StockQuote *quote);
    [[nodiscard]] int decimalsFor(double value) const;
    void noteFailure(std::optional<Failure> &failure, bool own, const QString &message);
    void watchAges();
    [[nodiscard]] std::optional<std::chrono::nanoseconds> nextAgeChange() const;
    [[nodiscard]] bool isOld(const CandleList &candles, const Subject &asked) const;
    [[nodiscard]] QCoro::Task<std::optional<CandleList>> fetchCandles(QString label);
    void clearAnalysisState();
    void selectCoin(const QString &code);

    [[nodiscard]] std::optional<double> alertReference() const; ///< what new directions are told by
    void applyAlerts(std::vector<PriceAlert> changed);
    void saveAlerts();
    /// The alert as it is then; nothing for an id that is not there.
    std::optional<PriceAlert> changeAlert(const QString &id, const std::function<void(PriceAlert &)> &change);
    void evaluateAlerts(const QString &symbol, double live);
    void directAlerts(const QString &symbol, double live);
    void playAlertSound();
    void updateAlertLoops();
    [[nodiscard]] bool advanceAlertPulse();

    void proxyDidChange(const Setting<QString> &setting, HttpClient &http, const QString &text);
    void blingModeDidChange(bool on);
    void showBlingPlaceholders();
    void refreshBlingIfNeeded();
    void noteSigns(const std::vector<SymbolPrice> &signs);
    [[nodiscard]] PlanInputs planInputs() const;

    std::vector<PriceAlert> m_storedAlerts; ///< as they were last seen stored
    const std::unique_ptr<AlertDesk> m_alertDesk;
    CandleLevels m_lastSRLevels; ///< what zone building takes from lastSRCandles, once per candle list
    enum class Resuming { no, yes, askedAgain } m_resuming = Resuming::no;
    std::vector<Subject> m_zonesAsked, m_signalsAsked; ///< of the refreshes that wait for answers
    std::optional<PriceOrigin> m_ownPriceOrigin; ///< of the last price of an instrument while it was selected
    /// Whose `zonePrice` and the `ctx…` values are, as some outlive their zones; absent: the zones'.
    std::optional<Subject> m_zonePriceOf, m_readingsOf, m_tunnelOf, m_histogramOf;
    QHash<QString, SteadyInstant> m_signAnswers; ///< when each neon sign was last answered, or first shown
};

} // namespace kestrune
