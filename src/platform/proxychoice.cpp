#include "platform/proxychoice.h"

#include <QHostAddress>
#include <QUrl>

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

QString fromEnvironment(const char *lower, const char *upper)
{
    const QString value = qEnvironmentVariable(lower);
    return value.isEmpty() ? qEnvironmentVariable(upper) : value;
}

bool namesNone(const QList<QNetworkProxy> &proxies)
{
    return std::ranges::all_of(proxies, [](const QNetworkProxy &proxy) {
        return proxy.type() == QNetworkProxy::NoProxy || proxy.type() == QNetworkProxy::DefaultProxy;
    });
}

} // namespace

bool isLoopbackHost(const QString &host)
{
    if (host.compare("localhost"_L1, Qt::CaseInsensitive) == 0)
        return true;
    QHostAddress address;
    return address.setAddress(host) && address.isLoopback();
}

bool isExcludedFromProxy(const QString &host, const QString &noProxy)
{
    const auto parts = QStringView(noProxy).split(u',', Qt::SkipEmptyParts);
    for (QStringView part : parts) {
        part = part.trimmed();
        if (part == u"*")
            return true;
        if (part.startsWith(u"*."))
            part = part.sliced(1);
        const QStringView domain = part.startsWith(u'.') ? part.sliced(1) : part;
        if (domain.isEmpty())
            continue;
        const QStringView name(host);
        if (name.compare(domain, Qt::CaseInsensitive) == 0)
            return true;
        if (name.endsWith(domain, Qt::CaseInsensitive) && name[name.size() - domain.size() - 1] == u'.')
            return true;
    }
    return false;
}

std::optional<QNetworkProxy> proxyFromAddress(const QString &address)
{
    const QUrl url(address, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    const QString scheme = url.scheme();
    const bool socks = scheme == u"socks5" || scheme == u"socks5h" || scheme == u"socks";
    if (!socks && scheme != u"http")
        return std::nullopt;
    const int usualPort = socks ? 1080 : 80;
    QNetworkProxy proxy(socks ? QNetworkProxy::Socks5Proxy : QNetworkProxy::HttpProxy, url.host(),
                        quint16(url.port(usualPort)), url.userName(QUrl::FullyDecoded),
                        url.password(QUrl::FullyDecoded));
    return proxy;
}

QList<QNetworkProxy> ProxyChoice::queryProxy(const QNetworkProxyQuery &query)
{
    const QString host = query.peerHostName();
    const QList<QNetworkProxy> none{QNetworkProxy(QNetworkProxy::NoProxy)};
    if (isLoopbackHost(host))
        return none;
    const QList<QNetworkProxy> system = systemProxyForQuery(query);
    if (!namesNone(system))
        return system;
    if (isExcludedFromProxy(host, fromEnvironment("no_proxy", "NO_PROXY")))
        return none;
    const auto named = proxyFromAddress(fromEnvironment("all_proxy", "ALL_PROXY"));
    return named ? QList<QNetworkProxy>{*named} : none;
}

} // namespace kestrune
