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

QNetworkProxy systemProxy(const QUrl &url)
{
    const QNetworkProxy system =
        QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(url)).value(0, QNetworkProxy::NoProxy);
    if (system.type() != QNetworkProxy::NoProxy && system.type() != QNetworkProxy::DefaultProxy)
        return system;
    const QString all = environment("all_proxy", "ALL_PROXY");
    if (!all.isEmpty() && !isExempt(environment("no_proxy", "NO_PROXY"), url.host())) {
        if (const auto proxy = proxyAt(all))
            return *proxy;
    }
    return QNetworkProxy::NoProxy;
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

std::optional<QNetworkProxy> proxyAt(const QString &value)
{
    const QString trimmed = value.trimmed();
    const QUrl url(trimmed.contains(QLatin1String("://")) ? trimmed : QStringLiteral("http://") + trimmed);
    const QString scheme = url.scheme();
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    QNetworkProxy proxy;
    int defaultPort = 1080;
    if (scheme == QLatin1String("http")) {
        proxy.setType(QNetworkProxy::HttpProxy);
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

std::optional<QNetworkProxy> parseProxy(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("^(?:(http|socks5)://)?((?:[^\\s/?#@:\\[\\]]+|\\[[0-9a-f:.]+\\]):[0-9]+)$"),
        QRegularExpression::CaseInsensitiveOption);
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return QNetworkProxy(QNetworkProxy::DefaultProxy);
    if (trimmed == u"直连")
        return QNetworkProxy(QNetworkProxy::NoProxy);
    const auto match = form.match(trimmed);
    if (!match.hasMatch())
        return std::nullopt;
    const bool socks = match.captured(1).startsWith(u's', Qt::CaseInsensitive);
    const auto proxy =
        proxyAt((socks ? QLatin1String("socks5h://") : QLatin1String("http://")) + match.captured(2));
    return proxy && proxy->port() > 0 ? proxy : std::nullopt;
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

QNetworkProxy ProxyChoice::proxyFor(const QUrl &url)
{
    if (isLoopbackHost(url.host()))
        return QNetworkProxy::NoProxy;
    if (m_chosen.type() != QNetworkProxy::DefaultProxy)
        return m_chosen;
    constexpr auto keptFor = 60s;
    constexpr qsizetype mostKept = 64; // redirects can name any number of hosts
    const auto now = std::chrono::steady_clock::now();
    const QString key = url.scheme() + QLatin1String("://") + url.authority();
    if (const auto known = m_known.constFind(key); known != m_known.constEnd() && now < known->until)
        return known->proxy;
    if (m_known.size() >= mostKept)
        m_known.clear();
    QNetworkProxy proxy = systemProxy(url);
    m_known.insert(key, {proxy, now + keptFor});
    return proxy;
}

} // namespace kestrune
