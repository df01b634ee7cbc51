// SPDX-License-Identifier: MIT
#include "ui/palette.h"

#include <QWidget>

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

QColor translucent(QColor color, double alpha)
{
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

} // namespace

const Palette &darkPalette()
{
    static const Palette palette{
        .dark = true,
        .ground = 0x1C1C1F,
        .raised = 0x2A2A2E,
        .field = 0x111113,
        .hairline = translucent(Qt::white, 0.09),
        .text = 0xF2F2F5,
        .secondary = 0xA0A0A8,
        .accent = 0x0A84FF,
        .accentFill = 0x0A66D6,
        .accentSoft = translucent(0x0A84FF, 0.16),
        .red = 0xFF6259,
        .green = 0x32D15B,
        .orange = 0xFF9F0A,
        .blue = 0x60ADFF,
        .purple = 0xCD8BFF,
        .teal = 0x45CFE3,
        .pink = 0xFF7AA8,
    };
    return palette;
}

const Palette &lightPalette()
{
    static const Palette palette{
        .dark = false,
        .ground = 0xFFFFFF,
        .raised = 0xF2F2F5,
        .field = 0xFFFFFF,
        .hairline = translucent(Qt::black, 0.10),
        .text = 0x1D1D1F,
        .secondary = 0x63636B,
        .accent = 0x0A66D6,
        .accentFill = 0x0A66D6,
        .accentSoft = translucent(0x0A66D6, 0.09),
        .red = 0xB8251C,
        .green = 0x146E32,
        .orange = 0x934D00,
        .blue = 0x0A5DBB,
        .purple = 0x833ABC,
        .teal = 0x0D6977,
        .pink = 0xAF245A,
    };
    return palette;
}

QColor Palette::color(Tone tone) const
{
    switch (tone) {
    case Tone::text:
        break;
    case Tone::secondary:
        return secondary;
    case Tone::accent:
        return accent;
    case Tone::red:
        return red;
    case Tone::green:
        return green;
    case Tone::orange:
        return orange;
    case Tone::blue:
        return blue;
    case Tone::purple:
        return purple;
    case Tone::teal:
        return teal;
    case Tone::pink:
        return pink;
    }
    return text;
}

QColor Palette::shapeColor(Tone tone) const
{
    if (dark)
        return color(tone);
    switch (tone) {
    case Tone::red:
        return 0xD93A2F;
    case Tone::green:
        return 0x1D9447;
    case Tone::orange:
        return 0xD07400;
    default:
        return color(tone);
    }
}

QColor Palette::veil(double level) const
{
    return translucent(dark ? Qt::white : Qt::black, 0.04 * std::clamp(level, 0.0, 2.0));
}

QPalette toolkitPalette(const Palette &palette)
{
    QPalette result;
    const auto set = [&result](QPalette::ColorRole role, const QColor &color) {
        result.setColor(QPalette::All, role, color);
    };
    set(QPalette::Window, palette.ground);
    set(QPalette::WindowText, palette.text);
    set(QPalette::Base, palette.field);
    set(QPalette::AlternateBase, palette.raised);
    set(QPalette::Text, palette.text);
    set(QPalette::PlaceholderText, palette.secondary);
    set(QPalette::Button, palette.raised);
    set(QPalette::ButtonText, palette.text);
    set(QPalette::BrightText, Qt::white);
    set(QPalette::Highlight, palette.accentFill);
    set(QPalette::HighlightedText, Qt::white);
    set(QPalette::ToolTipBase, palette.raised);
    set(QPalette::ToolTipText, palette.text);
    set(QPalette::Link, palette.blue);
    set(QPalette::LinkVisited, palette.purple);
    set(QPalette::Light, blended(palette.veil(2), palette.raised));
    set(QPalette::Midlight, blended(palette.veil(1), palette.raised));
    set(QPalette::Mid, blended(palette.hairline, palette.ground));
    set(QPalette::Dark, blended(palette.hairline, palette.ground));
    set(QPalette::Shadow, Qt::black);
    QColor faint = palette.text;
    faint.setAlphaF(0.4F);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        result.setColor(QPalette::Disabled, role, blended(faint, palette.ground));
    return result;
}

const Palette &paletteOf(const QWidget *widget)
{
    return widget->palette().color(QPalette::Window).lightness() < 128 ? darkPalette() : lightPalette();
}

QColor blended(const QColor &color, const QColor &ground)
{
    const double alpha = color.alphaF();
    const auto mix = [alpha](double over, double under) {
        return static_cast<float>(over * alpha + under * (1 - alpha));
    };
    return QColor::fromRgbF(mix(color.redF(), ground.redF()), mix(color.greenF(), ground.greenF()),
                            mix(color.blueF(), ground.blueF()));
}

} // namespace kestrune
