// SPDX-License-Identifier: MIT
#include "marketday.h"
#include "state/alertlog.h"
#include "support/rows.h"

#include <QDateTime>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// What is around the rule: instruments that are not shown, messages, the log, zones that are followed.
class AppStateAlertDeskTest : public QObject
{
    Q_OBJECT

    /// ETH is selected and stays at 3 000 unless told otherwise; alerts are put there as another bar would.
    class Desk : public MarketDay
    {
    public:
        explicit Desk(const QStringList &others = {}) : MarketDay(3000)
        {
            for (const QString &symbol : others)
                put({symbol + u"-id"_s, 100, true, symbol, u"label"_s, false, {}});
            clearLogs();
        }
        void put(const PriceAlert &alert) { state->restoreAlert(alert); }
        void pass(std::chrono::milliseconds duration)
        {
            clearLogs();
            clock.advance(duration);
        }
        void otherIs(const QString &coin, double price)
        {
            crypto.answerAlways(gateTickerLine(coin), gateTicker(price));
        }
        [[nodiscard]] const PriceAlert &alert(std::size_t index = 0) const
        {
            return state->alerts().at(index);
        }
        [[nodiscard]] QString titles() const
        {
            QStringList all;
            for (const Notice &notice : attention.notices)
                all.append(notice.title);
            return all.join(u", "_s);
        }
        /// Requests for prices, besides those of ETH.
        [[nodiscard]] QString others() const
        {
            QStringList all = lines().filter(u"tickers"_s) + lines().filter(u"/q="_s);
            all.removeAll(gateTickerLine(u"ETH"_s));
            return all.replaceInStrings(gateTickerLine({}).chopped(5), QString())
                .replaceInStrings(u"_USDT"_s, QString())
                .join(u' ');
        }
    };
    static Zone zoneAt(double mid, double price)
    {
        return Zone(mid - 1, mid + 1, mid, {}, (mid - price) / price * 100, 1, false,
                    mid < price ? u"support"_s : u"resistance"_s);
    }

private Q_SLOTS:
    void aFiringElsewhereIsToldOnceAndRemembered()
    {
        Desk day({u"BTC"_s});
        day.otherIs(u"BTC"_s, 99);
        day.pass(15s);
        QCOMPARE(day.attention.soundCount, 0);
        day.otherIs(u"BTC"_s, 101.5);
        day.pass(60s);
        QVERIFY(day.alert().triggered && !day->alertActive() && day->firedElsewhere() == 1);
        QCOMPARE(day.attention.soundCount, 1);
        QCOMPARE(day.attention.notices,
                 (std::vector{Notice{u"BTC-id"_s, u"BTC 触及 100.0"_s, u"上涨触及 · 现价 101.5 · label"_s}}));
        QCOMPARE(day->firedAlerts().at(0).firedPrice, std::optional(101.5));
        QCOMPARE(day->alertLog().entries().size(), 1U);
        day.attention.answerNotice(u"nobody"_s, NoticeChoice::acknowledge);
        day.attention.answerNotice(u"BTC-id"_s, NoticeChoice::open);
        QCOMPARE(day->alertToShow(), std::optional(u"BTC-id"_s));
        QCOMPARE(day->coinSymbol(), u"BTC"_s);
        QVERIFY(day->alertActive());
        day.attention.answerNotice(u"BTC-id"_s, NoticeChoice::acknowledge);
        const AlertLogEntry told = day->alertLog().entries().at(0);
        QVERIFY(told.acknowledgedAt && told.acknowledgedWhere == u"notification" && !told.away);
        QCOMPARE(day.attention.withdrawn, std::vector{u"BTC-id"_s});
    }

    void silentForLonger()
    {
        Desk day({u"BTC"_s});
        day->desktopNotices = false; // and without messages
        day.otherIs(u"BTC"_s, 101);
        day.pass(15s);
        day->snoozeAlert(u"BTC-id"_s);
        QCOMPARE(decodeAlerts(day.preferences.json(u"ks_alerts"_s))->at(0).snoozed, true);
        day.pass(600s);
        QCOMPARE(day.attention.soundCount, 1);
        day.pass(15s);
        QCOMPARE(day.attention.soundCount, 2);
        QVERIFY(day.alert().triggered && !day.alert().snoozed && day.attention.notices.empty());
    }

