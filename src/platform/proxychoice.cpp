// SPDX-License-Identifier: MIT
#include "platform/proxychoice.h"

#include <QHostAddress>
#include <QRegularExpression>
#include <QUrl>

namespace kestrune {

namespace {

using namespace std::chrono_literals;

// Lower case goes first, as in other programs.
QString environment(const char *lower, const char *upper)
{
    const QString value = qEnvironmentVariable(lower);
    return value.isEmpty() ? qEnvironmentVariable(upper) : value;
}

bool isDirect(const QList<QNetworkProxy> &proxies)
{
    return proxies.isEmpty() || proxies.first().type() == QNetworkProxy::NoProxy ||
           proxies.first().type() == QNetworkProxy::DefaultProxy;
}

QList<QNetworkProxy> choose(const QNetworkProxyQuery &query)
{
    QList<QNetworkProxy> system = QNetworkProxyFactory::systemProxyForQuery(query);
    if (!isDirect(system))
        return system;
    const QString all = environment("all_proxy", "ALL_PROXY");
    if (!all.isEmpty() && !isExempt(environment("no_proxy", "NO_PROXY"), query.peerHostName())) {
        const bool tunnel = query.protocolTag() != QLatin1String("http");
        if (const auto proxy = parseProxy(all, tunnel))
            return {*proxy};
    }
    return {QNetworkProxy(QNetworkProxy::NoProxy)};
}

} // namespace

bool isLoopbackHost(const QString &host)
{
    QString name = host.toLower();
    if (name.endsWith(u'.'))
        name.chop(1);
    return name == QLatin1String("localhost") || name.endsWith(QLatin1String(".localhost")) ||
           QHostAddress(name).isLoopback();
}

std::optional<QNetworkProxy> parseProxy(const QString &value, bool tunnel)
{
    const QString trimmed = value.trimmed();
    const QUrl url(trimmed.contains(QLatin1String("://")) ? trimmed : QStringLiteral("http://") + trimmed);
    const QString scheme = url.scheme();
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    QNetworkProxy proxy;
    int defaultPort = 1080;
    if (scheme == QLatin1String("http")) {
        proxy.setType(tunnel ? QNetworkProxy::HttpProxy : QNetworkProxy::HttpCachingProxy);
        defaultPort = 3128;
    } else if (scheme == QLatin1String("socks5") || scheme == QLatin1String("socks5h") ||
               scheme == QLatin1String("socks")) {
        proxy.setType(QNetworkProxy::Socks5Proxy);
        if (scheme == QLatin1String("socks5")) // the "h" form leaves looking up names to the proxy
            proxy.setCapabilities(proxy.capabilities() & ~QNetworkProxy::HostNameLookupCapability);
    } else {
        return std::nullopt;
    }
    proxy.setHostName(url.host());
    proxy.setPort(static_cast<quint16>(url.port(defaultPort)));
    proxy.setUser(url.userName(QUrl::FullyDecoded));
    proxy.setPassword(url.password(QUrl::FullyDecoded));
    return proxy;
}

bool isExempt(const QString &noProxy, const QString &host)
{
    static const QRegularExpression separator(QStringLiteral("[,\\s]+"));
    static const QRegularExpression port(QStringLiteral("^([^:]+|\\[.*\\]):\\d+$"));
    const QString name = host.toLower();
    const QHostAddress address(name);
    for (QString entry : noProxy.toLower().split(separator, Qt::SkipEmptyParts)) {
        if (entry == QLatin1String("*"))
            return true;
        if (const auto match = port.match(entry); match.hasMatch())
            entry = match.captured(1);
        if (entry.startsWith(u'[') && entry.endsWith(u']'))
            entry = entry.mid(1, entry.size() - 2);
        if (!address.isNull()) {
            if (entry.contains(u'/') ? address.isInSubnet(QHostAddress::parseSubnet(entry))
                                     : address == QHostAddress(entry))
                return true;
            continue;
        }
        while (entry.startsWith(u'.') || entry.startsWith(u'*'))
            entry.remove(0, 1);
        if (!entry.isEmpty() && (name == entry || name.endsWith(u'.' + entry)))
            return true;
    }
    return false;
}

QList<QNetworkProxy> ProxyChoice::queryProxy(const QNetworkProxyQuery &query)
{
    if (isLoopbackHost(query.peerHostName()))
        return {QNetworkProxy(QNetworkProxy::NoProxy)};
    constexpr auto keptFor = 60s;
    constexpr qsizetype mostKept = 64; // redirects can name any number of hosts
    const auto now = std::chrono::steady_clock::now();
    const QString key = query.url().scheme() + QLatin1String("://") + query.url().authority();
    if (const auto known = m_known.constFind(key); known != m_known.constEnd() && now < known->until)
        return known->proxies;
    if (m_known.size() >= mostKept)
        m_known.clear();
    QList<QNetworkProxy> proxies = choose(query);
    m_known.insert(key, {proxies, now + keptFor});
    return proxies;
}

} // namespace kestrune
