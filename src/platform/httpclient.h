// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QNetworkProxy>
#include <QUrl>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace kestrune {

struct HttpHeader
{
    QByteArray name;
    QByteArray value;
};

struct HttpAnswer
{
    QByteArray body;
    int status = 200;
    std::optional<std::chrono::seconds> retryAfter = {}; ///< as the answer tells; absent for a date
};

/// GET requests with the service time limits (8 s without progress, 10 s in all, bodies up to 4 MiB).
class HttpClient
{
public:
    HttpClient() = default;
    HttpClient(const HttpClient &) = delete;
    HttpClient &operator=(const HttpClient &) = delete;
    /// Ends every open request; their waiters resume with nothing.
    virtual ~HttpClient() = default;

    /// The answer, whatever the HTTP status said; nothing when the transfer failed. Any number of requests
    /// may be open at once and none waits for another.
    [[nodiscard]] virtual QCoro::Task<std::optional<HttpAnswer>> get(QUrl url,
                                                                     std::vector<HttpHeader> headers) = 0;

    /// For later requests; a DefaultProxy leaves the choice to the system. Loopback hosts are always direct.
    virtual void setProxy(const QNetworkProxy &proxy) = 0;

    /// Expires with this object. A coroutine that another client's end may resume asks before it turns here.
    [[nodiscard]] std::weak_ptr<const void> lifetime() const { return m_lifetime; }

private:
    std::shared_ptr<const void> m_lifetime = std::make_shared<char>();
};

} // namespace kestrune
