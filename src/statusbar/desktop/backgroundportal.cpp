// SPDX-License-Identifier: MIT
#include "statusbar/desktop/backgroundportal.h"

#include "platform/preferences.h"
#include "statusbar/desktop/portal.h"

#include <QDBusPendingCallWatcher>

#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

const QString grantedKey = u"ks_portal_autostart"_s;
const QString requestToken = u"kestrune_background"_s;

} // namespace

BackgroundPortal::BackgroundPortal(const QDBusConnection &connection, Preferences &preferences)
    : m_connection(connection), m_preferences(preferences)
{
    // The answer comes from an object whose path follows from the asking connection. Listening for it only
    // after the call has returned would be too late.
    QString sender = m_connection.baseService().mid(1); // without its colon
    sender.replace(u'.', u'_');
    m_connection.connect(portalName, portalPath + u"/request/%1/%2"_s.arg(sender, requestToken),
                         portalInterface(u"Request"_s), u"Response"_s, this,
                         SLOT(responded(uint, QVariantMap)));
}

bool BackgroundPortal::startsAtLogin() const
{
    return m_preferences.boolean(grantedKey).value_or(false);
}

void BackgroundPortal::request(bool startAtLogin)
{
    if (std::exchange(m_underWay, true))
        return;
    m_asked = startAtLogin;
    const QVariantMap options{{u"handle_token"_s, requestToken},
                              {u"reason"_s, u"在状态栏显示价格，并在触及提醒价时响铃"_s},
                              {u"autostart"_s, startAtLogin}};
    auto *watcher = new QDBusPendingCallWatcher(
        m_connection.asyncCall(portalCall(u"Background"_s, u"RequestBackground"_s, {QString(), options})),
        this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        if (watcher->isError()) // no portal, or one without this interface
            end();
    });
}

void BackgroundPortal::responded(uint code, const QVariantMap &results)
{
    if (!m_underWay)
        return;
    constexpr uint carriedOut = 0; // anything else: the user or the desktop broke it off
    if (code == carriedOut)
        m_preferences.setBoolean(grantedKey, results.value(u"autostart"_s).toBool());
    end();
}

void BackgroundPortal::end()
{
    if (std::exchange(m_underWay, false))
        Q_EMIT answered(startsAtLogin() == m_asked);
}

} // namespace kestrune
