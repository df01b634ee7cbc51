// SPDX-License-Identifier: MIT
#include "endtoend/barprocess.h"
#include "support/testregistry.h"

#include <QJsonArray>
#include <QTcpServer>
#include <QTest>

using namespace kestrune::test;
using namespace Qt::StringLiterals;

class DeadlineRunTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void withoutDataTheRunEndsAtItsDeadline();
};

void DeadlineRunTest::withoutDataTheRunEndsAtItsDeadline()
{
    // One server refuses connections, the other accepts them and says nothing.
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    BarProcess stalled;
    stalled.begin(
        {u"--snapshot"_s, u"out"_s, u"--market-server"_s, u"http://127.0.0.1:%1"_s.arg(silent.serverPort())});
    BarProcess refused;
    QVERIFY(
        refused.runToEnd({u"--snapshot"_s, u"out"_s, u"--market-server"_s, u"http://127.0.0.1:1"_s}, 36'000));
    QTRY_COMPARE_WITH_TIMEOUT(stalled.state(), QProcess::NotRunning, 3000);
    QVERIFY2(refused.elapsedMs() > 30'900 && refused.elapsedMs() < 33'000,
             qPrintable(QString::number(refused.elapsedMs())));
    for (BarProcess *bar : {&stalled, &refused}) {
        QCOMPARE(bar->exitCode(), 0);
        QCOMPARE(bar->readAllStandardError(), QByteArray());
        QCOMPARE(bar->summary().size(), 14);
        QCOMPARE(bar->summary().value(u"price"_s), QJsonValue(0));
        QVERIFY(bar->summary().value(u"signals"_s).toArray().isEmpty());
    }
}

KESTRUNE_TEST(DeadlineRunTest)
#include "tst_deadlinerun.moc"
