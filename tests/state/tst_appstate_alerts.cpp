// SPDX-License-Identifier: MIT
#include "marketday.h"

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// When an alert fires is told with the alert rules; here is what the state does around it.
class AppStateAlertsTest : public QObject
{
    Q_OBJECT

    class Day : public MarketDay
    {
    public:
        explicit Day(double price) : MarketDay(price) { state->decimals = 2; }
        [[nodiscard]] const PriceAlert &alert(std::size_t index = 0) const
        {
            return state->alerts().at(index);
        }
        [[nodiscard]] QString saved() const { return told(*decodeAlerts(preferences.json(u"ks_alerts"_s))); }
        [[nodiscard]] QString told() const { return told(state->alerts()); }
        [[nodiscard]] static QString told(const std::vector<PriceAlert> &alerts)
        {
            QStringList parts;
            for (const PriceAlert &alert : alerts) {
                parts.append(alert.label + (alert.above ? u" rise"_s : u" fall"_s) +
                             (alert.triggered ? u" fired"_s : QString()));
            }
            return parts.join(u", "_s);
        }
    };

private Q_SLOTS:
    void aMovedAlertIsDirectedAnewAndArmed()
    {
        Day day(100);
        day->addAlert(98);
        day->addAlert(99, u"支撑 99"_s, false);
        day.priceIs(98.5);
        const QString id = day.alert().id;
        day->moveAlert(day->alerts().back().id, 102);
        day->moveAlert(id, 97);
        day->moveAlert(u"unknown"_s, 1);
        QCOMPARE(day.told(), u"手动 97.00 fall, 支撑 99 rise"_s);
        QVERIFY(day.alert().id == id && !day->alerts().back().lastFiredAt);
        day.priceIs(102.5);
        QCOMPARE(day.told(), u"手动 97.00 fall, 支撑 99 rise fired"_s);
        QCOMPARE(*settings::alerts.restored(day.preferences), [&] {
            auto stored = day->alerts(); // as it was before it fired
            stored.back().triggered = false;
            stored.back().lastFiredAt.reset();
            stored.back().firedPrice.reset();
            return stored;
        }());
    }

    void aManualAlertSoundsAfterTheCall()
    {
        Day day(100);
        day->addAlert(105);
        QCOMPARE(day.alert().symbol, u"ETH"_s);
        QCOMPARE(day.alert().id.size(), 36);
        QCOMPARE(day.alert().id, day.alert().id.toUpper());
        day->addAlert(100);
        QCOMPARE(day.told(), u"手动 105.00 rise, 手动 100.00 fall fired"_s);
        QCOMPARE(day.attention.soundCount, 0);
        drainEvents();
        QCOMPARE(day.attention.soundCount, 1);
        day.announcements.clear();
        day->addAlert(105, u"double"_s); // no check for duplicates, and both ring as one
        day.priceIs(110);
        QCOMPARE(day.told(), u"手动 105.00 rise fired, 手动 100.00 fall, double rise fired"_s);
        QCOMPARE(day.alert().lastFiredAt, epochSeconds(day.clock.now()));
        QCOMPARE(day.announcements.count(u"alerts"_s), 2);
        QCOMPARE(day.attention.soundCount, 2);
        day.priceIs(111); // nothing changes, nothing is announced
        QCOMPARE(day.announcements.count(u"alerts"_s), 2);
    }

    void theCooldownCountsFromTheAcknowledgement()
    {
        Day day(106);
        day->addAlert(105, u"own label"_s, true);
        day.clock.advance(60s);
        day->dismissAlert(day.alert().id);
        QCOMPARE(day.alert().lastFiredAt, epochSeconds(day.clock.now()));
        QCOMPARE(day.told(), u"own label rise"_s);
        QCOMPARE(day.saved(), day.told());
        day.clock.advance(120s); // the pass of the price loop at 120.0 s is still silent
        QVERIFY(!day.alert().triggered);
        day.clock.advance(5s);
        QVERIFY(day.alert().triggered);
        QCOMPARE(day.attention.soundCount, 2);
    }

    void onlyTheUsersOperationsSave()
    {
        Day day(100);
        day.clearLogs();
        day->addAlert(90, u"x"_s, true); // hit at once: saved first, then evaluated
        QCOMPARE(day.saved() + u" | "_s + day.told(), u"x rise | x rise fired"_s);
        QCOMPARE(day.announcements, (QStringList{u"alerts"_s, u"alerts"_s}));
        day.priceIs(80);
        day.priceIs(100);
        day->dismissAlert(u"unknown"_s); // nothing at all
        QCOMPARE(day.preferences.writes().size(), 1);
        day.start(); // restored armed as saved, it has fired again
        QCOMPARE(day.saved() + u" | "_s + day.told(), u"x rise | x rise fired"_s);
        day->removeAlert(u"unknown"_s); // nothing, but saves, the firing as well
        QCOMPARE(day.saved(), u"x rise fired"_s);
        day->removeAlert(day.alert().id);
        QCOMPARE(day.saved() + day.told(), QString());
        QCOMPARE(day.preferences.writes().size(), 2);
    }

