// SPDX-License-Identifier: MIT
#include "line/barrecord.h"
#include "line/instrumentchoice.h"
#include "line/unsavedpreferences.h"
#include "support/appfixture.h"
#include "support/testregistry.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class BarRecordTest : public QObject
{
    Q_OBJECT
    static QString states(const AppFixture &app, const QString &notice = {})
    {
        return barRecord(*app.state, notice).states.join(u' ');
    }

private Q_SLOTS:
    void aRecordSaysWhatTheItemSays()
    {
        AppFixture app;
        app.serveCrypto(3000);
        AppState &state = app.create();
        const BarRecord waiting = barRecord(state, {});
        QCOMPARE(waiting.text, u"等待 ETH 报价…"_s);
        QCOMPARE(states(app), u"neutral stale"_s);
        QVERIFY(waiting.exitStatus() == 3 && waiting.json.contains("\"price\":null"));

        app.clock.advance(400ms);
        const auto zone = [](double mid, double distPct, const QString &type) {
            return Zone{mid, mid, mid, {}, distPct, 1, false, type, {}, {}};
        };
        state.zones = {zone(3030, 1, u"resistance"_s), zone(2820, -6, u"support"_s)};
        app.own();
        const BarRecord fresh = barRecord(state, u"演示行情"_s);
        QCOMPARE(fresh.text, u"ETH  3,000"_s);
        QCOMPARE(fresh.tooltip.section(u'\n', 1, 1), u"接近阻力区 · 偏卖出"_s);
        QCOMPARE(fresh.tooltip.section(u'\n', -1), u"演示行情"_s);
        QCOMPARE(fresh.states, QStringList({u"sell"_s, u"demo"_s}));
        QCOMPARE(fresh.percentage, 60); // 1 % away of 2.5 %
        QVERIFY(fresh.exitStatus() == 0 && fresh.price == 3000);
        const auto again = barRecord(fresh.json);
        QVERIFY(again && again->text == fresh.text && again->tooltip == fresh.tooltip &&
                again->states == fresh.states && again->percentage == fresh.percentage &&
                again->price == fresh.price && *again == fresh);
        const QJsonObject json = QJsonDocument::fromJson(fresh.json).object();
        QCOMPARE(json.size(), 18); // what data.json has but its time, and five of its own
        QVERIFY(json[u"resistance"][0][u"price"] == 3030 && json[u"signals"][2].isObject());

        PriceAlert alert;
        alert.symbol = u"ETH"_s;
        alert.triggered = true;
        state.alerts = {alert};
        state.changePct = std::nan("");
        QVERIFY(barRecord(barRecord(state, {}).json));
        QCOMPARE(states(app), u"sell alert"_s);
        app.clock.passSteady(priceFreshFor + 1s);
        QCOMPARE(barRecord(state, {}).exitStatus(), 4);
        QCOMPARE(barRecord(state, {}).percentage, 0);
        QCOMPARE(states(app), u"neutral stale alert"_s);
        state.priceOrigin->subject.symbol = u"BTC"_s; // another's
        QVERIFY(barRecord(state, {}).exitStatus() == 3 && barRecord(state, {}).text == waiting.text);
    }

    void stocksSayThatTheirExchangeIsClosed()
    {
        AppFixture app;
        app.preferences.preset(u"ks_market"_s, u"港股"_s);
        app.preferences.preset(u"ks_coin"_s, u"hk00005"_s);
        app.serveStock(u"hk00005"_s, 60);
        app.start();
        QVERIFY(states(app).contains(u"closed"_s));
        app.clock.setNow(app.clock.now() - 2h);
        QVERIFY(!states(app).contains(u"closed"_s));
    }

    void whatIsNoRecordIsNotTakenForOne()
    {
        const QByteArray good = R"({"schema":1,"text":"a","states":["buy"]})";
        QVERIFY(barRecord(good) && !barRecord(good)->price);
        for (const QByteArray &bad :
             {QByteArray(), QByteArray("[1]"), QByteArray(good).replace("1", "2"),
              QByteArray(good).replace("\"a\"", "\"\""), QByteArray(good).replace("\"buy\"", ""), good + "}"})
            QVERIFY2(!barRecord(bad), bad.constData());
    }

    void aFeedSpeaksOnceAndOnlyToWhoeverHasRead()
    {
        AppFixture app;
        app.serveCrypto(3000);
        AppState &state = app.start();
        RecordFeed feed(app.state, {});
        const QSignalSpy changed(&feed, &RecordFeed::changed);
        const auto tick = [&](double price) {
            state.price = price;
            state.changePct = 1.5;
            drainEvents();
            return changed.size();
        };
        QCOMPARE(tick(3001), 0);
        QCOMPARE(feed.read().price, 3001);
        QCOMPARE(tick(3001), 0);
        QCOMPARE(tick(3002), 1);
        QCOMPARE(tick(3003), 1);
        QCOMPARE(feed.read().price, 3003);
        QCOMPARE(tick(3004), 2);
    }

    void instrumentsAreChosenFromTheLists()
    {
        AppFixture app;
        AppState &state = app.create();
        const QStringList coins = state.symbolList();
        for (const QString &bad :
             {u""_s, u"NOPE"_s, u"B"_s, u"BTC "_s, QString(9999, QChar(u'x')), QString(QChar())})
            QVERIFY(!chooseInstrument(state, bad));
        QCOMPARE(state.coinSymbol(), u"ETH"_s);
        state.price = 1;
        state.sparkline = {1};
        QVERIFY(chooseInstrument(state, u"eth"_s) && !state.sparkline().empty()); // as it is
        QVERIFY(chooseInstrument(state, coins.last()));
        chooseNeighbour(state, 1);
        QCOMPARE(state.coinSymbol(), coins.first());
        chooseNeighbour(state, -1);
        QCOMPARE(state.coinSymbol(), coins.last());
        state.setCoin(u"OWN"_s);
        chooseNeighbour(state, -1);
        QCOMPARE(state.coinSymbol(), coins.first());
        QVERIFY(chooseInstrument(state, u"HK00700"_s) && state.market() == MarketSegment::hk);
        QCOMPARE(state.coinSymbol(), u"hk00700"_s);
    }

    void ownSettingsHideTheStoredOnes()
    {
        MemoryPreferences stored;
        stored.preset(u"a"_s, u"x"_s);
        stored.preset(u"n"_s, 1);
        UnsavedPreferences own(stored);
        own.setText(u"a"_s, u"y"_s);
        QVERIFY(own.update(u"n"_s, [](const QJsonValue &n) { return n.toInt() + 1; }));
        QVERIFY(own.update(u"b"_s, [](const QJsonValue &) { return QJsonValue(QJsonValue::Undefined); }));
        QVERIFY(own.text(u"a"_s) == u"y"_s && own.integer(u"n"_s) == 2 && !own.text(u"b"_s));
        QVERIFY(stored.writes().isEmpty() && stored.text(u"a"_s) == u"x"_s);
    }
};

KESTRUNE_TEST(BarRecordTest)
#include "tst_barrecord.moc"
