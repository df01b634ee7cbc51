// SPDX-License-Identifier: MIT
#include "support/appfixture.h"
#include "support/tasks.h"
#include "support/testregistry.h"

#include <QTest>

#include <limits>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

Zone zoneAt(const QString &type, double mid)
{
    return {mid - 1, mid + 1, mid, {}, 0, 1, false, type, {}, {}};
}

/// A state on which the test calls the prices; its own price loop brings the same.
class AlertDay : public AppFixture
{
public:
    explicit AlertDay(double price)
    {
        serveCrypto(price);
        start();
        state->decimals = 2;
    }

    void priceIs(double price)
    {
        tickTo(price);
        begin(state->refreshPrice());
        drainEvents();
    }
    [[nodiscard]] const PriceAlert &alert(std::size_t index = 0) const { return state->alerts().at(index); }
    [[nodiscard]] std::vector<PriceAlert> saved() const
    {
        return decodeAlerts(preferences.data(u"ks_alerts"_s).value_or(QByteArray()))
            .value_or(std::vector<PriceAlert>());
    }
    [[nodiscard]] double seconds() const { return epochSeconds(clock.now()); }
};

} // namespace

class AppStateAlertsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void anAlertLooksWhereThePriceMustGo_data();
    void anAlertLooksWhereThePriceMustGo();
    void aDayOfOneAlert();
    void theCooldownCountsFromTheAcknowledgement();
    void aRestartInBetweenBringsBackTheLastSave();
    void severalAtOnceRingOnce();
    void onlyTheUsersOperationsSave();
    void theZoneBell();
    void otherInstrumentsAreLeftAlone();
    void planAlerts_data();
    void planAlerts();
    void aPriceThatIsNoNumberIsNoPrice();
    void thePulseCountsAndCostsNothingWhenIdle();
    void thePulseFollowsTheSelection();
};

void AppStateAlertsTest::anAlertLooksWhereThePriceMustGo_data()
{
    QTest::addColumn<bool>("priced");
    QTest::addColumn<double>("target");
    QTest::addColumn<bool>("above");
    QTest::addColumn<bool>("fires");
    QTest::newRow("above the price it waits for a rise") << true << 105.0 << true << false;
    QTest::newRow("below the price it waits for a fall") << true << 95.0 << false << false;
    QTest::newRow("at the price it waits for a fall and fires") << true << 100.0 << false << true;
    QTest::newRow("without a price it waits for a fall") << false << 105.0 << false << false;
}

void AppStateAlertsTest::anAlertLooksWhereThePriceMustGo()
{
    QFETCH(bool, priced);
    QFETCH(double, target);
    QFETCH(bool, above);
    QFETCH(bool, fires);
    AlertDay day(100);
    if (!priced)
        day.state->price = std::nullopt;
    day.state->addAlert(target);
    QCOMPARE(day.alert().above, above);
    QCOMPARE(day.alert().triggered, fires);
    QCOMPARE(day.alert().label, u"手动 %1.00"_s.arg(target));
    QCOMPARE(day.alert().symbol, u"ETH"_s);
    QCOMPARE(day.alert().id.size(), 36);
    QCOMPARE(day.alert().id, day.alert().id.toUpper());
    drainEvents();
    QCOMPARE(day.attention.soundCount, fires ? 1 : 0);
}

void AppStateAlertsTest::aDayOfOneAlert()
{
    AlertDay day(100);
    day.state->addAlert(105);
    QVERIFY(!day.alert().triggered);
    day.priceIs(104.99);
    QVERIFY(!day.alert().triggered);
    day.priceIs(105);
    QVERIFY(day.alert().triggered && day.state->alertActive());
    QCOMPARE(day.alert().lastFiredAt, day.seconds());
    QCOMPARE(day.attention.soundCount, 1);
    const double fired = day.seconds();
    day.tickTo(106);
    day.clock.advance(5s); // already triggered: holds, silently
    QVERIFY(day.alert().triggered);
    QCOMPARE(day.alert().lastFiredAt, fired);
    day.priceIs(104); // re-arms at once
    QVERIFY(!day.alert().triggered && !day.state->alertActive());
    QCOMPARE(day.alert().lastFiredAt, fired);
    day.priceIs(105); // but stays silent for two minutes after the firing
    QVERIFY(!day.alert().triggered);
    day.clock.setNow(Instant(std::chrono::seconds(qint64(fired))) + 121s);
    day.priceIs(105);
    QVERIFY(day.alert().triggered);
    QCOMPARE(day.attention.soundCount, 2);
}

