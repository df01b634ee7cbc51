// SPDX-License-Identifier: MIT
#include "snapshot/snapshotmode.h"
#include "support/appfixture.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A run into a folder of its own on the fakes.
class Run : public AppFixture
{
public:
    void start(SnapshotMode::Config config)
    {
        if (config.dir.isEmpty())
            config.dir = folder.path();
        mode = std::make_unique<SnapshotMode>(
            std::move(config),
            AppState::Dependencies{crypto, stock, clock, preferences, attention, Endpoints::live()});
        QObject::connect(mode.get(), &SnapshotMode::finished, mode.get(), [this] { ++finished; });
        preferences.clearWrites();
        mode->run();
    }

    [[nodiscard]] QJsonObject summary() const
    {
        QFile file(folder.filePath(u"data.json"_s));
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                              : QJsonObject();
    }

    QTemporaryDir folder;
    std::unique_ptr<SnapshotMode> mode;
    int finished = 0;
};

} // namespace

class SnapshotModeTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theSelectionIsMadeBeforeAnythingIsAsked();
    void unusableValuesAreIgnored_data();
    void unusableValuesAreIgnored();
    void theOutputComesOneSecondAfterReadiness();
    void allThreePartsMakeItReady();
    void withoutDataTheDeadlineEndsIt();
    void whatCannotBeWrittenIsNotReported();
    void aSummaryThatCannotBeMadeLeavesThePictureAlone();
    void goingAwayEndsTheWait();
};

void SnapshotModeTest::theSelectionIsMadeBeforeAnythingIsAsked()
{
    Run run;
    run.preferences.preset(u"ks_coin"_s, u"ETH"_s);
    run.serveStock(u"hk00005"_s, 60);
    run.start({{}, u"hk00005"_s, u"港股"_s, u"周线"_s});
    QVERIFY(run.lines().isEmpty());
    const QStringList writes{u"ks_market=港股"_s, u"ks_coin=hk00700"_s, u"ks_tf=日线"_s, u"ks_tf=日线"_s,
                             u"ks_leverage=1"_s,  u"ks_coin=hk00005"_s, u"ks_tf=周线"_s};
    QCOMPARE(run.preferences.writes(), writes);
    drainEvents();
    QVERIFY(run.crypto.lines().isEmpty());
    QCOMPARE(run.stock.lines().filter(u"hk00005"_s).size(), run.stock.lines().size());
    run.clock.advance(2s);
    QCOMPARE(run.finished, 1);
    QCOMPARE(run.summary().value(u"symbol"_s), QJsonValue(u"hk00005"_s));
    QCOMPARE(run.summary().value(u"timeframe"_s), QJsonValue(u"周线"_s));
    QCOMPARE(run.summary().value(u"price"_s), QJsonValue(60.0));
    QVERIFY(!run.summary().value(u"support"_s).toArray().isEmpty());
    KESTRUNE_VERIFY_APP(run);
}

void SnapshotModeTest::unusableValuesAreIgnored_data()
{
    QTest::addColumn<QStringList>("config"); // symbol, market, timeframe
    QTest::addColumn<QStringList>("selected");
    const QString absent;
    QTest::newRow("an unknown segment")
        << QStringList{absent, u"HK"_s, absent} << QStringList{u"SOL"_s, u"加密"_s, u"4H"_s};
    QTest::newRow("the same segment resets nothing")
        << QStringList{absent, u"加密"_s, absent} << QStringList{u"SOL"_s, u"加密"_s, u"4H"_s};
    QTest::newRow("a timeframe of the segment left")
        << QStringList{absent, u"港股"_s, u"4H"_s} << QStringList{u"hk00700"_s, u"港股"_s, u"日线"_s};
    QTest::newRow("the symbol is taken as it is")
        << QStringList{u"btc"_s, absent, u"1h"_s} << QStringList{u"btc"_s, u"加密"_s, u"4H"_s};
}

void SnapshotModeTest::unusableValuesAreIgnored()
{
    QFETCH(QStringList, config);
    QFETCH(QStringList, selected);
    const auto given = [&](qsizetype i) {
        return config[i].isNull() ? std::nullopt : std::optional(config[i]);
    };
    Run run;
    run.preferences.preset(u"ks_coin"_s, u"SOL"_s);
    run.preferences.preset(u"ks_tf"_s, u"4H"_s);
    run.start({{}, given(0), given(1), given(2)});
    const AppState &state = run.mode->state();
    QCOMPARE((QStringList{state.coinSymbol(), rawValue(state.market()), state.timeframe()}), selected);
}

void SnapshotModeTest::theOutputComesOneSecondAfterReadiness()
{
    Run run;
    run.serveCrypto(3000);
    const QString late = gateTickerLine(u"ETH"_s);
    run.crypto.hold(late);
    run.crypto.hold(late);
    run.start({});
    run.clock.advance(4200ms);
    run.tickTo(3100);
    run.crypto.release(late, gateTicker(3050));
    run.crypto.release(late, gateTicker(3050));
    run.clock.advance(1299ms); // seen at 4.5 s
    QVERIFY(run.summary().isEmpty());
    QCOMPARE(run.finished, 0);
    run.clock.advance(1ms);
    QCOMPARE(run.finished, 1);
    // The summary holds the state of the moment of writing: the price of 5.0 s.
    QCOMPARE(run.summary().value(u"price"_s), QJsonValue(3100.0));
    QCOMPARE(run.summary().value(u"generatedAt"_s), QJsonValue(u"2026-01-05T08:30:05Z"_s));
    QCOMPARE(run.summary().value(u"signals"_s).toArray().size(), 3);
    run.clock.advance(60s);
    QCOMPARE(run.finished, 1);
}

