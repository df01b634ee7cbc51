// SPDX-License-Identifier: MIT
#include "analysis/utczone.h"
#include "marketday.h"
#include "state/alertlog.h"

#include <QDateTime>
#include <QFile>
#include <QRegularExpression>

#include <random>
#include <span>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

static const QStringList watchedCoins{u"ETH"_s, u"BTC"_s, u"SOL"_s, u"XRP"_s};
static const QStringList watchedStocks{u"sh600519"_s, u"sz000001"_s, u"hk00700"_s, u"hk00005"_s};

/// What dies with a run of the program.
struct AlertRun
{
    explicit AlertRun(const AppState::Dependencies &lasting)
        : state(AppState::create({crypto, stock, lasting.clock, lasting.preferences, lasting.attention,
                                  Endpoints::live(), lasting.alertLog}))
    {
        for (const QString &down : {u"/api/v4/spot/candlesticks"_s, u"/api/v3/klines"_s,
                                    u"/api/v5/market/candles"_s, u"/fapi/v1/ticker/24hr"_s})
            crypto.failAlways(down);
        stock.failAlways(u"/appstock/app/fqkline/get"_s);
        crypto.holdOthers();
        stock.holdOthers();
    }

    FakeHttpClient crypto, stock;
    std::shared_ptr<AppState> state;
};

/// A market of eight instruments, a user, and an independent idea of what is to be told.
class AlertDay
{
public:
    explicit AlertDay(unsigned seed) : m_random(seed)
    {
        preferences.preset(u"ks_has_launched_v2"_s, true);
        clock.setNow(Instant(std::chrono::seconds(1767664800))); // Tuesday, 10:00 in Shanghai
        restart();
    }

    void step()
    {
        const int choice = below(100);
        if (choice < 66)
            answerOne();
        else if (choice < 84)
            clock.advance(std::chrono::seconds(1 + below(6)));
        else if (choice < 88)
            select();
        else if (choice == 88)
            addAlert();
        else if (choice == 89)
            forgetOne();
        else if (choice < 92)
            userAnswers();
        else if (choice == 92)
            clock.setNow(clock.now() + std::chrono::seconds(below(3600) - 1800));
        else if (choice == 93)
            suspend();
        else if (below(60) == 0)
            restart();
        noteRequests();
    }
    /// Empty when the state has told what the model expects, in its order.
    [[nodiscard]] QString fault() const
    {
        const auto &log = m_run->state->alertLog().entries();
        const std::size_t kept = std::min<std::size_t>(log.size(), 20); // at the end: each step adds a few
        if (attention.notices.size() != std::size_t(m_told.size()) ||
            log.size() != std::min<std::size_t>(std::size_t(m_told.size()), AlertLog::mostEntries) ||
            !std::ranges::equal(std::span(log).last(kept), std::span(m_told).last(kept), {},
                                &AlertLogEntry::id) ||
            !std::ranges::equal(std::span(attention.notices).last(kept), std::span(m_told).last(kept), {},
                                &Notice::id))
            return u"%1 messages, %2 lines instead of %3"_s.arg(attention.notices.size())
                .arg(log.size())
                .arg(m_told.size());
        if (attention.soundCount != m_sounds)
            return u"%1 sounds instead of %2"_s.arg(attention.soundCount).arg(m_sounds);
        for (const auto &[symbol, asked] : m_asked) {
            if (watchedCoins.contains(symbol) && !m_open.contains(symbol) && hasAlert(symbol) &&
                clock.steady() - std::max(asked, m_started) > 90s)
                return symbol + u" is not asked for"_s;
        }
        return m_run->crypto.problems().join(u' ') + m_run->stock.problems().join(u' ');
    }
    int ticks = 0;
    [[nodiscard]] qsizetype toldCount() const { return m_told.size(); }

private:
    struct Alert
    {
        QString id, symbol;
        double target = 0;
        bool above = false, triggered = false, snoozed = false;
        std::optional<double> fired = {};
    };
    struct Open
    {
        QString line;
        QStringList symbols;
        bool ofTheSelected = false;
    };

