// SPDX-License-Identifier: MIT
#include "ui/housestyle.h"

#include "ui/palette.h"

#include <QPainter>
#include <QStyleOption>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int tipPadding = 6;

} // namespace

// The panel draws with its own palette on every desktop.
HouseStyle::HouseStyle() : QProxyStyle(u"Fusion"_s) {}

void HouseStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                               const QWidget *widget) const
{
    if (element != PE_PanelTipLabel) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    // Square: without a compositor a window's corners cannot be smooth.
    const QColor ground = option->palette.color(QPalette::ToolTipBase);
    painter->fillRect(option->rect, option->palette.color(QPalette::Mid));
    painter->fillRect(option->rect.adjusted(1, 1, -1, -1), ground);
}

int HouseStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    return metric == PM_ToolTipLabelFrameWidth ? tipPadding
                                               : QProxyStyle::pixelMetric(metric, option, widget);
}

int HouseStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                          QStyleHintReturn *result) const
{
    return hint == SH_ToolTipLabel_Opacity ? 255 : QProxyStyle::styleHint(hint, option, widget, result);
}

} // namespace kestrune
