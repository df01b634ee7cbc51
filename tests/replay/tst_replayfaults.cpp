// SPDX-License-Identifier: MIT
#include "replay/replayserver.h"
#include "support/testregistry.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>

using namespace kestrune::test;

/// Every fault as it appears on the wire.
class ReplayFaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changesTheContent_data();
    void changesTheContent();
    void endsEarly_data();
    void endsEarly();
    void dripsForEver();
    void floods();
    void sendsAWellFormedGzipBomb();
    void leavesOtherEndpointsAlone();
};

namespace {

const QByteArray candles = "/api/v4/spot/candlesticks?currency_pair=BTC_USDT&interval=1h&limit=200";
const QByteArray okx = "/api/v5/market/candles?instId=BTC-USDT-SWAP&bar=1H&limit=200";

QStringList withFault(const QString &fault)
{
    return {QStringLiteral("--clock"), QStringLiteral("2026-03-03T10:20:30Z"), QStringLiteral("--fault"),
            fault};
}

QByteArray soundCandles()
{
    static const QByteArray body =
        ReplayServer({QStringLiteral("--clock"), QStringLiteral("2026-03-03T10:20:30Z")}).get(candles);
    return body;
}

} // namespace

void ReplayFaultsTest::changesTheContent_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("start");
    QTest::newRow("an error status comes with an error object")
        << QStringLiteral("status:503") << 503 << QByteArray("application/json") << QByteArray("{\"label\":");
    QTest::newRow("nothing") << QStringLiteral("empty") << 200 << QByteArray("application/json")
                             << QByteArray();
    QTest::newRow("a web page") << QStringLiteral("html") << 200 << QByteArray("text/html")
                                << QByteArray("<!DOCTYPE html>");
    QTest::newRow("a redirection, commas and all") << QStringLiteral("redirect:http://127.0.0.1:1/q=a,b")
                                                   << 302 << QByteArray("application/json") << QByteArray();
}

void ReplayFaultsTest::changesTheContent()
{
    QFETCH(QString, kind);
    QFETCH(int, status);
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, start);
    const ReplayServer server(withFault(QLatin1String("gate.candles=") + kind));
    WireClient client(server.port());
    client.ask(candles);
    const WireReply reply = client.readReply();
    QCOMPARE(reply.status, status);
    QCOMPARE(reply.header("Content-Type"), type);
    QCOMPARE(reply.header("Location"), status == 302 ? QByteArray("http://127.0.0.1:1/q=a,b") : QByteArray());
    QVERIFY(reply.body.startsWith(start));
    QCOMPARE(reply.body.isEmpty(), start.isEmpty());
    client.ask(candles); // these leave the connection in order
    QCOMPARE(client.readReply().status, status);
}

void ReplayFaultsTest::endsEarly_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("half"); // of the body under its whole length; otherwise nothing comes
    QTest::addColumn<int>("end");
    using End = WireClient::End;
    QTest::newRow("a stall") << QStringLiteral("stall") << false << int(End::open);
    QTest::newRow("a stalled body") << QStringLiteral("stall-body") << true << int(End::open);
    QTest::newRow("a truncated body") << QStringLiteral("truncate") << true << int(End::closed);
    QTest::newRow("a reset at once") << QStringLiteral("reset") << false << int(End::reset);
    QTest::newRow("a reset in the body") << QStringLiteral("reset-body") << true << int(End::reset);
}

void ReplayFaultsTest::endsEarly()
{
    QFETCH(QString, kind);
    QFETCH(bool, half);
    QFETCH(int, end);
    const ReplayServer server(withFault(QLatin1String("gate.candles=") + kind));
    WireClient client(server.port());
    client.ask(candles);
    const QByteArray bytes = client.readFor(500);
    QCOMPARE(int(client.end()), end);
    QCOMPARE(bytes.isEmpty(), !half);
    QCOMPARE(bytes.contains("Content-Length: " + QByteArray::number(soundCandles().size())), half);
    QVERIFY(!half ||
            bytes.sliced(bytes.indexOf("\r\n\r\n") + 4) == soundCandles().left(soundCandles().size() / 2));
}

void ReplayFaultsTest::dripsForEver()
{
    const ReplayServer server(withFault(QStringLiteral("gate.candles=drip")));
    WireClient client(server.port());
    client.ask(candles);
    const QByteArray early = client.readFor(700);
    const QByteArray late = client.readFor(700);
    QVERIFY(early.contains("Content-Length: " + QByteArray::number(soundCandles().size())));
    QVERIFY(late.size() >= 1 && late.size() <= 6);
    QVERIFY(soundCandles().startsWith((early + late).sliced(early.indexOf("\r\n\r\n") + 4)));
    QCOMPARE(client.end(), WireClient::End::open);
}

void ReplayFaultsTest::floods()
{
    const ReplayServer server(withFault(QStringLiteral("gate.candles=flood")));
    WireClient client(server.port());
    client.ask(candles);
    const QByteArray bytes = client.readFor(20000);
    QCOMPARE(client.end(), WireClient::End::closed);
    QVERIFY(!bytes.left(500).toLower().contains("content-length"));
    const qsizetype body = bytes.size() - bytes.indexOf("\r\n\r\n") - 4;
    QCOMPARE(body, soundCandles().size() + 50 * 1024 * 1024);
}

void ReplayFaultsTest::sendsAWellFormedGzipBomb()
{
    const ReplayServer server(withFault(QStringLiteral("gate.candles=gzip-bomb")));
    WireClient client(server.port());
    client.ask(candles);
    const WireReply reply = client.readReply();
    QCOMPARE(reply.header("Content-Encoding"), QByteArray("gzip"));
    QVERIFY(reply.body.size() < 100 * 1024);

    // A reader without a guard gets all of it, checksum approved.
    QNetworkAccessManager manager;
    QNetworkRequest asking(QUrl(QString::fromUtf8(server.address().trimmed() + candles)));
    asking.setDecompressedSafetyCheckThreshold(-1);
    const std::unique_ptr<QNetworkReply> unpacked(manager.get(asking));
    QSignalSpy finished(unpacked.get(), &QNetworkReply::finished);
    QVERIFY(finished.wait(10000));
    QCOMPARE(unpacked->error(), QNetworkReply::NoError);
    QCOMPARE(unpacked->readAll().size(), 64 * 1024 * 1024);
}

void ReplayFaultsTest::leavesOtherEndpointsAlone()
{
    const ReplayServer server(withFault(QStringLiteral("okx.candles=status:500")));
    QCOMPARE(server.get(candles), soundCandles());
    QCOMPARE(server.get(okx), QByteArray("status 500"));
    const ReplayServer all(withFault(QStringLiteral("all=status:500")));
    QCOMPARE(all.get(candles), QByteArray("status 500"));
    QCOMPARE(all.get("/q=sh600519"), QByteArray("status 500"));

    // A content and a delivery go together; a wrong length leaves the rest of the body behind the reply.
    const ReplayServer both(withFault(QStringLiteral("gate.candles=html,wrong-length")));
    WireClient client(both.port());
    client.ask(candles);
    const WireReply reply = client.readReply();
    QVERIFY(reply.body.startsWith("<!DOCTYPE html>"));
    const QByteArray rest = client.readFor(200);
    QVERIFY(rest.endsWith("</html>\n"));
    QCOMPARE(reply.body.size(), (reply.body + rest).size() / 2);
}

KESTRUNE_TEST(ReplayFaultsTest)

#include "tst_replayfaults.moc"
