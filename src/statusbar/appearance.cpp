// SPDX-License-Identifier: MIT
#include "statusbar/appearance.h"

namespace kestrune {

bool isDarkMenuBar(const AppearanceSource &appearance)
{
    if (const auto text = appearance.trayTextColor())
        return qGray(text->rgb()) >= 128; // light words are written on a dark bar
    if (const auto dark = appearance.prefersDark())
        return *dark;
    return appearance.paletteIsDark();
}

} // namespace kestrune
