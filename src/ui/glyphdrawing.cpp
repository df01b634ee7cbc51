// SPDX-License-Identifier: MIT
#include "ui/glyphdrawing.h"

#include "ui/devicepixels.h"

#include <QCache>
#include <QGlyphRun>
#include <QHash>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRawFont>
#include <QTextLayout>

#include <cmath>

namespace kestrune {

namespace {

constexpr int subpixelSteps = 4;
constexpr int glyphCacheLimit = 1536;

struct GlyphKey
{
    QString family;
    int weight;
    int pixelSize; ///< of the font, in 64ths
    int scale;     ///< of the painter, in 64ths
    int subpixel;  ///< of the glyph's origin, in steps to the right
    quint32 glyph;
    QRgb color;

    bool operator==(const GlyphKey &) const = default;
};

size_t qHash(const GlyphKey &key, size_t seed = 0)
{
    return qHashMulti(seed, key.family, key.weight, key.pixelSize, key.scale, key.subpixel, key.glyph,
                      key.color);
}

struct GlyphImage
{
    QImage image;
    QPoint bearing; ///< from the origin's pixel to the image's top left corner, device pixels
};

QString familyOf(const QRawFont &font)
{
    return font.familyName() + font.styleName();
}

/// A PostScript-flavoured font announces version 0.5 of the profile table, a TrueType one 1.0.
bool isPostScriptFlavoured(const QRawFont &font)
{
    static QHash<QString, bool> known; // as long as the fonts in use
    const QString name = familyOf(font);
    if (const auto it = known.constFind(name); it != known.cend())
        return *it;
    const bool result = font.fontTable("maxp").startsWith(QByteArrayView("\0\0\x50\0", 4));
    known.insert(name, result);
    return result;
}

GlyphImage renderGlyph(const QRawFont &font, const GlyphKey &key, double scale)
{
    QPainterPath outline = font.pathForGlyph(key.glyph);
    outline.setFillRule(Qt::WindingFill);
    QTransform toPixels = QTransform::fromScale(scale, scale);
    const double shift = static_cast<double>(key.subpixel) / subpixelSteps;
    const QRect bounds =
        toPixels.mapRect(outline.boundingRect()).translated(shift, 0).toAlignedRect().adjusted(-1, -1, 1, 1);
    QImage image(bounds.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(QPointF(shift, 0) - bounds.topLeft());
        painter.scale(scale, scale);
        painter.fillPath(outline, QColor::fromRgba(key.color));
    }
    // An image that was painted on keeps its paint engine, many times the size of a glyph's pixels.
    return {image.copy(), bounds.topLeft()};
}

GlyphImage cachedGlyph(const QRawFont &font, const GlyphKey &key, double scale)
{
    static QCache<GlyphKey, GlyphImage> cache(glyphCacheLimit);
    if (const GlyphImage *found = cache.object(key))
        return *found;
    GlyphImage glyph = renderGlyph(font, key, scale);
    cache.insert(key, new GlyphImage(glyph)); // the copies share the pixels
    return glyph;
}

void drawOutlineRun(QPainter &painter, const QGlyphRun &run, const QPointF &offset)
{
    const QTransform toDevice = painter.deviceTransform();
    const QTransform fromDevice = toDevice.inverted();
    const double scale = deviceScale(painter);
    const QRawFont font = run.rawFont();
    GlyphKey key{.family = familyOf(font),
                 .weight = font.weight(),
                 .pixelSize = static_cast<int>(std::lround(font.pixelSize() * 64)),
                 .scale = static_cast<int>(std::lround(scale * 64)),
                 .subpixel = 0,
                 .glyph = 0,
                 .color = painter.pen().color().rgba()};
    const QList<quint32> glyphs = run.glyphIndexes();
    const QList<QPointF> positions = run.positions();
    for (qsizetype i = 0; i < glyphs.size(); ++i) {
        const QPointF origin = toDevice.map(positions[i] + offset);
        const double steps = std::round(origin.x() * subpixelSteps);
        const double column = std::floor(steps / subpixelSteps);
        key.subpixel = static_cast<int>(steps - column * subpixelSteps);
        key.glyph = glyphs[i];
        const GlyphImage glyph = cachedGlyph(font, key, scale);
        const QPointF corner = QPointF(column, std::round(origin.y())) + glyph.bearing;
        drawPixelForPixel(painter, fromDevice.map(corner), glyph.image);
    }
}

bool hasIdeographs(const QString &text, const QTextLine &line)
{
    for (int i = line.textStart(); i < line.textStart() + line.textLength() && i < text.size(); ++i) {
        if (text[i].unicode() >= 0x2000)
            return true;
    }
    return false;
}

} // namespace

void drawGlyphs(QPainter &painter, const QTextLine &line, const QString &text, const QPointF &offset)
{
    const double scale = deviceScale(painter);
    const bool upright = painter.deviceTransform().type() <= QTransform::TxScale;
    // Plain Latin, the price of every tick, goes the toolkit's short way; so does what is too large to keep.
    if (!upright || scale > 8 || !hasIdeographs(text, line)) {
        line.draw(&painter, offset);
        return;
    }
    const QList<QGlyphRun> runs = line.glyphRuns();
    for (const QGlyphRun &run : runs) {
        if (isPostScriptFlavoured(run.rawFont()))
            drawOutlineRun(painter, run, offset);
        else
            painter.drawGlyphRun(offset, run);
    }
}

} // namespace kestrune
