// SPDX-License-Identifier: MIT
#include "support/appfixture.h"
#include "support/tasks.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString hkCodes = u"hk00700,hk09988,hk03690,hk01810,hk00005,hk00939,hk01299,hk09618"_s;
const QString cnCodes = u"sh600519,sz000001,sz000858,sh601318,sz000651,sh600036,sz000333,sh600276"_s;
const QString coins = u"BTC ETH SOL BNB XRP DOGE ADA LINK"_s;

QString spelled(const std::vector<SymbolPrice> &entries)
{
    QStringList parts;
    for (const SymbolPrice &entry : entries) {
        parts.append(entry.price ? u"%1:%2"_s.arg(entry.symbol).arg(*entry.price) : entry.symbol);
    }
    return parts.join(u' ');
}

void serveHongKong(AppFixture &app)
{
    app.preferences.preset(u"ks_market"_s, u"港股"_s);
    app.preferences.preset(u"ks_coin"_s, u"hk00700"_s);
    app.serveStock(u"hk00700"_s, 380);
}

} // namespace

class AppStateBlingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void switchingOnAndOff();
    void theSameValueAgainRepeatsTheHandling();
    void cryptoSignsStandInTheOrderOfArrival();
    void stocksComeInOneRequest();
    void theLoopsKeepTheirPeriods();
    void anOffOnCycleLeavesOneOfEachLoop();
    void aRefreshThatEndsAfterSwitchingOffStillShows();
    void selectionChanges();
};

void AppStateBlingTest::switchingOnAndOff()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    state.miniMode = true;
    app.clearLogs();
    state.toggleBlingMode();
    QCOMPARE(app.announcements, (QStringList{u"blingMode"_s, u"miniMode"_s, u"multiPrices"_s}));
    QCOMPARE(app.preferences.writes(), (QStringList{u"ks_bling=true"_s, u"ks_mini=false"_s}));
    QCOMPARE(spelled(state.multiPrices()), coins);
    QVERIFY(app.lines().isEmpty());
    drainEvents();
    QCOMPARE(app.lines().size(), 8);
    QCOMPARE(app.announcements.mid(3), (QStringList{u"multiPrices"_s, u"lastUpdated"_s}));
    QCOMPARE(app.clock.sleeperCount(), 4);
    app.clock.advance(300ms);
    QCOMPARE(state.blingPulse(), 2);

    app.clearLogs();
    state.toggleBlingMode();
    QCOMPARE(app.announcements,
             (QStringList{u"blingMode"_s, u"blingPulse"_s, u"multiPrices"_s, u"miniMode"_s}));
    QCOMPARE(app.preferences.writes(), (QStringList{u"ks_bling=false"_s, u"ks_mini=true"_s}));
    QVERIFY(state.multiPrices().empty() && state.miniMode());
    QCOMPARE(state.blingPulse(), 0);
    drainEvents();
    QCOMPARE(app.clock.sleeperCount(), 2); // both loops have ended
    app.clock.advance(4s);
    QVERIFY(app.lines().isEmpty());
    QCOMPARE(state.blingPulse(), 0);
}

void AppStateBlingTest::theSameValueAgainRepeatsTheHandling()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    state.blingMode = false; // off already: still lands in the compact title
    QVERIFY(state.miniMode());
    QCOMPARE(app.preferences.writes(), (QStringList{u"ks_bling=false"_s, u"ks_mini=true"_s}));
    state.blingMode = true;
    state.blingMode = true;
    QVERIFY(!state.miniMode());
    drainEvents();
    QCOMPARE(app.lines().size(), 16);
    QCOMPARE(app.clock.sleeperCount(), 4);
}

void AppStateBlingTest::cryptoSignsStandInTheOrderOfArrival()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    const QString late = gateTickerLine(u"BTC"_s);
    app.crypto.hold(late);
    app.crypto.fail(gateTickerLine(u"SOL"_s));
    app.crypto.answer(binanceTickerLine(u"SOL"_s), binanceTicker(150));
    app.crypto.fail(gateTickerLine(u"ADA"_s)); // and so does the other source
    state.blingMode = true;
    drainEvents();
    QCOMPARE(spelled(state.multiPrices()), coins); // all or nothing
    app.crypto.release(late, gateTicker(60000));
    QCOMPARE(spelled(state.multiPrices()),
             u"ETH:3000 BNB:3000 XRP:3000 DOGE:3000 LINK:3000 SOL:150 ADA BTC:60000"_s);
    QCOMPARE(state.multiPrices().front().change, 1.5);
    QCOMPARE(state.price(), 3000.0);
    KESTRUNE_VERIFY_APP(app);
}

