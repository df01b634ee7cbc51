// SPDX-License-Identifier: MIT
#pragma once

#include "state/barsignal.h"

#include <QColor>
#include <QImage>
#include <QString>

#include <optional>
#include <vector>

class QPainter;
class QPointF;

namespace kestrune {

/// Vertical placement of the status text. `top` sits at the lower edge: y grows upward here.
enum class VAlign { top, center, bottom };

inline constexpr double statusHeight = 22;        ///< points, of every picture
inline constexpr double maximumStatusWidth = 480; ///< points; a longer text loses its middle
inline constexpr double maximumSignWidth = 160;   ///< points, likewise

/// One neon sign.
struct BlingItem
{
    QString symbol;
    std::optional<double> price;
    std::optional<double> changePct; ///< percent; its sign picks the arrow
    bool dimmed = false;             ///< the price is old: a sign that is switched off
};

/// What the normal picture shows.
struct StatusContent
{
    QString text;
    BarSignal signal = BarSignal::neutral;
    VAlign align = VAlign::center;
    double baselineShift = 0; ///< points, downward
    bool alertActive = false;
    int pulse = 0;       ///< phase counter of the alert
    bool dark = false;   ///< the bar under it is dark
    bool dimmed = false; ///< the price is old or another's: hollow light, secondary colour

    [[nodiscard]] bool operator==(const StatusContent &) const = default;
};

/// A finished picture: the bitmap is 44 pixels high at a pixel ratio of 2 and as wide as the whole part of
/// twice `width`, at least one pixel.
struct StatusPicture
{
    QImage image;
    double width; ///< logical width in points, fractions kept
};

/// Dot and text; with an alert an 18-point shift for a bell and a blinking text.
[[nodiscard]] StatusPicture makeStatusBarImage(const StatusContent &content);
/// A row of neon signs that breathe out of step; no items stand for the eight great coins without prices.
[[nodiscard]] StatusPicture makeBlingStatusBarImage(const std::vector<BlingItem> &items, int pulse);

/// The colours of the dot and of the text.
[[nodiscard]] QColor statusDotColor(const StatusContent &content);
[[nodiscard]] QColor statusTextColor(const StatusContent &content);
/// The light inside a square of pixels: a disc, or a ring when dimmed.
void drawStatusDot(QImage &image, const QRectF &square, const QColor &color, bool dimmed);

/// Label of a neon sign, for example "BTC ▲67,250" or "DOGE --".
[[nodiscard]] QString blingLabel(const BlingItem &item);

/// The same pictures straight onto a screen: measured and painted at any scale of the painter, `origin` its
/// top left corner in logical units. Text is measured at `scale`, so ask with the scale that is painted.
[[nodiscard]] double statusWidth(const StatusContent &content, double scale = 2);
void paintStatus(QPainter &painter, const QPointF &origin, const StatusContent &content);
[[nodiscard]] double blingStatusWidth(const std::vector<BlingItem> &items, double scale = 2);
void paintBlingStatus(QPainter &painter, const QPointF &origin, const std::vector<BlingItem> &items,
                      int pulse);

/// A bell with the number of fired alerts, to stand behind either picture; no wider than 40 points.
[[nodiscard]] StatusPicture makeAlertBell(int count, bool dark, double scale = 2);
void paintAlertBell(QPainter &painter, const QPointF &origin, int count, bool dark);

} // namespace kestrune
