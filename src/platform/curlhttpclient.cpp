// SPDX-License-Identifier: MIT
#include "platform/curlhttpclient.h"

#include "platform/decompression.h"

#include <QBasicTimer>
#include <QSocketNotifier>
#include <QTimerEvent>

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include <curl/curl.h>
#include <fcntl.h>

namespace kestrune {

namespace {

using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;

constexpr long keptConnections = 16; // all signs of the neon mode at once, and the sources of the others
constexpr int mostRedirects = 10;
// Of all lines of one answer together; sound answers take a hundredth.
constexpr std::size_t mostHeadBytes = std::size_t{128} * 1024;
// All open requests together may hold so many bodies of the largest size. A dozen at once are usual, and a
// server that floods them all must not fill the memory; sound answers are a hundredth of that size.
constexpr qint64 bodiesInHand = 2;

using Easy = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Multi = std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)>;
using HeaderLines = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

HeaderLines headerLines(const std::vector<HttpHeader> &headers)
{
    // Unpacked here, where a body that was cut off is noticed.
    HeaderLines lines(curl_slist_append(nullptr, "Accept-Encoding: gzip"), &curl_slist_free_all);
    for (const HttpHeader &header : headers)
        curl_slist_append(lines.get(), (header.name + ": " + header.value).constData());
    return lines;
}

// Empty for none; without even that libcurl would ask the environment.
QByteArray addressOf(const QNetworkProxy &proxy)
{
    if (proxy.type() == QNetworkProxy::NoProxy)
        return "";
    const bool looksUpNames = proxy.capabilities().testFlag(QNetworkProxy::HostNameLookupCapability);
    QUrl url;
    url.setScheme(proxy.type() != QNetworkProxy::Socks5Proxy ? QStringLiteral("http")
                  : looksUpNames                             ? QStringLiteral("socks5h")
                                                             : QStringLiteral("socks5"));
    url.setHost(proxy.hostName());
    url.setPort(proxy.port());
    url.setUserName(proxy.user(), QUrl::DecodedMode);
    url.setPassword(proxy.password(), QUrl::DecodedMode);
    return url.toEncoded();
}

bool isHttp(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http"));
}

// Neither away from http and https nor from https back to http.
bool isSafeRedirect(const QUrl &from, const QUrl &to)
{
    return isHttp(to) && (to.scheme() == from.scheme() || to.scheme() == QLatin1String("https"));
}

// The body without its content encoding; absent for a damaged one and for encodings nobody asked for.
std::optional<QByteArray> decoded(const QByteArray &encoding, QByteArray body, qint64 largest)
{
    if (encoding.isEmpty() || encoding == "identity" || body.isEmpty())
        return body;
    if (encoding == "gzip" || encoding == "x-gzip" || encoding == "deflate")
        return unpackGzip(body, largest);
    return std::nullopt;
}

} // namespace

/// What the lines before a body tell.
struct CurlHttpClient::Head
{
    void read(const QByteArray &line)
    {
        if (line.startsWith("HTTP/")) // a further one after an interim answer
            *this = {};
        const qsizetype colon = line.indexOf(':');
        const QByteArray name = line.left(colon).toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name == "location")
            location = value;
        else if (name == "content-encoding")
            encoding = value.toLower();
        else if (name == "retry-after")
            retryAfter = value;
    }

    /// Where a redirect leads; absent when the answer is none.
    [[nodiscard]] std::optional<QUrl> redirectTarget(long status, const QUrl &from) const
    {
        static constexpr std::array redirects{301, 302, 303, 307, 308};
        if (location.isEmpty() || std::ranges::find(redirects, status) == redirects.end())
            return std::nullopt;
        return from.resolved(QUrl::fromEncoded(location));
    }

    [[nodiscard]] std::optional<std::chrono::seconds> wait() const
    {
        bool valid = false;
        const uint seconds = retryAfter.toUInt(&valid);
        return valid ? std::optional(std::chrono::seconds(seconds)) : std::nullopt;
    }

    QByteArray location, encoding, retryAfter;
};

