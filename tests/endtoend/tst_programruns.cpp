// SPDX-License-Identifier: MIT
#include "support/eventloop.h"
#include "support/loopbackserver.h"
#include "support/marketbodies.h"
#include "support/program.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QDir>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace kestrune::test;
using namespace Qt::StringLiterals;

/// The real program, from its command line to its files.
class ProgramRunsTest : public QObject
{
    Q_OBJECT
    static QStringList words(const char *text)
    {
        return QString::fromUtf8(text).split(u' ', Qt::SkipEmptyParts);
    }

    static QJsonObject summary(const Program &bar)
    {
        return QJsonDocument::fromJson(bar.contentOf(u"out/data.json"_s)).object();
    }

    /// Files below the settings folder.
    static QStringList settingsFiles(const Program &bar)
    {
        QStringList files;
        QDirIterator entries(bar.path(u"config/kestrune-bar"_s), QDir::Files, QDirIterator::Subdirectories);
        while (entries.hasNext())
            files.append(entries.next());
        return files;
    }

    static void serveStock(LoopbackServer &market, const QString &prefix, const QString &code,
                           const QString &period)
    {
        const QByteArray name = "\xb9\xf3\xd6\xdd\xc3\xa9\xcc\xa8"; // 贵州茅台
        market.serve(prefix + u"/q="_s + code, {.body = stockQuotes({{code.toLatin1(), name, 1500, 1.25}})});
        // The two other periods have no candles; the snapshot then holds one record.
        market.serve(prefix + u"/appstock/app/fqkline/get"_s,
                     {.body = stockCandles(code, period, waveCandles(320, 1500))});
    }

    /// A snapshot run into the folder "out".
    static void takeSnapshot(Program &bar, const QString &server, const char *more)
    {
        QVERIFY(bar.runToEnd(words("--snapshot out --market-server") + QStringList{server} + words(more)));
        QVERIFY(bar.endedWell());
        QCOMPARE(bar.readAll() + bar.readAllStandardError(), QByteArray());
        // Half a second for the first poll and one more for what is still arriving are its own.
        QVERIFY2(bar.elapsedMs() >= 1490, qPrintable(QString::number(bar.elapsedMs())));
        QCOMPARE(summary(bar).size(), 14);
    }

private Q_SLOTS:
    void whatEndsAtOnceSaysWhy()
    {
        const struct
        {
            const char *name;
            QStringList arguments;
            int status;
            QByteArray output, error;
            QString display = {}; // set to nothing is no display either
        } rows[] = {
            {"help", words("--help"), 0, "--market-server URL", {}},
            {"version", words("x --version"), 0, "kestrune-bar ", {}},
            {"no file for the chart", words("--chart"), 2, {}, "--chart wants a file"},
            {"no display", {}, 1, {}, "no display"},
            {"a display that is not there", {}, 1, {}, "no display", u":7777"_s},
            {"the demo and a server", words("--demo --market-server http://127.0.0.1:1"), 2, {}, "exclude"},
            {"no bar of that name", words("--watch bar"), 2, {}, "waybar, i3bar"},
            {"a line break in the address", {u"--market-server"_s, u"http://a\nb"_s}, 2, {}, "http://a b"},
        };
        forEachRow(rows, [](const auto &row) {
            Program bar;
            bar.set(u"DISPLAY"_s, row.display);
            QVERIFY(bar.runToEnd(row.arguments));
            QCOMPARE(bar.exitCode(), row.status);
            const QByteArray output = bar.readAllStandardOutput(), error = bar.readAllStandardError();
            QVERIFY2(output.contains(row.output) && output.isEmpty() == row.output.isEmpty(),
                     output.constData());
            QVERIFY2(error.contains(row.error) && error.isEmpty() == row.error.isEmpty(), error.constData());
            QVERIFY(error.isEmpty() ||
                    (error.startsWith("kestrune-bar: ") && error.indexOf('\n') == error.size() - 1));
            QCOMPARE(settingsFiles(bar), QStringList());
        });
    }

    void theDemoNeedsItsMarketBeside()
    {
        Program bar;
        const QString copy = bar.path(u"kestrune-bar"_s);
        QVERIFY(QFile::copy(bar.program(), copy));
        bar.setProgram(copy);
        for (const bool beside : {false, true}) { // there, but no market
            QVERIFY(!beside || QFile::copy(u"/bin/true"_s, bar.path(u"kestrune-replay"_s)));
            QVERIFY(bar.runToEnd(words("--demo --snapshot out")));
            QCOMPARE(bar.exitCode(), 2);
            const QByteArray error = bar.readAllStandardError();
            QVERIFY2(error.count('\n') == 1 && !error.contains("Unknown error"), error.constData());
            QVERIFY(summary(bar).isEmpty());
        }
    }

