// SPDX-License-Identifier: MIT
#include "snapshot/snapshotdata.h"
#include "support/appfixture.h"
#include "support/testregistry.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

class SnapshotDataTest : public QObject
{
    Q_OBJECT
    static Zone zone(const QString &type, int confirm, double distPct, double mid,
                     const QString &strength = {})
    {
        return {mid, mid, mid, {}, distPct, confirm, confirm == 5, type, strength, {u"fib"_s, u"swing"_s}};
    }

private Q_SLOTS:
    void theSummaryOfOneState()
    {
        test::AppFixture app;
        app.preferences.preset(u"ks_coin"_s, u"BTC"_s);
        app.preferences.preset(u"ks_tf"_s, u"4H"_s);
        AppState &state = app.create();
        state.zonePrice = 2999.5;
        app.own();
        QVERIFY(snapshotSummary(state, {})->contains("\"price\": 2999.5,")); // without a price
        state.price = 60000.5;
        app.own();
        state.changePct = -1.25;
        state.snapshotConclusion = u"多周期同步偏多 · 短中长一致"_s;
        state.zones = {zone(u"resistance"_s, 5, 2.5, 61500, u"强阻力"_s)};
        state.snapshot = {{u"1H"_s, 4, SignalType::strongBull, u"均线多头"_s},
                          {u"4H"_s, -0.5, SignalType::neutral, u"—"_s}};
        // Fractions of a second are cut off.
        const auto summary = snapshotSummary(state, app.clock.now() + std::chrono::milliseconds(999));
        QVERIFY(summary->startsWith("{\n    \"changePct\": -1.25,\n    \"conclusion\""));
        QCOMPARE(
            QString::fromUtf8(QJsonDocument::fromJson(*summary).toJson(QJsonDocument::Compact)),
            uR"({"changePct":-1.25,"conclusion":"多周期同步偏多 · 短中长一致","decimals":2,)"
            uR"("displayName":"BTC","generatedAt":"2026-01-05T08:30:00Z","headerTitle":"BTC/USDT · 永续",)"
            uR"("market":"加密","price":60000.5,"resistance":[{"confirm":5,"distPct":2.5,"golden":true,)"
            uR"("price":61500,"sources":["fib","swing"],"strength":"强阻力"}],"signals":[{"label":"1H",)"
            uR"("reason":"均线多头","score":4,"signal":"强多"},{"label":"4H","reason":"—","score":-0.5,)"
            uR"("signal":"中性"}],"support":[],"symbol":"BTC","timeframe":"4H",)"
            uR"("tradingView":"BINANCE:BTCUSDT.P"})"_s);

        for (Subject *subject :
             {&state.priceOrigin->subject, &state.zonesOrigin->subject, &state.signalsOrigin->subject})
            subject->symbol = u"ETH"_s; // another's is as good as nothing
        const QJsonObject empty = QJsonDocument::fromJson(*snapshotSummary(state, {})).object();
        QCOMPARE(empty.size(), 14);
        for (const auto &key : {u"price"_s, u"changePct"_s})
            QCOMPARE(empty[key], QJsonValue(0));
        for (const auto &key : {u"signals"_s, u"resistance"_s})
            QCOMPARE(empty[key], QJsonValue(QJsonArray()));
        QCOMPARE(empty[u"conclusion"], QJsonValue(u"加载中…"_s));
    }

    void theSummaryHoldsTheTopThreeOfASide()
    {
        test::AppFixture app;
        AppState &state = app.create();
        state.displayRangePct = 2; // the panel's, not the summary's
        app.own();
        for (const auto &[type, order] : {std::pair(u"support"_s, QList<double>{3, 4, 2}),
                                          std::pair(u"resistance"_s, QList<double>{2, 4, 3})}) {
            state.zones = {zone(type, 1, 0.2, 1), zone(type, 3, 40, 2), zone(type, 2, 0.5, 3),
                           zone(type, 3, 1, 4)};
            QList<double> prices;
            for (const QJsonValue entry :
                 QJsonDocument::fromJson(*snapshotSummary(state, {}))[type].toArray())
                prices.append(entry[u"price"].toDouble());
            QCOMPARE(prices, order);
        }
    }

    void aNumberThatIsNotFiniteGivesNoSummary()
    {
        test::AppFixture app;
        AppState &state = app.create();
        app.own();
        for (const double strange : {std::nan(""), std::numeric_limits<double>::infinity()}) {
            for (int place = 0; place <= 5; ++place) {
                const auto number = [&](int here) { return place == here ? strange : 1; };
                state.price = number(1);
                state.changePct = number(2);
                state.snapshot = {{u"1H"_s, number(3), SignalType::bull, u"x"_s}};
                state.zones = {zone(u"support"_s, 1, number(4), number(5))};
                QCOMPARE(snapshotSummary(state, {}).has_value(), place == 0);
            }
        }
    }
};

KESTRUNE_TEST(SnapshotDataTest)
#include "tst_snapshotdata.moc"
