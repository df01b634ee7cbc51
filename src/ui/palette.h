// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QPalette>

class QWidget;

namespace kestrune {

/// A colour by its purpose. Widgets keep tones, so that a change of the palette reaches all of them.
enum class Tone { text, secondary, accent, red, green, orange, blue, purple, teal, pink };

/// Every colour of the kit; the two tables stand in palette.cpp. All tones but `accent` keep a contrast
/// of 4.5 or more as text on the grounds they stand on.
struct Palette
{
    bool dark;
    QColor ground;   ///< of the window
    QColor raised;   ///< chips, bars, small buttons
    QColor field;    ///< text fields, inside a hairline border
    QColor hairline; ///< dividers and borders, translucent
    QColor text;
    QColor secondary;  ///< captions, idle icons
    QColor accent;     ///< focus ring and icons; too faint for text on `raised`
    QColor accentFill; ///< ground under white text
    QColor accentSoft; ///< what is selected or current; translucent
    QColor red, green, orange, blue, purple, teal, pink;

    [[nodiscard]] QColor color(Tone tone) const;
    /// For icons, dots and bars, which need less contrast (3) than text and may be brighter.
    [[nodiscard]] QColor shapeColor(Tone tone) const;
    /// Veil over a ground for hover (level 1: 4 %) and press (level 2: 8 %); levels between are blended.
    [[nodiscard]] QColor veil(double level) const;
};

[[nodiscard]] const Palette &darkPalette();
[[nodiscard]] const Palette &lightPalette();

/// The tokens as the toolkit's palette: set it on a top-level widget, its children inherit it.
[[nodiscard]] QPalette toolkitPalette(const Palette &palette);
/// The tokens a widget draws with: dark when the inherited window colour is dark.
[[nodiscard]] const Palette &paletteOf(const QWidget *widget);

/// `color` over `ground`, both opaque afterwards.
[[nodiscard]] QColor blended(const QColor &color, const QColor &ground);

} // namespace kestrune
