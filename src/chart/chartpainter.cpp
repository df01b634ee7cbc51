// SPDX-License-Identifier: MIT
#include "chart/chartpainter.h"

#include "analysis/priceformat.h"
#include "chart/charttexts.h"
#include "ui/devicepixels.h"
#include "ui/icons.h"
#include "ui/roundedrect.h"
#include "ui/typography.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr double headMargin = 10;
constexpr double noteLead = 12;
constexpr double axisInset = 6;
constexpr double pillRadius = 3;
constexpr double curveWidth = 1;
constexpr double bellInset = 4;
constexpr double bellIconSide = 14;

QColor faded(QColor color, double alpha)
{
    color.setAlphaF(float(color.alphaF() * alpha));
    return color;
}

Tone candleTone(bool rising)
{
    return rising ? Tone::green : Tone::red;
}

Tone curveTone(ChartLineKind kind)
{
    switch (kind) {
    case ChartLineKind::ema50:
        return Tone::blue;
    case ChartLineKind::ema200:
        return Tone::purple;
    case ChartLineKind::vegasUp:
    case ChartLineKind::vegasDown:
        return Tone::teal;
    case ChartLineKind::vwap:
        break;
    }
    return Tone::pink;
}

/// In the middle of a line of `height`.
void drawWords(QPainter &painter, double x, double top, double height, const QString &text, TypeRole role,
               const QColor &color)
{
    painter.setPen(color);
    drawTextLine(painter, QPointF(x, top + (height - lineHeight(role)) / 2.0), text, role);
}

/// What the parts of the front are painted with.
struct FrontBrush
{
    QPainter &painter;
    const Palette &palette;
    ChartWords &kept;

    void words(double x, double top, double height, const QString &text, TypeRole role,
               const QColor &color) const
    {
        kept.draw(painter, QPointF(x, top + (height - lineHeight(role)) / 2.0), text, role, color);
    }
};

/// A line one device pixel thick.
void drawHairline(QPainter &painter, const QPointF &from, const QPointF &to, const QColor &color)
{
    const double pixel = 1 / deviceScale(painter);
    const bool flat = from.y() == to.y();
    painter.fillRect(QRectF(from, flat ? QSizeF(to.x() - from.x(), pixel) : QSizeF(pixel, to.y() - from.y())),
                     color);
}

/// A translucent rectangle in strips so low that the toolkit fills them at once instead of by threads.
void fillTranslucent(QPainter &painter, const QRectF &rect, const QColor &color)
{
    const double strip = std::floor(64 / deviceScale(painter));
    for (double y = rect.top(); y < rect.bottom(); y += strip)
        painter.fillRect(QRectF(rect.left(), y, rect.width(), std::min(strip, rect.bottom() - y)), color);
}

void drawDashes(QPainter &painter, const QPointF &from, double to, const QColor &color, double dash,
                double gap)
{
    const double pixel = 1 / deviceScale(painter);
    for (double x = from.x(); x < to; x += dash + gap)
        painter.fillRect(QRectF(x, from.y(), std::min(dash, to - x), pixel), color);
}

void paintGrid(QPainter &painter, const ChartBase &base, const Palette &palette)
{
    const ChartFrame &frame = base.frame;
    const QColor strong = blended(palette.hairline, palette.ground);
    const QColor faint = blended(faded(palette.hairline, 0.7), palette.ground);
    const double bottom = frame.times.top();
    for (const AxisMark &mark : base.priceMarks) {
        drawHairline(painter, {frame.plot.left(), mark.at}, {frame.plot.right(), mark.at}, faint);
        const double x = frame.axis.right() - axisInset - textWidth(mark.text, TypeRole::caption);
        drawWords(painter, x, mark.at - 8, 16, mark.text, TypeRole::caption, palette.secondary);
    }
    for (const AxisMark &mark : base.timeMarks) {
        drawHairline(painter, {mark.at, frame.plot.top()}, {mark.at, bottom}, mark.strong ? strong : faint);
        const TypeRole role = mark.strong ? TypeRole::captionBold : TypeRole::caption;
        const double x = mark.at - textWidth(mark.text, role) / 2.0;
        drawWords(painter, x, bottom, frame.times.height(), mark.text, role, palette.secondary);
    }
    drawHairline(painter, {0, bottom}, {frame.plot.right(), bottom}, strong);
    drawHairline(painter, {frame.plot.right(), frame.plot.top()}, {frame.plot.right(), bottom}, strong);
}