    void whatIsAskedAndWhen()
    {
        const QString stocks = u"/q=hk00700,sh600519"_s;
        Desk day({u"BTC"_s, u"BTC"_s, u"SOL"_s, u"sh600519"_s, u"hk00700"_s});
        const auto quotes = [&](const QByteArray &stamp) {
            const QByteArray body =
                stockQuotes({{"sh600519", "", 99, 0, stamp}, {"hk00700", "", 99, 0, stamp}});
            for (const QString &line : {stocks, quoteLine(u"sh600519"_s), quoteLine(u"hk00700"_s)})
                day.stock.answerAlways(line, body);
        };
        quotes("0");
        day.clock.setNow(Instant(std::chrono::seconds(1767664800))); // Tuesday, 10:00 in Shanghai
        day.pass(14999ms);
        QCOMPARE(day.others(), QString());
        day.pass(1ms);
        QCOMPARE(day.others(), u"BTC SOL "_s + stocks);
        day->removeAlert(u"BTC-id"_s);
        day->removeAlert(u"SOL-id"_s);
        // After the hours, 16:09, one quote of Shanghai is enough; those of Hong Kong come late.
        day.clock.setNow(Instant(std::chrono::seconds(1767688200 - 1260)));
        day.clock.passSteady(6h);
        day.pass(60s);
        QCOMPARE(day.others(), (QStringList{stocks, quoteLine(u"hk00700"_s), quoteLine(u"hk00700"_s),
                                            quoteLine(u"hk00700"_s)})
                                   .join(u' '));
        quotes("20260106160800"); // of the closing auction
        day.pass(60s);
        QCOMPARE(day.others(), quoteLine(u"hk00700"_s));
        day->removeAlert(u"sh600519-id"_s);
        day->removeAlert(u"hk00700-id"_s);
        day.pass(15s);
        QCOMPARE(day.clock.sleeperCount(), 3); // nothing to watch: price, zones, ages
    }

    void whatNeonModeHasFetchedIsNotAskedAgain()
    {
        Desk day({u"BTC"_s, u"TON"_s});
        day.otherIs(u"BTC"_s, 99);
        day->toggleBlingMode();
        day.pass(15s);
        QCOMPARE(day.lines().filter(gateTickerLine(u"BTC"_s)).size(), 4); // at once, then every five seconds
        QCOMPARE(day.lines().filter(gateTickerLine(u"TON"_s)).size(), 1);
        QCOMPARE(day.attention.soundCount, 1); // TON is at 3 000
        day.otherIs(u"BTC"_s, 101);
        day.pass(5s); // sooner than by itself
        QCOMPARE(day.attention.soundCount, 2);
    }

    void whatFailsIsLeftAloneForAWhileUntilTheMachineWakes()
    {
        Desk day({u"BTC"_s});
        day.crypto.failAlways(gateTickerLine(u"BTC"_s));
        day.pass(300s);
        const auto asked = day.lines().filter(gateTickerLine(u"BTC"_s)).size();
        QVERIFY2(asked >= 5 && asked <= 9, qPrintable(QString::number(asked)));
        day.otherIs(u"BTC"_s, 101);
        day->setAway(true);
        day->refreshNow();
        day->setAway(false);
        day.pass(0ms);
        QCOMPARE(day.attention.soundCount, 1);
        QVERIFY(day->alertLog().entries().at(0).away);
        day->dismissAlert(u"BTC-id"_s);
        day.pass(135s);
        QVERIFY(!day->alertLog().entries().at(1).away);
    }

    void onlyItsOwnBelievedPriceAndOnlyOnce()
    {
        Desk day({u"BTC"_s});
        day.otherIs(u"BTC"_s, 50);
        day.pass(15s);
        for (const double strange : {50 * 8.1, 0.0, -1.0, 50.0}) {
            day.otherIs(u"BTC"_s, strange);
            day.pass(15s);
        }
        QCOMPARE(day.attention.soundCount, 0);
        day.otherIs(u"BTC"_s, 50 * 8.1);
        day.crypto.hold(gateTickerLine(u"BTC"_s));
        day.pass(30s); // not asked again while an answer is awaited
        QCOMPARE(day.lines().filter(gateTickerLine(u"BTC"_s)).size(), 1);
        day->setCoin(u"BTC"_s);
        day.crypto.answer(gateTickerLine(u"BTC"_s), gateTicker(99));
        drainEvents();
        day.crypto.release(gateTickerLine(u"BTC"_s), gateTicker(101)); // of when it was watched
        QCOMPARE(day.attention.soundCount, 0);
        day.crypto.hold(gateTickerLine(u"BTC"_s));
        day.run(day->refreshPrice());
        day->setCoin(u"ETH"_s);
        drainEvents();
        day.crypto.release(gateTickerLine(u"BTC"_s), gateTicker(102)); // of when it was selected
        QCOMPARE(day.attention.soundCount, 1);
    }

