// SPDX-License-Identifier: MIT
#pragma once

#include <QProxyStyle>

namespace kestrune {

/// The toolkit's plain style with tooltips that look like the panel.
class HouseStyle : public QProxyStyle
{
public:
    HouseStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption *option,
                                  const QWidget *widget) const override;
    [[nodiscard]] int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                                QStyleHintReturn *result) const override;
};

} // namespace kestrune
