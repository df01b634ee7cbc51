// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/statusitem.h"
#include "statusbar/themesource.h"

#include <vector>

namespace kestrune::test {

/// Keeps what it was given to show.
class FakeItem final : public StatusItem
{
public:
    std::vector<StatusItemContent> shown;
    std::optional<QRect> where = QRect(600, 0, 100, 22);

    void show(const StatusItemContent &content) override { shown.push_back(content); }
    [[nodiscard]] std::optional<QRect> place() const override { return where; }
    [[nodiscard]] const StatusItemContent &last() const { return shown.back(); }
    void click(const QRect &anchor) { Q_EMIT activated(anchor); }
};

class FakeTheme final : public ThemeSource
{
public:
    std::optional<QColor> barText;
    bool dark = false;
    bool tells = true;

    [[nodiscard]] std::optional<QColor> trayTextColor() const override { return barText; }
    [[nodiscard]] std::optional<bool> prefersDark() const override { return dark; }
    [[nodiscard]] bool paletteIsDark() const override { return dark; }
    [[nodiscard]] bool announces() const override { return tells; }
    void tell(bool toDark)
    {
        dark = toDark;
        Q_EMIT changed();
    }
    void setTells(bool now)
    {
        tells = now;
        Q_EMIT announcesChanged();
    }
};

} // namespace kestrune::test