void paintBands(QPainter &painter, const ChartBase &base, const Palette &palette)
{
    const double pixel = 1 / deviceScale(painter);
    for (const BandMark &band : base.bands) {
        if (band.rect.isEmpty())
            continue;
        const QColor color = palette.shapeColor(band.tone);
        fillTranslucent(painter, band.rect,
                        faded(color, 0.12 + 0.22 * band.weight + (band.picked ? 0.12 : 0)));
        if (!band.golden && !band.picked)
            continue;
        const QColor edge = band.picked ? palette.accent : palette.shapeColor(Tone::orange);
        painter.fillRect(QRectF(band.rect.topLeft(), QSizeF(band.rect.width(), pixel)), edge);
        painter.fillRect(QRectF(band.rect.bottomLeft() - QPointF(0, pixel), QSizeF(band.rect.width(), pixel)),
                         edge);
        painter.fillRect(QRectF(band.rect.topLeft(), QSizeF(pixel, band.rect.height())), edge);
    }
}

// All in opaque colours: thousands of translucent pixels would be blended by the toolkit's threads, which
// takes longer.
void paintCandles(QPainter &painter, const ChartBase &base, const Palette &palette)
{
    const double pixel = 1 / deviceScale(painter);
    const double foot = base.frame.volume.bottom();
    for (const CandleMark &mark : base.candles) {
        const QColor color = palette.shapeColor(candleTone(mark.rising));
        const auto fill = [&](double x, double y, double width, double height) {
            painter.fillRect(QRectF(x, y, width, height), color);
        };
        if (mark.volumeTop < foot)
            painter.fillRect(QRectF(mark.left, mark.volumeTop, mark.width, foot - mark.volumeTop),
                             blended(faded(color, 0.45), palette.ground));
        const double height = mark.bottom - mark.top;
        fill(mark.stem, mark.high, pixel, mark.top - mark.high);
        fill(mark.stem, mark.bottom, pixel, mark.low - mark.bottom);
        if (!mark.rising || mark.width < 3 * pixel || height < 3 * pixel) {
            fill(mark.left, mark.top, mark.width, height);
            continue;
        }
        fill(mark.left, mark.top, pixel, height); // hollow
        fill(mark.left + mark.width - pixel, mark.top, pixel, height);
        fill(mark.left, mark.top, mark.width, pixel);
        fill(mark.left, mark.bottom - pixel, mark.width, pixel);
    }
    painter.setPen(Qt::NoPen);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(palette.color(Tone::secondary));
    for (const QPointF &place : base.beyond) {
        const double turn = place.y() == base.prices.top ? 1 : -1; // an arrow head out of the picture
        const QPointF corners[]{place + QPointF(0.5, 0), place + QPointF(-3.5, 5 * turn),
                                place + QPointF(4.5, 5 * turn)};
        painter.drawPolygon(corners, 3);
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void paintCurves(QPainter &painter, const ChartBase &base, const Palette &palette)
{
    const double pixel = 1 / deviceScale(painter);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const CurveMark &curve : base.curves) {
        // A line of one device pixel is drawn many times as fast as a wide one: as many as make it wide
        // enough.
        painter.setPen(QPen(palette.shapeColor(curveTone(curve.kind)), 0));
        for (double offset = 0; offset < curveWidth; offset += pixel)
            painter.drawPolyline(curve.points.translated(0, offset));
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void paintLabel(const ChartFrame &frame, const ChartLabel &label, bool lit, const FrontBrush &brush)
{
    QPainter &painter = brush.painter;
    const Palette &palette = brush.palette;
    const bool live = label.look == ChartLabel::Look::live;
    const bool words = label.look == ChartLabel::Look::words;
    const QColor color = words ? palette.color(label.tone) : live ? QColor(Qt::white) : palette.secondary;
    const double middle = label.top + chartLabelHeight / 2;
    const double pixel = 1 / deviceScale(painter);
    const QRectF price(frame.axis.left() + 1, label.top, frame.axis.width() - 3, chartLabelHeight);
    if (!words)
        fillRounded(painter, price, pillRadius, live ? palette.accentFill : palette.raised);
    else if (lit)
        fillRounded(painter,
                    QRectF(QPointF(frame.notes.left() + noteLead - 4, label.top), price.bottomRight()),
                    pillRadius, palette.accentSoft);
    const QColor line = words ? faded(color, 0.6) : palette.color(label.tone);
    painter.setPen(QPen(line, pixel));
    painter.setRenderHint(QPainter::Antialiasing, label.anchor != middle);
    const QPointF from(frame.plot.right(), label.anchor + pixel / 2);
    painter.drawLine(from, QPointF(frame.plot.right() + noteLead - 4, middle));
    painter.setRenderHint(QPainter::Antialiasing, false);
    if (!label.note.isEmpty()) {
        brush.words(frame.notes.left() + noteLead, label.top, chartLabelHeight, label.note, TypeRole::tag,
                    words && label.zone ? palette.secondary
                    : words             ? color
                                        : palette.color(Tone::text));
    }
    const double x = price.right() - axisInset + 2 - textWidth(label.price, TypeRole::captionBold);
    brush.words(x, label.top, chartLabelHeight, label.price, TypeRole::captionBold, color);
    if (label.golden) {
        painter.fillRect(QRectF(price.right() - axisInset + 4, label.top + 3, 2, chartLabelHeight - 6),
                         palette.shapeColor(Tone::orange));
    }
}

void paintPlan(const ChartScene &scene, const FrontBrush &brush)
{
    QPainter &painter = brush.painter;
    const Palette &palette = brush.palette;
    const QRectF &plot = scene.base.frame.plot;
    for (const LevelMark &level : scene.plan)
        drawDashes(painter, {plot.left(), level.y}, plot.right(), palette.shapeColor(level.tone), 6, 4);
    if (scene.planTexts.empty())
        return;
    // The bracket from the entry, the first level, to the others.
    const double entry = scene.plan.front().y;
    for (const LevelMark &level : scene.plan) {
        const QRectF bar(QPointF(scene.planX, std::min(entry, level.y)),
                         QPointF(scene.planX + 3, std::max(entry, level.y)));
        painter.fillRect(bar, palette.shapeColor(level.tone));
    }
    for (const PlanText &text : scene.planTexts) {
        const QRectF ground(scene.planX + 5, text.top, textWidth(text.text, TypeRole::tag) + 4,
                            chartLabelHeight);
        fillRounded(painter, ground, pillRadius, faded(palette.ground, 0.8));
        brush.words(ground.left() + 2, text.top, chartLabelHeight, text.text, TypeRole::tag,
                    palette.color(text.tone));
    }
}

void paintBell(const QRectF &plot, const BellMark &bell, bool fired, const FrontBrush &brush)
{
    QPainter &painter = brush.painter;
    const Palette &palette = brush.palette;
    const QColor color = fired ? palette.color(Tone::orange) : palette.color(Tone::text);
    const double width = bellInset + bellIconSide + 4 + textWidth(bell.text, TypeRole::tag);
    drawDashes(painter, {plot.left() + width + 6, bell.anchor}, plot.right(), faded(color, 0.5), 1, 5);
    fillRounded(painter, QRectF(plot.left() + 2, bell.top + 1, width + 2, chartBellHeight - 2), 4,
                faded(palette.raised, 0.9));
    drawIcon(painter, QRectF(plot.left() + bellInset, bell.top + 2, bellIconSide, bellIconSide),
             u"bell.fill"_s, color);
    brush.words(plot.left() + bellInset + bellIconSide + 2, bell.top, chartBellHeight, bell.text,
                TypeRole::tag, color);
}

void paintBells(const ChartScene &scene, const ChartContent &content, const ChartPointer &pointer,
                const FrontBrush &brush)
{
    QPainter &painter = brush.painter;
    const Palette &palette = brush.palette;
    const QRectF &plot = scene.base.frame.plot;
    for (const BellMark &bell : scene.bells) {
        if (pointer.bell != bell.bell)
            paintBell(plot, bell, content.bells[bell.bell].fired, brush);
    }
    if (pointer.bell && pointer.bellPrice) {
        const double y = scene.base.prices.y(*pointer.bellPrice);
        const BellMark moved{*pointer.bell, y, y - chartBellHeight / 2,
                             fmtP(*pointer.bellPrice, content.decimals)};
        drawHairline(painter, {plot.left(), y}, {plot.right(), y}, palette.accent);
        paintBell(plot, moved, false, brush);
    }
}

/// The line at the top: what is under the pointer, else what is shown, and at its end how old the zones are.
void paintHead(const ChartScene &scene, const ChartContent &content, const std::optional<std::size_t> &candle,
               const FrontBrush &brush)
{
    const Palette &palette = brush.palette;
    const QRectF &head = scene.base.frame.head;
    const double caveat = head.right() - headMargin - textWidth(content.zonesCaveat, TypeRole::caption);
    brush.words(caveat, head.top(), head.height(), content.zonesCaveat, TypeRole::caption,
                palette.color(Tone::orange));
    double x = headMargin;
    const auto say = [&](const QString &text, TypeRole role, const QColor &color) {
        const double end = x + textWidth(text, role);
        if (text.isEmpty() || end > caveat)
            return;
        brush.words(x, head.top(), head.height(), text, role, color);
        x = end + 10;
    };
    if (!candle || head.width() >= 640)
        say(content.title, TypeRole::captionBold, palette.text);
    const std::size_t told = candle.value_or(content.candles.size() - 1);
    const CandleWords words = candleWords(content, told);
    say(candleTime(content, told), TypeRole::caption, palette.secondary);
    say(words.prices, TypeRole::caption, candle ? palette.text : palette.secondary);
    say(words.change, TypeRole::caption, palette.color(words.tone));
    say(words.volume, TypeRole::caption, palette.secondary);
}

void paintPointer(const ChartScene &scene, const ChartContent &content, const ChartPointer &pointer,
                  const FrontBrush &brush)
{
    QPainter &painter = brush.painter;
    const Palette &palette = brush.palette;
    const ChartFrame &frame = scene.base.frame;
    const QColor line = faded(palette.secondary, 0.7);
    if (pointer.candle) {
        const double x = scene.base.times.x(double(*pointer.candle) + 0.5);
        for (double y = frame.plot.top(); y < frame.times.top(); y += 6)
            drawHairline(painter, {x, y}, {x, std::min(y + 3, frame.times.top())}, line);
        const QString text = candleTime(content, *pointer.candle);
        const double width = textWidth(text, TypeRole::caption) + 12;
        const QRectF pill(std::max(0.0, std::min(x - width / 2, frame.plot.right() - width)),
                          frame.times.top() + 2, width, 16);
        fillRounded(painter, pill, pillRadius, palette.raised);
        brush.words(pill.left() + 6, pill.top(), pill.height(), text, TypeRole::caption, palette.text);
    }
    if (pointer.y && !pointer.bell) {
        drawDashes(painter, {frame.plot.left(), *pointer.y}, frame.plot.right(), line, 3, 3);
        if (const auto price = priceAt(scene, content, *pointer.y)) {
            const QRectF pill(frame.axis.left() + 1, *pointer.y - 8, frame.axis.width() - 3, 16);
            fillRounded(painter, pill, pillRadius, blended(palette.veil(2), palette.raised));
            const QString text = fmtP(*price, content.decimals);
            brush.words(pill.right() - axisInset + 2 - textWidth(text, TypeRole::caption), pill.top(), 16,
                        text, TypeRole::caption, palette.text);
        }
    }
    if (pointer.zone) {
        const QString text = zoneWords(content, *pointer.zone);
        const QRectF pill(frame.plot.left() + 8, frame.plot.top() + 6,
                          textWidth(text, TypeRole::caption) + 16, 20);
        fillRounded(painter, pill, 4, palette.raised);
        brush.words(pill.left() + 8, pill.top(), pill.height(), text, TypeRole::caption,
                    palette.color(zoneTone(content.zones[*pointer.zone])));
    }
}

} // namespace

void ChartWords::draw(QPainter &painter, const QPointF &topLeft, const QString &text, TypeRole role,
                      const QColor &color)
{
    const double scale = deviceScale(painter);
    const auto look = (quint64(color.rgba()) << 32) | (quint64(std::lround(scale * 64)) << 8) | quint64(role);
    const std::pair key(look, text);
    const QImage *picture = m_pictures.object(key);
    if (picture) {
        drawPixelForPixel(painter, topLeft - QPointF(1, 1), *picture);
        return;
    }
    const QSizeF size(textWidth(text, role) + 2, lineHeight(role) + 2);
    QImage fresh((size * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    fresh.fill(Qt::transparent);
    {
        QPainter line(&fresh);
        line.scale(scale, scale);
        line.setPen(color);
        drawTextLine(line, {1, 1}, text, role);
    }
    drawPixelForPixel(painter, topLeft - QPointF(1, 1), fresh);
    m_pictures.insert(key, new QImage(fresh.copy())); // without its paint engine
}

void paintChartBase(QPainter &painter, const ChartBase &base, const QSizeF &size, const Palette &palette)
{
    painter.fillRect(QRectF({}, size), palette.ground);
    if (base.candles.empty()) {
        const double x = (size.width() - textWidth(base.message, TypeRole::body)) / 2;
        drawWords(painter, std::max(x, headMargin), 0, size.height(), base.message, TypeRole::body,
                  palette.secondary);
        return;
    }
    paintGrid(painter, base, palette);
    painter.save();
    painter.setClipRect(
        QRectF(base.frame.plot.topLeft(), QPointF(base.frame.plot.right(), base.frame.times.top())));
    paintBands(painter, base, palette);
    paintCandles(painter, base, palette);
    paintCurves(painter, base, palette);
    painter.restore();
}

void paintChartFront(QPainter &painter, const ChartScene &scene, const ChartContent &content,
                     const ChartPointer &pointer, const Palette &palette, ChartWords &words)
{
    if (scene.base.candles.empty())
        return;
    const ChartFrame &frame = scene.base.frame;
    const FrontBrush brush{painter, palette, words};
    if (pointer.zone)
        fillTranslucent(painter, scene.base.bands[*pointer.zone].rect, palette.veil(2));
    paintPlan(scene, brush);
    if (scene.price)
        drawDashes(painter, {frame.plot.left(), scene.price->y}, frame.plot.right(),
                   palette.color(scene.price->tone), 2, 2);
    for (const ChartLabel &label : scene.labels)
        paintLabel(frame, label, label.zone && label.zone == pointer.zone, brush);
    paintBells(scene, content, pointer, brush);
    paintHead(scene, content, pointer.candle, brush);
    paintPointer(scene, content, pointer, brush);
}

} // namespace kestrune