void SnapshotModeTest::allThreePartsMakeItReady()
{
    const QString snapshotLine = gateCandleLine(u"ETH"_s, u"4h"_s);
    for (const QString &missing :
         {u"/api/v4/futures/usdt/tickers"_s, gateCandleLine(u"ETH"_s, u"1h"_s), snapshotLine}) {
        Run run;
        run.serveCrypto(3000);
        // The zones are of the hour; the snapshot, which wants it too, only becomes shorter.
        if (missing == snapshotLine) {
            for (int i = 0; i < 2; ++i)
                run.crypto.hold(missing); // stalls both refreshes' snapshots
        } else {
            run.crypto.failAlways(missing);
        }
        run.preferences.preset(u"ks_tf"_s, u"1H"_s);
        run.start({});
        run.clock.advance(20s);
        QVERIFY2(run.finished == 0, qPrintable(missing));
    }
}

void SnapshotModeTest::withoutDataTheDeadlineEndsIt()
{
    Run run;
    run.crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s);
    run.crypto.failAlways(u"/api/v4/spot/candlesticks"_s);
    run.crypto.failAlways(u"/api/v3/klines"_s);
    run.crypto.failAlways(u"/api/v5/market/candles"_s);
    run.crypto.failAlways(u"/fapi/v1/ticker/24hr"_s);
    run.start({});
    run.clock.advance(31499ms); // the poll at 30.0 s is not past the deadline yet
    QCOMPARE(run.finished, 0);
    run.clock.advance(1ms);
    QCOMPARE(run.finished, 1);
    const QJsonObject summary = run.summary();
    QCOMPARE(summary.size(), 14);
    QCOMPARE(summary.value(u"price"_s), QJsonValue(0));
    QCOMPARE(summary.value(u"conclusion"_s), QJsonValue(u"数据加载中…"_s));
    QVERIFY(summary.value(u"signals"_s).toArray().isEmpty());
    QVERIFY(summary.value(u"support"_s).isArray() && summary.value(u"resistance"_s).isArray());
}

void SnapshotModeTest::whatCannotBeWrittenIsNotReported()
{
    Run nested;
    nested.serveCrypto(3000);
    nested.start({nested.folder.filePath(u"a/b"_s), {}, {}, {}}); // folders are made as needed
    nested.clock.advance(2s);
    QVERIFY(QFile::exists(nested.folder.filePath(u"a/b/data.json"_s)));
    QCOMPARE(QImage(nested.folder.filePath(u"a/b/popover.png"_s)).size(), QSize(640, 1800));

    Run blocked;
    blocked.serveCrypto(3000);
    QFile file(blocked.folder.filePath(u"file"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    blocked.start({blocked.folder.filePath(u"file"_s), {}, {}, {}});
    blocked.clock.advance(2s);
    QCOMPARE(blocked.finished, 1);

    Run unpictured; // a picture that cannot be written does not stop the summary
    unpictured.serveCrypto(3000);
    QVERIFY(QDir(unpictured.folder.path()).mkdir(u"popover.png"_s));
    unpictured.start({});
    unpictured.clock.advance(2s);
    QCOMPARE(unpictured.summary().value(u"price"_s), QJsonValue(3000));

    Run again; // an earlier summary is replaced
    again.serveCrypto(3000);
    QFile old(again.folder.filePath(u"data.json"_s));
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write(QByteArray(100'000, ' '));
    old.close();
    again.start({});
    again.clock.advance(2s);
    QCOMPARE(again.summary().value(u"price"_s), QJsonValue(3000));
    QVERIFY(QFileInfo(old).size() < 10'000);
}

void SnapshotModeTest::aSummaryThatCannotBeMadeLeavesThePictureAlone()
{
    Run run;
    run.serveCrypto(3000);
    run.crypto.answerAlways(u"/api/v4/futures/usdt/tickers"_s,
                            R"([{"last":"3000","change_percentage":"inf"}])");
    run.start({});
    run.clock.advance(2s);
    QCOMPARE(run.finished, 1);
    QCOMPARE(QDir(run.folder.path()).entryList(QDir::Files), QStringList{u"popover.png"_s});
}

void SnapshotModeTest::goingAwayEndsTheWait()
{
    Run run;
    run.serveCrypto(3000);
    run.start({});
    run.clock.advance(700ms);
    run.mode.reset();
    run.clock.advance(2s);
    QCOMPARE(run.finished, 0);
    QVERIFY(QDir(run.folder.path()).isEmpty());
}

KESTRUNE_TEST(SnapshotModeTest)
#include "tst_snapshotmode.moc"
