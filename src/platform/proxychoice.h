// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHash>
#include <QNetworkProxy>
#include <QString>

#include <chrono>
#include <optional>

namespace kestrune {

/// True for localhost, names below it and loopback addresses.
[[nodiscard]] bool isLoopbackHost(const QString &host);

/// The proxy that an environment value names: socks5://, socks5h://, socks:// or http:// with host and port,
/// or host:port alone, which is http. Absent for anything else. `tunnel` tells whether the connection
/// through an http proxy will be encrypted.
[[nodiscard]] std::optional<QNetworkProxy> parseProxy(const QString &value, bool tunnel);

/// Whether a no_proxy value exempts the host: "*", a domain with or without a leading dot (itself and what
/// is below it), an address, or a network in CIDR form, separated by commas or blanks; ports are ignored.
[[nodiscard]] bool isExempt(const QString &noProxy, const QString &host);

/// Loopback hosts go direct; else the system's proxy; where the system names none, the one of all_proxy or
/// ALL_PROXY unless no_proxy or NO_PROXY exempts the host. Asking the system may be slow, so its answers are
/// kept for a minute.
class ProxyChoice final : public QNetworkProxyFactory
{
public:
    [[nodiscard]] QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override;

private:
    struct Known
    {
        QList<QNetworkProxy> proxies;
        std::chrono::steady_clock::time_point until;
    };
    QHash<QString, Known> m_known;
};

} // namespace kestrune
