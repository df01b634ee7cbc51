// SPDX-License-Identifier: MIT
#include "statusbar/desktop/wakewatch.h"

#include <QNetworkInformation>

#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

WakeWatch::WakeWatch(const QDBusConnection &systemBus)
{
    QDBusConnection bus = systemBus;
    if (bus.isConnected())
        bus.connect(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s,
                    u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s, this,
                    SLOT(prepareForSleep(bool)));
    watchNetwork();
}

void WakeWatch::prepareForSleep(bool begins)
{
    if (!begins)
        Q_EMIT awake();
}

void WakeWatch::watchNetwork()
{
    // By feature: asking for the default backend finds none on common desktops.
    if (!QNetworkInformation::loadBackendByFeatures(QNetworkInformation::Feature::Reachability))
        return;
    const auto *network = QNetworkInformation::instance();
    const auto isReachable = [](QNetworkInformation::Reachability reachability) {
        // Unknown counts as reachable: asking in vain costs little.
        return reachability == QNetworkInformation::Reachability::Online ||
               reachability == QNetworkInformation::Reachability::Unknown;
    };
    m_reachable = isReachable(network->reachability());
    connect(network, &QNetworkInformation::reachabilityChanged, this,
            [this, isReachable](QNetworkInformation::Reachability reachability) {
                const bool reachable = isReachable(reachability);
                if (!std::exchange(m_reachable, reachable) && reachable)
                    Q_EMIT awake();
            });
}

} // namespace kestrune
