// SPDX-License-Identifier: MIT
#pragma once

#include "platform/completion.h"
#include "platform/httpclient.h"
#include "platform/proxychoice.h"

#include <QString>

#include <chrono>
#include <memory>
#include <vector>

namespace kestrune {

/// GET requests by libcurl on Qt's event loop, without a thread but for name lookups: HTTP/1.1, TLS always
/// verified, no cookies, no cache, at most ten redirects and none from https to http. Connections are kept
/// and used again; requests never wait for one. Whatever a peer sends, little more than the bodies is held.
class CurlHttpClient final : public HttpClient
{
public:
    struct Options
    {
        /// Time without a header line or a piece of the body after which a request fails.
        std::chrono::milliseconds idleTimeout = std::chrono::seconds(8);
        /// Time after which a request fails in any case, redirects included.
        std::chrono::milliseconds totalTimeout = std::chrono::seconds(10);
        /// Bytes, counted after decompression; a larger body fails. So does one of several at once that
        /// together exceed twice as much.
        qint64 maxBody = qint64(4) * 1024 * 1024;
        /// A PEM file of certificates that are trusted besides the system's; empty for none.
        QString trusted = {};
    };

    CurlHttpClient();
    explicit CurlHttpClient(const Options &options);
    ~CurlHttpClient() override;

    [[nodiscard]] QCoro::Task<std::optional<HttpAnswer>> get(QUrl url,
                                                             std::vector<HttpHeader> headers) override;

    /// Lets no later request use a connection that is open now, for example after a suspend, when the
    /// other ends may be gone. Open requests go on.
    void dropConnections() { m_pool.reset(); }

    void setProxy(const QNetworkProxy &proxy) override { m_proxies.setChosen(proxy); }

private:
    struct Head;
    class Pool;
    class Transfer;
    using Result = std::optional<HttpAnswer>;

    [[nodiscard]] std::unique_ptr<Transfer> take(const Transfer *transfer);
    [[nodiscard]] qint64 bytesInHand() const;

    Options m_options;
    ProxyChoice m_proxies;
    std::shared_ptr<Pool> m_pool; ///< of the next request; earlier ones live by their transfers
    std::vector<std::unique_ptr<Transfer>> m_transfers;
    bool m_closing = false;
};

} // namespace kestrune