    void aRestartRingsNothingAgain()
    {
        Desk day;
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"alerts.jsonl"_s);
        const auto restart = [&] {
            day.state = AppState::create(
                {day.crypto, day.stock, day.clock, day.preferences, day.attention, Endpoints::live(), path});
            drainEvents();
        };
        restart();
        day->addAlert(2900, u"x"_s, true);
        for (const int expected : {1, 1, 2}) {
            drainEvents();
            QCOMPARE(day.attention.soundCount, expected);
            QCOMPARE(int(day->alertLog().entries().size()), expected);
            day.clock.advance(61s);
            restart();
        }
    }

    void theSameTargetInTheOtherDirectionAndARemovalTakenBack()
    {
        Desk day;
        day->addAlert(3000, u"x"_s, true);
        drainEvents();
        const QString id = day.alert().id;
        day->rearmAlert(id); // at the target itself: not at once
        QVERIFY(!day.alert().above && !day.alert().triggered && day.alert().lastFiredAt);
        day.priceIs(3001);
        day->rearmAlert(id);
        QVERIFY(day.alert().above && !day.alert().triggered && !day.alert().lastFiredAt);
        day->evaluateAlerts();
        QVERIFY(day.alert().triggered);
        const PriceAlert before = day.alert();
        day->removeAlert(id);
        QCOMPARE(day.attention.withdrawn.back(), id);
        day->restoreAlert(before);
        day->restoreAlert(before);
        QCOMPARE(day->alerts(), std::vector{before});
        day->setMarket(MarketSegment::cn);
        day->showAlertInstrument(id);
        QCOMPARE(rawValue(day->market()) + day->coinSymbol(), u"加密ETH"_s);
    }

    void anAlertGoesAlongWithItsZone()
    {
        Desk day;
        const auto zonesAre = [&](const std::vector<double> &mids, double price) {
            std::vector<Zone> zones;
            for (const double mid : mids)
                zones.push_back(zoneAt(mid, price));
            day->zones = zones;
        };
        const std::vector<double> mids{2900, 2950, 3050};
        day->lastSRCandles = {}; // the zones come from here alone
        const auto tick = [&](double price) {
            day.tickTo(price);
            day.run(day->refreshPrice()); // compared first, followed then
            zonesAre(mids, price);
            day.run(day->refreshPrice());
        };
        zonesAre(mids, 3000);
        day->followZone(day->zones().at(0));
        day->followZone(day->zones().at(1));
        day->followZone(day->zones().at(1)); // and no longer
        QVERIFY(day->follows(day->zones().at(0)) && !day->follows(day->zones().at(1)));
        QVERIFY(!day->hasAlert(2900)); // the zone's own bell is another matter
        QCOMPARE(day.alert().label, u"跟随 支撑2 · 2,900"_s);
        const auto stored = decodeAlerts(day.preferences.json(u"ks_alerts"_s));
        QCOMPARE(stored->at(0).follows, (std::optional{FollowedZone{false, 2}}));
        tick(3100); // 3 050 is a support now
        QCOMPARE(day.alert().label, u"跟随 支撑2 · 2,950"_s);
        tick(3040); // and a resistance again
        QCOMPARE(day.alert().targetPrice, 2900.0);
        tick(2910); // there is no second support: it stays
        QCOMPARE(day.alert().targetPrice, 2900.0);
        QCOMPARE(day.attention.soundCount, 0);
        tick(2890);
        QVERIFY(day.alert().triggered && day.attention.soundCount == 1);
        tick(3100); // re-armed by the price, it goes along, and in the cooldown a touch makes it wait
        QCOMPARE(day.alert().targetPrice, 2950.0);
        tick(2940);
        QVERIFY(!day.alert().triggered && day.alert().targetPrice == 2950);
        day.clock.advance(125s);
        QVERIFY(day.alert().triggered && day.attention.soundCount == 2);
    }

    void theLightIsToldOfWhenAsked()
    {
        for (const bool on : {false, true}) {
            Desk day;
            day->zoneNotices = on;
            day->signalThreshold = 1;
            day->lastSRCandles = {};
            day->zones = {zoneAt(2900, 3000)};
            day.run(day->refreshPrice());
            day->zones = {zoneAt(2900, 2920)};
            day.run(day->refreshPrice());
            QCOMPARE(day.titles(), on ? u"ETH 接近支撑 2,900 · 距 0.68 %"_s : QString());
            QCOMPARE(day.attention.soundCount, 0);
        }
    }
};

KESTRUNE_TEST(AppStateAlertDeskTest)
#include "tst_appstate_alertdesk.moc"
