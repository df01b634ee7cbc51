// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/themesource.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <functional>
#include <optional>

namespace kestrune {

/// Light or dark by the desktop portal's colour scheme; the toolkit's palette where there is no portal.
class DesktopTheme final : public ThemeSource
{
    Q_OBJECT
public:
    explicit DesktopTheme(const QDBusConnection &connection);

    /// Who knows the colour of the bar's texts, and whether bars like it are dark when nobody has a
    /// preference.
    void setBar(std::function<std::optional<QColor>()> textColor, std::function<bool()> isUsuallyDark)
    {
        m_barTextColor = std::move(textColor);
        m_barIsUsuallyDark = std::move(isUsuallyDark);
    }

    [[nodiscard]] std::optional<QColor> trayTextColor() const override;
    [[nodiscard]] std::optional<bool> prefersDark() const override { return m_prefersDark; }
    [[nodiscard]] bool paletteIsDark() const override;
    [[nodiscard]] bool announces() const override { return m_portalAnswers; }

private Q_SLOTS:
    void settingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    void ask();
    void setAnnounces(bool announces);
    void setScheme(uint scheme);

    QDBusConnection m_connection;
    QDBusServiceWatcher m_watcher;
    std::function<std::optional<QColor>()> m_barTextColor;
    std::function<bool()> m_barIsUsuallyDark;
    std::optional<bool> m_prefersDark;
    bool m_portalAnswers = false;
};

} // namespace kestrune
