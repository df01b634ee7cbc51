#include "platform/qthttpclient.h"

#include "platform/proxychoice.h"

#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace kestrune {

namespace {

constexpr int connectionsPerHost = 6; // what one manager opens; a seventh request would have to wait
constexpr int maxRedirects = 16;
constexpr qint64 bombThreshold = 1024 * 1024; // Qt refuses implausible compression ratios beyond this size

QNetworkRequest requestFor(const QUrl &url, const std::vector<HttpHeader> &headers,
                           std::chrono::milliseconds idleLimit)
{
    QNetworkRequest request(url);
    for (const HttpHeader &header : headers)
        request.setRawHeader(header.name, header.value);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute,
                         false); // a stalled stream stalls nobody else
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(maxRedirects);
    request.setDecompressedSafetyCheckThreshold(bombThreshold);
    request.setTransferTimeout(int(idleLimit.count()));
    return request;
}

/// Whether a finished reply carries the whole body of an answer. Statuses of 400 and more set an error
/// although their body is there; a damaged compression sets one of the same range at status 200.
bool bodyCounts(const QNetworkReply &reply)
{
    const int error = reply.error();
    if (error == QNetworkReply::NoError)
        return true;
    const bool answered =
        (error >= QNetworkReply::ContentAccessDenied && error <= QNetworkReply::UnknownContentError) ||
        (error >= QNetworkReply::InternalServerError && error <= QNetworkReply::UnknownServerError);
    return answered && reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() >= 400;
}

} // namespace

/// One manager with the count of its open requests by host.
class QtHttpClient::Connections
{
public:
    Connections() { m_manager.setProxyFactory(new ProxyChoice); }

    [[nodiscard]] bool hasRoom(const QString &host) const
    {
        return !m_retired && m_open.value(host) < connectionsPerHost;
    }
    [[nodiscard]] QNetworkReply *get(const QNetworkRequest &request, const QString &host)
    {
        ++m_open[host];
        return m_manager.get(request);
    }
    void release(const QString &host)
    {
        if (--m_open[host] == 0)
            m_open.remove(host);
    }
    void retire() { m_retired = true; }
    [[nodiscard]] bool isRetiredAndUnused() const { return m_retired && m_open.isEmpty(); }

private:
    QNetworkAccessManager m_manager;
    QHash<QString, int> m_open;
    bool m_retired = false;
};

/// One request under way.
class QtHttpClient::Transfer
{
public:
    Transfer(QtHttpClient &client, const QUrl &url, const std::vector<HttpHeader> &headers, Waiter waiter)
        : m_host(url.host() + u':' + QString::number(url.port()))
        , m_maxBody(client.m_limits.maxBody)
        , m_connections(client.connectionsFor(m_host))
        , m_waiter(std::move(waiter))
        , m_reply(m_connections.get(requestFor(url, headers, client.m_limits.idle), m_host))
    {
        QObject::connect(m_reply, &QNetworkReply::readyRead, m_reply, [this] { takeBytes(); });
        // Queued: whoever waits may take down the client, and with it the reply that is just signalling.
        QObject::connect(
            m_reply, &QNetworkReply::finished, &client.m_context,
            [this, owner = &client] { owner->finish(this); }, Qt::QueuedConnection);
        m_limit.setSingleShot(true);
        m_limit.setTimerType(Qt::PreciseTimer); // a coarse one may be half a second early
        QObject::connect(&m_limit, &QTimer::timeout, m_reply, &QNetworkReply::abort);
        m_limit.start(client.m_limits.total);
    }
    Transfer(const Transfer &) = delete;
    Transfer &operator=(const Transfer &) = delete;
    ~Transfer()
    {
        m_reply->disconnect();
        if (!m_reply->isFinished())
            m_reply->abort();
        m_reply->deleteLater();
        m_connections.release(m_host);
    }

    [[nodiscard]] Body result()
    {
        takeBytes();
        if (m_tooLarge || !bodyCounts(*m_reply))
            return std::nullopt;
        return std::move(m_body);
    }
    [[nodiscard]] Waiter waiter() const { return m_waiter; }

private:
    // Taken as they come, so that no buffer grows beyond the limit.
    void takeBytes()
    {
        if (m_tooLarge)
            return;
        m_body += m_reply->readAll();
        if (m_body.size() <= m_maxBody)
            return;
        m_tooLarge = true;
        m_body = {};
        m_reply->abort();
    }

    QString m_host;
    qint64 m_maxBody;
    Connections &m_connections;
    Waiter m_waiter;
    QNetworkReply *m_reply;
    QTimer m_limit;
    QByteArray m_body;
    bool m_tooLarge = false;
};

QtHttpClient::QtHttpClient() : QtHttpClient(Limits{}) {}

QtHttpClient::QtHttpClient(const Limits &limits) : m_limits(limits) {}

QtHttpClient::~QtHttpClient()
{
    // Whoever waits may start the next request from inside this loop.
    while (!m_transfers.empty()) {
        const Waiter waiter = m_transfers.front()->waiter();
        m_transfers.pop_front();
        waiter->complete(std::nullopt);
    }
}

QCoro::Task<std::optional<QByteArray>> QtHttpClient::get(QUrl url, std::vector<HttpHeader> headers)
{
    const auto waiter = std::make_shared<Completion<Body>>();
    start(url, headers, waiter);
    co_return co_await *waiter; // the client may be gone after this
}

void QtHttpClient::start(const QUrl &url, const std::vector<HttpHeader> &headers, const Waiter &waiter)
{
    m_transfers.push_back(std::make_unique<Transfer>(*this, url, headers, waiter));
}

// The first one with room, so that in quiet times one manager keeps all the live connections.
QtHttpClient::Connections &QtHttpClient::connectionsFor(const QString &host)
{
    const auto found =
        std::ranges::find_if(m_connections, [&](const auto &each) { return each->hasRoom(host); });
    if (found != m_connections.end())
        return **found;
    return *m_connections.emplace_back(std::make_unique<Connections>());
}

void QtHttpClient::finish(Transfer *transfer)
{
    const auto entry = std::ranges::find(m_transfers, transfer, &std::unique_ptr<Transfer>::get);
    if (entry == m_transfers.end())
        return;
    Body body = transfer->result();
    const Waiter waiter = transfer->waiter();
    m_transfers.erase(entry);
    deleteUnusedConnections();
    waiter->complete(std::move(body)); // last: the client may be gone after this
}

void QtHttpClient::dropConnections()
{
    for (const auto &connections : m_connections)
        connections->retire();
    deleteUnusedConnections();
}

void QtHttpClient::deleteUnusedConnections()
{
    std::erase_if(m_connections, [](const auto &connections) { return connections->isRetiredAndUnused(); });
}

} // namespace kestrune
