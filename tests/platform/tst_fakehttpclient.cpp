// SPDX-License-Identifier: MIT
#include "support/eventloop.h"
#include "support/fakehttpclient.h"
#include "support/testregistry.h"

#include <QTest>

#include <memory>

using namespace kestrune;
using namespace kestrune::test;

namespace {

QCoro::Task<> ask(HttpClient *http, QString url, QStringList *log)
{
    const QUrl address(url);
    std::vector<HttpHeader> headers{{"Referer", "https://example.com/"}};
    const auto body = co_await http->get(address, std::move(headers));
    log->append(body ? QString::fromUtf8(*body) : QStringLiteral("nothing"));
}

} // namespace

class FakeHttpClientTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theMostExactRouteServes();
    void answersArriveInTheScriptedOrder();
    void everyDepartureFromTheScriptIsAProblem();
    void goingAwayEndsOpenRequests();
};

void FakeHttpClientTest::theMostExactRouteServes()
{
    FakeHttpClient http;
    QStringList log;
    http.answer(QStringLiteral("/v1/kline"), "path");
    http.answer(QStringLiteral("/v1/kline?s=A"), "line");
    http.answer(QStringLiteral("a.test/v1/kline?s=A"), "host and line");
    http.fail(QStringLiteral("b.test/v1/kline"));
    http.answerAlways(QStringLiteral("/standing"), "standing");
    for (const char *url :
         {"https://a.test/v1/kline?s=A", "https://a.test/v1/kline?s=A", "https://b.test/v1/kline?s=A",
          "https://c.test/v1/kline?s=%E5%8A%A0", "https://c.test/standing", "https://c.test/standing?x"}) {
        ask(&http, QString::fromLatin1(url), &log);
        QCOMPARE(http.openCount(), 1); // never answered inside the call
        drainEvents();
    }
    const QStringList expected{QStringLiteral("host and line"), QStringLiteral("line"),
                               QStringLiteral("nothing"),       QStringLiteral("path"),
                               QStringLiteral("standing"),      QStringLiteral("standing")};
    QCOMPARE(log, expected);
    QCOMPARE(http.lines().at(3), QStringLiteral("/v1/kline?s=%E5%8A%A0"));
    QCOMPARE(http.requests().front().header("referer"), QByteArray("https://example.com/"));
    KESTRUNE_VERIFY_HTTP(http);
}

void FakeHttpClientTest::answersArriveInTheScriptedOrder()
{
    FakeHttpClient http;
    QStringList log;
    http.hold(QStringLiteral("/slow"));
    http.hold(QStringLiteral("/slow"));
    http.answer(QStringLiteral("/quick"), "quick");
    ask(&http, QStringLiteral("https://a.test/slow?1"), &log);
    ask(&http, QStringLiteral("https://a.test/slow?2"), &log);
    ask(&http, QStringLiteral("https://a.test/quick"), &log);
    QCOMPARE(http.mostOpenAtOnce(), 3);
    drainEvents();
    http.releaseFailure(QStringLiteral("/slow"));
    http.release(QStringLiteral("/slow"), "slow 2");
    QCOMPARE(log,
             QStringList({QStringLiteral("quick"), QStringLiteral("nothing"), QStringLiteral("slow 2")}));
    KESTRUNE_VERIFY_HTTP(http);
}

void FakeHttpClientTest::everyDepartureFromTheScriptIsAProblem()
{
    FakeHttpClient http(FakeHttpClient::Unexpected::record);
    QStringList log;
    http.answer(QStringLiteral("/unused"), "x");
    ask(&http, QStringLiteral("https://a.test/unknown?q=1"), &log);
    drainEvents();
    http.release(QStringLiteral("/nobody"), "x");
    QCOMPARE(log, QStringList({QStringLiteral("nothing")}));
    QCOMPARE(http.problems(), QStringList({QStringLiteral("unexpected request a.test/unknown?q=1"),
                                           QStringLiteral("no request waits on /nobody"),
                                           QStringLiteral("1 unused answer(s) for /unused")}));
}

void FakeHttpClientTest::goingAwayEndsOpenRequests()
{
    QStringList log;
    {
        FakeHttpClient http;
        http.hold(QStringLiteral("/held"));
        http.answer(QStringLiteral("/queued"), "too late");
        ask(&http, QStringLiteral("https://a.test/held"), &log);
        ask(&http, QStringLiteral("https://a.test/queued"), &log);
    }
    QCOMPARE(log, QStringList({QStringLiteral("nothing"), QStringLiteral("nothing")}));
    drainEvents();
}

KESTRUNE_TEST(FakeHttpClientTest)
#include "tst_fakehttpclient.moc"
