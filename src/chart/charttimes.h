// SPDX-License-Identifier: MIT
#pragma once

#include "chart/chartcontent.h"
#include "chart/chartview.h"

#include <QRectF>

namespace kestrune {

/// A mark of an axis: a line across the chart and, unless something else stands there, its text.
struct AxisMark
{
    double at;
    QString text; ///< may be empty
    bool strong = false;

    [[nodiscard]] bool operator==(const AxisMark &) const = default;
};

/// The marks of the time axis below `plot`: turns of the day, the month or the year in the market's time
/// zone, as fine as there is room for, none over another.
[[nodiscard]] std::vector<AxisMark> timeMarks(const ChartContent &content, const CandleStretch &shown,
                                              const TimeScale &times, const QRectF &plot);

} // namespace kestrune