void AppStateAlertsTest::theCooldownCountsFromTheAcknowledgement()
{
    AlertDay day(106);
    day.state->addAlert(105, u"own label"_s, true);
    QVERIFY(day.alert().triggered);
    QCOMPARE(day.alert().label, u"own label"_s);
    day.clock.advance(60s);
    const double acknowledged = day.seconds();
    day.state->dismissAlert(day.alert().id);
    QVERIFY(!day.alert().triggered);
    QCOMPARE(day.alert().lastFiredAt, acknowledged);
    QCOMPARE(day.saved(), day.state->alerts());
    day.clock.advance(120s); // the pass of the price loop at 120.0 s is still silent
    QVERIFY(!day.alert().triggered);
    day.clock.advance(5s);
    QVERIFY(day.alert().triggered);
    QCOMPARE(day.alert().lastFiredAt, acknowledged + 125);
    QCOMPARE(day.attention.soundCount, 2);
}

void AppStateAlertsTest::aRestartInBetweenBringsBackTheLastSave()
{
    AlertDay day(100);
    day.state->addAlert(105);
    const auto saved = day.saved();
    day.priceIs(106); // fires, which is not saved
    QVERIFY(day.alert().triggered);
    QCOMPARE(day.saved(), saved);
    day.start();
    QVERIFY(day.alert().triggered); // restored armed, it has fired again
    QCOMPARE(day.attention.soundCount, 2);

    day.state->addAlert(200); // saves the firing along
    QVERIFY(day.saved().front().triggered);
    day.tickTo(104);
    day.create();
    QVERIFY(day.state->alertActive()); // restored as saved
    drainEvents();
    QVERIFY(!day.alert().triggered); // the first price has re-armed it
    QVERIFY(day.saved().front().triggered);
    QCOMPARE(day.attention.soundCount, 2);
}

void AppStateAlertsTest::severalAtOnceRingOnce()
{
    AlertDay day(100);
    day.state->addAlert(105);
    day.state->addAlert(105); // no check for duplicates
    day.state->addAlert(95);
    day.announcements.clear();
    day.priceIs(110);
    QVERIFY(day.alert(0).triggered && day.alert(1).triggered && !day.alert(2).triggered);
    QCOMPARE(day.announcements.count(u"alerts"_s), 1);
    QCOMPARE(day.attention.soundCount, 1);
    day.announcements.clear();
    day.priceIs(111); // nothing changes, nothing is announced
    QCOMPARE(day.announcements.count(u"alerts"_s), 0);
}

void AppStateAlertsTest::onlyTheUsersOperationsSave()
{
    AlertDay day(100);
    day.clearLogs();
    day.state->addAlert(90, {}, true); // hit at once: saved first, then evaluated
    QCOMPARE(day.preferences.writes().size(), 1);
    QVERIFY(!day.saved().front().triggered && day.alert().triggered);
    QCOMPARE(day.announcements, (QStringList{u"alerts"_s, u"alerts"_s}));
    day.priceIs(80);
    day.priceIs(100);
    QCOMPARE(day.preferences.writes().size(), 1);
    day.state->dismissAlert(u"unknown"_s); // nothing at all
    QCOMPARE(day.preferences.writes().size(), 1);
    day.state->removeAlert(u"unknown"_s); // nothing, but saves
    QCOMPARE(day.preferences.writes().size(), 2);
    day.state->removeAlert(day.alert().id);
    QVERIFY(day.state->alerts().empty() && day.saved().empty());
    QCOMPARE(day.preferences.writes().size(), 3);
}

void AppStateAlertsTest::theZoneBell()
{
    AlertDay day(1990);
    const Zone support = zoneAt(u"support"_s, 2000);
    day.state->toggleZoneAlert(support); // the price is below already: fires at once
    QCOMPARE(day.alert().label, u"支撑 2,000.00"_s);
    QVERIFY(!day.alert().above && day.alert().triggered);
    QVERIFY(day.state->hasAlert(2000 + 5e-10));
    QVERIFY(!day.state->hasAlert(2000 + 2e-9));
    day.state->addAlert(2000);
    const QString second = day.alert(1).id;
    day.state->toggleZoneAlert(support); // takes the first away, the double stays
    QCOMPARE(day.state->alerts().size(), std::size_t(1));
    QCOMPARE(day.alert().id, second);
    day.state->toggleZoneAlert(support);
    QVERIFY(day.state->alerts().empty() && day.saved().empty());

    day.state->toggleZoneAlert(zoneAt(u"resistance"_s, 2100));
    QCOMPARE(day.alert().label, u"阻力 2,100.00"_s);
    QVERIFY(day.alert().above);
    day.state->toggleZoneAlert(zoneAt(u"current"_s, 1985));
    QCOMPARE(day.alert(1).label, u"支撑 1,985.00"_s);
    QVERIFY(!day.alert(1).above);
}

