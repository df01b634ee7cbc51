// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>

#include <optional>

namespace kestrune {

/// What the desktop tells about light and dark. Every answer may be missing.
class AppearanceSource
{
public:
    AppearanceSource() = default;
    AppearanceSource(const AppearanceSource &) = delete;
    AppearanceSource &operator=(const AppearanceSource &) = delete;
    virtual ~AppearanceSource() = default;

    /// The colour in which the bar that holds the item writes its own texts.
    [[nodiscard]] virtual std::optional<QColor> trayTextColor() const = 0;
    /// The desktop's colour scheme; nothing when it has no preference or cannot be asked.
    [[nodiscard]] virtual std::optional<bool> prefersDark() const = 0;
    /// The toolkit's palette is a dark one.
    [[nodiscard]] virtual bool paletteIsDark() const = 0;
};

/// Whether the bar under the item is dark, from the nearest witness that answers: the bar's own text colour
/// (a desktop can be dark with a light bar), the desktop's colour scheme, the toolkit's palette.
[[nodiscard]] bool isDarkMenuBar(const AppearanceSource &appearance);

} // namespace kestrune
