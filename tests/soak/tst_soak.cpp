// SPDX-License-Identifier: MIT
#include "analysis/utczone.h"
#include "platform/curlhttpclient.h"
#include "platform/jsonpreferences.h"
#include "state/alertlog.h"
#include "statusbar/desktop/appdelegate.h"
#include "statusbar/fakewatcher.h"
#include "statusbar/privatebus.h"
#include "support/bytesinuse.h"
#include "support/eventloop.h"
#include "support/fakeclock.h"
#include "support/program.h"
#include "support/recordingattention.h"
#include "support/testregistry.h"

#include <QApplication>
#include <QDir>
#include <QScopeGuard>
#include <QTest>

#include <cstdio>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// Simulated hours, as many as KESTRUNE_SOAK_HOURS says, else one: nothing piles up, nothing drifts, nothing
/// dies.
class SoakTest : public QObject
{
    Q_OBJECT

    using Seconds = std::chrono::seconds;
    inline static const int cycles = 3 * qEnvironmentVariable("KESTRUNE_SOAK_HOURS", u"1"_s).toInt();

    /// Requests by what they ask for.
    struct Tally
    {
        int tickers = 0, candles = 0, quotes = 0;
    };

    /// The real client, and a look at what is under way.
    struct CountingHttp final : HttpClient
    {
        QCoro::Task<std::optional<HttpAnswer>> get(QUrl url, std::vector<HttpHeader> headers) override
        {
            const QString path = url.path();
            tally.tickers += path.contains(u"ticker") ? 1 : 0;
            tally.candles += path.contains(u"candle") || path.contains(u"kline") ? 1 : 0;
            tally.quotes += path.startsWith(u"/q=") ? 1 : 0;
            ++open;
            const auto closed = qScopeGuard([this] { --open; });
            auto answer = co_await client.get(std::move(url), std::move(headers));
            co_return answer;
        }
        void setProxy(const QNetworkProxy &proxy) override { client.setProxy(proxy); }

        int open = 0;
        Tally tally;
        CurlHttpClient client; // ends first: its waiters still count
    };

    static qint64 entries(const QString &folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
    }
    static qint64 objects()
    {
        qint64 count = qApp->findChildren<QObject *>().size();
        for (const QWidget *window : QApplication::topLevelWidgets())
            count += 1 + window->findChildren<QObject *>().size();
        return count;
    }

    /// An application state with the market in a process of its own, on a clock that moves only while no
    /// request is under way, and what users and the world do to it. The acts of a cycle take about twenty
    /// minutes; each leaves the life as it found it and fails the test when something is amiss.
    struct Life
    {
        Life() { setOutage(false); }
        virtual ~Life() = default;

        void cycle()
        {
            for (const auto act : {&Life::quiet, &Life::selections, &Life::neon, &Life::stocks,
                                   &Life::outageAndSuspend, &Life::alarms, &Life::ownAct}) {
                if (!QTest::currentTestFailed())
                    (this->*act)();
            }
        }

        /// Lets time pass; what was asked meanwhile.
        Tally live(Seconds duration)
        {
            const auto settle = [this] {
                drainEvents();
                return waitFor([this] { return http.open == 0; }, 20s);
            };
            http.tally = {};
            const Instant end = clock.now() + duration;
            bool settled = settle();
            while (settled && clock.now() < end) {
                const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - clock.now());
                const auto next = clock.untilNextWake();
                clock.advance(next ? std::min(left, std::chrono::ceil<std::chrono::milliseconds>(*next))
                                   : left);
                settled = settle();
            }
            return settled ? http.tally : Tally{-1, -1, -1};
        }

        void setOutage(bool on)
        {
            market.reset();
            if (on)
                return;
            const auto now = std::chrono::duration_cast<Seconds>(clock.now().time_since_epoch());
            const QString time = QDateTime::fromSecsSinceEpoch(now.count(), utcZone).toString(Qt::ISODate);
            market = std::make_unique<ReplayServer>(QStringList{u"--port"_s, QString::number(port),
                                                                u"--clock"_s, time, u"--speed"_s,
                                                                u"1440"_s}); // a day in a minute
            port = market->port();
        }

        [[nodiscard]] AppState::Dependencies dependencies()
        {
            return {http,        http,      clock,
                    preferences, attention, Endpoints::via(u"http://127.0.0.1:%1"_s.arg(port))};
        }

