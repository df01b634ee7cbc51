// SPDX-License-Identifier: MIT
#include "panel/popoverview.h"
#include "snapshot/snapshotmode.h"
#include "snapshot/snapshotpicture.h"
#include "support/appfixture.h"
#include "support/rows.h"
#include "support/testregistry.h"
#include "ui/palette.h"

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class SnapshotModeTest : public QObject
{
    Q_OBJECT
    /// A run into a folder of its own on the fakes.
    struct Run : AppFixture
    {
        Run() { serveCrypto(3000); }

        void start(SnapshotMode::Config config = {})
        {
            if (config.chart.isEmpty())
                config.dir = path(config.dir);
            const Dependencies fakes{crypto, stock, clock, preferences, attention, Endpoints::live()};
            mode = std::make_unique<SnapshotMode>(std::move(config), fakes);
            QObject::connect(mode.get(), &SnapshotMode::finished, mode.get(), [this](int result) {
                ++finished;
                status = result;
            });
            preferences.clearWrites();
            mode->run();
        }
        [[nodiscard]] QString path(const QString &name) const { return folder.filePath(name); }
        /// Of the summary; absent when there is none.
        [[nodiscard]] QJsonValue value(const QString &key, const QString &name = u"data.json"_s) const
        {
            QFile file(path(name));
            return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll())[key]
                                                  : QJsonValue(QJsonValue::Undefined);
        }

        using Dependencies = AppState::Dependencies;
        QTemporaryDir folder;
        std::unique_ptr<SnapshotMode> mode;
        int finished = 0;
        int status = -1;
    };

    /// Of a loaded crypto instrument.
    static QImage picture(double price, const QString &notice = {}, std::chrono::milliseconds later = 0ms)
    {
        AppFixture fixture;
        fixture.serveCrypto(price);
        fixture.start();
        fixture.clock.advance(later);
        return SnapshotPicture(fixture.state, notice).render();
    }

