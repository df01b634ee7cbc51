// SPDX-License-Identifier: MIT
#include "platform/jsonpreferences.h"
#include "platform/qthttpclient.h"
#include "statusbar/desktop/appdelegate.h"
#include "statusbar/fakewatcher.h"
#include "statusbar/privatebus.h"
#include "support/appfixture.h"
#include "support/bytesinuse.h"
#include "support/program.h"
#include "support/testregistry.h"

#include <QApplication>
#include <QDir>
#include <QScopeGuard>
#include <QTest>

#include <cmath>
#include <numbers>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Seconds = std::chrono::seconds;

/// Requests by what they ask for.
struct Tally
{
    int tickers = 0, candles = 0, quotes = 0;

    void add(const QString &path)
    {
        tickers += path.contains(u"ticker") ? 1 : 0;
        candles += path.contains(u"candle") || path.contains(u"kline") ? 1 : 0;
        quotes += path.startsWith(u"/q=") ? 1 : 0;
    }
};

/// A state with everything around it, on a clock of the test's, and what a user and the world do to it. The
/// acts of a cycle take about twenty minutes; each leaves the life as it found it and fails the test when
/// something is amiss.
class Life
{
public:
    Life(FakeClock &itsClock, RecordingAttention &itsAttention) : clock(itsClock), m_attention(itsAttention)
    {}
    virtual ~Life() = default;

    virtual AppState &state() = 0;
    /// Lets time pass; what was asked meanwhile.
    virtual Tally live(Seconds duration) = 0;
    virtual void setOutage(bool on) = 0;
    /// The machine sleeps and wakes.
    virtual void suspend(Seconds duration) { clock.setNow(clock.now() + duration); }
    /// What only this life has.
    virtual void ownAct() {}

    void cycle()
    {
        for (const auto act : {&Life::quiet, &Life::selections, &Life::neon, &Life::stocks,
                               &Life::outageAndSuspend, &Life::alarms, &Life::ownAct}) {
            if (!QTest::currentTestFailed())
                (this->*act)();
        }
    }

    FakeClock &clock;

private:
    void quiet()
    {
        // Nothing drifts: the price every five seconds; each minute the zones with their minute candles and
        // three timeframes, from two sources.
        const Tally tally = live(300s);
        QCOMPARE(tally.tickers, 60);
        QCOMPARE(tally.candles, 5 * 5 * 2);
    }
    void selections()
    {
        for (const QString &coin : {u"BTC"_s, u"SOL"_s, u"ETH"_s}) {
            state().setCoin(coin);
            live(20s);
            for (const QString &label : {u"4H"_s, u"1H"_s, u"日线"_s}) {
                state().setTimeframe(label);
                live(10s);
            }
        }
        live(30s);
        QVERIFY(!state().zones().empty() && !state().errorMessage());
    }
    void neon()
    {
        state().toggleBlingMode();
        const int before = state().blingPulse();
        const Tally tally = live(120s);
        QCOMPARE(tally.tickers, 24 + 8 * 25);
        QCOMPARE(state().blingPulse() - before, 800);
        state().toggleBlingMode();
        live(60s);
        QVERIFY(state().blingPulse() == 0 && state().multiPrices().empty());
    }
    void stocks()
    {
        for (const MarketSegment segment : {MarketSegment::cn, MarketSegment::hk}) {
            state().setMarket(segment);
            state().toggleBlingMode();
            QVERIFY(live(60s).quotes >= 24);
            state().toggleBlingMode();
            QVERIFY(!state().zones().empty() && !state().errorMessage());
        }
        state().setMarket(MarketSegment::crypto);
        live(60s);
    }
    void outageAndSuspend()
    {
        const auto price = state().price();
        const std::size_t zoneCount = state().zones().size();
        setOutage(true);
        live(70s);
        QVERIFY(state().price() == price && state().zones().size() == zoneCount && state().errorMessage());
        setOutage(false);
        suspend(3600s);
        live(110s);
        QVERIFY(!state().errorMessage());
    }
    void alarms()
    {
        const int sounds = m_attention.soundCount;
        for (const double factor : {0.5, 1.01, 2.0}) // the first one rings at once
            state().addAlert(*state().price() * factor, {}, true);
        live(120s);
        QVERIFY(m_attention.soundCount > sounds && state().pulsePhase() > 0);
        while (!state().alerts().empty()) {
            const QString id = state().alerts().front().id;
            state().dismissAlert(id);
            state().removeAlert(id);
        }
        live(60s);
        QCOMPARE(state().pulsePhase(), 0);
    }

    RecordingAttention &m_attention;
};

