// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QHash>
#include <QNetworkProxy>
#include <QString>
#include <QUrl>

#include <chrono>
#include <optional>

namespace kestrune {

/// True for localhost, names below it and loopback addresses.
[[nodiscard]] bool isLoopbackHost(const QString &host);

/// The proxy that an environment value names: socks5://, socks5h://, socks:// or http:// with host and port,
/// or host:port alone, which is http. Absent for anything else.
[[nodiscard]] std::optional<QNetworkProxy> proxyAt(const QString &value);

/// The proxy that a user asks for: "" for the system's (a DefaultProxy), "直连" for none, or host:port with
/// http:// or socks5:// before it or nothing; a SOCKS proxy looks up the names. Absent for anything else.
[[nodiscard]] std::optional<QNetworkProxy> parseProxy(const QString &text);

/// Whether a no_proxy value exempts the host: "*", a domain with or without a leading dot (itself and what
/// is below it), an address, or a network in CIDR form, separated by commas or blanks; ports are ignored.
[[nodiscard]] bool isExempt(const QString &noProxy, const QString &host);

/// Loopback hosts go direct; else by the chosen proxy; without a choice by the system's; where the system
/// names none, the one of all_proxy or ALL_PROXY unless no_proxy or NO_PROXY exempts the host. Asking the
/// system may be slow, so its answers are kept for a minute.
class ProxyChoice
{
public:
    /// A DefaultProxy is no choice.
    void setChosen(const QNetworkProxy &proxy) { m_chosen = proxy; }
    /// NoProxy for a direct connection.
    [[nodiscard]] QNetworkProxy proxyFor(const QUrl &url);

private:
    struct Known
    {
        QNetworkProxy proxy;
        std::chrono::steady_clock::time_point until;
    };
    QNetworkProxy m_chosen = QNetworkProxy::DefaultProxy;
    QHash<QString, Known> m_known;
};

} // namespace kestrune
