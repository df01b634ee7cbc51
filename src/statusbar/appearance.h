// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>

#include <optional>

namespace kestrune {

/// What is dark around the program.
struct Appearance
{
    bool darkBar = false;     ///< the bar under the item
    bool darkDesktop = false; ///< windows, our panel among them

    [[nodiscard]] bool operator==(const Appearance &) const = default;
};

/// What is known of the colours of the bar that shows the item.
struct BarColors
{
    std::optional<QColor> text = std::nullopt; ///< of the bar's own texts
    bool usuallyDark = false;                  ///< bars like it are dark unless somebody asks for light ones

    [[nodiscard]] bool operator==(const BarColors &) const = default;
};

/// The bar goes by the colour of its own texts (a dark desktop can have a light bar), then by the desktop's
/// preference, then by what is usual. Windows go by the preference only. Where the desktop has none or cannot
/// be asked, the toolkit's palette decides.
[[nodiscard]] Appearance appearanceOf(const BarColors &bar, std::optional<bool> prefersDark,
                                      bool darkPalette);

} // namespace kestrune
