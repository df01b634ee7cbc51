// SPDX-License-Identifier: MIT
#include "platform/curlhttpclient.h"
#include "support/eventloop.h"
#include "support/loopbackserver.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class CurlHttpClientTest : public QObject
{
    Q_OBJECT

    using Fault = LoopbackServer::Fault;
    using Answer = LoopbackServer::Answer;

    struct Result
    {
        bool done = false;
        std::optional<QByteArray> body;
        HttpAnswer answer;
    };
    using SharedResult = std::shared_ptr<Result>;

    static QCoro::Task<> fetch(HttpClient *client, QUrl url, SharedResult result)
    {
        std::vector<HttpHeader> headers{{"Referer", "https://example.com/"}};
        const auto answer = co_await client->get(url, std::move(headers));
        if (answer) {
            result->answer = *answer;
            result->body = answer->body;
        }
        result->done = true;
    }
    static SharedResult start(HttpClient &client, const QUrl &url)
    {
        const auto result = std::make_shared<Result>();
        fetch(&client, url, result);
        return result;
    }
    static bool ended(const SharedResult &result, std::chrono::milliseconds limit = 5s)
    {
        return waitFor([&] { return result->done; }, limit);
    }
    /// The body as text, "nothing" for a failure and "late" when no answer came in time.
    static QByteArray ask(HttpClient &client, const QUrl &url)
    {
        const auto result = start(client, url);
        return ended(result) ? result->body.value_or("nothing") : "late";
    }
    static QByteArray ask(HttpClient &client, LoopbackServer &server, const Answer &answer)
    {
        server.serve(u"/once"_s, answer);
        return ask(client, server.url(u"/once"_s));
    }

    inline static const CurlHttpClient::Options quick{
        .idleTimeout = 250ms, .totalTimeout = 600ms, .maxBody = 1 << 20};
    static Answer faulty(Fault fault, const QByteArray &body = QByteArray(2000, 'x'))
    {
        return {.body = body, .fault = fault};
    }

private Q_SLOTS:
    void sendsAPlainRequest()
    {
        LoopbackServer server;
        CurlHttpClient client;
        server.serve(u"/v1"_s,
                     {.body = "hello",
                      .headers = {"Set-Cookie: a=b; Path=/", "Cache-Control: max-age=1000", "ETag: \"1\""}});
        for (int i = 0; i < 20; ++i)
            QCOMPARE(ask(client, server.url(u"/v1?a=%E5%8A%A0&b=1,2"_s)), QByteArray("hello"));
        QCOMPARE(server.requests().size(), std::size_t(20)); // none came from a cache
        const auto &last = server.requests().back();
        QCOMPARE(last.line, QByteArray("GET /v1?a=%E5%8A%A0&b=1,2 HTTP/1.1"));
        QCOMPARE(last.header("Referer"), QByteArray("https://example.com/"));
        QCOMPARE(last.header("Cookie") + last.header("If-None-Match"), QByteArray());
        QCOMPARE(last.header("Accept-Encoding"), QByteArray("gzip")); // what can be unpacked, and no more
        QCOMPARE(last.connection, server.requests().front().connection);
    }

    void theBodyIsGivenWhateverTheStatus()
    {
        LoopbackServer server;
        CurlHttpClient client(quick);
        for (const int status : {200, 203, 400, 401, 403, 404, 409, 410, 418, 429, 451, 500, 501, 503, 599}) {
            server.serve(u"/p"_s, {.body = "body", .status = status, .headers = {"Retry-After: 30"}});
            const auto result = start(client, server.url(u"/p"_s));
            QVERIFY(ended(result) && result->body == "body" && result->answer.status == status);
            QCOMPARE(result->answer.retryAfter, std::optional(30s));
        }
        QCOMPARE(ask(client, server, {.body = "half", .status = 500, .fault = Fault::truncate}),
                 QByteArray("nothing"));
    }

    void bodiesAreUnpackedAndLimited()
    {
        const qsizetype limit = quick.maxBody;
        const QByteArray text = QByteArray("[1,2,3],").repeated(20'000);
        const auto packed = [](const QByteArray &body, const auto &change) {
            Answer answer = LoopbackServer::gzipped(body);
            change(answer);
            return answer;
        };
        const struct
        {
            const char *name;
            Answer answer;
            QByteArray body;
        } rows[] = {
            {"packed", LoopbackServer::gzipped(text), text},
            {"packed nothing", LoopbackServer::gzipped({}), {}},
            {"damaged",
             packed(text, [](Answer &a) { a.body[a.body.size() / 2] = char(~a.body[a.body.size() / 2]); }),
             "nothing"},
            {"cut off", packed(text, [](Answer &a) { a.fault = Fault::truncate; }), "nothing"},
            // No length tells it here, and Qt takes the close for the end.
            {"cut off in chunks", packed(text, [](Answer &a) { a.fault = Fault::truncateChunked; }),
             "nothing"},
            {"an encoding nobody asked for", {.body = "?", .headers = {"Content-Encoding: br"}}, "nothing"},
            {"just the limit", {.body = QByteArray(limit, 'z')}, QByteArray(limit, 'z')},
            {"one byte more", {.body = QByteArray(limit + 1, 'z')}, "nothing"},
            {"just the limit, packed", LoopbackServer::gzipped(QByteArray(limit, 'z')),
             QByteArray(limit, 'z')},
            {"one byte more, packed", LoopbackServer::gzipped(QByteArray(limit + 1, 'z')), "nothing"},
            {"a bomb", LoopbackServer::gzipped(QByteArray(200 * limit, 'z')), "nothing"},
        };
        forEachRow(rows, [](const auto &row) {
            LoopbackServer server;
            CurlHttpClient client(quick);
            QVERIFY(ask(client, server, row.answer) == row.body);
        });
    }

    void everyTransferFaultFails()
    {
        const struct
        {
            const char *name;
            Fault fault;
        } rows[] = {
            {"silence before the headers", Fault::stall},
            {"silence within the headers", Fault::stallInHeaders},
            {"silence within the body", Fault::stallInBody},
            {"reset before the headers", Fault::reset},
            {"reset within the body", Fault::resetInBody},
            {"body shorter than its length", Fault::truncate},
            {"a length that is no number", Fault::lengthNonsense},
            {"no HTTP at all", Fault::garbage},
            {"closed without an answer", Fault::closeAtOnce},
            {"a body without end", Fault::endless},
            {"headers without end", Fault::endlessHeaders},
        };
        forEachRow(rows, [](const auto &row) {
            LoopbackServer server;
            CurlHttpClient client(quick);
            server.serve(u"/good"_s, {.body = "good"});
            QCOMPARE(ask(client, server, faulty(row.fault)), QByteArray("nothing"));
            QCOMPARE(ask(client, server.url(u"/good"_s)), QByteArray("good"));
        });
    }

    void silenceAndSlownessHaveTheirOwnLimits()
    {
        LoopbackServer server;
        QElapsedTimer timer;
        timer.start();
        CurlHttpClient wary({.idleTimeout = 250ms, .totalTimeout = 60s});
        QCOMPARE(ask(wary, server, faulty(Fault::stallInBody)), QByteArray("nothing"));
        QVERIFY(timer.elapsed() >= 250);
        // Longer than the limit of silence, but never silent.
        CurlHttpClient patient({.idleTimeout = 500ms, .totalTimeout = 60s});
        QCOMPARE(ask(patient, server, faulty(Fault::drip, QByteArray(40, 'x'))), QByteArray(40, 'x'));
        timer.restart();
        CurlHttpClient hasty({.idleTimeout = 60s, .totalTimeout = 300ms});
        QCOMPARE(ask(hasty, server, faulty(Fault::drip, QByteArray(1000, 'x'))), QByteArray("nothing"));
        QVERIFY(timer.elapsed() >= 300);
    }

    void bodiesTakeNoMemory()
    {
        LoopbackServer server;
        CurlHttpClient client({.maxBody = 1 << 20}); // the real times: nothing ends by itself here
        QCOMPARE(ask(client, server, faulty(Fault::endless, QByteArray(64 * 1024, 'x'))),
                 QByteArray("nothing"));
        QVERIFY2(server.bytesSent() < 16 * 1024 * 1024, qPrintable(QString::number(server.bytesSent())));

        server.serve(u"/large"_s, faulty(Fault::stallInBody, QByteArray(960 * 1024, 'x')));
        std::vector<SharedResult> large;
        for (int i = 0; i < 6; ++i)
            large.push_back(start(client, server.url(u"/large"_s)));
        // Each holds 480 KiB by and by, and there is room for 2 MiB: four stay.
        const auto done = [&] {
            return std::ranges::count(large, true, [](const auto &each) { return each->done; });
        };
        QVERIFY(waitFor([&] { return done() == 2; }));
        QCOMPARE(ask(client, server, {.body = "quick"}), QByteArray("quick"));
        QTest::qWait(50);
        QCOMPARE(done(), 2);
    }

    void redirectsAreFollowedWithCare()
    {
        LoopbackServer server;
        CurlHttpClient client(quick);
        server.serve(u"/here"_s, {.body = "here"});
        QCOMPARE(ask(client, server, LoopbackServer::redirect("/here")), QByteArray("here"));
        for (const char *target :
             {"file:///etc/hostname", "data:,inline", "http://nobody.invalid/", "http://127.0.0.1:1/"})
            QCOMPARE(ask(client, server, LoopbackServer::redirect(target)), QByteArray("nothing"));
        const std::size_t before = server.requests().size();
        QCOMPARE(ask(client, server, LoopbackServer::redirect("/once")), QByteArray("nothing"));
        QCOMPARE(server.requests().size() - before, std::size_t{11});

        CurlHttpClient unused;
        for (const char *url :
             {"file:///etc/hostname", "data:,x", "qrc:/x", "ftp://127.0.0.1/", "http:///x", "", "x"})
            QCOMPARE(ask(unused, QUrl(QString::fromLatin1(url))), QByteArray("nothing"));
    }

    void encryptionIsNotGivenUp()
    {
        const QTemporaryDir folder;
        const LoopbackServer::Certificate files{folder.filePath(u"certificate"_s), folder.filePath(u"key"_s)};
        QProcess openssl;
        openssl.start(u"openssl"_s,
                      {u"req"_s, u"-x509"_s, u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s,
                       u"ec_paramgen_curve:prime256v1"_s, u"-nodes"_s, u"-subj"_s, u"/CN=127.0.0.1"_s,
                       u"-out"_s, files.certificate, u"-keyout"_s, files.key});
        QVERIFY2(openssl.waitForFinished() && openssl.exitCode() == 0, "openssl makes no certificate");
        LoopbackServer plain;
        LoopbackServer secure(files);
        plain.serve(u"/there"_s, {.body = "plain"});
        secure.serve(u"/there"_s, {.body = "secure"});
        CurlHttpClient wary;
        QCOMPARE(ask(wary, secure.url(u"/there"_s)), QByteArray("nothing"));

        CurlHttpClient client({.trusted = files.certificate});
        QCOMPARE(ask(client, secure.url(u"/there"_s)), QByteArray("secure"));
        const auto up = LoopbackServer::redirect(secure.url(u"/there"_s).toEncoded());
        const auto down = LoopbackServer::redirect(plain.url(u"/there"_s).toEncoded());
        QCOMPARE(ask(client, plain, up), QByteArray("secure"));
        QCOMPARE(ask(client, secure, down), QByteArray("nothing"));
        QCOMPARE(plain.requests().size(), std::size_t{1}); // it was not even asked
    }

    void droppedConnectionsAreNotUsedAgain()
    {
        LoopbackServer server;
        CurlHttpClient client;
        server.serve(u"/slow"_s, {.body = "slow", .delay = 200ms});
        QCOMPARE(ask(client, server, {.body = "p"}), QByteArray("p"));
        const auto open = start(client, server.url(u"/slow"_s));
        QVERIFY(waitFor([&] { return server.requests().size() == 2; }));
        const int used = std::max(server.requests()[0].connection, server.requests()[1].connection);
        client.dropConnections();
        QCOMPARE(ask(client, server, {.body = "p"}), QByteArray("p"));
        QVERIFY(server.requests().back().connection > used);
        QVERIFY(ended(open));
        QCOMPARE(open->body.value_or("nothing"), QByteArray("slow"));
        QCOMPARE(ask(client, server, {.body = "p"}), QByteArray("p"));
    }

    void goingAwayEndsOpenRequests()
    {
        LoopbackServer server;
        auto client = std::make_unique<CurlHttpClient>();
        server.serve(u"/stall"_s, faulty(Fault::stall));
        server.serve(u"/body"_s, faulty(Fault::stallInBody));
        std::vector<SharedResult> results{start(*client, server.url(u"/stall"_s)),
                                          start(*client, server.url(u"/body"_s))};
        QVERIFY(waitFor([&] { return server.requests().size() == 2; }));
        results.push_back(start(*client, server.url(u"/stall"_s))); // not even begun
        client.reset();
        for (const auto &result : results)
            QVERIFY(result->done && !result->body);
    }

    void aWaiterMayEndTheClient()
    {
        LoopbackServer server;
        server.serve(u"/p"_s, {.body = "p"});
        server.serve(u"/stall"_s, faulty(Fault::stall));
        for (const QString &path : {u"/p"_s, u"/stall"_s}) {
            auto client = std::make_unique<CurlHttpClient>(quick);
            const auto beside = start(*client, server.url(u"/stall"_s));
            bool hasEnded = false;
            const std::vector<HttpHeader> none;
            client->get(server.url(path), none).then([&](const std::optional<HttpAnswer> &) {
                client.reset();
                hasEnded = true;
            });
            QVERIFY(waitFor([&] { return hasEnded; }));
            QVERIFY(beside->done);
            drainEvents();
        }
    }
};

KESTRUNE_TEST(CurlHttpClientTest)
#include "tst_curlhttpclient.moc"
