// SPDX-License-Identifier: MIT
#include "endtoend/barprocess.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QDir>
#include <QJsonArray>
#include <QTest>

#include <csignal>

using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class DemoRunTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void itsSettingsAreKeptApart();
    void nothingStaysBehindAKilledRun();
};

void DemoRunTest::itsSettingsAreKeptApart()
{
    BarProcess bar;
    const QByteArray real = R"({"ks_coin": "SOL"})";
    QVERIFY(QDir().mkpath(bar.path(u"config/kestrune-bar"_s)));
    QFile file(bar.path(u"config/kestrune-bar/preferences.json"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(real);
    file.close();
    QVERIFY(bar.runToEnd({u"--demo"_s, u"--snapshot"_s, u"out"_s, u"--symbol"_s, u"BTC"_s}));
    QCOMPARE(bar.exitCode(), 0);
    QCOMPARE(bar.readAllStandardError(), QByteArray());
    const QJsonObject summary = bar.summary();
    QCOMPARE(summary.value(u"symbol"_s), QJsonValue(u"BTC"_s));
    QVERIFY(summary.value(u"price"_s).toDouble() > 0);
    QCOMPARE(summary.value(u"signals"_s).toArray().size(), 3);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), real);
    const QStringList files = bar.settingsFiles();
    QCOMPARE(files.filter(u"demo/"_s).size(), files.size() - 1);
    QVERIFY(files.size() > 1);
}

void DemoRunTest::nothingStaysBehindAKilledRun()
{
    BarProcess bar;
    bar.begin({u"--demo"_s, u"--snapshot"_s, u"out"_s});
    const qint64 pid = bar.processId();
    QVERIFY(pid > 0);
    QList<qint64> markets; // asked for once: it may end in between
    QVERIFY(waitFor([&] {
        markets = childrenOf(pid);
        return markets.size() == 1;
    }));
    const qint64 market = markets.front();
    ::kill(pid_t(pid), SIGKILL);
    QVERIFY(waitFor([&] { return bar.state() == QProcess::NotRunning; }));
    QVERIFY(waitFor([&] { return !isAlive(market); }, 3s));
}

KESTRUNE_TEST(DemoRunTest)
#include "tst_demorun.moc"
