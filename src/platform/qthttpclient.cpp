#include "platform/qthttpclient.h"

#include "platform/proxychoice.h"

#include <QBasicTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimerEvent>

#include <algorithm>
#include <utility>

namespace kestrune {

namespace {

using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;

constexpr int openPerPool = 6; // Qt's connections to one host
constexpr int mostRedirects = 10;
constexpr auto idlePoolLife = 60s;

bool isHttp(const QUrl &url)
{
    // Qt would also read files and resources.
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http"));
}

// A 4xx or 5xx status sets an error although the transfer itself went well. A 200 with such an error had a
// body that could not be decompressed.
bool isComplete(const QNetworkReply &reply)
{
    const int error = reply.error();
    if (error == QNetworkReply::NoError)
        return true;
    constexpr int firstBadStatus = 400;
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool ofStatus =
        (error >= QNetworkReply::ContentAccessDenied && error <= QNetworkReply::UnknownContentError) ||
        (error >= QNetworkReply::InternalServerError && error <= QNetworkReply::UnknownServerError);
    return status >= firstBadStatus && ofStatus;
}

QNetworkRequest makeRequest(const QUrl &url, const std::vector<HttpHeader> &headers, qint64 maxBody)
{
    QNetworkRequest request(url);
    for (const HttpHeader &header : headers)
        request.setRawHeader(header.name, header.value);
    // With HTTP/2 all requests to a host share one connection, and one that hangs takes all along.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(mostRedirects);
    request.setDecompressedSafetyCheckThreshold(maxBody);
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

    [[nodiscard]] QNetworkReply *get(const QNetworkRequest &request)
    {
        ++m_open;
        return m_manager.get(request);
    }
    void release()
    {
        --m_open;
        m_idleSince = Steady::now();
    }
    void retire() { m_retired = true; }
    [[nodiscard]] bool hasRoom() const { return !m_retired && m_open < openPerPool; }
    [[nodiscard]] bool isIdle() const { return m_open == 0; }
    [[nodiscard]] bool isSpent() const
    {
        return isIdle() && (m_retired || Steady::now() - m_idleSince > idlePoolLife);
    }

private:
    QNetworkAccessManager m_manager;
    int m_open = 0;
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
        , m_reply(pool.get(request))
        , m_deadline(Steady::now() + client.m_options.totalTimeout)
    {
        connect(m_reply, &QNetworkReply::finished, this, [this] { finish(); });
        connect(m_reply, &QNetworkReply::readyRead, this, [this] { receive(); });
        connect(m_reply, &QNetworkReply::metaDataChanged, this, [this] { onHeaders(); });
        connect(m_reply, &QNetworkReply::encrypted, this, [this] { onProgress(); });
        connect(m_reply, &QNetworkReply::redirected, this, [this] { onProgress(); });
        onProgress();
        arm();
    }

    [[nodiscard]] std::shared_ptr<Completion<Body>> completion() const { return m_completion; }

    /// Ends the transfer with nothing and resumes its waiter. Not from inside one of its own signals.
    void cancel()
    {
        disconnect(m_reply, nullptr, this, nullptr);
        m_reply->abort();
        delete std::exchange(m_reply, nullptr);
        m_timer.stop();
        const auto completion = m_completion;
        delete this;
        completion->complete(std::nullopt);
    }

private:
    void timerEvent(QTimerEvent * /*event*/) override
    {
        // Progress only moves the limit; the timer finds out when it fires.
        if (Steady::now() < limit())
            arm();
        else
            m_reply->abort(); // finishes inside this call
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
        const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
        if (length.isValid() && length.toLongLong() > m_client.m_options.maxBody)
            abort();
    }

    void receive()
    {
        onProgress();
        if (m_body.size() + m_reply->bytesAvailable() > m_client.m_options.maxBody)
            abort();
        else
            m_body += m_reply->readAll();
    }

    void abort()
    {
        m_tooLarge = true;
        if (!m_reply->isFinished())
            m_reply->abort();
    }

    void finish()
    {
        if (!m_tooLarge && m_reply->bytesAvailable() > 0)
            receive();
        Body result;
        if (!m_tooLarge && isComplete(*m_reply))
            result = std::move(m_body);
        m_timer.stop();
        disconnect(m_reply, nullptr, this, nullptr);
        // This runs inside a signal of the reply, and what resumes now may end the client and its managers:
        // neither the reply nor this may go with them.
        m_reply->setParent(nullptr);
        m_reply->deleteLater();
        deleteLater();
        m_pool.release();
        m_client.forget(this);
        m_completion->complete(std::move(result));
    }

    QtHttpClient &m_client;
    Pool &m_pool;
    QNetworkReply *m_reply;
    QBasicTimer m_timer;
    Steady::time_point m_deadline;
    Steady::time_point m_lastProgress;
    QByteArray m_body;
    bool m_tooLarge = false;
    std::shared_ptr<Completion<Body>> m_completion = std::make_shared<Completion<Body>>();
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

QCoro::Task<std::optional<QByteArray>> QtHttpClient::get(QUrl url, std::vector<HttpHeader> headers)
{
    if (m_closing || !isHttp(url))
        co_return std::nullopt;
    discardIdlePools();
    auto *transfer = new Transfer(*this, poolWithRoom(), makeRequest(url, headers, m_options.maxBody));
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
