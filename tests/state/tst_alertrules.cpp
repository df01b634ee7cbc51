// SPDX-License-Identifier: MIT
#include "state/alertrules.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QTest>

#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

class AlertRulesTest : public QObject
{
    Q_OBJECT

    static constexpr double dayStart = 1767601800;

    static PriceAlert alertAt(double target, bool above, const QString &symbol = u"ETH"_s)
    {
        return {u"A"_s, target, above, symbol, u"label"_s, false, {}};
    }

private Q_SLOTS:
    void matchesByPriceAndInstrument()
    {
        const PriceAlert alert = alertAt(2000, false);
        QVERIFY(matches(alert, 2000 + 9e-10, u"ETH"));
        QVERIFY(!matches(alert, 2000 - 2e-9, u"ETH"));
        QVERIFY(!matches(alert, 2000, u"eth"));
        QVERIFY(!matches(alert, std::numeric_limits<double>::quiet_NaN(), u"ETH"));
    }

    void directionWithoutAGivenOne()
    {
        QCOMPARE(defaultDirection(100, 105), true);
        QCOMPARE(defaultDirection(100, 95), false);
        QCOMPARE(defaultDirection(100, 100), false);
        QCOMPARE(defaultDirection(std::nullopt, 105), false);
    }

    void aDayOfOneAlert()
    {
        constexpr auto ack = std::nullopt; // acknowledged, as the state does it
        enum class After { silent, fires, held };
        using enum After;
        struct Moment
        {
            double at; ///< seconds since the start
            std::optional<double> price;
            After after;
        };
        const struct
        {
            const char *name;
            std::vector<Moment> script; ///< the target is 105
            bool above = true;
        } rows[] = {
            {"a rise fires once and holds", {{0, 104.99, silent}, {5, 105.0, fires}, {10, 106, held}}},
            {"a fall fires once and holds", {{0, 105.01, silent}, {5, 105.0, fires}, {10, 90, held}}, false},
            {"a gap over the target counts", {{0, 1, silent}, {5, 500, fires}}},
            {"held for hours it fires once", {{0, 105, fires}, {3600, 105, held}, {9000, 105, held}}},
            {"acknowledged: silent at 120 s, rings again after them",
             {{0, 106, fires}, {60, ack, silent}, {180, 106, silent}, {180.001, 106, fires}}},
            {"re-armed: silent at 120 s after the firing, fires after them",
             {{0, 105, fires},
              {5, 104, silent},
              {10, 105, silent},
              {120, 105, silent},
              {120.001, 105, fires}}},
            {"acknowledging starts the wait anew",
             {{0, 105, fires}, {100, ack, silent}, {121, 105, silent}, {220.001, 105, fires}}},
            {"re-arming does not start it anew",
             {{0, 105, fires}, {119, 104, silent}, {120.001, 105, fires}}},
            {"an acknowledged alert re-arms silently",
             {{0, 105, fires}, {5, ack, silent}, {10, 104, silent}, {126, 105, fires}}},
            {"a clock that steps back silences until it has caught up",
             {{0, 105, fires}, {5, 104, silent}, {-3600, 105, silent}, {0, 105, silent}, {121, 105, fires}}},
            {"one that steps ahead ends the wait", {{0, 105, fires}, {5, 104, silent}, {86400, 105, fires}}},
            {"a price of zero or below is a price",
             {{0, 0, fires}, {121, -1, held}, {122, 106, silent}},
             false},
        };
        test::forEachRow(rows, [](const auto &row) {
            std::vector<PriceAlert> alerts{alertAt(105, row.above)};
            PriceAlert &alert = alerts[0];
            for (const Moment &moment : row.script) {
                const double now = dayStart + moment.at;
                const PriceAlert before = alert;
                bool fired = false;
                if (!moment.price) {
                    alert.triggered = false;
                    alert.lastFiredAt = now;
                } else if (const auto result = evaluate(alerts, u"ETH", *moment.price, now)) {
                    QVERIFY2(result->alerts != alerts, "a pass without a change gives no list");
                    alert = result->alerts.at(0);
                    fired = result->fired;
                }
                const QByteArray place = QByteArray::number(moment.at);
                QVERIFY2(fired == (moment.after == fires), place);
                QVERIFY2(alert.triggered == (moment.after != silent), place);
                if (moment.price)
                    QCOMPARE(alert.lastFiredAt, fired ? std::optional(now) : before.lastFiredAt);
            }
        });
    }

    void oneListManyAlerts()
    {
        std::vector<PriceAlert> alerts{alertAt(100, true), alertAt(100, false), alertAt(100, true, u"BTC"_s),
                                       alertAt(101, true), alertAt(100, true, u"BTC"_s)};
        alerts[4].triggered = true; // of another instrument: neither fires nor re-arms
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

    void hostileNumbers()
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        std::vector<PriceAlert> alerts{alertAt(100, true), alertAt(100, false), alertAt(100, true)};
        alerts[2].triggered = true;
        for (const double price : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()})
            QVERIFY(!evaluate(alerts, u"ETH", price, dayStart));
        // A time stored by another clock, or by hand.
        alerts[0].lastFiredAt = 1e300;
        QVERIFY(!evaluate({alerts[0]}, u"ETH", 100, dayStart));
        alerts[0].lastFiredAt = -1.7e308;
        QVERIFY(evaluate({alerts[0]}, u"ETH", 100, dayStart)->fired);
    }
};

KESTRUNE_TEST(AlertRulesTest)

#include "tst_alertrules.moc"