private Q_SLOTS:
    void theSelectionIsMadeBeforeAnythingIsAsked()
    {
        Run run;
        run.preferences.preset(u"ks_coin"_s, u"ETH"_s);
        run.serveStock(u"hk00005"_s, 60);
        run.start({{}, {u"hk00005"_s, u"港股"_s, u"周线"_s}});
        QVERIFY(run.lines().isEmpty());
        QCOMPARE(run.preferences.writes().join(u' '),
                 u"ks_market=港股 ks_coin=hk00700 ks_tf=日线 ks_tf=日线 ks_leverage=1 ks_coin=hk00005 "
                 "ks_tf=周线"_s);
        run.clock.advance(2s);
        QVERIFY(run.crypto.lines().isEmpty() && run.stock.lines().filter(u"hk00700"_s).isEmpty());
        QCOMPARE(run.finished, 1);
        QCOMPARE(run.value(u"timeframe"_s), QJsonValue(u"周线"_s));
        QCOMPARE(run.value(u"price"_s), QJsonValue(60));
        KESTRUNE_VERIFY_APP(run);
    }

    void unusableValuesAreIgnored()
    {
        const struct
        {
            std::optional<QString> symbol, market, timeframe;
            QString selected;
        } rows[] = {
            {{}, u"HK"_s, {}, u"SOL 加密 4H"_s},
            {{}, u"加密"_s, {}, u"SOL 加密 4H"_s},            // the same segment resets nothing
            {{}, u"港股"_s, u"4H"_s, u"hk00700 港股 日线"_s}, // a timeframe of the segment left
            {u"btc"_s, {}, u"1h"_s, u"btc 加密 4H"_s},        // the symbol is taken as it is
        };
        for (const auto &row : rows) {
            Run run;
            run.preferences.preset(u"ks_coin"_s, u"SOL"_s);
            run.preferences.preset(u"ks_tf"_s, u"4H"_s);
            run.start({{}, {row.symbol, row.market, row.timeframe}});
            const AppState &state = run.mode->state();
            QCOMPARE(state.coinSymbol() + u' ' + rawValue(state.market()) + u' ' + state.timeframe(),
                     row.selected);
        }
    }

    void theOutputComesOneSecondAfterReadiness()
    {
        Run run;
        const QString late = gateTickerLine(u"ETH"_s);
        run.crypto.hold(late);
        run.crypto.hold(late);
        run.start();
        run.clock.advance(4200ms);
        run.tickTo(3100);
        run.crypto.release(late, gateTicker(3050));
        run.crypto.release(late, gateTicker(3050));
        run.clock.advance(1299ms); // seen at 4.5 s
        QVERIFY(QDir(run.folder.path()).isEmpty() && run.finished == 0);
        run.clock.advance(1ms);
        QCOMPARE(run.finished, 1);
        // The summary holds the state of the moment of writing: the price of 5.0 s.
        QCOMPARE(run.value(u"price"_s), QJsonValue(3100));
        QCOMPARE(run.value(u"generatedAt"_s), QJsonValue(u"2026-01-05T08:30:05Z"_s));
        run.clock.advance(60s);
        QCOMPARE(run.finished, 1);
    }

    void allThreePartsMakeItReady()
    {
        for (int missing = 0; missing <= 3; ++missing) {
            Run run;
            run.start();
            run.clock.advance(400ms);
            AppState &state = run.mode->state();
            if (missing == 1)
                state.price = std::nullopt;
            else if (missing == 2)
                state.zonesOrigin->subject.timeframe = u"4H"_s;
            else if (missing == 3)
                state.signalsOrigin.reset();
            run.clock.advance(2s);
            QCOMPARE(run.finished, missing == 0 ? 1 : 0);
            run.mode.reset(); // ends the wait, and nothing is written any more
            run.clock.advance(60s);
            QCOMPARE(QDir(run.folder.path()).isEmpty(), missing != 0);
        }
    }

    void theChartIsDrawnOrTheStatusSaysWhy()
    {
        const struct
        {
            const char *name;
            QString file;
            bool light, data;
            int status;
        } rows[] = {{"dark", u"a.png"_s, false, true, 0},
                    {"light", u"a.png"_s, true, true, 0},
                    {"without data", u"a.png"_s, false, false, 3},
                    {"no such folder", u"b/a.png"_s, false, true, 2}};
        forEachRow(rows, [](const auto &row) {
            Run run;
            if (!row.data)
                run.crypto.failAlways(u"/api/v4/spot/candlesticks"_s);
            if (!row.data)
                run.crypto.failAlways(u"/api/v3/klines"_s);
            run.start({.dir = {},
                       .selection = {.symbol = u"BTC"_s, .market = {}, .timeframe = {}},
                       .chart = run.path(row.file),
                       .chartSize = {500, 300},
                       .lightChart = row.light});
            run.clock.advance(60s);
            QCOMPARE(run.status, row.status);
            const QImage image(run.path(row.file));
            QCOMPARE(image.size(), row.status == 0 ? QSize(1000, 600) : QSize(0, 0));
            QVERIFY(row.status != 0 ||
                    image.pixelColor(2, 2) == (row.light ? lightPalette() : darkPalette()).ground);
            QVERIFY(row.status == 0 || QDir(run.folder.path()).isEmpty());
        });
    }

    void withoutDataTheDeadlineEndsIt()
    {
        Run run;
        for (const QString &route :
             {u"/api/v4/futures/usdt/tickers"_s, u"/api/v4/spot/candlesticks"_s, u"/api/v3/klines"_s})
            run.crypto.failAlways(route);
        run.start();
        run.clock.setNow(run.clock.now() + 1h); // a stepped wall clock neither shortens nor lengthens it
        run.clock.advance(31499ms);             // the poll at 30.0 s is not past the deadline yet
        QCOMPARE(run.finished, 0);
        run.clock.advance(1ms);
        QCOMPARE(run.finished, 1);
        QCOMPARE(run.value(u"price"_s), QJsonValue(0));
        QCOMPARE(run.value(u"conclusion"_s), QJsonValue(u"数据加载中…"_s));
    }

    void whatCannotBeWrittenIsNotReported()
    {
        Run nested, blocked, unpictured, again, uncounted;
        nested.start({u"a/b"_s, {}}); // folders are made as needed
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), blocked.path(u"file"_s)));
        blocked.start({u"file"_s, {}});
        QVERIFY(QDir().mkdir(unpictured.path(u"popover.png"_s)));
        unpictured.start();
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), again.path(u"data.json"_s)));
        again.start(); // an earlier summary is replaced
        uncounted.crypto.answerAlways(u"/api/v4/futures/usdt/tickers"_s,
                                      R"([{"last":"3000","change_percentage":"inf"}])");
        uncounted.start(); // a summary that cannot be made leaves the picture alone
        for (Run *run : {&nested, &blocked, &unpictured, &again, &uncounted}) {
            run->clock.advance(2s);
            QCOMPARE(run->finished, 1);
        }
        QCOMPARE(nested.value(u"price"_s, u"a/b/data.json"_s), QJsonValue(3000));
        const QImage image(nested.path(u"a/b/popover.png"_s));
        QCOMPARE(image.size(), QSize(640, 1800));
        QCOMPARE(image.dotsPerMeterX(), 5669); // 144 pixels per inch: half as many points as pixels
        QCOMPARE(unpictured.value(u"price"_s), QJsonValue(3000));
        QCOMPARE(again.value(u"price"_s), QJsonValue(3000));
        QCOMPARE(QDir(uncounted.folder.path()).entryList(QDir::Files), QStringList{u"popover.png"_s});
    }

    void thePictureIsTheVeryPanelThatAScreenShows()
    {
        AppFixture fixture;
        fixture.serveCrypto(3000);
        fixture.preferences.preset(u"ks_account_size"_s, 12000.0); // more lines in the banner
        fixture.start();
        PopoverView view(fixture.state);
        view.show();
        drainEvents();
        QImage screen(view.size() * 2, QImage::Format_ARGB32_Premultiplied);
        screen.setDevicePixelRatio(2);
        view.render(&screen);
        SnapshotPicture picture(fixture.state, {});
        QVERIFY(picture.render() == screen);
        QCOMPARE(screen.pixel(0, 1799), qRgb(28, 28, 31));
        fixture.state->price = std::nullopt; // a spinner stands where it starts
        const QImage spinning = picture.render();
        QTest::qWait(150);
        QVERIFY(picture.render() == spinning);
        QBuffer png;
        QVERIFY(png.open(QIODevice::ReadWrite) && writePng(spinning, png));
        QVERIFY(QImage::fromData(png.data(), "PNG").convertToFormat(spinning.format()) == spinning);
    }

    void equalDataAndTimeGiveEqualPicturesOnAnyDesktop()
    {
        const QImage usual = picture(3000);
        QVERIFY(usual != picture(3001));
        QVERIFY(usual != picture(3000, u"演示行情"_s));
        QVERIFY(usual != picture(3000, {}, 300ms)); // the markers pulse with the clock
        const QFont font = QApplication::font();
        const QPalette palette = QApplication::palette();
        QApplication::setFont(QFont(font.family(), 23, QFont::Bold, true));
        QApplication::setPalette(QPalette(Qt::magenta, Qt::yellow));
        const QImage strange = picture(3000);
        QApplication::setFont(font);
        QApplication::setPalette(palette);
        QVERIFY(strange == usual);
    }
};

KESTRUNE_TEST(SnapshotModeTest)
#include "tst_snapshotmode.moc"
