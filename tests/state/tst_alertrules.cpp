// SPDX-License-Identifier: MIT
#include "state/alertrules.h"
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
    void matchesByPriceAndSymbol()
    {
        const PriceAlert alert = alertAt(2000, false);
        QVERIFY(matches(alert, 2000 + 9e-10, u"ETH"));
        QVERIFY(!matches(alert, 2000 - 2e-9, u"ETH") && !matches(alert, 2000, u"eth"));
        QVERIFY(!matches(alert, std::numeric_limits<double>::quiet_NaN(), u"ETH"));
    }

    void aDayOfOneAlert()
    {
        constexpr auto ack = std::nullopt; // acknowledged, as the state does it
        const auto day = [](const std::vector<std::pair<double, std::optional<double>>> &script,
                            bool above = true) {
            std::vector<PriceAlert> alerts{alertAt(105, above)};
            PriceAlert &alert = alerts[0];
            QStringList heard;
            for (const auto &[seconds, price] : script) {
                const double now = dayStart + seconds;
                PriceAlert expected = alert;
                const auto result = price ? evaluate(alerts, u"ETH", *price, now) : std::nullopt;
                if (result) {
                    alert = result->alerts.at(0);
                    expected.triggered = !expected.triggered; // a pass without a change gives no list
                    expected.firedPrice.reset();
                    if (!result->fired.empty()) {
                        expected.lastFiredAt = now;
                        expected.firedPrice = price;
                    }
                } else if (!price) {
                    acknowledge(alert, now);
                    expected = alertAt(105, above);
                    expected.lastFiredAt = now;
                }
                const bool fires = result && !result->fired.empty();
                heard.append(alert != expected ? u"?"_s
                             : fires           ? u"fires"_s
                             : alert.triggered ? u"held"_s
                                               : u"-"_s);
            }
            return heard.join(u' ');
        };
        QCOMPARE(day({{0, 104.99}, {5, 105.0}, {10, 106}}), u"- fires held"_s);
        QCOMPARE(day({{0, 105.01}, {5, 105.0}, {10, 90}}, false), u"- fires held"_s);
        QCOMPARE(day({{0, 1}, {5, 500}}), u"- fires"_s); // a gap over the target counts
        QCOMPARE(day({{0, 105}, {3600, 105}, {9000, 105}}), u"fires held held"_s);
        // Acknowledged: silent at 120 s, rings again after them. Re-armed below the target: the same.
        QCOMPARE(day({{0, 106}, {60, ack}, {180, 106}, {180.001, 106}}), u"fires - - fires"_s);
        QCOMPARE(day({{0, 105}, {5, 104}, {120, 105}, {120.001, 105}}), u"fires - - fires"_s);
        // Acknowledging starts the wait anew, re-arming does not.
        QCOMPARE(day({{0, 105}, {100, ack}, {121, 105}, {220.001, 105}}), u"fires - - fires"_s);
        QCOMPARE(day({{0, 105}, {119, 104}, {120.001, 105}}), u"fires - fires"_s);
        QCOMPARE(day({{0, 105}, {5, ack}, {10, 104}, {126, 105}}), u"fires - - fires"_s);
        // A clock that was ahead silences nothing; one that steps ahead ends the wait.
        QCOMPARE(day({{0, 105}, {5, 104}, {-3600, 105}, {-3595, ack}, {-3500, 105}}), u"fires - fires - -"_s);
        QCOMPARE(day({{0, 105}, {5, 104}, {86400, 105}}), u"fires - fires"_s);
        QCOMPARE(day({{0, 0}, {121, -1}, {122, 106}}, false), u"fires held -"_s); // a price as any other
    }

    void oneListManyAlerts()
    {
        std::vector<PriceAlert> alerts{alertAt(100, true), alertAt(100, false), alertAt(100, true, u"BTC"_s),
                                       alertAt(101, true), alertAt(100, true, u"BTC"_s)};
        alerts[4].triggered = true; // of another instrument: neither fires nor re-arms
        const auto result = evaluate(alerts, u"ETH", 100, dayStart);
        QVERIFY(result && result->fired.size() == 2);
        std::vector<PriceAlert> expected = alerts;
        for (const std::size_t i : {0U, 1U}) {
            expected[i].triggered = true;
            expected[i].lastFiredAt = dayStart;
            expected[i].firedPrice = 100;
        }
        QCOMPARE(result->alerts, expected);
        QVERIFY(anyTriggered(expected, u"ETH") && !anyTriggered(alerts, u"ETH"));
        QVERIFY(anyTriggered(alerts, u"BTC"));

        const auto rearmed = evaluate(expected, u"BTC", 99, dayStart);
        QVERIFY(rearmed && rearmed->fired.empty());
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
        for (const double time : {1e300, -1.7e308}) {
            alerts[0].lastFiredAt = time;
            QVERIFY(evaluate({alerts[0]}, u"ETH", 100, dayStart));
        }
    }
};

KESTRUNE_TEST(AlertRulesTest)

#include "tst_alertrules.moc"
