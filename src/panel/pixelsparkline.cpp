// SPDX-License-Identifier: MIT
#include "panel/pixelsparkline.h"

#include "analysis/priceformat.h"
#include "ui/devicepixels.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>
#include <optional>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr double lineWidth = 1;
const QColor lineColor = QColor::fromRgbF(0.1F, 0.36F, 0.8F);
const QColor resistanceColor = QColor::fromRgbF(0.95F, 0.25F, 0.25F);
const QColor supportColor = QColor::fromRgbF(0.1F, 0.78F, 0.35F);

/// Maps values and indices of a data series into a drawing.
struct Scale
{
    double low;
    double high;
    double range;
    double count;
    QSizeF size;

    [[nodiscard]] double x(double index) const { return (size.width() - 2) * index / (count - 1) + 1; }
    [[nodiscard]] double y(double value) const
    {
        return (size.height() - 2) * (1 - (value - low) / range) + 1;
    }
};

std::optional<Scale> scaleOf(std::span<const double> data, const QSizeF &size)
{
    if (data.size() < 2 || !std::all_of(data.begin(), data.end(), [](double v) { return std::isfinite(v); }))
        return std::nullopt;
    const auto [low, high] = std::minmax_element(data.begin(), data.end());
    return Scale{*low, *high, std::max(*high - *low, 1e-9), static_cast<double>(data.size()), size};
}

/// Index, with fractions, at which the series last crosses `mid`, else that of the first nearest value.
double crossingIndex(std::span<const double> data, double mid)
{
    std::optional<double> crossing;
    for (std::size_t i = 0; i + 1 < data.size(); ++i) {
        const double from = data[i];
        const double to = data[i + 1];
        if ((from - mid) * (to - mid) <= 0 && std::abs(from - to) > 1e-12)
            crossing = static_cast<double>(i) + (mid - from) / (to - from);
    }
    if (crossing)
        return *crossing;
    const auto nearest = std::min_element(data.begin(), data.end(), [mid](double a, double b) {
        return std::abs(a - mid) < std::abs(b - mid);
    });
    return static_cast<double>(nearest - data.begin());
}

void fillDisc(QPainter &painter, const QPointF &center, double radius, QColor color, double opacity)
{
    color.setAlphaF(static_cast<float>(opacity));
    painter.setBrush(color);
    painter.drawEllipse(center, radius, radius);
}

void drawCurve(QPainter &painter, const QPainterPath &curve)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.strokePath(curve, QPen(lineColor, lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

void drawMarkers(QPainter &painter, std::span<const SparklineMarker> markers, double phase)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double base = lineWidth * 0.5 + 0.6;
    for (const SparklineMarker &marker : markers) {
        const QColor &color = marker.isResistance ? resistanceColor : supportColor;
        fillDisc(painter, marker.center, base * (phase * 0.6 + 1.8), color, phase * 0.22);
        fillDisc(painter, marker.center, base * (phase * 0.35 + 0.85), color, phase * 0.55 + 0.45);
    }
}

} // namespace

std::vector<SparklineLevel> sparklineLevels(std::span<const Zone> zones)
{
    std::vector<SparklineLevel> levels;
    for (const Zone &zone : zones) {
        const bool isResistance = zone.type == "resistance"_L1;
        if (isResistance || zone.type == "support"_L1)
            levels.push_back({zone.mid, isResistance});
    }
    return levels;
}

std::vector<QPointF> sparklinePoints(std::span<const double> data, const QSizeF &size)
{
    std::vector<QPointF> points;
    const auto scale = scaleOf(data, size);
    if (!scale)
        return points;
    points.reserve(data.size());
    for (std::size_t i = 0; i < data.size(); ++i)
        points.emplace_back(scale->x(static_cast<double>(i)), scale->y(data[i]));
    return points;
}

