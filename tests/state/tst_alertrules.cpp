// SPDX-License-Identifier: MIT
#include "state/alertrules.h"
#include "support/testregistry.h"

#include <QTest>

#include <limits>
#include <map>
#include <random>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

/// A moment of a scripted day: a price arrives, or the user acknowledges.
struct Moment
{
    double at;                   ///< seconds since the start of the script
    std::optional<double> price; ///< none: acknowledged
    bool fires;
    bool triggered; ///< afterwards
};
using Script = std::vector<Moment>;

constexpr double dayStart = 1767601800;

PriceAlert alertAt(double target, bool above, const QString &symbol = u"ETH"_s)
{
    return {u"A"_s, target, above, symbol, u"label"_s, false, {}};
}

/// Acknowledges as the state does.
void acknowledge(PriceAlert &alert, double now)
{
    alert.triggered = false;
    alert.lastFiredAt = now;
}

} // namespace

Q_DECLARE_METATYPE(Script)

class AlertRulesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void matchesByPriceAndInstrument();
    void directionWithoutAGivenOne();
    void scriptedDay_data();
    void scriptedDay();
    void oneListManyAlerts();
    void aPriceThatIsNotFiniteIsNoPrice();
    void restoredFiringTimesNeverBreakTheRule();
    void randomTicksAgreeWithANaiveModel();
};

void AlertRulesTest::matchesByPriceAndInstrument()
{
    const PriceAlert alert = alertAt(2000, false);
    QVERIFY(matches(alert, 2000 + 9e-10, u"ETH"));
    QVERIFY(!matches(alert, 2000 - 2e-9, u"ETH"));
    QVERIFY(!matches(alert, 2000, u"eth"));
    QVERIFY(!matches(alert, std::numeric_limits<double>::quiet_NaN(), u"ETH"));
}

void AlertRulesTest::directionWithoutAGivenOne()
{
    QCOMPARE(defaultDirection(100, 105), true);
    QCOMPARE(defaultDirection(100, 95), false);
    QCOMPARE(defaultDirection(100, 100), false);
    QCOMPARE(defaultDirection(std::nullopt, 105), false);
}

void AlertRulesTest::scriptedDay_data()
{
    QTest::addColumn<bool>("above");
    QTest::addColumn<Script>("script"); // the target is 105
    const std::optional<double> ack;

    QTest::newRow("a rise fires once and holds")
        << true << Script{{0, 104.99, false, false}, {5, 105.0, true, true}, {10, 106, false, true}};
    QTest::newRow("a fall fires once and holds")
        << false << Script{{0, 105.01, false, false}, {5, 105.0, true, true}, {10, 90, false, true}};
    QTest::newRow("a gap over the target counts as much as touching it")
        << true << Script{{0, 1, false, false}, {5, 500, true, true}};
    QTest::newRow("held for hours it stays one firing")
        << true << Script{{0, 105, true, true}, {3600, 105, false, true}, {9000, 105, false, true}};
    QTest::newRow("acknowledged: silent at 120.0 s, rings again at 120.001 s")
        << true
        << Script{{0, 106, true, true},
                  {60, ack, false, false},
                  {180, 106, false, false},
                  {180.001, 106, true, true}};
    QTest::newRow("re-armed: silent at 120.0 s after the firing, fires at 120.001 s")
        << true
        << Script{{0, 105, true, true},
                  {5, 104, false, false},
                  {10, 105, false, false},
                  {120, 105, false, false},
                  {120.001, 105, true, true}};
    QTest::newRow("acknowledging starts the wait anew") << true
                                                        << Script{{0, 105, true, true},
                                                                  {100, ack, false, false},
                                                                  {121, 105, false, false},
                                                                  {220.001, 105, true, true}};
    QTest::newRow("re-arming does not start the wait anew")
        << true << Script{{0, 105, true, true}, {119, 104, false, false}, {120.001, 105, true, true}};
    QTest::newRow("an acknowledged alert re-arms silently below the target")
        << true
        << Script{
               {0, 105, true, true}, {5, ack, false, false}, {10, 104, false, false}, {126, 105, true, true}};
    QTest::newRow("a clock that steps back silences until it has caught up")
        << true
        << Script{{0, 105, true, true},
                  {5, 104, false, false},
                  {-3600, 105, false, false},
                  {0, 105, false, false},
                  {121, 105, true, true}};
    QTest::newRow("a clock that steps ahead ends the wait")
        << true << Script{{0, 105, true, true}, {5, 104, false, false}, {86400, 105, true, true}};
    QTest::newRow("a price of zero or below follows the rule as any other")
        << false << Script{{0, 0, true, true}, {121, -1, false, true}, {122, 106, false, false}};
}

void AlertRulesTest::scriptedDay()
{
    QFETCH(bool, above);
    QFETCH(Script, script);
    std::vector<PriceAlert> alerts{alertAt(105, above)};
    for (const Moment &moment : script) {
        const double now = dayStart + moment.at;
        const PriceAlert before = alerts[0];
        bool fired = false;
        if (!moment.price) {
            acknowledge(alerts[0], now);
        } else if (const auto result = evaluate(alerts, u"ETH", *moment.price, now)) {
            QVERIFY2(!(result->alerts == alerts), "a pass without a change gives no list");
            alerts = result->alerts;
            fired = result->fired;
        }
        const QByteArray place = QByteArray::number(moment.at);
        QVERIFY2(fired == moment.fires, place);
        QVERIFY2(alerts[0].triggered == moment.triggered, place);
        if (moment.price)
            QCOMPARE(alerts[0].lastFiredAt, fired ? std::optional(now) : before.lastFiredAt);
    }
}

