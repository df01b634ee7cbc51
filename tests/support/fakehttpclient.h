// SPDX-License-Identifier: MIT
#pragma once

#include "platform/completion.h"
#include "platform/httpclient.h"

#include <QObject>
#include <QStringList>

#include <deque>
#include <map>
#include <memory>

namespace kestrune::test {

/// A scripted HTTP client. The test queues answers for routes; each request takes the next answer of its
/// route, which arrives on a later turn of the event loop unless it is held back.
///
/// A route is path and query as the request line shows them, "/v1/kline?symbol=BTC", or the path alone, which
/// serves every query that has no answer of its own left.
///
/// A request without an answer fails the running test at once (and gets nothing); an answer that nobody asked
/// for is a fault too: end every test with KESTRUNE_VERIFY_HTTP(client).
class FakeHttpClient final : public HttpClient
{
public:
    using Result = std::optional<HttpAnswer>;
    struct Request
    {
        QUrl url;
        std::vector<HttpHeader> headers;
        /// Path and query as sent.
        [[nodiscard]] QString line() const;
        /// The value of a header; empty when there is none.
        [[nodiscard]] QByteArray header(const QByteArray &name) const;
    };

    ~FakeHttpClient() override;

    /// Queues one answer with this body, one transfer failure, or one answer that waits to be released.
    void answer(const QString &route, const QByteArray &body, int status = 200,
                std::optional<std::chrono::seconds> retryAfter = {})
    {
        m_queues[route].push_back({HttpAnswer{body, status, retryAfter}, {}});
    }
    void fail(const QString &route) { m_queues[route].push_back({}); }
    void hold(const QString &route) { m_queues[route].push_back({{}, route}); }
    /// Serves the route whenever its queue is empty, any number of times, never counted as unused.
    void answerAlways(const QString &route, const QByteArray &body)
    {
        m_standing[route].result = HttpAnswer{body};
    }
    void failAlways(const QString &route) { m_standing[route] = {}; }

    /// From now on each request waits to be released by its own line.
    void holdEverything() { m_holdsEverything = true; }
    /// Ends the oldest request that holds on this route and delivers everything that follows from it. A
    /// test fault when there is none.
    void release(const QString &route, const std::optional<QByteArray> &body);
    void releaseFailure(const QString &route) { release(route, std::nullopt); }

    /// Every request so far, in order.
    [[nodiscard]] const std::vector<Request> &requests() const { return m_requests; }
    [[nodiscard]] QStringList lines() const;
    /// Forgets the requests seen so far; answers stay queued.
    void clearRequests() { m_requests.clear(); }
    [[nodiscard]] QStringList heldLines() const;
    /// Requests that have no answer yet.
    [[nodiscard]] int openCount() const { return static_cast<int>(m_open.size()); }

    /// Everything that went against the script, unused answers included; empty when all is well.
    [[nodiscard]] QStringList problems() const;

    [[nodiscard]] QCoro::Task<Result> get(QUrl url, std::vector<HttpHeader> headers) override;
    void setProxy(const QNetworkProxy &chosen) override { proxy = chosen; }
    QNetworkProxy proxy = QNetworkProxy::DefaultProxy;

private:
    struct Answer
    {
        Result result;
        QString heldOn; // the route; empty when it is not held
    };
    struct Open
    {
        QString heldOn;
        std::shared_ptr<Completion<Result>> completion;
    };

    Answer take(const Request &request);
    void finishLater(const std::shared_ptr<Completion<Result>> &completion, const Result &result);
    void finish(const std::shared_ptr<Completion<Result>> &completion, const Result &result);
    void problem(const QString &text);

    std::map<QString, std::deque<Answer>> m_queues;
    std::map<QString, Answer> m_standing;
    std::vector<Request> m_requests;
    std::deque<Open> m_open;
    bool m_closing = false, m_holdsEverything = false;
    QStringList m_problems;
    std::unique_ptr<QObject> m_context = std::make_unique<QObject>();
};

} // namespace kestrune::test

/// Fails the test when the conversation did not go as scripted.
#define KESTRUNE_VERIFY_HTTP(client)                                                                         \
    QVERIFY2((client).problems().isEmpty(), qPrintable((client).problems().join(u'\n')))
