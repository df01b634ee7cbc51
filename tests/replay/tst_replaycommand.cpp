// SPDX-License-Identifier: MIT
#include "replay/replayserver.h"
#include "support/testregistry.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrune::test;

/// The program as its caller sees it: arguments, standard streams, exit status.
class ReplayCommandTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void printsTheAddressOfThePortThatItIsGiven();
    void endsWhenTold();
    void rejectsWrongArguments_data();
    void rejectsWrongArguments();
    void answersLaterWhenAsked();
};

namespace {

struct Run
{
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

Run run(const QStringList &arguments)
{
    QProcess process;
    process.start(ReplayServer::program(), arguments);
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace

void ReplayCommandTest::printsTheAddressOfThePortThatItIsGiven()
{
    quint16 port = 0;
    {
        ReplayServer server({});
        port = server.port();
        QVERIFY(port != 0);
        QCOMPARE(server.address(), "http://127.0.0.1:" + QByteArray::number(port) + '\n');
        QVERIFY(!server.process().waitForReadyRead(100)); // one line, no more
        const Run second = run({QStringLiteral("--port"), QString::number(port)});
        QCOMPARE(second.status, 1);
        QCOMPARE(second.errors.count('\n'), 1);
        QVERIFY(second.output.isEmpty());
    }
    const ReplayServer again({QStringLiteral("--port"), QString::number(port)});
    QCOMPARE(again.port(), port);
}

void ReplayCommandTest::endsWhenTold()
{
    ReplayServer bound({QStringLiteral("--exit-with-stdin")});
    ReplayServer loose({});
    bound.process().write("anything\n");
    loose.process().closeWriteChannel();
    QVERIFY(!bound.process().waitForFinished(200));
    QVERIFY(!loose.process().waitForFinished(200));
    bound.process().closeWriteChannel();
    loose.process().terminate();
    for (ReplayServer *server : {&bound, &loose}) {
        QVERIFY(server->process().waitForFinished(2000));
        QCOMPARE(server->process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(server->process().exitCode(), 0);
    }
}

void ReplayCommandTest::rejectsWrongArguments_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::newRow("an unknown option") << QStringLiteral("--nonsense");
    QTest::newRow("an option without its value") << QStringLiteral("--port");
    QTest::newRow("a port beyond the last") << QStringLiteral("--port 65536");
    QTest::newRow("a negative latency") << QStringLiteral("--latency -1");
    QTest::newRow("a clock before time") << QStringLiteral("--clock 1969-12-31T00:00:00Z");
    QTest::newRow("a speed that is no number") << QStringLiteral("--speed nan");
    QTest::newRow("a folder that is not there") << QStringLiteral("--history /nonexistent/folder");
    QTest::newRow("half a certificate") << QStringLiteral("--tls cert.pem");
    QTest::newRow("a fault without a kind") << QStringLiteral("--fault okx.candles");
    QTest::newRow("a fault of no endpoint") << QStringLiteral("--fault okx.ticker=stall");
    QTest::newRow("two contents") << QStringLiteral("--fault okx.candles=empty,html");
    QTest::newRow("a status beyond the last") << QStringLiteral("--fault okx.candles=status:600");
    QTest::newRow("a status without a body") << QStringLiteral("--fault okx.candles=status:204");
    QTest::newRow("a redirection to nowhere") << QStringLiteral("--fault okx.candles=redirect:");
    QTest::newRow("a comma too many") << QStringLiteral("--fault okx.candles=stall,");
}

void ReplayCommandTest::rejectsWrongArguments()
{
    QFETCH(QString, arguments);
    const Run result = run(arguments.split(QLatin1Char(' ')));
    QCOMPARE(result.status, 2);
    QCOMPARE(result.errors.count('\n'), 1);
    QVERIFY(result.errors.startsWith("kestrune-replay: "));
    QVERIFY(result.output.isEmpty());
}

void ReplayCommandTest::answersLaterWhenAsked()
{
    const ReplayServer server({QStringLiteral("--latency"), QStringLiteral("300")});
    WireClient client(server.port());
    QElapsedTimer timer;
    timer.start();
    client.ask("/api/v4/futures/usdt/tickers?contract=BTC_USDT");
    client.ask("/q=sh600519");
    QCOMPARE(client.readReply().status, 200);
    QVERIFY(timer.elapsed() >= 295);
    QVERIFY(client.readReply().body.startsWith("v_sh600519"));
    QVERIFY(timer.elapsed() >= 590);
}

KESTRUNE_TEST(ReplayCommandTest)

#include "tst_replaycommand.moc"
