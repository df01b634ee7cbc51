// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/appearance.h"
#include "statusbar/desktop/managerwatch.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <optional>

namespace kestrune {

/// What is dark now: by the bar's colours, the desktop portal's colour scheme, the name of the X11 desktop's
/// theme and the toolkit's palette.
class DesktopTheme final : public QObject
{
    Q_OBJECT
public:
    explicit DesktopTheme(const QDBusConnection &connection,
                          std::chrono::milliseconds palettePoll = std::chrono::seconds(2));

    [[nodiscard]] const Appearance &appearance() const { return m_appearance; }
    void setBar(const BarColors &bar);

Q_SIGNALS:
    void changed(const kestrune::Appearance &appearance);

private Q_SLOTS:
    void settingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    void ask();
    void setScheme(uint scheme);
    void readTheme();
    void look();

    QDBusConnection m_connection;
    QDBusServiceWatcher m_watcher;
    QTimer m_poll; ///< stands still while the portal has a preference: the palette does not count then
    BarColors m_bar;
    std::optional<bool> m_prefersDark;
    ManagerWatch m_settings{"_XSETTINGS_S", "_XSETTINGS_SETTINGS"};
    std::optional<bool> m_darkTheme;
    Appearance m_appearance;
};

} // namespace kestrune
