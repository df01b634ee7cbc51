// SPDX-License-Identifier: MIT
#include "soak/wholebar.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QTest>

#include <algorithm>
#include <cstdio>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// The acts of a cycle of twenty minutes, each on the real network stack, bus and widgets. Each leaves the bar
// as it found it, and returns what was amiss.

QString quiet(WholeBar &bar)
{
    // Nothing drifts: the price every five seconds; each minute the zones with their minute candles and three
    // timeframes, from both spot markets.
    const Tally tally = bar.live(300s);
    if (tally.tickers != 60 || tally.candles != 5 * 5 * 2)
        return u"%1 price and %2 candle requests in five minutes"_s.arg(tally.tickers).arg(tally.candles);
    return {};
}

QString selections(WholeBar &bar)
{
    if (!bar.click())
        return u"a click does not open the panel"_s;
    AppState &state = bar.state();
    for (const QString &coin : {u"BTC"_s, u"SOL"_s, u"ETH"_s}) {
        state.setCoin(coin);
        bar.live(20s);
        for (const QString &label : {u"4H"_s, u"1H"_s, u"日线"_s}) {
            state.setTimeframe(label);
            bar.live(10s);
        }
    }
    bar.live(30s);
    if (!bar.popover().isVisible())
        return u"the panel closes by itself"_s;
    if (!bar.click())
        return u"a second click does not close the panel"_s;
    return state.zones().empty() || state.errorMessage() ? u"no zones after the changes"_s : QString();
}

QString neon(WholeBar &bar)
{
    AppState &state = bar.state();
    state.toggleBlingMode();
    const int before = state.blingPulse();
    const Tally tally = bar.live(120s);
    const int pulses = state.blingPulse() - before;
    state.toggleBlingMode();
    bar.live(60s);
    if (tally.tickers != 24 + 8 * 25 || pulses != 800)
        return u"neon: %1 price requests and %2 pulses in two minutes"_s.arg(tally.tickers).arg(pulses);
    return state.blingPulse() == 0 && state.multiPrices().empty() ? QString() : u"neon does not end"_s;
}

QString stocks(WholeBar &bar)
{
    AppState &state = bar.state();
    for (const MarketSegment segment : {MarketSegment::cn, MarketSegment::hk}) {
        state.setMarket(segment);
        const Tally tally = bar.live(60s);
        if (tally.quotes < 12 || state.zones().empty() || state.errorMessage())
            return u"stocks: %1 quote requests in a minute"_s.arg(tally.quotes);
    }
    state.setMarket(MarketSegment::crypto);
    bar.live(60s);
    return {};
}

QString outageAndSuspend(WholeBar &bar)
{
    AppState &state = bar.state();
    const auto price = state.price();
    const std::size_t zoneCount = state.zones().size();
    bar.stopMarket();
    bar.live(70s);
    if (state.price() != price || state.zones().size() != zoneCount || !state.errorMessage())
        return u"an outage changes what is shown"_s;
    bar.startMarket();
    const auto updated = state.lastUpdated();
    bar.suspend(3600s);
    if (!waitFor([&] { return state.lastUpdated() != updated && !state.isLoading(); }))
        return u"no refresh after the suspend"_s;
    bar.live(110s);
    return state.errorMessage() ? u"an outage leaves its message"_s : QString();
}

QString hostRestart(WholeBar &bar)
{
    const qsizetype registered = bar.watcher().items.size();
    bar.watcher().stop();
    bar.live(10s);
    bar.watcher().start();
    if (!waitFor([&] { return bar.watcher().items.size() > registered; }))
        return u"the item does not register with the new host"_s;
    bar.watcher().items.remove(0, registered);
    return {};
}

QString alarms(WholeBar &bar)
{
    AppState &state = bar.state();
    const int sounds = bar.attention().soundCount;
    state.addAlert(*state.price() * 2, {}, true); // at once
    state.addAlert(*state.price() * 3, {}, false);
    bar.live(60s);
    const bool rang = bar.attention().soundCount > sounds && state.pulsePhase() > 0;
    while (!state.alerts().empty()) {
        const QString id = state.alerts().front().id;
        state.dismissAlert(id);
        state.removeAlert(id);
    }
    bar.live(60s);
    if (!rang)
        return u"no alert rang"_s;
    return state.pulsePhase() == 0 ? QString() : u"the pulse goes on without an alert"_s;
}

/// With a full panel: every zone row that may show, the help aside. A leak of one object a cycle exceeds it
/// within two days.
constexpr qint64 mostObjects = 500;
constexpr int keptConnections = 6;

Inventory largest(const Inventory &a, const Inventory &b)
{
    return {.bytesInUse = std::max(a.bytesInUse, b.bytesInUse),
            .objects = std::max(a.objects, b.objects),
            .threads = std::max(a.threads, b.threads),
            .files = std::max(a.files, b.files),
            .sleepers = std::max(a.sleepers, b.sleepers)};
}

QString cycle(WholeBar &bar)
{
    for (const auto act : {quiet, selections, neon, stocks, outageAndSuspend, hostRestart, alarms}) {
        if (const QString amiss = act(bar); !amiss.isEmpty())
            return amiss;
    }
    return {};
}

} // namespace

/// Simulated hours, as many as KESTRUNE_SOAK_HOURS says, else one: the whole program stays as it is.
class WholeBarSoakTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aLongLifeLeavesNoTrace();
};

void WholeBarSoakTest::aLongLifeLeavesNoTrace()
{
    bool given = false;
    const int wanted = qEnvironmentVariableIntValue("KESTRUNE_SOAK_HOURS", &given);
    const int cycles = 3 * (given ? wanted : 1);
    // Glyphs and icons that were drawn are kept for the next time, up to a bound that takes days to reach; a
    // leak goes on.
    const bool isLong = cycles >= 72;
    const int warmUp = isLong ? cycles / 3 : 1;
    const qint64 slack = isLong ? 192 * 1024 : 1024 * 1024;
    WholeBar bar;
    bar.state().timeframe = u"日线"_s;
    bar.live(120s);
    QVERIFY(waitFor([&] { return !bar.watcher().items.isEmpty(); }));
    Inventory before;
    Inventory most;
    for (int i = 0; i < cycles; ++i) {
        const QString amiss = cycle(bar);
        QVERIFY2(amiss.isEmpty(), qPrintable(u"cycle %1: %2"_s.arg(i).arg(amiss)));
        const Inventory now = bar.inventory();
        if (i < warmUp)
            before = now;
        else
            QCOMPARE(now.sleepers, before.sleepers);
        most = i < warmUp ? now : largest(most, now);
    }
    std::printf(
        "%d cycles of twenty minutes; from the %dth on at most %+lld bytes, %lld objects, %d threads, "
        "%d files\n",
        cycles, warmUp, static_cast<long long>(most.bytesInUse - before.bytesInUse),
        static_cast<long long>(most.objects), most.threads, most.files);
    std::fflush(stdout);
    QVERIFY2(most.bytesInUse - before.bytesInUse < slack, "memory grows");
    QVERIFY2(most.objects < mostObjects, "objects pile up");
    QCOMPARE(most.threads, before.threads);
    QVERIFY2(most.files <= before.files + keptConnections, "files or sockets pile up");
    QVERIFY2(bar.warnings().isEmpty(), qPrintable(bar.warnings().join(u'\n')));
}

KESTRUNE_TEST(WholeBarSoakTest)
#include "tst_wholebar.moc"
