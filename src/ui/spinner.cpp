// SPDX-License-Identifier: MIT
#include "ui/spinner.h"

#include "ui/palette.h"

#include <QPainter>

#include <chrono>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int stepsPerTurn = 30;
constexpr auto stepTime = 33ms;
constexpr double thickness = 1.5;
constexpr int degree = 16; // the painter counts angles in sixteenths

} // namespace

Spinner::Spinner(QWidget *parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(u"加载中"_s);
    m_timer.setInterval(stepTime);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_step = (m_step + 1) % stepsPerTurn;
        update();
    });
}

void Spinner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Palette &palette = paletteOf(this);
    const double side = std::min(width(), height()) - thickness - 1;
    const QRectF circle((width() - side) / 2, (height() - side) / 2, side, side);
    QPen pen(palette.hairline, thickness, Qt::SolidLine, Qt::RoundCap);
    painter.setPen(pen);
    painter.drawEllipse(circle);
    pen.setColor(palette.secondary);
    painter.setPen(pen);
    painter.drawArc(circle, (90 - m_step * 360 / stepsPerTurn) * degree, -90 * degree);
}

void Spinner::showEvent(QShowEvent *)
{
    m_timer.start();
}

void Spinner::hideEvent(QHideEvent *)
{
    m_timer.stop();
}

} // namespace kestrune
