#pragma once

#include "platform/completion.h"
#include "platform/httpclient.h"

#include <QObject>

#include <chrono>
#include <list>
#include <memory>
#include <vector>

namespace kestrune {

/// HTTP over Qt Network. Keeps connections alive between requests and gives every request a connection of
/// its own, however many are open. Nothing is cached, no cookies are kept, TLS is always verified,
/// redirects are followed unless they lead from https to http.
class QtHttpClient final : public HttpClient
{
public:
    struct Limits
    {
        std::chrono::milliseconds idle{8000};   ///< without progress
        std::chrono::milliseconds total{10000}; ///< from start to end, trickling or not
        qint64 maxBody = 4 * 1024 * 1024;       ///< bytes, after decompression
    };

    QtHttpClient();
    explicit QtHttpClient(const Limits &limits);
    ~QtHttpClient() override;

    [[nodiscard]] QCoro::Task<std::optional<QByteArray>> get(QUrl url,
                                                             std::vector<HttpHeader> headers) override;

    /// New requests open new connections: after a suspend or a change of network the old ones may be dead
    /// without knowing it. Requests under way go on.
    void dropConnections();

private:
    using Body = std::optional<QByteArray>;
    using Waiter = std::shared_ptr<Completion<Body>>;
    class Connections;
    class Transfer;

    void start(const QUrl &url, const std::vector<HttpHeader> &headers, const Waiter &waiter);
    [[nodiscard]] Connections &connectionsFor(const QString &host);
    void finish(Transfer *transfer);
    void deleteUnusedConnections();

    Limits m_limits;
    std::list<std::unique_ptr<Connections>> m_connections;
    std::list<std::unique_ptr<Transfer>> m_transfers;
    QObject m_context; ///< receives what is queued for this client
};

} // namespace kestrune
