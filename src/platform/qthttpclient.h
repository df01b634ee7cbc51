// SPDX-License-Identifier: MIT
#pragma once

#include "platform/completion.h"
#include "platform/httpclient.h"

#include <chrono>
#include <memory>
#include <vector>

namespace kestrune {

/// GET requests over Qt Network: HTTP/1.1, TLS always verified, no cookies, no cache, at most ten redirects
/// and none from https to http, the system's proxy or that of all_proxy.
///
/// Qt gives a host six connections per access manager and lets further requests wait behind them. Requests
/// are therefore dealt out over several managers, six open ones each, the first with room first: the steady
/// state uses one, with its kept-alive connections, and the others go when they were idle for a minute.
class QtHttpClient final : public HttpClient
{
public:
    struct Options
    {
        /// Time without a byte after which a request fails.
        std::chrono::milliseconds idleTimeout = std::chrono::seconds(8);
        /// Time after which a request fails in any case, redirects included.
        std::chrono::milliseconds totalTimeout = std::chrono::seconds(10);
        /// Bytes, counted after decompression; a larger body fails. So does one of several at once that
        /// together exceed twice as much.
        qint64 maxBody = qint64(4) * 1024 * 1024;
    };

    QtHttpClient();
    explicit QtHttpClient(const Options &options);
    ~QtHttpClient() override;

    [[nodiscard]] QCoro::Task<std::optional<HttpAnswer>> get(QUrl url,
                                                             std::vector<HttpHeader> headers) override;

    /// Lets no later request use a connection that is open now, for example after a suspend, when the
    /// other ends may be gone. Open requests go on.
    void dropConnections();

    /// Access managers in use or kept for reuse.
    [[nodiscard]] int managerCount() const { return static_cast<int>(m_pools.size()); }

private:
    class Pool;
    class Transfer;
    using Result = std::optional<HttpAnswer>;

    [[nodiscard]] Pool &poolWithRoom();
    void forget(Transfer *transfer);
    void discardIdlePools();
    [[nodiscard]] qint64 bytesInHand() const;

    Options m_options;
    std::vector<std::unique_ptr<Pool>> m_pools;
    std::vector<Transfer *> m_transfers;
    bool m_closing = false;
};

} // namespace kestrune