void AlertRulesTest::oneListManyAlerts()
{
    std::vector<PriceAlert> alerts{alertAt(100, true), alertAt(100, false), alertAt(100, true, u"BTC"_s),
                                   alertAt(101, true), alertAt(100, true, u"BTC"_s)};
    alerts[4].triggered = true; // of an instrument that nobody looks at now: neither fires nor re-arms
    const auto result = evaluate(alerts, u"ETH", 100, dayStart);
    QVERIFY(result && result->fired);
    std::vector<PriceAlert> expected = alerts;
    for (const std::size_t i : {0U, 1U}) {
        expected[i].triggered = true;
        expected[i].lastFiredAt = dayStart;
    }
    QCOMPARE(result->alerts, expected);
    QVERIFY(anyTriggered(expected, u"ETH"));
    QVERIFY(!anyTriggered(alerts, u"ETH"));
    QVERIFY(anyTriggered(alerts, u"BTC"));

    const auto rearmed = evaluate(expected, u"BTC", 99, dayStart);
    QVERIFY(rearmed && !rearmed->fired);
    expected[4].triggered = false;
    QCOMPARE(rearmed->alerts, expected);
}

void AlertRulesTest::aPriceThatIsNotFiniteIsNoPrice()
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::vector<PriceAlert> alerts{alertAt(100, true), alertAt(100, false), alertAt(100, true)};
    alerts[2].triggered = true;
    for (const double price : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()})
        QVERIFY(!evaluate(alerts, u"ETH", price, dayStart));
}

void AlertRulesTest::restoredFiringTimesNeverBreakTheRule()
{
    // Stored by another clock, or by hand.
    PriceAlert alert = alertAt(100, true);
    alert.lastFiredAt = 1e300;
    QVERIFY(!evaluate({alert}, u"ETH", 100, dayStart));
    alert.lastFiredAt = -1.7e308;
    QVERIFY(evaluate({alert}, u"ETH", 100, dayStart)->fired);
}

/// Three instruments, a wandering price and clock, alerts that come, go and are acknowledged. The model keeps
/// its book by id and says in its own words when an alert may ring.
void AlertRulesTest::randomTicksAgreeWithANaiveModel()
{
    struct Book
    {
        double target;
        bool above;
        QString symbol;
        bool ringing = false;
        bool everRang = false;
        double quietSince = 0;
        int rings = 0;
    };
    std::mt19937 random(20260105);
    const auto upTo = [&](int bound) { return int(random() % unsigned(bound)); };
    const QStringList symbols{u"ETH"_s, u"BTC"_s, u"sh600519"_s};
    std::map<QString, Book> model;
    std::vector<PriceAlert> alerts;
    int ringCount = 0;
    double now = dayStart;
    int price = 100;

    for (int tick = 0; tick < 10'000; ++tick) {
        now += upTo(100) == 0 ? -300 : upTo(200) * 0.25; // 0 to 50 s, now and then five minutes back
        price += upTo(5) - 2;
        const QString &symbol = symbols[upTo(3)];
        if (alerts.size() < 30 && upTo(20) == 0) {
            PriceAlert alert = alertAt(price + upTo(7) - 3, upTo(2) == 0, symbol);
            alert.id = QString::number(tick);
            model[alert.id] = {alert.targetPrice, alert.above, symbol};
            alerts.push_back(alert);
        } else if (!alerts.empty() && upTo(200) == 0) {
            const auto victim = alerts.begin() + upTo(int(alerts.size()));
            model.erase(victim->id);
            alerts.erase(victim);
        } else if (!alerts.empty() && upTo(10) == 0) {
            PriceAlert &alert = alerts[std::size_t(upTo(int(alerts.size())))];
            acknowledge(alert, now);
            Book &book = model[alert.id];
            book.ringing = false;
            book.everRang = true;
            book.quietSince = now;
        }

        bool someRang = false;
        bool someChanged = false;
        for (auto &[id, book] : model) {
            if (book.symbol != symbol)
                continue;
            const bool reached = book.above ? price >= book.target : price <= book.target;
            const bool mayRing = !book.everRang || now > book.quietSince + 120;
            if (book.ringing && !reached) {
                book.ringing = false;
                someChanged = true;
            } else if (!book.ringing && reached && mayRing) {
                book.ringing = book.everRang = someRang = someChanged = true;
                book.quietSince = now;
                ++book.rings;
                ++ringCount;
            }
        }

        const auto result = evaluate(alerts, symbol, price, now);
        QCOMPARE(result.has_value(), someChanged);
        QCOMPARE(result && result->fired, someRang);
        if (result)
            alerts = result->alerts;
        QCOMPARE(alerts.size(), model.size());
        for (const PriceAlert &alert : alerts) {
            QVERIFY(model.contains(alert.id));
            const Book &book = model[alert.id];
            QCOMPARE(alert.triggered, book.ringing);
            QCOMPARE(alert.lastFiredAt, book.everRang ? std::optional(book.quietSince) : std::nullopt);
            QCOMPARE(alert.symbol, book.symbol);
            QCOMPARE(alert.targetPrice, book.target);
        }
    }
    QVERIFY2(ringCount > 500, "the walk must meet its targets often");
}

KESTRUNE_TEST(AlertRulesTest)

#include "tst_alertrules.moc"
