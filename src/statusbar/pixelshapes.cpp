// SPDX-License-Identifier: MIT
#include "statusbar/pixelshapes.h"

#include <QImage>

#include <algorithm>
#include <cmath>
#include <vector>

namespace kestrune {

namespace {

/// `color * coverage`, coverage 0 to 255, all four channels at once.
QRgb scaled(QRgb color, uint coverage)
{
    const auto channels = [coverage](uint pair) {
        const uint product = pair * coverage;
        return ((product + ((product >> 8) & 0xFF00FF) + 0x800080) >> 8) & 0xFF00FF;
    };
    return channels(color & 0xFF00FF) | channels(color >> 8 & 0xFF00FF) << 8;
}

void blend(QRgb &pixel, QRgb premultiplied, uint coverage)
{
    if (coverage == 0)
        return;
    const QRgb source = coverage == 255 ? premultiplied : scaled(premultiplied, coverage);
    const auto opacity = static_cast<uint>(qAlpha(source));
    pixel = opacity == 255 ? source : source + scaled(pixel, 255 - opacity);
}

/// Signed distance to the outline, split into its two axes: negative parts lie on the straight sides' side.
struct RoundedBox
{
    QPointF center;
    double coreX; ///< half the width without the corners
    double coreY;
    double radius;

    RoundedBox(const QRectF &shape, double r)
        : center(shape.center()), coreX(shape.width() / 2 - r), coreY(shape.height() / 2 - r), radius(r)
    {}

    [[nodiscard]] double alongX(int x) const { return std::abs(x + 0.5 - center.x()) - coreX; }
    [[nodiscard]] double alongY(int y) const { return std::abs(y + 0.5 - center.y()) - coreY; }
    [[nodiscard]] double distance(double qx, double qy) const
    {
        if (qx > 0 && qy > 0)
            return std::sqrt(qx * qx + qy * qy) - radius;
        return std::max(qx, qy) - radius;
    }
};

uint toCoverage(double share)
{
    return static_cast<uint>(std::lround(std::clamp(share, 0.0, 1.0) * 255));
}

/// Walks the pixels that a shape reaching `reach` beyond its outline may touch. `coverageOf` maps the
/// distance from the outline to 0…255.
template <typename Coverage>
void drawBox(QImage &image, const QRectF &shape, double radius, double reach, const QColor &color,
             const Coverage &coverageOf)
{
    const int left = std::max(static_cast<int>(std::floor(shape.left() - reach)), 0);
    const int right = std::min(static_cast<int>(std::ceil(shape.right() + reach)), image.width());
    const int top = std::max(static_cast<int>(std::floor(shape.top() - reach)), 0);
    const int bottom = std::min(static_cast<int>(std::ceil(shape.bottom() + reach)), image.height());
    if (left >= right || top >= bottom)
        return;
    const QRgb premultiplied = qPremultiply(color.rgba());
    const RoundedBox box(shape, radius);
    // Away from the corners a column's distance does not depend on the row, nor a row's on the column.
    const int coreLeft = std::clamp(static_cast<int>(std::ceil(box.center.x() - box.coreX)), left, right);
    const int coreRight =
        std::clamp(static_cast<int>(std::floor(box.center.x() + box.coreX)), coreLeft, right);
    std::vector<uint> sides(static_cast<std::size_t>(right - left));
    for (int x = left; x < right; ++x)
        sides[static_cast<std::size_t>(x - left)] = coverageOf(box.distance(box.alongX(x), -radius));

    for (int y = top; y < bottom; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        const double qy = box.alongY(y);
        const auto blendCorner = [&](int x) {
            blend(line[x], premultiplied,
                  qy > 0 ? coverageOf(box.distance(box.alongX(x), qy))
                         : sides[static_cast<std::size_t>(x - left)]);
        };
        for (int x = left; x < coreLeft; ++x)
            blendCorner(x);
        if (const uint coverage = coverageOf(std::max(qy, -radius) - radius)) {
            for (int x = coreLeft; x < coreRight; ++x)
                blend(line[x], premultiplied, coverage);
        }
        for (int x = coreRight; x < right; ++x)
            blendCorner(x);
    }
}

} // namespace

void fillRoundedRect(QImage &image, const QRectF &shape, double radius, const QColor &color)
{
    drawBox(image, shape, radius, 0.5, color, [](double distance) { return toCoverage(0.5 - distance); });
}

void strokeRoundedRect(QImage &image, const QRectF &shape, double radius, double lineWidth,
                       const QColor &color)
{
    const double half = lineWidth / 2;
    drawBox(image, shape, radius, half + 0.5, color,
            [half](double distance) { return toCoverage(0.5 + half - std::abs(distance)); });
}

} // namespace kestrune