        /// The machine sleeps and wakes.
        virtual void suspend(Seconds duration)
        {
            clock.setNow(clock.now() + duration);
            clock.passSteady(duration);
        }
        /// What only this life has.
        virtual void ownAct() {}

        void quiet()
        {
            // Nothing drifts: the price every five seconds; each minute the zones with their minute candles
            // and three timeframes, from two sources.
            const Tally tally = live(300s);
            QCOMPARE(tally.tickers, 60);
            QCOMPARE(tally.candles, 5 * 5 * 2);
        }
        void selections()
        {
            for (const QString &coin : {u"BTC"_s, u"SOL"_s, u"ETH"_s}) {
                state->setCoin(coin);
                live(20s);
                for (const QString &label : {u"4H"_s, u"1H"_s, u"日线"_s}) {
                    state->setTimeframe(label);
                    live(10s);
                }
            }
            live(30s);
            QVERIFY(!state->zones().empty() && !state->errorMessage());
        }
        void neon()
        {
            state->toggleBlingMode();
            const int before = state->blingPulse();
            const Tally tally = live(120s);
            QCOMPARE(tally.tickers, 24 + 8 * 25);
            QCOMPARE(state->blingPulse() - before, 800);
            state->toggleBlingMode();
            live(60s);
            QVERIFY(state->blingPulse() == 0 && state->multiPrices().empty());
        }
        void stocks()
        {
            for (const MarketSegment segment : {MarketSegment::cn, MarketSegment::hk}) {
                state->setMarket(segment);
                state->toggleBlingMode();
                QVERIFY(live(60s).quotes >= 24);
                state->toggleBlingMode();
                QVERIFY(!state->zones().empty() && !state->errorMessage());
            }
            state->setMarket(MarketSegment::crypto);
            live(60s);
        }
        void outageAndSuspend()
        {
            const auto price = state->price();
            const std::size_t zoneCount = state->zones().size();
            setOutage(true);
            live(70s);
            QVERIFY(state->price() == price && state->zones().size() == zoneCount && state->errorMessage());
            setOutage(false);
            suspend(3600s);
            live(110s);
            QVERIFY(!state->errorMessage());
        }
        void alarms()
        {
            const int sounds = attention.soundCount;
            for (const double factor : {0.5, 1.01, 2.0}) // the first one rings at once
                state->addAlert(*state->price() * factor, {}, true);
            state->setCoin(u"BTC"_s);
            live(120s); // watched from elsewhere
            QVERIFY(attention.soundCount > sounds && state->pulsePhase() == 0 && state->firedElsewhere() > 0);
            state->setCoin(u"ETH"_s);
            live(120s);
            QVERIFY(state->pulsePhase() > 0);
            while (!state->alerts().empty()) {
                const QString id = state->alerts().front().id;
                state->dismissAlert(id);
                state->removeAlert(id);
            }
            live(60s);
            QCOMPARE(state->pulsePhase(), 0);
            attention.notices = {};
            attention.withdrawn = {};
        }