/// Connections that are kept, and the requests under way on them; Qt's event loop tells of their sockets.
/// Goes when nobody holds it any more.
class CurlHttpClient::Pool final : public QObject, public std::enable_shared_from_this<Pool>
{
public:
    Pool()
    {
        setOption(CURLMOPT_SOCKETFUNCTION, &Pool::onSocket);
        setOption(CURLMOPT_SOCKETDATA, this);
        setOption(CURLMOPT_TIMERFUNCTION, &Pool::onTimer);
        setOption(CURLMOPT_TIMERDATA, this);
        setOption(CURLMOPT_MAXCONNECTS, keptConnections);
    }

    void add(CURL *easy) { curl_multi_add_handle(m_multi.get(), easy); }
    void remove(CURL *easy) { curl_multi_remove_handle(m_multi.get(), easy); }

private:
    struct Watch
    {
        explicit Watch(curl_socket_t socket)
            : read(socket, QSocketNotifier::Read), write(socket, QSocketNotifier::Write)
        {}
        QSocketNotifier read, write;
    };

    template <typename T>
    void setOption(CURLMoption option, T value)
    {
        curl_multi_setopt(m_multi.get(), option, value);
    }

    static int onSocket(CURL * /*easy*/, curl_socket_t socket, int wanted, void *self, void *known)
    {
        static_cast<Pool *>(self)->watchSocket(socket, wanted, static_cast<Watch *>(known));
        return 0;
    }

    void watchSocket(curl_socket_t socket, int wanted, Watch *watch)
    {
        if (wanted == CURL_POLL_REMOVE) {
            delete watch;
            return;
        }
        if (!watch) {
            watch = new Watch(socket);
            connect(&watch->read, &QSocketNotifier::activated, this,
                    [this, socket] { drive(socket, CURL_CSELECT_IN); });
            connect(&watch->write, &QSocketNotifier::activated, this,
                    [this, socket] { drive(socket, CURL_CSELECT_OUT); });
            curl_multi_assign(m_multi.get(), socket, watch);
        }
        watch->read.setEnabled((wanted & CURL_POLL_IN) != 0);
        watch->write.setEnabled((wanted & CURL_POLL_OUT) != 0);
    }

    static int onTimer(CURLM * /*multi*/, long milliseconds, void *self)
    {
        auto *pool = static_cast<Pool *>(self);
        if (milliseconds < 0)
            pool->m_timer.stop();
        else
            pool->m_timer.start(static_cast<int>(milliseconds), Qt::PreciseTimer, pool);
        return 0;
    }

    void timerEvent(QTimerEvent * /*event*/) override
    {
        m_timer.stop();
        drive(CURL_SOCKET_TIMEOUT, 0);
    }

    void drive(curl_socket_t socket, int events);

    QBasicTimer m_timer;
    Multi m_multi{curl_multi_init(), &curl_multi_cleanup};
};