void AppStateBlingTest::stocksComeInOneRequest()
{
    AppFixture app;
    serveHongKong(app);
    AppState &state = app.start();
    app.stock.answer(quoteLine(hkCodes), stockQuotes({{"hk09988", "B", 80, 1}, {"hk00700", "A", 380, -2}}));
    state.blingMode = true;
    QCOMPARE(spelled(state.multiPrices()), u"00700 09988 03690 01810 00005 00939 01299 09618"_s);
    drainEvents();
    // In the list's own order; what was not answered drops out.
    QCOMPARE(app.lines(), QStringList{quoteLine(hkCodes)});
    QCOMPARE(spelled(state.multiPrices()), u"00700:380 09988:80"_s);
    QCOMPARE(state.multiPrices().front().change, -2.0);

    app.stock.fail(quoteLine(hkCodes));
    app.clock.setNow(app.clock.now() + 1s);
    begin(state.refreshBlingPrices());
    drainEvents();
    QCOMPARE(spelled(state.multiPrices()), u"00700 09988 03690 01810 00005 00939 01299 09618"_s);
    QCOMPARE(state.lastUpdated(), app.clock.now());
    QVERIFY(!state.errorMessage());
    KESTRUNE_VERIFY_APP(app);
}

void AppStateBlingTest::theLoopsKeepTheirPeriods()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    state.blingMode = true;
    drainEvents();
    app.clearLogs();
    app.clock.advance(4999ms);
    QVERIFY(app.lines().isEmpty());
    app.crypto.hold(gateTickerLine(u"XRP"_s));
    app.clock.advance(1ms);
    QCOMPARE(app.lines().size(), 9); // with the selected instrument's own
    app.clearLogs();
    app.clock.advance(20s); // a stalled refresh is never overlapped by its loop
    QCOMPARE(app.lines().size(), 4);
    QCOMPARE(state.blingPulse(), 166);
    app.crypto.release(gateTickerLine(u"XRP"_s), gateTicker(2));
    app.clearLogs();
    app.clock.advance(5s);
    QCOMPARE(app.lines().size(), 9);
    KESTRUNE_VERIFY_APP(app);
}

void AppStateBlingTest::anOffOnCycleLeavesOneOfEachLoop()
{
    AppFixture app;
    app.serveCrypto(3000);
    AppState &state = app.start();
    state.blingMode = true;
    app.clock.advance(1s);
    for (int i = 0; i < 5; ++i) {
        state.toggleBlingMode();
        state.toggleBlingMode();
    }
    drainEvents();
    QCOMPARE(app.clock.sleeperCount(), 4);
    const int afterTheCycles = state.blingPulse();
    QVERIFY(afterTheCycles <= 1); // the replaced loop's last pass at most
    app.clock.advance(1500ms);
    QCOMPARE(state.blingPulse(), afterTheCycles + 10);
    state.stopBlingPulse();
    QCOMPARE(state.blingPulse(), 0);
    drainEvents();
    QCOMPARE(app.clock.sleeperCount(), 3);
}

void AppStateBlingTest::aRefreshThatEndsAfterSwitchingOffStillShows()
{
    AppFixture app;
    serveHongKong(app);
    AppState &state = app.start();
    app.stock.hold(quoteLine(hkCodes));
    state.blingMode = true;
    drainEvents();
    state.blingMode = false;
    QVERIFY(state.multiPrices().empty());
    app.stock.release(quoteLine(hkCodes), stockQuotes({{"hk00700", "A", 380, 0}}));
    QCOMPARE(spelled(state.multiPrices()), u"00700:380"_s);
    KESTRUNE_VERIFY_APP(app);
}

void AppStateBlingTest::selectionChanges()
{
    AppFixture app;
    app.serveCrypto(3000);
    app.serveStock(u"sh600519"_s, 1500);
    AppState &state = app.start();
    state.setCoin(u"BTC"_s); // off: no sign is touched
    QVERIFY(!app.announcements.contains(u"multiPrices"_s));
    state.blingMode = true;
    drainEvents();
    app.clearLogs();
    app.stock.hold(quoteLine(cnCodes));
    state.setMarket(MarketSegment::cn);
    QCOMPARE(spelled(state.multiPrices()), u"600519 000001 000858 601318 000651 600036 000333 600276"_s);
    drainEvents();
    QCOMPARE(app.lines().first(), quoteLine(cnCodes));
    app.stock.release(quoteLine(cnCodes), stockQuotes({{"sz000333", "M", 60, 0}}));
    QCOMPARE(spelled(state.multiPrices()), u"000333:60"_s);
    app.stock.answer(quoteLine(cnCodes), {});
    app.serveStock(u"sz000001"_s, 12);
    state.setCoin(u"sz000001"_s); // the same eight again
    QCOMPARE(spelled(state.multiPrices()), u"600519 000001 000858 601318 000651 600036 000333 600276"_s);
    drainEvents();
    KESTRUNE_VERIFY_APP(app);
}

KESTRUNE_TEST(AppStateBlingTest)
#include "tst_appstate_bling.moc"