QPainterPath sparklineCurve(std::span<const QPointF> points)
{
    QPainterPath path;
    if (points.size() < 2)
        return path;
    path.moveTo(points.front());
    QPointF pen = points.front();
    for (const QPointF &point : points.subspan(1)) {
        // deliberate: the pen itself is the control point and only half the way is gone, which draws a
        // softened line that lags behind the values and meets the last one at the end.
        const QPointF middle = (pen + point) / 2;
        path.quadTo(pen, middle);
        pen = middle;
    }
    path.lineTo(points.back());
    return path;
}

std::vector<SparklineMarker> sparklineMarkers(std::span<const double> data,
                                              std::span<const SparklineLevel> levels, const QSizeF &size)
{
    std::vector<SparklineMarker> markers;
    const auto scale = scaleOf(data, size);
    if (!scale)
        return markers;
    for (const SparklineLevel &level : levels) {
        if (!(level.mid >= scale->low && level.mid <= scale->high))
            continue;
        const QPointF center(scale->x(crossingIndex(data, level.mid)), scale->y(level.mid));
        markers.push_back({center, level.isResistance});
    }
    return markers;
}

double sparklinePhase(double epochSeconds)
{
    return (std::sin(epochSeconds * 5 * std::numbers::pi / 3) + 1) / 2;
}

PixelSparkline::PixelSparkline(EpochClock clock, QWidget *parent) : QWidget(parent), m_clock(std::move(clock))
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(u"价格走势"_s);
    m_timer.setInterval(250ms);
    connect(&m_timer, &QTimer::timeout, this, [this] { update(); });
}

void PixelSparkline::setContent(std::span<const double> values, std::span<const Zone> zones)
{
    std::vector<SparklineLevel> levels = sparklineLevels(zones);
    const bool sameValues = std::ranges::equal(values, m_data);
    if (sameValues && levels == m_levels)
        return;
    m_levels = std::move(levels);
    if (!sameValues) {
        m_data.assign(values.begin(), values.end());
        rebuildCurve();
    }
    rebuildMarkers();
}

void PixelSparkline::mousePressEvent(QMouseEvent *event)
{
    event->setAccepted(event->button() == Qt::LeftButton);
}

void PixelSparkline::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        Q_EMIT clicked();
}

void PixelSparkline::paintEvent(QPaintEvent *)
{
    if (m_curve.isEmpty())
        return;
    QPainter painter(this);
    const double scale = deviceScale(painter);
    const QSize pixels = (QSizeF(size()) * scale).toSize();
    if (m_curveImage.size() != pixels) {
        m_curveImage = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
        m_curveImage.fill(Qt::transparent);
        QPainter imagePainter(&m_curveImage);
        imagePainter.scale(scale, scale);
        drawCurve(imagePainter, m_curve);
    }
    drawPixelForPixel(painter, {0, 0}, m_curveImage);
    drawMarkers(painter, m_markers, sparklinePhase(m_clock()));
}

void PixelSparkline::resizeEvent(QResizeEvent *)
{
    rebuildCurve();
    rebuildMarkers();
}

void PixelSparkline::showEvent(QShowEvent *)
{
    updateTimer();
}

void PixelSparkline::hideEvent(QHideEvent *)
{
    m_timer.stop();
}

void PixelSparkline::rebuildCurve()
{
    m_curve = sparklineCurve(sparklinePoints(m_data, size()));
    m_curveImage = {};
    QString description;
    if (!m_curve.isEmpty()) {
        const auto [low, high] = std::ranges::minmax(m_data);
        description =
            u"%1 个收盘价，最低 %2，最高 %3"_s.arg(QString::number(m_data.size()), fmtP(low), fmtP(high));
    }
    setAccessibleDescription(description);
}

void PixelSparkline::rebuildMarkers()
{
    m_markers = sparklineMarkers(m_data, m_levels, size());
    updateTimer();
    update();
}

void PixelSparkline::updateTimer()
{
    // Only markers pulse; a bare line stands still.
    const bool wanted = isVisible() && !m_markers.empty();
    if (wanted && !m_timer.isActive())
        m_timer.start();
    else if (!wanted)
        m_timer.stop();
}

} // namespace kestrune