/// One request under its time and size limits.
class CurlHttpClient::Transfer final : public QObject
{
public:
    Transfer(CurlHttpClient &client, const QUrl &url, const std::vector<HttpHeader> &headers)
        : m_client(client), m_pool(client.m_pool), m_url(url), m_headers(headerLines(headers))
    {
        const CurlHttpClient::Options &options = client.m_options;
        setOption(CURLOPT_PRIVATE, this);
        setOption(CURLOPT_HTTPHEADER, m_headers.get());
        setOption(CURLOPT_USERAGENT, "Mozilla/5.0"); // there are sources that refuse those without one
        setOption(CURLOPT_PROTOCOLS_STR, "http,https");
        // With HTTP/2 all requests to a host share one connection, and one that hangs takes all along.
        setOption(CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
        setOption(CURLOPT_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2}); // or later
        if (const char *folder = curl_version_info(CURLVERSION_NOW)->capath) {
            // Looked up there by name: the file of all certificates would take time and memory each time.
            setOption(CURLOPT_CAPATH, folder);
            setOption(CURLOPT_CAINFO, static_cast<const char *>(nullptr));
        }
        if (!options.trusted.isEmpty())
            setOption(CURLOPT_CAINFO, options.trusted.toLocal8Bit().constData());
        setOption(CURLOPT_MAXFILESIZE_LARGE, curl_off_t{options.maxBody});
        setOption(CURLOPT_QUICK_EXIT, 1L); // ending a request does not wait for the lookup of its name
        setOption(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
        setOption(CURLOPT_NOPROXY, "");
        setOption(CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_ANY));
        setOption(CURLOPT_SOCKOPTFUNCTION, &Transfer::keepFromChildren);
        setOption(CURLOPT_PREREQFUNCTION, &Transfer::onConnected);
        setOption(CURLOPT_PREREQDATA, this);
        setOption(CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
        setOption(CURLOPT_HEADERDATA, this);
        setOption(CURLOPT_WRITEFUNCTION, &Transfer::onBody);
        setOption(CURLOPT_WRITEDATA, this);
        send();
        arm();
    }

    [[nodiscard]] std::shared_ptr<Completion<Result>> completion() const { return m_completion; }
    [[nodiscard]] qint64 bytesInHand() const { return m_body.size(); }

    /// The transfer has come to its end on the wire. Goes on at a redirect; else as `end`.
    void finish(CURLcode code)
    {
        m_pool->remove(m_easy.get());
        if (code != CURLE_OK)
            return wasSpoiled() ? sendAfresh() : end(std::nullopt);
        long status = 0;
        curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &status);
        if (const auto target = m_head.redirectTarget(status, m_url)) {
            if (++m_redirects > mostRedirects || !isSafeRedirect(m_url, *target))
                return end(std::nullopt);
            m_url = *target;
            return send();
        }
        auto body = decoded(m_head.encoding, std::move(m_body), m_client.m_options.maxBody);
        end(body ? Result(HttpAnswer{*std::move(body), static_cast<int>(status), m_head.wait()})
                 : std::nullopt);
    }

    /// Takes itself from the client and resumes its waiter, which may end the client. It is gone afterwards.
    void end(Result result)
    {
        m_pool->remove(m_easy.get());
        const auto self = m_client.take(this);
        m_completion->complete(std::move(result));
    }

private:
    template <typename T>
    void setOption(CURLoption option, T value)
    {
        curl_easy_setopt(m_easy.get(), option, value);
    }

    // A kept connection may hold the rest of an answer that was longer than it said.
    [[nodiscard]] bool wasSpoiled() const
    {
        long connects = 0;
        curl_easy_getinfo(m_easy.get(), CURLINFO_NUM_CONNECTS, &connects);
        return m_connected && connects == 0 && m_headBytes == 0 && !m_afresh;
    }

    void sendAfresh()
    {
        m_afresh = true;
        setOption(CURLOPT_FRESH_CONNECT, 1L);
        send();
    }

    void send()
    {
        m_connected = false;
        m_head = {};
        m_headBytes = 0;
        m_body.clear();
        setOption(CURLOPT_URL, m_url.toEncoded(QUrl::RemoveFragment).constData());
        setOption(CURLOPT_PROXY, addressOf(m_client.m_proxies.proxyFor(m_url)).constData());
        onProgress();
        m_pool->add(m_easy.get());
    }

    static int keepFromChildren(void * /*self*/, curl_socket_t socket, curlsocktype /*purpose*/)
    {
        ::fcntl(socket, F_SETFD, FD_CLOEXEC);
        return CURL_SOCKOPT_OK;
    }

