// SPDX-License-Identifier: MIT
#pragma once

#include "chart/chartcontent.h"
#include "chart/charttimes.h"
#include "chart/chartview.h"
#include "ui/palette.h"

#include <QPolygonF>
#include <QRectF>

namespace kestrune {

// What stands where in a chart, in its own coordinates, without anything that paints.

struct ChartFrame
{
    QRectF head;   ///< the line of text at the top
    QRectF plot;   ///< prices
    QRectF volume; ///< empty where no candle has a volume
    QRectF notes;  ///< words of the labels, between the prices and their axis
    QRectF axis;
    QRectF times;

    [[nodiscard]] bool operator==(const ChartFrame &) const = default;
};

struct CandleMark
{
    double left; ///< of the body
    double width;
    double stem; ///< left edge of the wick, one device pixel wide
    double high, low, top, bottom;
    double volumeTop; ///< its foot stands on the volume's lower edge
    bool rising;

    [[nodiscard]] bool operator==(const CandleMark &) const = default;
};

struct BandMark
{
    QRectF rect;
    Tone tone;
    double weight;
    bool golden;
    bool picked;

    [[nodiscard]] bool operator==(const BandMark &) const = default;
};

struct CurveMark
{
    ChartLineKind kind;
    QPolygonF points;

    [[nodiscard]] bool operator==(const CurveMark &) const = default;
};

/// What is kept as a picture: it changes with the candles, the zones, the view and the size, seldom with a
/// tick.
struct ChartBase
{
    ChartFrame frame;
    PriceScale prices;
    TimeScale times;
    std::vector<CandleMark> candles; ///< the shown ones
    std::vector<BandMark> bands;     ///< as the zones
    std::vector<CurveMark> curves;
    std::vector<AxisMark> priceMarks;
    std::vector<AxisMark> timeMarks;
    std::vector<QPointF> beyond; ///< candles that reach out of the prices: where they leave
    QString message;

    [[nodiscard]] bool operator==(const ChartBase &) const = default;
};

/// A label at the right edge. Labels are moved apart; `anchor` is the height that they tell of.
struct ChartLabel
{
    enum class Look { words, live, dimmed };

    double anchor;
    double top; ///< of its line
    QString price;
    QString note;
    Tone tone;
    Look look = Look::words;
    bool golden = false;
    std::optional<std::size_t> zone = {};
};

/// A line of the plan, or the live price's.
struct LevelMark
{
    double y;
    Tone tone;
};

struct PlanText
{
    double top;
    QString text;
    Tone tone;
};

struct BellMark
{
    std::size_t bell; ///< of the content's
    double anchor;
    double top;
    QString text;
};

struct ChartScene
{
    ChartBase base;
    std::vector<ChartLabel> labels; ///< from the top down
    std::optional<LevelMark> price;
    std::vector<LevelMark> plan;
    double planX = 0; ///< of the bracket between entry, target and stop
    std::vector<PlanText> planTexts;
    std::vector<BellMark> bells;
};

inline constexpr double chartLabelHeight = 15; ///< of a label's line
inline constexpr double chartBellHeight = 18;

/// The scene of a chart of `size`; `scale` device pixels to a unit, on which edges are placed.
[[nodiscard]] ChartScene makeChartScene(const ChartContent &content, const OptionalChartView &view,
                                        const QSizeF &size, double scale);

/// Tops of lines of `height` whose wanted tops are given in rising order: none over another, none outside
/// `from` to `to` as far as there is room, and together moved as little as possible.
[[nodiscard]] std::vector<double> movedApart(std::vector<double> wanted, double height, double from,
                                             double to);

/// The candle that shows at `x`, the nearest one left and right of them; absent without candles.
[[nodiscard]] std::optional<std::size_t> candleAt(const ChartScene &scene, const ChartContent &content,
                                                  double x);
/// The band at a place: of several the narrowest.
[[nodiscard]] std::optional<std::size_t> bandAt(const ChartScene &scene, const QPointF &place);
[[nodiscard]] std::optional<std::size_t> bellAt(const ChartScene &scene, const QPointF &place);
/// The price that a click at `y` means, rounded to the instrument's decimals; absent outside the plot.
[[nodiscard]] std::optional<double> priceAt(const ChartScene &scene, const ChartContent &content, double y);

} // namespace kestrune
