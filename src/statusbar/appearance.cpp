// SPDX-License-Identifier: MIT
#include "statusbar/appearance.h"

namespace kestrune {

Appearance appearanceOf(const BarColors &bar, std::optional<bool> prefersDark, bool darkPalette)
{
    Appearance appearance;
    appearance.darkDesktop = prefersDark.value_or(darkPalette);
    if (bar.text)
        appearance.darkBar = qGray(bar.text->rgb()) >= 128; // light words are written on a dark bar
    else
        appearance.darkBar = prefersDark.value_or(bar.usuallyDark || darkPalette);
    return appearance;
}

} // namespace kestrune