    static int onConnected(void *self, char * /*to*/, char * /*from*/, int /*toPort*/, int /*fromPort*/)
    {
        static_cast<Transfer *>(self)->m_connected = true;
        static_cast<Transfer *>(self)->onProgress();
        return CURL_PREREQFUNC_OK;
    }

    // Both take the whole piece, or nothing of it, which ends the transfer.
    static std::size_t onHeader(char *data, std::size_t /*one*/, std::size_t size, void *self)
    {
        return static_cast<Transfer *>(self)->takeHeader({data, static_cast<qsizetype>(size)}) ? size : 0;
    }
    static std::size_t onBody(char *data, std::size_t /*one*/, std::size_t size, void *self)
    {
        return static_cast<Transfer *>(self)->takeBody({data, static_cast<qsizetype>(size)}) ? size : 0;
    }

    bool takeHeader(const QByteArray &line)
    {
        onProgress();
        m_headBytes += static_cast<std::size_t>(line.size());
        if (m_headBytes > mostHeadBytes)
            return false;
        m_head.read(line);
        return true;
    }

    bool takeBody(QByteArrayView piece)
    {
        onProgress();
        const qint64 most = m_client.m_options.maxBody;
        if (m_body.size() + piece.size() > most ||
            m_client.bytesInHand() + piece.size() > bodiesInHand * most)
            return false;
        m_body.append(piece);
        return true;
    }

    void timerEvent(QTimerEvent * /*event*/) override
    {
        // Progress only moves the limit; the timer finds out when it fires.
        Steady::now() < limit() ? arm() : end(std::nullopt);
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

    CurlHttpClient &m_client;
    std::shared_ptr<Pool> m_pool;
    QUrl m_url;
    HeaderLines m_headers;
    Easy m_easy{curl_easy_init(), &curl_easy_cleanup};
    QBasicTimer m_timer;
    Steady::time_point m_deadline = Steady::now() + m_client.m_options.totalTimeout;
    Steady::time_point m_lastProgress;
    Head m_head;
    bool m_connected = false;
    bool m_afresh = false;
    std::size_t m_headBytes = 0;
    QByteArray m_body;
    int m_redirects = 0;
    std::shared_ptr<Completion<Result>> m_completion = std::make_shared<Completion<Result>>();
};

void CurlHttpClient::Pool::drive(curl_socket_t socket, int events)
{
    const auto self = shared_from_this(); // what resumes below may end the client
    int open = 0;
    curl_multi_socket_action(m_multi.get(), socket, events, &open);
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(m_multi.get(), &left)) {
        Transfer *transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        transfer->finish(message->data.result);
    }
}

CurlHttpClient::CurlHttpClient() : CurlHttpClient(Options{}) {}

CurlHttpClient::CurlHttpClient(const Options &options) : m_options(options) {}

CurlHttpClient::~CurlHttpClient()
{
    m_closing = true;
    while (!m_transfers.empty())
        m_transfers.back()->end(std::nullopt);
}

QCoro::Task<std::optional<HttpAnswer>> CurlHttpClient::get(QUrl url, std::vector<HttpHeader> headers)
{
    if (m_closing || !isHttp(url))
        co_return std::nullopt;
    if (!m_pool)
        m_pool = std::make_shared<Pool>();
    m_transfers.push_back(std::make_unique<Transfer>(*this, url, headers));
    const auto completion = m_transfers.back()->completion();
    co_return co_await *completion;
}

std::unique_ptr<CurlHttpClient::Transfer> CurlHttpClient::take(const Transfer *transfer)
{
    const auto found = std::ranges::find(m_transfers, transfer, &std::unique_ptr<Transfer>::get);
    auto taken = std::move(*found);
    m_transfers.erase(found);
    return taken;
}

qint64 CurlHttpClient::bytesInHand() const
{
    return std::accumulate(m_transfers.begin(), m_transfers.end(), qint64{0},
                           [](qint64 sum, const auto &transfer) { return sum + transfer->bytesInHand(); });
}

} // namespace kestrune