        QTemporaryDir folder;
        JsonPreferences preferences{folder.path()};
        RecordingAttention attention;
        FakeClock clock;
        CountingHttp http;
        std::unique_ptr<ReplayServer> market;
        quint16 port = 0;
        AppState *state = nullptr;
    };

    /// The whole interactive program but for its main function: a bar on a bus of its own.
    struct WholeBar final : Life
    {
        WholeBar()
        {
            qputenv("XDG_CONFIG_HOME", folder.path().toLocal8Bit());
            for (const char *const name : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"})
                qputenv(name, bus.address().toLatin1());
            theirs.registerService(u"org.freedesktop.login1"_s);
            watcher.start();
            preferences.setBoolean(u"ks_has_launched_v2"_s, true);
            bar = std::make_unique<AppDelegate>(AppDelegate::Launch{dependencies(), u"soak"_s,
                                                                    [this] { http.client.dropConnections(); },
                                                                    false},
                                                nullptr);
            bar->applicationDidFinishLaunching();
            state = &bar->state();
            QTest::qWait(1200); // the bar listens for wake-ups from a second after its start
        }

        void suspend(Seconds duration) override
        {
            const auto announce = [this](bool begins) {
                QDBusMessage signal = QDBusMessage::createSignal(
                    u"/org/freedesktop/login1"_s, u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s);
                signal.setArguments({begins});
                theirs.send(signal);
            };
            const auto updated = state->lastUpdated();
            announce(true);
            Life::suspend(duration);
            announce(false);
            QVERIFY2(waitFor([&] { return state->lastUpdated() != updated && !state->isLoading(); }),
                     "no refresh after the suspend");
        }

        /// The panel opens and closes; the bar's host restarts.
        void ownAct() override
        {
            const Popover &panel = bar->controller().popover();
            for (const bool open : {true, false}) {
                QVERIFY(waitFor([&] { return !panel.hasJustClosed() && !watcher.items.isEmpty(); }));
                static_cast<void>(PrivateBus::call(theirs, watcher.items.back(), u"/StatusNotifierItem"_s,
                                                   u"org.kde.StatusNotifierItem"_s, u"Activate"_s,
                                                   {600, 10}));
                QVERIFY(waitFor([&] { return panel.isVisible() == open; }));
                if (open)
                    selections();
            }
            const qsizetype registered = watcher.items.size();
            watcher.stop();
            live(10s);
            watcher.start();
            QVERIFY(waitFor([&] { return watcher.items.size() > registered; }));
            watcher.items.remove(0, registered);
            watcher.heardSignals.clear();
        }

        PrivateBus bus;
        QDBusConnection theirs = bus.connection(u"theirs"_s);
        FakeWatcher watcher{theirs};
        std::unique_ptr<AppDelegate> bar;
    };

    /// After the warm-up at most `slack` more bytes, and nothing more of anything else.
    static void soak(Life &life, int warmUp, qint64 slack)
    {
        life.state->timeframe = u"日线"_s;
        life.live(120s);
        for (int i = 0; i < warmUp; ++i)
            life.cycle();                       // caches fill
        AlertLog &log = life.state->alertLog(); // grows up to its limit
        while (!log.entries().empty() && log.entries().size() < AlertLog::mostEntries)
            log.append(*fromJsonLine(toJsonLine(log.entries().back()))); // of memory of its own
        life.http.client.dropConnections(); // their buffers and threads come and go
        QTest::qWait(500);
        const qint64 bytes = bytesInUse();
        const qint64 threads = entries(u"/proc/self/task"_s), files = entries(u"/proc/self/fd"_s);
        const int sleepers = life.clock.sleeperCount();
        qint64 most = 0;
        for (int i = warmUp; i < cycles && !QTest::currentTestFailed(); ++i) {
            life.cycle();
            life.attention.dialogs.clear();
            life.http.client.dropConnections();
            QVERIFY2(waitFor([&] {
                         return entries(u"/proc/self/task"_s) <= threads &&
                                entries(u"/proc/self/fd"_s) <= files;
                     }),
                     "threads, files or sockets pile up");
            QCOMPARE(life.clock.sleeperCount(), sleepers);
            QVERIFY2(objects() < 500, "objects pile up"); // a full panel has fewer
            drainEvents();
            most = std::max(most, bytesInUse() - bytes);
            QVERIFY2(most < slack, qPrintable(u"memory grows by %1 bytes in cycle %2"_s.arg(most).arg(i)));
        }
        std::printf("%d cycles of twenty minutes, from the %dth on at most %+lld bytes\n", cycles, warmUp,
                    most);
        std::fflush(stdout);
    }

private Q_SLOTS:
    void stateAlone()
    {
        Life life;
        std::shared_ptr<AppState> state = AppState::create(life.dependencies());
        life.state = state.get();
        soak(life, 1, 98304); // a warm-up: after forty hours there is less than after the third
        state.reset();        // every loop ends with the state
        life.clock.advance(1s);
        QCOMPARE(life.clock.sleeperCount(), 0);
    }

    void wholeBar()
    {
        static QStringList warnings;
        const auto before =
            qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
                // What the platform of the tests cannot do is no fault.
                if (type != QtDebugMsg && !text.startsWith(u"This plugin does not support"))
                    warnings.append(text);
            });
        const auto restore = qScopeGuard([before] { qInstallMessageHandler(before); });
        // Glyphs and icons that were drawn are kept, up to a bound that takes days to reach; a leak goes on.
        const bool isLong = cycles >= 72;
        WholeBar life;
        soak(life, isLong ? cycles / 3 : 1, isLong ? 192 * 1024 : 1024 * 1024);
        QCOMPARE(warnings.join(u'\n'), QString());
    }
};

KESTRUNE_TEST(SoakTest)
#include "tst_soak.moc"