    void theDemosSettingsAreKeptApart()
    {
        Program bar;
        const QByteArray real = R"({"ks_coin": "SOL"})";
        QVERIFY(QDir().mkpath(bar.path(u"config/kestrune-bar"_s)));
        QFile file(bar.path(u"config/kestrune-bar/preferences.json"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(real) == real.size());
        file.close();
        QVERIFY(bar.runToEnd(words("--demo --snapshot out --symbol BTC")) && bar.endedWell());
        QCOMPARE(bar.readAllStandardError(), QByteArray());
        QCOMPARE(summary(bar)[u"symbol"], QJsonValue(u"BTC"_s));
        QVERIFY(summary(bar)[u"price"].toDouble() > 0 && summary(bar)[u"signals"].toArray().size() == 3);
        QCOMPARE(bar.contentOf(u"config/kestrune-bar/preferences.json"_s), real);
        const QStringList files = settingsFiles(bar);
        QVERIFY(files.size() > 1 && files.filter(u"/demo/"_s).size() == files.size() - 1);
    }

    void nothingStaysBehindAKilledDemo()
    {
        Program bar;
        bar.begin(words("--demo --snapshot out"));
        const auto process = u"/proc/%1/"_s; // of a process that has ended, nothing but its entry is left
        QString market;
        QVERIFY(waitFor([&] {
            QFile children(process.arg(bar.processId()) + u"task/%1/children"_s.arg(bar.processId()));
            if (children.open(QIODevice::ReadOnly))
                market = QString::fromLatin1(children.readAll()).trimmed();
            return !market.isEmpty();
        }));
        QVERIFY(bar.killNow());
        QVERIFY(waitFor([&] { return QFile::symLinkTarget(process.arg(market) + u"exe"_s).isEmpty(); }));
    }

    void aSnapshotOfACoin()
    {
        LoopbackServer market;
        market.serve(u"/api/v4/futures/usdt/tickers"_s, {.body = gateTicker(61234.5, -2.25)});
        market.serve(u"/api/v4/spot/candlesticks"_s, {.body = gateCandles(waveCandles(200, 60000))});
        Program bar;
        // Qt's own options are unknown arguments here.
        takeSnapshot(bar, market.url({}).toString(),
                     "--symbol BTC -platform nowhere --timeframe 4H -style none");
        if (QTest::currentTestFailed())
            return;
        const QJsonObject data = summary(bar);
        QCOMPARE(data[u"timeframe"], QJsonValue(u"4H"_s));
        QCOMPARE(data[u"price"], QJsonValue(61234.5));
        QCOMPARE(data[u"changePct"], QJsonValue(-2.25));
        QCOMPARE(data[u"tradingView"], QJsonValue(u"BINANCE:BTCUSDT.P"_s));
        QCOMPARE(data[u"signals"].toArray().size(), 3);
        QVERIFY(!data[u"support"].toArray().isEmpty() && !data[u"resistance"].toArray().isEmpty());
        QVERIFY(bar.contentOf(u"out/popover.png"_s).startsWith("\x89PNG"));
        QVERIFY(!market.requests().empty());
        for (const auto &request : market.requests()) // never of the stored instrument
            QVERIFY2(request.line.contains("BTC") && request.header("Referer").isEmpty(),
                     request.line.constData());
    }

    void linesNeedNoDisplayAndWriteNoSettings()
    {
        LoopbackServer market;
        market.serve(u"/api/v4/futures/usdt/tickers"_s, {.body = gateTicker(61234.5, -2.25)});
        market.serve(u"/api/v4/spot/candlesticks"_s, {.body = gateCandles(waveCandles(200, 60000))});
        const QStringList server{u"--market-server"_s, market.url({}).toString()};
        Program bar;
        QVERIFY(bar.runToEnd(words("--print plain --symbol BTC") + server) && bar.endedWell());
        const QByteArray line = bar.readAllStandardOutput();
        QVERIFY2(line.startsWith("BTC  61,23") && line.indexOf('\n') == line.size() - 1, line.constData());
        bar.begin(words("--watch plain --symbol BTC") + server);
        QVERIFY(bar.nextLine().startsWith("等待 BTC"));
        bar.terminate();
        QVERIFY(waitFor([&] { return bar.state() == QProcess::NotRunning; }) && bar.endedWell());
        const QStringList headed = words("-o pipefail -c") + QStringList{u"\"$0\" \"$@\" | head -n1"_s};
        const QStringList command = QStringList{bar.program()} + words("--watch json") + server;
        bar.setProgram(u"/bin/bash"_s);
        QVERIFY(bar.runToEnd(headed + command) && bar.endedWell());
        QCOMPARE(bar.readAllStandardError(), QByteArray());
        QCOMPARE(settingsFiles(bar), QStringList());
    }

    void aSnapshotOfAStockBelowAPrefixStaysSelected()
    {
        LoopbackServer market;
        serveStock(market, u"/mirror/v1"_s, u"hk00005"_s, u"week"_s);
        Program bar;
        takeSnapshot(bar, market.url(u"/mirror/v1/"_s).toString(),
                     "--market 港股 --symbol hk00005 --timeframe 周线");
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(summary(bar)[u"timeframe"], QJsonValue(u"周线"_s));
        QStringList lines;
        for (const auto &request : market.requests()) {
            QCOMPARE(request.header("Referer"), QByteArray("https://gu.qq.com/"));
            lines << QString::fromLatin1(request.line.split(' ').value(1));
        }
        QVERIFY(lines.contains(u"/mirror/v1/appstock/app/fqkline/get?param=hk00005,week,,,320,qfq"_s));
        QCOMPARE(lines.filter(u"/mirror/v1/"_s).filter(u"hk00005"_s), lines);

        bar.set(u"LC_ALL"_s, u"C"_s); // whatever the locale
        takeSnapshot(bar, market.url(u"/mirror/v1"_s).toString(), "");
        QCOMPARE(summary(bar)[u"headerTitle"], QJsonValue(u"贵州茅台 · 港股"_s));
        QCOMPARE(summary(bar)[u"timeframe"], QJsonValue(u"周线"_s));
    }
};

KESTRUNE_TEST(ProgramRunsTest)
#include "tst_programruns.moc"
