// SPDX-License-Identifier: MIT
#include "market/endpoints.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

class EndpointsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void addressesStandAsWritten_data();
    void addressesStandAsWritten();
    void aPathOfTheMarketServerIsAPrefix();
};

void EndpointsTest::addressesStandAsWritten_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::newRow("plain") << u"https://a.test/x?a=B_c&d=1,2,,,3:@"_s << true;
    QTest::newRow("port and address") << u"http://127.0.0.1:8080/x"_s << true;
    QTest::newRow("an existing escape") << u"https://a.test/x?a=%E5%8A%A0"_s << true;
    QTest::newRow("a blank") << u"https://a.test/x?a=B C"_s << false;
    QTest::newRow("a control character") << u"https://a.test/x?a=\x7f"_s << false;
    QTest::newRow("Chinese") << u"https://a.test/x?a=茅台"_s << false;
    QTest::newRow("a caret") << u"https://a.test/x?a=^HSI"_s << false;
    QTest::newRow("a lone percent sign") << u"https://a.test/x?a=5%"_s << false;
    QTest::newRow("another scheme") << u"file:///etc/passwd"_s << false;
    QTest::newRow("no host") << u"https:///x"_s << false;
    QTest::newRow("nothing") << QString() << false;
}

void EndpointsTest::addressesStandAsWritten()
{
    QFETCH(QString, text);
    const auto url = requestUrl(text);
    QTEST(url.has_value(), "valid");
    if (url)
        QCOMPARE(QString::fromLatin1(url->toEncoded()), text);
}

void EndpointsTest::aPathOfTheMarketServerIsAPrefix()
{
    const auto plain = Endpoints::via(u"http://127.0.0.1:9000"_s);
    const auto nested = Endpoints::via(u"http://gate.way/mirror/"_s);
    for (const auto part : {&Endpoints::gate, &Endpoints::binanceSpot, &Endpoints::binanceFutures,
                            &Endpoints::okx, &Endpoints::tencentQuotes, &Endpoints::tencentCandles}) {
        QCOMPARE(plain.*part, u"http://127.0.0.1:9000"_s);
        QCOMPARE(nested.*part, u"http://gate.way/mirror"_s);
    }
}

KESTRUNE_TEST(EndpointsTest)

#include "tst_endpoints.moc"
