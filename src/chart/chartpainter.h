// SPDX-License-Identifier: MIT
#pragma once

#include "chart/chartscene.h"

class QPainter;

namespace kestrune {

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
                     const ChartPointer &pointer, const Palette &palette);

} // namespace kestrune
