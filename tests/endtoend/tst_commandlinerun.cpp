// SPDX-License-Identifier: MIT
#include "endtoend/barprocess.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune::test;
using namespace Qt::StringLiterals;

class CommandLineRunTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void wrongStartsEndWithOneLine_data();
    void wrongStartsEndWithOneLine();
    void helpAndVersionOnlyPrint_data();
    void helpAndVersionOnlyPrint();
    void theDemoNeedsItsMarketBeside();
};

void CommandLineRunTest::wrongStartsEndWithOneLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("display");
    QTest::newRow("a line break in the address")
        << QStringList{u"--market-server"_s, u"http://a\nb"_s, u"--snapshot"_s, u"out"_s} << 2 << QString();
    QTest::newRow("the demo and a server")
        << QStringList{u"--demo"_s, u"--market-server"_s, u"http://127.0.0.1:1"_s} << 2 << QString();
    QTest::newRow("no display") << QStringList{} << 1 << QString();
    QTest::newRow("a display that is not there") << QStringList{} << 1 << u":7777"_s;
}

void CommandLineRunTest::wrongStartsEndWithOneLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, display);
    BarProcess bar;
    bar.set(u"DISPLAY"_s, display); // set to nothing is no display either
    QVERIFY(bar.runToEnd(arguments));
    QCOMPARE(bar.exitCode(), status);
    const QByteArray error = bar.readAllStandardError();
    QVERIFY2(error.startsWith("kestrune-bar: ") && error.count('\n') == 1 && error.endsWith('\n'),
             error.constData());
    QCOMPARE(error.contains("no display"), status == 1);
    QCOMPARE(bar.readAllStandardOutput(), QByteArray());
    QCOMPARE(bar.settingsFiles(), QStringList());
}

void CommandLineRunTest::helpAndVersionOnlyPrint_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("part");
    QTest::newRow("help") << QStringList{u"--help"_s} << QByteArray("--market-server URL");
    QTest::newRow("version") << QStringList{u"x"_s, u"--version"_s} << QByteArray("kestrune-bar ");
}

void CommandLineRunTest::helpAndVersionOnlyPrint()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, part);
    BarProcess bar;
    QVERIFY(bar.runToEnd(arguments));
    QCOMPARE(bar.exitCode(), 0);
    QVERIFY(bar.readAllStandardOutput().contains(part));
    QCOMPARE(bar.readAllStandardError(), QByteArray());
    QCOMPARE(bar.settingsFiles(), QStringList());
}

void CommandLineRunTest::theDemoNeedsItsMarketBeside()
{
    BarProcess bar;
    const QString copy = bar.path(u"kestrune-bar"_s);
    QVERIFY(QFile::copy(QStringLiteral(KESTRUNE_BIN_DIR "/kestrune-bar"), copy));
    bar.setProgramFile(copy);
    const QStringList arguments{u"--demo"_s, u"--snapshot"_s, u"out"_s};
    QVERIFY(bar.runToEnd(arguments));
    QCOMPARE(bar.exitCode(), 2);
    QCOMPARE(bar.readAllStandardError().count('\n'), 1);
    QVERIFY(bar.summary().isEmpty());

    // One that is there but is no market.
    QVERIFY(QFile::copy(u"/bin/true"_s, bar.path(u"kestrune-replay"_s)));
    QVERIFY(bar.runToEnd(arguments));
    QCOMPARE(bar.exitCode(), 2);
    const QByteArray error = bar.readAllStandardError();
    QVERIFY2(error.count('\n') == 1 && !error.contains("Unknown error"), error.constData());
}

KESTRUNE_TEST(CommandLineRunTest)
#include "tst_commandlinerun.moc"