void AppStateAlertsTest::otherInstrumentsAreLeftAlone()
{
    AlertDay day(100);
    day.state->addAlert(105);
    day.priceIs(106);
    QVERIFY(day.alert().triggered);
    day.state->setCoin(u"BTC"_s);
    drainEvents();
    day.state->addAlert(300);
    QVERIFY(!day.state->alertActive());
    QCOMPARE(day.state->currentAlerts().size(), std::size_t(1));
    QVERIFY(!day.state->hasAlert(105));
    day.priceIs(90); // would re-arm the first
    day.priceIs(400);
    QVERIFY(day.alert(0).triggered && day.alert(1).triggered);
    day.state->setCoin(u"ETH"_s);
    QVERIFY(day.state->alertActive());
    QCOMPARE(day.state->currentAlerts().front().targetPrice, 105.0);
}

void AppStateAlertsTest::planAlerts_data()
{
    QTest::addColumn<bool>("isLong");
    QTest::addColumn<bool>("target");
    QTest::addColumn<QString>("expected");
    QTest::newRow("long") << true << true << u"止盈 110.00 rise, 止损 90.00 fall"_s;
    QTest::newRow("short") << false << true << u"止盈 110.00 fall, 止损 90.00 rise"_s;
    QTest::newRow("a trend run has no target") << true << false << u"止损 90.00 fall"_s;
}

void AppStateAlertsTest::planAlerts()
{
    QFETCH(bool, isLong);
    QFETCH(bool, target);
    QFETCH(QString, expected);
    AlertDay day(100);
    TradePlan plan;
    plan.dir = isLong ? TradeDirection::long_ : TradeDirection::short_;
    plan.sl = 90;
    plan.tp = target ? std::optional(110.0) : std::nullopt;
    day.state->addPlanAlerts(plan);
    QStringList parts;
    for (const PriceAlert &alert : day.saved())
        parts.append(alert.label + (alert.above ? u" rise"_s : u" fall"_s));
    QCOMPARE(parts.join(u", "_s), expected);
}

void AppStateAlertsTest::aPriceThatIsNoNumberIsNoPrice()
{
    AlertDay day(100);
    day.state->addAlert(105);
    day.priceIs(106);
    for (const double odd :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity()}) {
        day.priceIs(odd);
        QVERIFY(day.alert().triggered); // nothing re-arms
    }
    QCOMPARE(day.attention.soundCount, 1);
    day.priceIs(-5); // any finite price follows the rule
    QVERIFY(!day.alert().triggered);
}

void AppStateAlertsTest::thePulseCountsAndCostsNothingWhenIdle()
{
    AlertDay day(100);
    QCOMPARE(day.clock.sleeperCount(), 2); // price and zones only
    day.state->addAlert(105);
    day.clock.advance(1s);
    QVERIFY(!day.announcements.contains(u"pulsePhase"_s));
    QCOMPARE(day.clock.sleeperCount(), 2);
    day.priceIs(106);
    QCOMPARE(day.clock.sleeperCount(), 3);
    day.clock.advance(399ms);
    QCOMPARE(day.state->pulsePhase(), 0);
    day.clock.advance(1ms);
    QCOMPARE(day.state->pulsePhase(), 1);
    day.clock.advance(2s);
    QCOMPARE(day.state->pulsePhase(), 6);
    day.state->dismissAlert(day.alert().id);
    QCOMPARE(day.state->pulsePhase(), 6);
    day.clock.advance(400ms);
    QCOMPARE(day.state->pulsePhase(), 0);
    QCOMPARE(day.clock.sleeperCount(), 2); // and asleep again
    day.announcements.clear();
    day.clock.advance(4s);
    QVERIFY(!day.announcements.contains(u"pulsePhase"_s));
}

void AppStateAlertsTest::thePulseFollowsTheSelection()
{
    AlertDay day(106);
    day.state->addAlert(105, {}, true);
    day.clock.advance(800ms);
    QCOMPARE(day.state->pulsePhase(), 2);
    day.tickTo(50);
    day.state->setCoin(u"BTC"_s);
    day.clock.advance(400ms);
    QCOMPARE(day.state->pulsePhase(), 0);
    QCOMPARE(day.clock.sleeperCount(), 2);
    day.tickTo(106);
    day.state->setCoin(u"ETH"_s);
    day.clock.advance(400ms);
    QCOMPARE(day.state->pulsePhase(), 1);
    // Replacing the loops keeps one pulse; the replaced one counts once more.
    day.state->startTimers();
    drainEvents();
    QCOMPARE(day.state->pulsePhase(), 2);
    QCOMPARE(day.clock.sleeperCount(), 3);
    day.clock.advance(400ms);
    QCOMPARE(day.state->pulsePhase(), 3);
    // Restored alerts pulse from the start.
    day.state->addAlert(1); // saves
    day.start();
    day.clock.advance(400ms);
    QCOMPARE(day.state->pulsePhase(), 1);
}

KESTRUNE_TEST(AppStateAlertsTest)
#include "tst_appstate_alerts.moc"
