// SPDX-License-Identifier: MIT
#pragma once

#include "platform/completion.h"
#include "platform/httpclient.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace kestrune::test {

/// A scripted HTTP client. The test queues answers for routes; each request takes the next answer of its
/// route, which arrives on a later turn of the event loop unless it is held back.
///
/// A route is written as the request line shows it, with or without the host and with or without the
/// query: "api.example.com/v1/kline?symbol=BTC", "/v1/kline?symbol=BTC", "api.example.com/v1/kline",
/// "/v1/kline". The most exact one that has an answer left serves, in this order; one without a query
/// serves every query of its path.
///
/// A request without an answer fails the running test at once (and gets nothing); an answer that nobody
/// asked for is a fault too: end every test with KESTRUNE_VERIFY_HTTP(client).
class FakeHttpClient final : public HttpClient
{
public:
    enum class Unexpected { failTest, record };

    struct Request
    {
        QUrl url;
        std::vector<HttpHeader> headers;
        /// Path and query as sent, for example "/v1/kline?symbol=BTC".
        [[nodiscard]] QString line() const;
        /// The value of a header, names compared without case; empty when there is none.
        [[nodiscard]] QByteArray header(const QByteArray &name) const;
    };

    explicit FakeHttpClient(Unexpected unexpected = Unexpected::failTest);
    ~FakeHttpClient() override;

    /// Queues one answer with this body.
    void answer(const QString &route, const QByteArray &body);
    /// Queues one transfer failure.
    void fail(const QString &route);
    /// Queues one answer that waits for release() or releaseFailure().
    void hold(const QString &route);
    /// Serves the route whenever its queue is empty, any number of times, never counted as unused.
    void answerAlways(const QString &route, const QByteArray &body);
    void failAlways(const QString &route);

    /// Ends the oldest request that holds on this route and delivers everything that follows from it. A
    /// test fault when there is none.
    void release(const QString &route, const QByteArray &body);
    void releaseFailure(const QString &route);

    /// Every request so far, in order.
    [[nodiscard]] const std::vector<Request> &requests() const { return m_requests; }
    /// The lines of every request so far, in order.
    [[nodiscard]] QStringList lines() const;
    /// Forgets the requests seen so far; answers stay queued.
    void clearRequests() { m_requests.clear(); }
    /// Requests that have no answer yet.
    [[nodiscard]] int openCount() const { return static_cast<int>(m_open.size()); }
    [[nodiscard]] int mostOpenAtOnce() const { return m_mostOpen; }

    /// Everything that went against the script, unused answers included; empty when all is well.
    [[nodiscard]] QStringList problems() const;
    /// The problems as one text.
    [[nodiscard]] QString verify() const { return problems().join(u'\n'); }

    [[nodiscard]] QCoro::Task<std::optional<QByteArray>> get(QUrl url,
                                                             std::vector<HttpHeader> headers) override;

private:
    using Body = std::optional<QByteArray>;
    struct Answer
    {
        QString route;
        Body body;
        bool held = false;
    };
    struct Open
    {
        QString route; // of a held answer, empty otherwise
        std::shared_ptr<Completion<Body>> completion;
    };

    std::shared_ptr<Answer> take(const Request &request);
    void enqueue(const QString &route, Body body, bool held);
    void answerLater(const std::shared_ptr<Completion<Body>> &completion, Body body);
    void finish(const std::shared_ptr<Completion<Body>> &completion, Body body);
    void releaseWith(const QString &route, Body body);
    void problem(const QString &text);

    Unexpected m_unexpected;
    std::map<QString, std::deque<std::shared_ptr<Answer>>> m_queues;
    std::map<QString, std::shared_ptr<Answer>> m_standing;
    std::vector<Request> m_requests;
    std::deque<Open> m_open;
    int m_mostOpen = 0;
    bool m_closing = false;
    QStringList m_problems;
    std::unique_ptr<QObject> m_context = std::make_unique<QObject>();
};

} // namespace kestrune::test

/// Fails the test when the conversation did not go as scripted.
#define KESTRUNE_VERIFY_HTTP(client) QVERIFY2((client).problems().isEmpty(), qPrintable((client).verify()))
