// SPDX-License-Identifier: MIT
#include "panel/blingbutton.h"

#include "ui/icons.h"
#include "ui/roundedrect.h"

#include <QLinearGradient>
#include <QPainter>

#include <chrono>
#include <cmath>
#include <numbers>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr double sparklesSide = 16;
constexpr double breathSeconds = 1.6;

QLinearGradient warmGradient(const QRectF &shape)
{
    QLinearGradient gradient(shape.topLeft(), shape.bottomRight());
    gradient.setColorAt(0, QColor(0xFF5FA2));
    gradient.setColorAt(0.5, QColor(0xFF9F0A));
    gradient.setColorAt(1, QColor(0xFFD60A));
    return gradient;
}

} // namespace

BlingButton::BlingButton(EpochClock clock, QWidget *parent) : FlatButton(parent), m_clock(std::move(clock))
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setCheckable(true);
    m_timer.setInterval(40ms);
    connect(&m_timer, &QTimer::timeout, this, [this] { update(); });
    updateTip();
}

void BlingButton::setOn(bool on)
{
    if (isOn() == on)
        return;
    setChecked(on); // repaints
    updateTip();
    updateTimer();
}

void BlingButton::updateTip()
{
    const QString tip = isOn() ? u"停止炫彩"_s : u"赚翻了：状态栏多标的霓虹灯效"_s;
    setToolTip(tip);
    setAccessibleName(tip);
}

void BlingButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRectF square((width() - sparklesSide) / 2, (height() - sparklesSide) / 2, sparklesSide,
                        sparklesSide);
    const Palette &palette = paletteOf(this);
    if (!isOn()) {
        paintGround(painter, rect(), focusRadius(), {});
        drawIcon(painter, square, u"sparkles"_s, palette.secondary);
        return;
    }
    fillRounded(painter, rect(), focusRadius(), warmGradient(rect()));
    const double breath = (std::sin(m_clock() * 2 * std::numbers::pi / breathSeconds) + 1) / 2;
    // A light that comes and goes; the icon keeps its size, so that it stays on whole pixels.
    fillRounded(painter, rect(), focusRadius(),
                QColor(255, 255, 255, static_cast<int>(std::lround(56 * breath))));
    paintGround(painter, rect(), focusRadius(), {});
    drawIcon(painter, square, u"sparkles"_s, Qt::white);
}

void BlingButton::showEvent(QShowEvent *)
{
    updateTimer();
}

void BlingButton::hideEvent(QHideEvent *event)
{
    m_timer.stop();
    FlatButton::hideEvent(event);
}

void BlingButton::updateTimer()
{
    if (isOn() && isVisible())
        m_timer.start();
    else
        m_timer.stop();
}

} // namespace kestrune
