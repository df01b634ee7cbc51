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
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

Zone zone(const QString &type, int confirm, double distPct, double mid = 1, const QString &strength = {},
          QStringList sources = {}, bool golden = false)
{
    return {mid, mid, mid, {}, distPct, confirm, golden, type, strength, std::move(sources)};
}

const QByteArray expectedSummary = R"({
    "changePct": -1.25,
    "conclusion": "多周期同步偏多 · 短中长一致",
    "decimals": 2,
    "displayName": "BTC",
    "generatedAt": "2026-01-05T08:30:00Z",
    "headerTitle": "BTC/USDT · 永续",
    "market": "加密",
    "price": 60000.5,
    "resistance": [
        {
            "confirm": 3,
            "distPct": 2.5,
            "golden": true,
            "price": 61500,
            "sources": [
                "fib",
                "swing"
            ],
            "strength": "强阻力"
        }
    ],
    "signals": [
        {
            "label": "1H",
            "reason": "均线多头",
            "score": 4,
            "signal": "强多"
        },
        {
            "label": "4H",
            "reason": "—",
            "score": -0.5,
            "signal": "中性"
        }
    ],
    "support": [
    ],
    "symbol": "BTC",
    "timeframe": "4H",
    "tradingView": "BINANCE:BTCUSDT.P"
}
)";

} // namespace

class SnapshotDataTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theSummaryHoldsTheTopThreeOfASide();
    void theSummaryOfOneState();
    void withoutAPriceTheZonesGiveIt();
    void aNumberThatIsNotFiniteGivesNoSummary();
};

void SnapshotDataTest::theSummaryHoldsTheTopThreeOfASide()
{
    AppFixture app;
    AppState &state = app.create();
    state.displayRangePct = 2; // the panel's, not the summary's
    for (const auto &type : {u"resistance"_s, u"support"_s}) {
        state.zones = {zone(type, 1, 0.2, 1), zone(type, 3, 40, 2), zone(type, 2, 0.5, 3),
                       zone(type, 3, 1, 4)};
        const QJsonArray side = QJsonDocument::fromJson(*snapshotSummary(state, {}))[type].toArray();
        QList<double> prices;
        for (const QJsonValue entry : side)
            prices.append(entry[u"price"].toDouble());
        QCOMPARE(prices, type == u"support" ? (QList<double>{3, 4, 2}) : (QList<double>{2, 4, 3}));
    }
}

void SnapshotDataTest::theSummaryOfOneState()
{
    AppFixture app;
    app.preferences.preset(u"ks_coin"_s, u"BTC"_s);
    app.preferences.preset(u"ks_tf"_s, u"4H"_s);
    AppState &state = app.create();
    state.price = 60000.5;
    state.changePct = -1.25;
    state.snapshotConclusion = u"多周期同步偏多 · 短中长一致"_s;
    state.zones = {zone(u"resistance"_s, 3, 2.5, 61500, u"强阻力"_s, {u"fib"_s, u"swing"_s}, true)};
    state.snapshot = {{u"1H"_s, 4, SignalType::strongBull, u"均线多头"_s},
                      {u"4H"_s, -0.5, SignalType::neutral, u"—"_s}};
    const auto summary = snapshotSummary(state, app.clock.now());
    QVERIFY(summary);
    QCOMPARE(QString::fromUtf8(*summary), QString::fromUtf8(expectedSummary));
    // Fractions of a second are cut off, whatever side of the epoch.
    QVERIFY(snapshotSummary(state, app.clock.now() + std::chrono::milliseconds(999))
                ->contains("\"2026-01-05T08:30:00Z\""));
}

void SnapshotDataTest::withoutAPriceTheZonesGiveIt()
{
    AppFixture app;
    AppState &state = app.create();
    state.zonePrice = 2999.5;
    const auto summary = snapshotSummary(state, app.clock.now());
    QVERIFY(summary && summary->contains("\"price\": 2999.5,") && summary->contains("\"changePct\": 0,"));
    QVERIFY(summary->contains("\"signals\": [\n    ]"));
    state.price = 0.0; // a price of nothing is a price
    QVERIFY(snapshotSummary(state, app.clock.now())->contains("\"price\": 0,"));
}

void SnapshotDataTest::aNumberThatIsNotFiniteGivesNoSummary()
{
    constexpr double infinite = std::numeric_limits<double>::infinity();
    AppFixture app;
    AppState &state = app.create();
    for (const QString &place : {u"price"_s, u"changePct"_s, u"score"_s, u"mid"_s, u"distPct"_s, QString()}) {
        state.price = place == u"price" ? std::nan("") : 1;
        state.changePct = place == u"changePct" ? -infinite : 1;
        state.snapshot = {{u"1H"_s, place == u"score" ? infinite : 1, SignalType::bull, u"x"_s}};
        state.zones = {
            zone(u"support"_s, 1, place == u"distPct" ? std::nan("") : -1, place == u"mid" ? infinite : 1)};
        QVERIFY2(snapshotSummary(state, app.clock.now()).has_value() == place.isEmpty(), qPrintable(place));
    }
}

KESTRUNE_TEST(SnapshotDataTest)
#include "tst_snapshotdata.moc"