    void twoBarsOverOneFolderShowAndKeepTheSame()
    {
        Day day(100);
        const auto other = AppState::create(
            {day.crypto, day.stock, day.clock, day.preferences, day.attention, Endpoints::live()});
        drainEvents();
        other->price = std::nullopt; // fires nothing by itself
        day->addAlert(105, u"mine"_s);
        day->addAlert(90, u"hit"_s, true); // saved first, fired here only
        other->addAlert(110, u"theirs"_s, true);
        const QString all = u"mine rise, hit rise, theirs rise"_s;
        QCOMPARE(day.saved() + u" | "_s + Day::told(other->alerts()), all + u" | "_s + all);
        day.announcements.clear();
        day->takeStoredAlerts();
        day->takeStoredAlerts(); // nothing new, nothing announced
        QCOMPARE(day.told(), u"mine rise, hit rise fired, theirs rise"_s);
        QCOMPARE(day.announcements, QStringList{u"alerts"_s});
        other->removeAlert(day.alert().id);
        day->dismissAlert(day.alert(1).id);
        day.preferences.setText(u"ks_alerts"_s, u"unreadable"_s);
        day->takeStoredAlerts();
        QCOMPARE(day.told(), u"hit rise, theirs rise"_s);
        day->addAlert(120, u"last"_s);
        QCOMPARE(day.saved(), u"hit rise, theirs rise, last rise"_s); // all that is known

        day->addAlert(80, u"rings"_s, true);
        day->removeAlert(u"unknown"_s); // saves the firing
        other->takeStoredAlerts();
        day.clock.advance(400ms);
        QCOMPARE(other->pulsePhase(), 1);
    }

    void theZoneBellAndThePlan()
    {
        Day day(1990);
        const auto zoneAt = [](double mid, const QString &type) {
            return Zone(mid - 1, mid + 1, mid, {}, 0, 1, false, type);
        };
        const Zone support = zoneAt(2000, u"support"_s);
        day->toggleZoneAlert(support); // the price is below already: fires at once
        QVERIFY(day->hasAlert(2000));
        day->addAlert(2000);
        QCOMPARE(day.told(), u"支撑 2,000.00 fall fired, 手动 2,000.00 rise"_s);
        day->toggleZoneAlert(support); // takes the first away, the double stays
        QCOMPARE(day.saved(), u"手动 2,000.00 rise"_s);
        day->toggleZoneAlert(support);
        day->toggleZoneAlert(zoneAt(2100, u"resistance"_s));
        day->toggleZoneAlert(zoneAt(1985, u"current"_s));
        QCOMPARE(day.saved(), u"阻力 2,100.00 rise, 支撑 1,985.00 fall"_s);

        Day other(100);
        other->price = std::nullopt;
        TradePlan plan;
        plan.sl = 90;
        plan.tp = 110;
        plan.dir = TradeDirection::long_;
        other->addPlanAlerts(plan);
        QCOMPARE(other.saved(), u"止盈 110.00 rise, 止损 90.00 fall"_s);
        other->alerts = {};
        plan.dir = TradeDirection::short_;
        other->addPlanAlerts(plan);
        plan.tp = std::nullopt; // a trend run has no target
        other->addPlanAlerts(plan);
        QCOMPARE(other.saved(), u"止盈 110.00 fall, 止损 90.00 rise, 止损 90.00 rise"_s);
    }

    void thePulseCountsAndCostsNothingWhenIdle()
    {
        Day day(100);
        day->addAlert(105);
        day.clock.advance(1s);
        QCOMPARE(day.clock.sleeperCount(), 3); // price, zones, ages
        day.priceIs(106);
        day.clock.advance(399ms);
        QCOMPARE(day->pulsePhase(), 0);
        day.clock.advance(2001ms);
        QCOMPARE(day->pulsePhase(), 6);
        day->dismissAlert(day.alert().id);
        QCOMPARE(day->pulsePhase(), 6);
        day.clock.advance(400ms);
        QCOMPARE(day->pulsePhase(), 0);
        QCOMPARE(day.clock.sleeperCount(), 3); // and asleep again

        day->addAlert(105, {}, true); // the pulse follows the selection
        day.clock.advance(800ms);
        QCOMPARE(day->pulsePhase(), 2);
        day->setCoin(u"BTC"_s);
        day.clock.advance(400ms);
        QCOMPARE(day->pulsePhase(), 0);
        day->setCoin(u"ETH"_s);
        day.clock.advance(400ms);
        QCOMPARE(day->pulsePhase(), 1);
        day->startTimers(); // keeps one pulse; the replaced loop counts once more
        drainEvents();
        QCOMPARE(day->pulsePhase(), 2);
        QCOMPARE(day.clock.sleeperCount(), 4);
        day->dismissAlert(day.alert(1).id);
        day->startTimers(); // what a replaced loop leaves it takes back, and none takes its place
        drainEvents();
        QCOMPARE(day->pulsePhase(), 0);
        QCOMPARE(day.clock.sleeperCount(), 3);
        day->addAlert(1, {}, true);
        day->removeAlert(u"unknown"_s); // saves the firing
        day.start();
        day.clock.advance(400ms);
        QCOMPARE(day->pulsePhase(), 1); // restored alerts pulse from the start
    }
};

KESTRUNE_TEST(AppStateAlertsTest)
#include "tst_appstate_alerts.moc"
