// SPDX-License-Identifier: MIT
#pragma once

#include "chart/chartscene.h"
#include "ui/typography.h"

#include <QCache>
#include <QImage>

#include <utility>

class QPainter;

namespace kestrune {

/// Lines of words as pictures: laying them out takes several times as long as everything else on a tick.
class ChartWords
{
public:
    void draw(QPainter &painter, const QPointF &topLeft, const QString &text, TypeRole role,
              const QColor &color);

private:
    QCache<std::pair<quint64, QString>, QImage> m_pictures{128};
};

/// What the pointer or the keyboard points at.
struct ChartPointer
{
    std::optional<std::size_t> candle;
    std::optional<double> y;         ///< of the crosshair's other line
    std::optional<std::size_t> zone; ///< lit
    std::optional<std::size_t> bell; ///< being moved
    std::optional<double> bellPrice; ///< where to

    [[nodiscard]] bool operator==(const ChartPointer &) const = default;
};

/// Grid, bands, volume, candles and curves on an opaque ground.
void paintChartBase(QPainter &painter, const ChartBase &base, const QSizeF &size, const Palette &palette);
/// Labels, price line, plan, bells, crosshair and the line at the top, over the base.
void paintChartFront(QPainter &painter, const ChartScene &scene, const ChartContent &content,
                     const ChartPointer &pointer, const Palette &palette, ChartWords &words);

} // namespace kestrune