    [[nodiscard]] int below(int limit) { return int(m_random() % unsigned(limit)); }
    [[nodiscard]] double now() const { return epochSeconds(clock.now()); }
    [[nodiscard]] bool hasAlert(const QString &symbol) const
    {
        return symbol != m_run->state->coinSymbol() &&
               std::ranges::find(m_alerts, symbol, &Alert::symbol) != m_alerts.end();
    }

    void touch(const QString &symbol, double price)
    {
        bool rang = false;
        for (Alert &alert : m_alerts) {
            if (alert.symbol != symbol)
                continue;
            if (alert.above ? price < alert.target : price > alert.target) {
                alert.triggered = false;
                continue;
            }
            const double passed = alert.fired ? now() - *alert.fired : 1e9;
            if (alert.triggered || (passed >= 0 && passed <= (alert.snoozed ? 600 : 120)))
                continue;
            alert.fired = m_lastTold[alert.id] = now();
            alert.triggered = rang = true;
            alert.snoozed = false;
            m_told.append(alert.id);
        }
        m_sounds += rang ? 1 : 0;
    }

    /// Requests for prices since the last look; what was selected then has asked for its own.
    void noteRequests()
    {
        static const QRegularExpression price(u"contract=(\\w+)_USDT|q=([\\w,]+)$"_s);
        for (FakeHttpClient *http : {&m_run->crypto, &m_run->stock}) {
            for (const QString &line : http->lines()) {
                const QStringList found = price.match(line).capturedTexts();
                if (found.isEmpty())
                    continue;
                const QStringList symbols = found.back().split(u',');
                m_open[found.back()].push_back(
                    {line, symbols, symbols == QStringList{m_run->state->coinSymbol()}});
                for (const QString &symbol : symbols)
                    m_asked[symbol] = clock.steady();
            }
            http->clearRequests();
        }
    }

    void answerOne()
    {
        if (m_open.empty())
            return;
        auto chosen = std::next(m_open.begin(), below(int(m_open.size())));
        const Open open = chosen->second.front();
        chosen->second.erase(chosen->second.begin());
        if (chosen->second.empty())
            m_open.erase(chosen);
        const bool coin = watchedCoins.contains(open.symbols.front());
        FakeHttpClient &http = coin ? m_run->crypto : m_run->stock;
        if (below(15) == 0)
            return http.releaseFailure(open.line);
        std::vector<QuoteLine> quotes;
        const QByteArray stamp = QDateTime::fromSecsSinceEpoch(qint64(now()) + 8 * 3600, utcZone)
                                     .toString(u"yyyyMMddHHmmss")
                                     .toLatin1();
        for (const QString &symbol : open.symbols) {
            double &price = m_prices.try_emplace(symbol, 100).first->second;
            price = std::clamp(price * (0.998 + 0.004 * below(1000) / 999), 60.0, 160.0);
            quotes.push_back({symbol.toLatin1(), "", price, 0, stamp});
        }
        // Those that are watched count in the order of their names, as they are asked for.
        for (const QString &symbol : open.symbols) {
            if (open.ofTheSelected || symbol != m_run->state->coinSymbol())
                touch(symbol, m_prices[symbol]);
        }
        http.release(open.line, coin ? gateTicker(m_prices[open.symbols.front()]) : stockQuotes(quotes));
        ticks += int(open.symbols.size());
    }

