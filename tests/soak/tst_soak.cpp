// SPDX-License-Identifier: MIT
#include "support/appfixture.h"
#include "support/bytesinuse.h"
#include "support/testregistry.h"

#include <QTest>

#include <cmath>
#include <cstdio>
#include <numbers>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Seconds = std::chrono::seconds;

constexpr double basePrice = 3000;
constexpr double swing = 0.02; // of the price, to either side

/// Requests by what they ask for.
struct Tally
{
    int tickers = 0;
    int candles = 0;
    int quotes = 0;

    void add(const QStringList &lines)
    {
        for (const QString &line : lines) {
            tickers += line.contains(u"tickers") || line.contains(u"ticker/24hr") ? 1 : 0;
            candles +=
                line.contains(u"candle") || line.contains(u"klines") || line.contains(u"fqkline") ? 1 : 0;
            quotes += line.startsWith(u"/q=") ? 1 : 0;
        }
    }
};

/// Bytes in use, after everything that waits has been delivered.
qint64 settledBytes()
{
    drainEvents();
    return bytesInUse();
}

/// A market whose price swings once in ten minutes, and a user who does what users do for weeks.
class Life
{
public:
    Life()
    {
        m_app.serveCrypto(basePrice);
        for (const MarketSegment segment : {MarketSegment::cn, MarketSegment::hk})
            serveStocks(segment);
        m_app.start();
    }

    [[nodiscard]] AppState &state() { return *m_app.state; }
    [[nodiscard]] AppFixture &app() { return m_app; }

    /// Lets time pass in steps of five seconds, in each of which the market moves, and counts the requests.
    Tally live(Seconds duration)
    {
        constexpr Seconds step = 5s;
        constexpr double period = 600;
        Tally tally;
        for (Seconds passed = 0s; passed < duration; passed += step) {
            m_age += step;
            if (!m_outage)
                m_app.tickTo(basePrice *
                             (1 + swing * std::sin(2 * std::numbers::pi * double(m_age.count()) / period)));
            m_app.clock.advance(step);
            tally.add(m_app.lines());
            m_app.clearLogs();
        }
        return tally;
    }

    void setOutage(bool on)
    {
        m_outage = on;
        if (!on) {
            m_app.serveCrypto(basePrice);
            return;
        }
        for (const QString &route : {u"/api/v4/futures/usdt/tickers"_s, u"/api/v4/spot/candlesticks"_s})
            m_app.crypto.failAlways(route);
    }
    void suspend(Seconds duration) { m_app.clock.setNow(m_app.clock.now() + duration); }

private:
    void serveStocks(MarketSegment segment)
    {
        // A state that is only asked for its lists and never runs.
        AppFixture probe;
        AppState &asked = probe.create();
        asked.market = segment;
        for (const QString &code : segment == MarketSegment::cn ? asked.cnList : asked.hkList)
            m_app.serveStock(code, 1500);
        // The eight of the neon row go in one request.
        const QStringList row = asked.blingSymbols();
        std::vector<QuoteLine> lines;
        for (const QString &code : row)
            lines.push_back({code.toLatin1(), "Name", 1500, 1.25});
        m_app.stock.answerAlways(quoteLine(row.join(u',')), stockQuotes(lines));
    }

    AppFixture m_app;
    Seconds m_age{0};
    bool m_outage = false;
};

// The acts of a cycle of twenty minutes. Each leaves the state as it found it, and returns what was amiss.

QString quiet(Life &life)
{
    // Nothing drifts: five seconds are five seconds, after a day as in the first minute. In five minutes the
    // zone loop passes five times, each with a zone refresh, its minute candles and three timeframes, from
    // two sources.
    const Tally tally = life.live(300s);
    if (tally.tickers != 60 || tally.candles != 5 * 5 * 2)
        return u"%1 price and %2 candle requests in five minutes"_s.arg(tally.tickers).arg(tally.candles);
    return {};
}

QString selections(Life &life)
{
    AppState &state = life.state();
    for (const QString &coin : {u"BTC"_s, u"SOL"_s, u"ETH"_s}) {
        state.setCoin(coin);
        life.live(20s);
        for (const QString &label : {u"4H"_s, u"1H"_s, u"日线"_s}) {
            state.setTimeframe(label);
            life.live(10s);
        }
    }
    life.live(30s);
    return state.zones().empty() || state.errorMessage() ? u"no zones after the changes"_s : QString();
}

QString neon(Life &life)
{
    AppState &state = life.state();
    state.toggleBlingMode();
    const int before = state.blingPulse();
    const Tally tally = life.live(120s);
    const int pulses = state.blingPulse() - before;
    state.toggleBlingMode();
    life.live(60s);
    if (tally.tickers != 24 + 8 * 25 || pulses != 800)
        return u"neon: %1 price requests and %2 pulses in two minutes"_s.arg(tally.tickers).arg(pulses);
    return state.blingPulse() == 0 && state.multiPrices().empty() ? QString() : u"neon does not end"_s;
}

