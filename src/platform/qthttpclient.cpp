// SPDX-License-Identifier: MIT
#include "platform/qthttpclient.h"

#include "platform/decompression.h"
#include "platform/proxychoice.h"

#include <QBasicTimer>
#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimerEvent>

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace kestrune {

namespace {

using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;

constexpr int openPerPool = 6; // Qt's connections to one host
constexpr int mostRedirects = 10;
constexpr int mostResends = 3;
constexpr auto idlePoolLife = 60s;
// All open requests together may hold so many bodies of the largest size. A dozen at once are usual, and a
// server that floods them all must not fill the memory; sound answers are a hundredth of that size.
constexpr qint64 bodiesInHand = 2;
// What Qt's thread receives ahead of the main one: a busy machine would otherwise let it pile up without
// bound. Sound answers fit.
constexpr qint64 readAhead = qint64{256} * 1024;
// A server that sends header lines without end keeps Qt's thread busy, abort or not, and every later request
// of that manager waits for ever. After so many requests without an answer the next go to a new manager.
constexpr int mostSilences = 2;

bool isHttp(const QUrl &url)
{
    // Qt would also read files and resources.
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http"));
}

int statusOf(const QNetworkReply &reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

std::optional<std::chrono::seconds> retryAfter(const QNetworkReply &reply)
{
    bool valid = false;
    const uint seconds = reply.rawHeader("Retry-After").trimmed().toUInt(&valid);
    return valid ? std::optional(std::chrono::seconds(seconds)) : std::nullopt;
}

// A 4xx or 5xx status sets an error although the transfer itself went well: one of the content, one of the
// server, or (400 and 418) that of an invalid operation.
bool isErrorOfStatus(const QNetworkReply &reply)
{
    constexpr int firstBadStatus = 400;
    const int error = reply.error();
    return statusOf(reply) >= firstBadStatus &&
           ((error >= QNetworkReply::ContentAccessDenied && error <= QNetworkReply::UnknownContentError) ||
            (error >= QNetworkReply::InternalServerError && error <= QNetworkReply::UnknownServerError) ||
            error == QNetworkReply::ProtocolInvalidOperationError);
}

// Whether all that was promised has come. Qt takes a connection that breaks within the body for its end in
// some orders of events, so the length is compared here. A body in chunks carries no length: what a cut one
// lacks shows when it is unpacked or, where it is not packed, only when it is parsed.
bool isComplete(const QNetworkReply &reply, qint64 received)
{
    if (reply.error() != QNetworkReply::NoError && !isErrorOfStatus(reply))
        return false;
    const QByteArray length = reply.rawHeader("Content-Length").trimmed();
    if (length.isEmpty() || reply.hasRawHeader("Transfer-Encoding"))
        return true;
    bool valid = false;
    return length.toLongLong(&valid) == received && valid;
}

// The body without its content encoding; absent for a damaged one and for encodings nobody asked for.
std::optional<QByteArray> decoded(const QNetworkReply &reply, QByteArray body, qint64 largest)
{
    const QByteArray encoding = reply.rawHeader("Content-Encoding").trimmed().toLower();
    if (encoding.isEmpty() || encoding == "identity" || body.isEmpty())
        return body;
    if (encoding == "gzip" || encoding == "x-gzip" || encoding == "deflate")
        return unpackGzip(body, largest);
    return std::nullopt;
}

// Where a redirect leads; absent when the answer is none.
std::optional<QUrl> redirectTarget(const QNetworkReply &reply)
{
    static constexpr std::array redirects{301, 302, 303, 307, 308};
    const int status = statusOf(reply);
    if (reply.error() != QNetworkReply::NoError || !reply.hasRawHeader("Location") ||
        std::find(redirects.begin(), redirects.end(), status) == redirects.end())
        return std::nullopt;
    return reply.url().resolved(QUrl::fromEncoded(reply.rawHeader("Location")));
}

// Neither away from http and https nor from https back to http.
bool isSafeRedirect(const QUrl &from, const QUrl &to)
{
    return isHttp(to) && (to.scheme() == from.scheme() || to.scheme() == QLatin1String("https"));
}

QNetworkRequest makeRequest(const QUrl &url, const std::vector<HttpHeader> &headers)
{
    QNetworkRequest request(url);
    for (const HttpHeader &header : headers)
        request.setRawHeader(header.name, header.value);
    // Unpacked here: where Qt unpacks, it no longer notices that a body was cut off.
    request.setRawHeader("Accept-Encoding", "gzip");
    // With HTTP/2 all requests to a host share one connection, and one that hangs takes all along.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    // Followed here: Qt at times merges the headers of the redirect into those of the answer.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    return request;
}

} // namespace

/// One access manager, with the thread that Qt gives it.
class QtHttpClient::Pool
{
public:
    Pool()
    {
        m_manager.setProxyFactory(new ProxyChoice); // the manager owns it
    }

    [[nodiscard]] QNetworkReply *get(const QNetworkRequest &request) { return m_manager.get(request); }
    void take() { ++m_open; }
    void release()
    {
        --m_open;
        m_idleSince = Steady::now();
    }
    void retire() { m_retired = true; }
    void noteAnswer() { m_silences = 0; }
    void noteSilence() { ++m_silences; }
    [[nodiscard]] bool hasRoom() const
    {
        return !m_retired && m_open < openPerPool && m_silences < mostSilences;
    }
    // A mute manager is kept a while too: deleting one whose thread is busy would block for seconds.
    [[nodiscard]] bool isSpent() const
    {
        return m_open == 0 && (m_retired || Steady::now() - m_idleSince > idlePoolLife);
    }

private:
    QNetworkAccessManager m_manager;
    int m_open = 0;
    int m_silences = 0; // requests in a row that ran out of time without an answer
    bool m_retired = false;
    Steady::time_point m_idleSince = Steady::now();
};

/// One request under its time and size limits. Deletes itself once it has ended.
class QtHttpClient::Transfer final : public QObject
{
public:
    Transfer(QtHttpClient &client, Pool &pool, const QNetworkRequest &request)
        : m_client(client)
        , m_pool(pool)
        , m_request(request)
        , m_deadline(Steady::now() + client.m_options.totalTimeout)
    {
        m_pool.take();
        send();
        arm();
    }

    [[nodiscard]] std::shared_ptr<Completion<Result>> completion() const { return m_completion; }
    [[nodiscard]] qint64 bytesInHand() const { return m_body.size(); }

    /// Ends the transfer with nothing and resumes its waiter. Not from inside one of its own signals.
    void cancel()
    {
        disconnect(m_reply, nullptr, this, nullptr);
        m_reply->abort();
        delete std::exchange(m_reply, nullptr);
        m_timer.stop();
        const auto completion = m_completion;
        delete this;
        const Result nothing;
        completion->complete(nothing);
    }

private:
    void timerEvent(QTimerEvent * /*event*/) override
    {
        // Progress only moves the limit; the timer finds out when it fires.
        if (Steady::now() < limit())
            return arm();
        if (!m_answered)
            m_pool.noteSilence();
        m_reply->abort(); // finishes inside this call
    }

    void send()
    {
        m_reply = m_pool.get(m_request);
        m_reply->setReadBufferSize(readAhead);
        connect(m_reply, &QNetworkReply::finished, this, [this] { finish(); });
        connect(m_reply, &QNetworkReply::readyRead, this, [this] { receive(); });
        connect(m_reply, &QNetworkReply::metaDataChanged, this, [this] { onHeaders(); });
        connect(m_reply, &QNetworkReply::encrypted, this, [this] { onProgress(); });
        connect(m_reply, &QNetworkReply::requestSent, this, [this] { m_sent = true; });
        m_sent = false;
        onProgress();
    }

    // Where a connection breaks, Qt fails along with it every request to that host that still waits for one.
    // Those never went out, so they are sent again; what did go out has failed.
    bool sendAgain()
    {
        if (m_sent || m_reply->error() != QNetworkReply::RemoteHostClosedError || m_resends >= mostResends ||
            Steady::now() >= m_deadline)
            return false;
        ++m_resends;
        leaveReply();
        send();
        return true;
    }

    // True when the answer only led to another request.
    bool follow()
    {
        const auto target = redirectTarget(*m_reply);
        if (!target || m_tooLarge)
            return false;
        if (m_redirects >= mostRedirects || !isSafeRedirect(m_reply->url(), *target)) {
            m_refused = true;
            return false;
        }
        ++m_redirects;
        m_body.clear();
        leaveReply();
        m_request.setUrl(*target);
        send();
        return true;
    }

    // Called inside a signal of the reply, and what resumes afterwards may end the client and its managers:
    // the reply must not go with them.
    void leaveReply()
    {
        disconnect(m_reply, nullptr, this, nullptr);
        // What Qt's thread has still sent it, an error that came with our abort, would only be complained of.
        QCoreApplication::removePostedEvents(m_reply, QEvent::MetaCall);
        m_reply->setParent(nullptr);
        m_reply->deleteLater();
    }

    [[nodiscard]] Steady::time_point limit() const
    {
        return std::min(m_deadline, m_lastProgress + m_client.m_options.idleTimeout);
    }

    void arm()
    {
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(limit() - Steady::now());
        m_timer.start(static_cast<int>(std::max(wait, 0ms).count()), Qt::PreciseTimer, this);
    }

    void onProgress() { m_lastProgress = Steady::now(); }

    void onHeaders()
    {
        onProgress();
        m_answered = true;
        m_pool.noteAnswer();
        const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
        if (length.isValid() && length.toLongLong() > m_client.m_options.maxBody)
            abort();
    }

    void receive()
    {
        onProgress();
        const qint64 more = m_reply->bytesAvailable();
        if (m_body.size() + more > m_client.m_options.maxBody || m_client.bytesInHand() + more > mostInHand())
            abort();
        else
            m_body += m_reply->readAll();
    }

    [[nodiscard]] qint64 mostInHand() const { return bodiesInHand * m_client.m_options.maxBody; }

    void abort()
    {
        m_tooLarge = true;
        m_body = {}; // the end may be a while coming
        if (!m_reply->isFinished())
            m_reply->abort();
    }

    void finish()
    {
        if (!m_tooLarge && m_reply->bytesAvailable() > 0)
            receive();
        if (follow() || sendAgain())
            return;
        Result result;
        if (!m_tooLarge && !m_refused && isComplete(*m_reply, m_body.size())) {
            if (auto body = decoded(*m_reply, std::move(m_body), m_client.m_options.maxBody))
                result = HttpAnswer{*std::move(body), statusOf(*m_reply), retryAfter(*m_reply)};
        }
        m_timer.stop();
        leaveReply();
        deleteLater(); // not at once, for the same reason
        m_pool.release();
        m_client.forget(this);
        m_completion->complete(std::move(result));
    }

    QtHttpClient &m_client;
    Pool &m_pool;
    QNetworkRequest m_request;
    QNetworkReply *m_reply = nullptr;
    QBasicTimer m_timer;
    Steady::time_point m_deadline;
    Steady::time_point m_lastProgress;
    QByteArray m_body;
    bool m_answered = false;
    bool m_tooLarge = false;
    bool m_refused = false;
    bool m_sent = false;
    int m_redirects = 0;
    int m_resends = 0;
    std::shared_ptr<Completion<Result>> m_completion = std::make_shared<Completion<Result>>();
};

QtHttpClient::QtHttpClient() : QtHttpClient(Options{}) {}

QtHttpClient::QtHttpClient(const Options &options) : m_options(options) {}

QtHttpClient::~QtHttpClient()
{
    m_closing = true;
    while (!m_transfers.empty()) {
        Transfer *transfer = m_transfers.back();
        m_transfers.pop_back();
        transfer->cancel();
    }
}

QCoro::Task<std::optional<HttpAnswer>> QtHttpClient::get(QUrl url, std::vector<HttpHeader> headers)
{
    if (m_closing || !isHttp(url))
        co_return std::nullopt;
    discardIdlePools();
    auto *transfer = new Transfer(*this, poolWithRoom(), makeRequest(url, headers));
    m_transfers.push_back(transfer);
    const auto completion = transfer->completion();
    co_return co_await *completion;
}

void QtHttpClient::dropConnections()
{
    for (const auto &pool : m_pools)
        pool->retire();
    discardIdlePools();
}

qint64 QtHttpClient::bytesInHand() const
{
    return std::accumulate(
        m_transfers.begin(), m_transfers.end(), qint64{0},
        [](qint64 sum, const Transfer *transfer) { return sum + transfer->bytesInHand(); });
}

QtHttpClient::Pool &QtHttpClient::poolWithRoom()
{
    const auto found =
        std::find_if(m_pools.begin(), m_pools.end(), [](const auto &pool) { return pool->hasRoom(); });
    if (found != m_pools.end())
        return **found;
    m_pools.push_back(std::make_unique<Pool>());
    return *m_pools.back();
}

void QtHttpClient::forget(Transfer *transfer)
{
    std::erase(m_transfers, transfer);
}

void QtHttpClient::discardIdlePools()
{
    std::erase_if(m_pools, [](const auto &pool) { return pool->isSpent(); });
}

} // namespace kestrune