    void select()
    {
        if (below(4) == 0)
            m_run->state->setMarket(MarketSegment(below(3)));
        const int first = m_run->state->market() == MarketSegment::hk ? 2 : 0;
        m_run->state->setCoin(m_run->state->isStock() ? watchedStocks.at(first + below(2))
                                                      : watchedCoins.at(below(4)));
        drainEvents();
    }
    void addAlert()
    {
        AppState &state = *m_run->state;
        const double target =
            m_prices.try_emplace(state.coinSymbol(), 100).first->second * (0.97 + 0.06 * below(1000) / 999);
        const bool above = (target > m_prices[state.coinSymbol()]) == (below(4) > 0);
        const auto live = state.livePrice();
        state.addAlert(target, u"x"_s, above);
        m_alerts.push_back({state.alerts().back().id, state.coinSymbol(), target, above});
        m_stored = m_alerts;
        if (live)
            touch(state.coinSymbol(), *live);
        drainEvents();
        if (m_alerts.size() > 24)
            forgetOne();
    }
    void forgetOne()
    {
        if (m_alerts.empty())
            return;
        const auto chosen = m_alerts.begin() + below(int(m_alerts.size()));
        m_run->state->removeAlert(chosen->id);
        m_alerts.erase(chosen);
        m_stored = m_alerts;
    }
    void userAnswers()
    {
        if (m_told.isEmpty())
            return;
        const QString id = m_told.at(m_told.size() - 1 - below(int(std::min<qsizetype>(m_told.size(), 9))));
        const auto alert = std::ranges::find(m_alerts, id, &Alert::id);
        const bool snooze = below(4) == 0;
        attention.answerNotice(id, snooze ? NoticeChoice::snooze : NoticeChoice::acknowledge);
        if (alert == m_alerts.end())
            return;
        alert->triggered = false;
        alert->snoozed = snooze;
        alert->fired = now();
        m_lastTold.erase(id);
        m_stored = m_alerts;
    }
    void suspend()
    {
        const auto length = std::chrono::seconds(60 + below(7200));
        clock.setNow(clock.now() + length);
        clock.passSteady(length);
        m_started = clock.steady();
        m_run->state->refreshNow();
        drainEvents();
    }
    /// Killed, perhaps in the middle of writing, and started again.
    void restart()
    {
        if (m_run)
            m_run->state.reset();
        m_run.reset();
        m_open.clear();
        if (QFile log(m_log); below(3) == 0 && log.open(QIODevice::Append))
            log.write("{\"time\":");
        m_run = std::make_unique<AlertRun>(AppState::Dependencies{m_nobody, m_nobody, clock, preferences,
                                                                  attention, Endpoints::live(), m_log});
        m_alerts = m_stored;
        for (Alert &alert : m_alerts) {
            if (const auto told = m_lastTold.find(alert.id); told != m_lastTold.end())
                alert.fired = told->second;
        }
        m_started = clock.steady();
        drainEvents();
    }

    QTemporaryDir m_folder;
    QString m_log = m_folder.filePath(u"alerts.jsonl"_s);
    MemoryPreferences preferences;
    RecordingAttention attention;
    FakeClock clock;
    FakeHttpClient m_nobody;
    std::unique_ptr<AlertRun> m_run;

    std::mt19937 m_random;
    std::map<QString, double> m_prices;
    std::map<QString, std::vector<Open>> m_open; // by what is asked, the oldest first
    std::map<QString, SteadyInstant> m_asked;
    SteadyInstant m_started{};
    std::vector<Alert> m_alerts, m_stored;
    std::map<QString, double> m_lastTold; // and not acknowledged
    QStringList m_told;
    int m_sounds = 0;
};

class AlertDayTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Days of 10 000 prices, as many as KESTRUNE_ALERT_DAYS says.
    void eachTouchIsToldOnce()
    {
        const int days = std::max(1, qEnvironmentVariableIntValue("KESTRUNE_ALERT_DAYS"));
        for (int seed = 1; seed <= days; ++seed) {
            AlertDay day{unsigned(seed)};
            for (int step = 0; day.ticks < 10'000; ++step) {
                day.step();
                if (const QString fault = day.fault(); !fault.isEmpty())
                    QFAIL(qPrintable(u"day %1, step %2: %3"_s.arg(seed).arg(step).arg(fault)));
            }
            QVERIFY(day.toldCount() > 100);
        }
    }
};

KESTRUNE_TEST(AlertDayTest)
#include "tst_alertday.moc"