/// The application state alone, on a market whose price swings once in ten minutes.
class StateAlone final : public Life
{
public:
    StateAlone() : Life(app.clock, app.attention)
    {
        setOutage(false);
        for (const MarketSegment segment : {MarketSegment::cn, MarketSegment::hk})
            serveStocks(segment);
        app.start();
    }
    AppState &state() override { return *app.state; }
    Tally live(Seconds duration) override
    {
        Tally tally;
        for (Seconds passed = 0s; passed < duration; passed += 5s) {
            m_age += 5;
            if (!m_outage)
                app.tickTo(3000 * (1 + 0.02 * std::sin(2 * std::numbers::pi * m_age / 600)));
            clock.advance(5s);
            for (const QString &line : app.lines())
                tally.add(line);
            app.clearLogs();
        }
        return tally;
    }
    void setOutage(bool on) override
    {
        m_outage = on;
        if (!on)
            return app.serveCrypto(3000);
        for (const QString &route : {u"/api/v4/futures/usdt/tickers"_s, u"/api/v4/spot/candlesticks"_s})
            app.crypto.failAlways(route);
    }

    AppFixture app;

private:
    void serveStocks(MarketSegment segment)
    {
        // A state that is only asked for its lists and never runs.
        AppFixture probe;
        AppState &asked = probe.create();
        asked.market = segment;
        for (const QString &code : segment == MarketSegment::cn ? asked.cnList : asked.hkList)
            app.serveStock(code, 1500);
        // The eight of the neon row go in one request.
        const QStringList row = asked.blingSymbols();
        std::vector<QuoteLine> lines;
        for (const QString &code : row)
            lines.push_back({code.toLatin1(), "Name", 1500, 1.25});
        app.stock.answerAlways(quoteLine(row.join(u',')), stockQuotes(lines));
    }

    double m_age = 0; ///< seconds
    bool m_outage = false;
};

/// The real client, and a look at what is under way.
class CountingHttp final : public HttpClient
{
public:
    QCoro::Task<std::optional<QByteArray>> get(QUrl url, std::vector<HttpHeader> headers) override
    {
        tally.add(url.path());
        ++open;
        const auto closed = qScopeGuard([this] { --open; });
        auto body = co_await client.get(std::move(url), std::move(headers));
        co_return body;
    }

    int open = 0;
    Tally tally;
    QtHttpClient client; // ends first: its waiters still count
};

/// The whole interactive program but for its main function: a bar on a bus of its own, with the market in a
/// process of its own, on a clock that moves only while no request is under way.
class WholeBar final : public Life
{
public:
    WholeBar() : Life(m_clock, m_attention)
    {
        s_warnings.clear();
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
            // What the platform of the tests cannot do is no fault.
            if (type != QtDebugMsg && !text.startsWith(u"This plugin does not support"))
                s_warnings.append(text);
        });
        qputenv("XDG_CONFIG_HOME", m_folder.path().toLocal8Bit());
        for (const char *const bus : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"})
            qputenv(bus, m_bus.address().toLatin1());
        m_theirs.registerService(u"org.freedesktop.login1"_s);
        m_watcher.start();
        setOutage(false);
        m_preferences.setBoolean(u"ks_has_launched_v2"_s, true);
        const AppState::Dependencies dependencies{
            m_http,        m_http,      m_clock,
            m_preferences, m_attention, Endpoints::via(u"http://127.0.0.1:%1"_s.arg(m_port))};
        bar = std::make_unique<AppDelegate>(
            AppDelegate::Launch{dependencies, u"soak"_s, [this] { m_http.client.dropConnections(); }, false},
            nullptr);
        bar->applicationDidFinishLaunching();
        QTest::qWait(1200); // the bar listens for wake-ups from a second after its start
    }
    ~WholeBar() override
    {
        bar.reset();
        qInstallMessageHandler(nullptr);
    }
    static const QStringList &warnings() { return s_warnings; }

    AppState &state() override { return bar->state(); }
    Tally live(Seconds duration) override
    {
        const auto settle = [this] {
            drainEvents();
            return waitFor([this] { return m_http.open == 0; }, 20s);
        };
        m_http.tally = {};
        const Instant end = m_clock.now() + duration;
        bool settled = settle();
        while (settled && m_clock.now() < end) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - m_clock.now());
            const auto next = m_clock.untilNextWake();
            m_clock.advance(next ? std::min(left, std::chrono::ceil<std::chrono::milliseconds>(*next))
                                 : left);
            settled = settle();
        }
        return settled ? m_http.tally : Tally{-1, -1, -1};
    }
    void setOutage(bool on) override
    {
        m_market.reset();
        if (on)
            return;
        const auto now = std::chrono::duration_cast<Seconds>(m_clock.now().time_since_epoch());
        const QString time = QDateTime::fromSecsSinceEpoch(now.count(), Qt::UTC).toString(Qt::ISODate);
        m_market =
            std::make_unique<ReplayServer>(QStringList{u"--port"_s, QString::number(m_port), u"--clock"_s,
                                                       time, u"--speed"_s, u"1440"_s}); // a day in a minute
        m_port = m_market->port();
    }
    void suspend(Seconds duration) override
    {
        const auto announce = [this](bool begins) {
            QDBusMessage signal = QDBusMessage::createSignal(
                u"/org/freedesktop/login1"_s, u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s);
            signal.setArguments({begins});
            m_theirs.send(signal);
        };
        const auto updated = state().lastUpdated();
        announce(true);
        Life::suspend(duration);
        announce(false);
        QVERIFY2(waitFor([&] { return state().lastUpdated() != updated && !state().isLoading(); }),
                 "no refresh after the suspend");
    }
    void ownAct() override
    {
        for (const bool open : {true, false}) {
            click();
            QCOMPARE(bar->controller().popover().isVisible(), open);
            state().setCoin(open ? u"BTC"_s : u"ETH"_s);
            live(30s);
        }
        const qsizetype registered = m_watcher.items.size();
        m_watcher.stop(); // the bar's host restarts
        live(10s);
        m_watcher.start();
        QVERIFY(waitFor([&] { return m_watcher.items.size() > registered; }));
        m_watcher.items.remove(0, registered);
        m_watcher.heardSignals.clear();
    }

