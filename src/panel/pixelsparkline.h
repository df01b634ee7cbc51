// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/zone.h"
#include "panel/epochclock.h"
#include "ui/accessibility.h"

#include <QImage>
#include <QPainterPath>
#include <QTimer>
#include <QWidget>

#include <span>
#include <vector>

namespace kestrune {

/// A level to mark on the sparkline.
struct SparklineLevel
{
    double mid;
    bool isResistance;

    [[nodiscard]] bool operator==(const SparklineLevel &) const = default;
};

struct SparklineMarker
{
    QPointF center;
    bool isResistance;
};

/// The middles of the supports and resistances among the zones, in order.
[[nodiscard]] std::vector<SparklineLevel> sparklineLevels(std::span<const Zone> zones);
/// One point per value in a drawing of `size`, with one unit of margin all round and higher values higher
/// up. Empty below two values or when one is not finite.
[[nodiscard]] std::vector<QPointF> sparklinePoints(std::span<const double> data, const QSizeF &size);
/// The lagging line through the points: each segment bends half-way to the next one.
[[nodiscard]] QPainterPath sparklineCurve(std::span<const QPointF> points);
/// Where the levels within the data's range stand: on the last crossing segment, else at the nearest value.
[[nodiscard]] std::vector<SparklineMarker>
sparklineMarkers(std::span<const double> data, std::span<const SparklineLevel> levels, const QSizeF &size);
/// 0 to 1 and back every 1.2 s.
[[nodiscard]] double sparklinePhase(double epochSeconds);

/// The recent closes with pulsing zone markers, drawn anew every 0.25 s while it shows.
class PixelSparkline : public QWidget, public WithRole<QAccessible::Chart>
{
    Q_OBJECT

public:
    explicit PixelSparkline(EpochClock clock, QWidget *parent = nullptr);

    void setContent(std::span<const double> values, std::span<const Zone> zones);
    [[nodiscard]] bool isPulsing() const { return m_timer.isActive(); }

    [[nodiscard]] QSize sizeHint() const override { return {70, 16}; }

Q_SIGNALS:
    void clicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void rebuildCurve();
    void rebuildMarkers();
    void updateTimer();

    EpochClock m_clock;
    std::vector<double> m_data; // oldest first
    std::vector<SparklineLevel> m_levels;
    QPainterPath m_curve;
    QImage m_curveImage; // the stroked curve: stroking costs far more than the pulse may
    std::vector<SparklineMarker> m_markers;
    QTimer m_timer;
};

} // namespace kestrune
