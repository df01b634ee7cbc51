#pragma once

#include <QNetworkProxy>
#include <QNetworkProxyFactory>

#include <optional>

namespace kestrune {

/// The proxy of a request: none for loopback hosts, else the system's, else the one that `all_proxy` or
/// `ALL_PROXY` names (Qt alone ignores these), unless `no_proxy` or `NO_PROXY` excludes the host.
class ProxyChoice final : public QNetworkProxyFactory
{
public:
    [[nodiscard]] QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override;
};

[[nodiscard]] bool isLoopbackHost(const QString &host);
/// "*", host names and domains (with or without a leading dot or "*."), addresses; separated by commas.
[[nodiscard]] bool isExcludedFromProxy(const QString &host, const QString &noProxy);
/// "socks5://[user[:password]@]host[:port]", also socks5h, socks and http; absent for anything else.
[[nodiscard]] std::optional<QNetworkProxy> proxyFromAddress(const QString &address);

} // namespace kestrune