QString stocks(Life &life)
{
    AppState &state = life.state();
    for (const MarketSegment segment : {MarketSegment::cn, MarketSegment::hk}) {
        state.setMarket(segment);
        state.toggleBlingMode();
        const Tally tally = life.live(60s);
        state.toggleBlingMode();
        if (tally.quotes < 24 || state.zones().empty() || state.errorMessage())
            return u"stocks: %1 quote requests in a minute"_s.arg(tally.quotes);
    }
    state.setMarket(MarketSegment::crypto);
    life.live(60s);
    return {};
}

QString outage(Life &life)
{
    AppState &state = life.state();
    const auto price = state.price();
    const std::size_t zoneCount = state.zones().size();
    life.setOutage(true);
    life.live(70s);
    const bool kept = state.price() == price && state.zones().size() == zoneCount && state.errorMessage();
    life.suspend(3600s);
    life.setOutage(false);
    life.live(110s);
    if (!kept)
        return u"an outage changes what is shown"_s;
    return state.errorMessage() ? u"an outage leaves its message"_s : QString();
}

QString alarms(Life &life)
{
    AppState &state = life.state();
    const int sounds = life.app().attention.soundCount;
    for (const double target : {basePrice * 1.01, basePrice * 0.99, basePrice * 2})
        state.addAlert(target);
    life.live(120s);
    const bool rang = life.app().attention.soundCount > sounds && state.pulsePhase() > 0;
    while (!state.alerts().empty()) {
        const QString id = state.alerts().front().id;
        state.dismissAlert(id);
        state.removeAlert(id);
    }
    life.live(60s);
    if (!rang)
        return u"no alert rang"_s;
    return state.pulsePhase() == 0 ? QString() : u"the pulse goes on without an alert"_s;
}

QString cycle(Life &life)
{
    for (const auto act : {quiet, selections, neon, stocks, outage, alarms}) {
        if (const QString amiss = act(life); !amiss.isEmpty())
            return amiss;
    }
    return {};
}

} // namespace

/// Simulated hours, as many as KESTRUNE_SOAK_HOURS says, else one: nothing piles up, nothing drifts, nothing
/// dies.
class SoakTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aLongLifeLeavesNoTrace();
};

void SoakTest::aLongLifeLeavesNoTrace()
{
    bool given = false;
    const int wanted = qEnvironmentVariableIntValue("KESTRUNE_SOAK_HOURS", &given);
    const int cycles = 3 * (given ? wanted : 1);
    Life life;
    life.state().timeframe = u"日线"_s;
    life.live(120s);
    const QString first = cycle(life); // caches fill
    QVERIFY2(first.isEmpty(), qPrintable(first));
    const qint64 before = settledBytes();
    const int sleepers = life.app().clock.sleeperCount();
    qint64 most = before;
    for (int i = 1; i < cycles; ++i) {
        const QString amiss = cycle(life);
        QVERIFY2(amiss.isEmpty(), qPrintable(u"cycle %1: %2"_s.arg(i).arg(amiss)));
        most = std::max(most, settledBytes());
        QCOMPARE(life.app().clock.sleeperCount(), sleepers);
        QCOMPARE(life.app().crypto.openCount() + life.app().stock.openCount(), 0);
    }
    std::printf("%d cycles of twenty minutes, %lld bytes in use after the first, at most %+lld later\n",
                cycles, static_cast<long long>(before), static_cast<long long>(most - before));
    std::fflush(stdout);
    // The allocator's per-thread cache counts as used and fills by and by; the test run switches it off.
    const qint64 slack = qEnvironmentVariableIsSet("GLIBC_TUNABLES") ? 4096 : 256 * 1024;
    QVERIFY2(most - before < slack, "memory grows");
    QVERIFY2(life.app().problems().isEmpty(), qPrintable(life.app().problems()));

    // Every loop is alive: price, zones, neon, and the pulse of an alert.
    AppState &state = life.state();
    state.addAlert(basePrice / 2, {}, true); // at once
    state.toggleBlingMode();
    const int phase = state.pulsePhase();
    const Tally last = life.live(60s);
    QVERIFY(last.tickers == 12 + 8 * 13 && last.candles >= 10);
    QVERIFY(state.blingPulse() == 400 && state.pulsePhase() == phase + 150);

    // And every one ends with the state.
    life.app().state.reset();
    life.app().clock.advance(1s);
    QCOMPARE(life.app().clock.sleeperCount(), 0);
}

KESTRUNE_TEST(SoakTest)
#include "tst_soak.moc"
