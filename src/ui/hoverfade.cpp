// SPDX-License-Identifier: MIT
#include "ui/hoverfade.h"

#include <QCursor>
#include <QEvent>
#include <QVariantAnimation>
#include <QWidget>

namespace kestrune {

bool isUnderPointer(const QWidget &widget)
{
    return widget.rect().contains(widget.mapFromGlobal(QCursor::pos()));
}

void HoverFade::handle(const QEvent &event)
{
    switch (event.type()) {
    case QEvent::Enter:
        m_hovered = true;
        fadeToTarget();
        break;
    case QEvent::Leave:
        m_hovered = false;
        fadeToTarget();
        break;
    case QEvent::EnabledChange:
        if (!m_widget.isEnabled()) {
            m_pressed = false;
            fadeToTarget();
        }
        break;
    case QEvent::Hide:
        m_hovered = false;
        m_pressed = false;
        jumpTo(0);
        break;
    default:
        break;
    }
}

void HoverFade::setPressed(bool pressed)
{
    if (m_pressed == pressed)
        return;
    m_pressed = pressed;
    fadeToTarget();
}

void HoverFade::fadeToTarget()
{
    const double target = !m_widget.isEnabled() ? 0 : m_pressed ? 2 : m_hovered ? 1 : 0;
    if (!m_widget.isVisible()) {
        jumpTo(target);
        return;
    }
    if (!m_animation) {
        m_animation = new QVariantAnimation(&m_widget);
        m_animation->setDuration(80);
        QObject::connect(m_animation, &QVariantAnimation::valueChanged, &m_widget,
                         [this](const QVariant &value) {
                             m_level = value.toDouble();
                             m_widget.update();
                         });
    }
    m_animation->stop();
    m_animation->setStartValue(m_level);
    m_animation->setEndValue(target);
    m_animation->start();
}

void HoverFade::jumpTo(double level)
{
    if (m_animation)
        m_animation->stop();
    m_level = level;
    m_widget.update();
}

} // namespace kestrune
