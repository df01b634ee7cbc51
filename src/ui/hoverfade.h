// SPDX-License-Identifier: MIT
#pragma once

class QEvent;
class QVariantAnimation;
class QWidget;

namespace kestrune {

/// Whether the pointer is over the widget, by its place: after a menu the toolkit may tell only when it
/// moves.
[[nodiscard]] bool isUnderPointer(const QWidget &widget);

/// The veil of hover and press over a widget's ground: follows enter, leave, press and release within 80 ms
/// and stands still while the widget is hidden. Feed it the widget's events and paint
/// Palette::veil(level()).
class HoverFade
{
public:
    explicit HoverFade(QWidget &widget) : m_widget(widget) {}

    void handle(const QEvent &event);
    void setPressed(bool pressed);
    /// 0 idle, 1 hovered, 2 pressed, and between while fading.
    [[nodiscard]] double level() const { return m_level; }

private:
    void fadeToTarget();
    void jumpTo(double level);

    QWidget &m_widget;
    QVariantAnimation *m_animation = nullptr; // child of the widget, made at the first hover
    double m_level = 0;
    bool m_hovered = false;
    bool m_pressed = false;
};

} // namespace kestrune