private:
    /// A left click on the item, as the bar's host passes it on.
    void click()
    {
        const Popover &panel = bar->controller().popover();
        const bool before = panel.isVisible();
        QVERIFY(waitFor([&] { return !panel.hasJustClosed() && !m_watcher.items.isEmpty(); }));
        static_cast<void>(PrivateBus::call(m_theirs, m_watcher.items.back(), u"/StatusNotifierItem"_s,
                                           u"org.kde.StatusNotifierItem"_s, u"Activate"_s, {600, 10}));
        QVERIFY(waitFor([&] { return panel.isVisible() != before; }));
    }

    inline static QStringList s_warnings;
    QTemporaryDir m_folder;
    PrivateBus m_bus;
    QDBusConnection m_theirs = m_bus.connection(u"theirs"_s);
    std::unique_ptr<ReplayServer> m_market;
    quint16 m_port = 0;
    JsonPreferences m_preferences{m_folder.path()};
    RecordingAttention m_attention;
    FakeClock m_clock;
    CountingHttp m_http;
    FakeWatcher m_watcher{m_theirs};

public:
    std::unique_ptr<AppDelegate> bar;
};

/// What must not pile up.
struct Inventory
{
    explicit Inventory(Life &life)
    {
        drainEvents();
        bytes = bytesInUse();
        sleepers = life.clock.sleeperCount();
        objects = qApp->findChildren<QObject *>().size() + life.state().findChildren<QObject *>().size();
        for (const QWidget *window : QApplication::topLevelWidgets())
            objects += 1 + window->findChildren<QObject *>().size();
        const auto entries = [](const QString &folder) {
            return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
        };
        threads = entries(u"/proc/self/task"_s);
        files = entries(u"/proc/self/fd"_s);
    }
    qint64 bytes, objects, threads, files, sleepers;
};

} // namespace

/// Simulated hours, as many as KESTRUNE_SOAK_HOURS says, else one: nothing piles up, nothing drifts, nothing
/// dies.
class SoakTest : public QObject
{
    Q_OBJECT

    /// At most `slack` more bytes than after `warmUp` cycles of all, and nothing more of anything else.
    static void soak(Life &life, int cycles, int warmUp, qint64 slack)
    {
        life.state().timeframe = u"日线"_s;
        life.live(120s);
        for (int i = 0; i < warmUp; ++i)
            life.cycle(); // caches fill
        const Inventory before(life);
        qint64 most = 0;
        for (int i = warmUp; i < cycles && !QTest::currentTestFailed(); ++i) {
            life.cycle();
            const Inventory now(life);
            most = std::max(most, now.bytes - before.bytes);
            QVERIFY2(most < slack, "memory grows");
            QCOMPARE(now.sleepers, before.sleepers);
            QCOMPARE(now.threads, before.threads);
            QVERIFY2(now.files <= before.files + 6, "files or sockets pile up"); // connections are kept
            QVERIFY2(now.objects < 500, "objects pile up");                      // a full panel has fewer
        }
        qInfo("%d cycles of twenty minutes, from the %dth on at most %+lld bytes", cycles, warmUp, most);
    }

    static int cycles()
    {
        bool given = false;
        const int hours = qEnvironmentVariableIntValue("KESTRUNE_SOAK_HOURS", &given);
        return 3 * (given ? hours : 1);
    }

private Q_SLOTS:
    void stateAlone()
    {
        StateAlone life;
        // The allocator's cache per thread counts as used and fills by and by; the test run switches it off.
        soak(life, cycles(), 1, qEnvironmentVariableIsSet("GLIBC_TUNABLES") ? 4096 : 256 * 1024);
        QVERIFY2(life.app.problems().isEmpty(), qPrintable(life.app.problems()));
        life.app.state.reset(); // every loop ends with the state
        life.clock.advance(1s);
        QCOMPARE(life.clock.sleeperCount(), 0);
    }

    void wholeBar()
    {
        // Glyphs and icons that were drawn are kept, up to a bound that takes days to reach; a leak goes on.
        const bool isLong = cycles() >= 72;
        WholeBar life;
        soak(life, cycles(), isLong ? cycles() / 3 : 1, isLong ? 192 * 1024 : 1024 * 1024);
        QCOMPARE(life.warnings().join(u'\n'), QString());
    }
};

KESTRUNE_TEST(SoakTest)
#include "tst_soak.moc"
