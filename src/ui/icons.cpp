// SPDX-License-Identifier: MIT
#include "ui/icons.h"

#include "ui/devicepixels.h"

#include <QCache>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cmath>

// The initialiser is declared by a macro that has to stand outside every namespace.
static void initIconResource()
{
    Q_INIT_RESOURCE(icons);
}

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int iconCacheLimit = 160;

struct IconKey
{
    QString name;
    QRgb color;
    int side; ///< device pixels

    bool operator==(const IconKey &) const = default;
};

size_t qHash(const IconKey &key, size_t seed = 0)
{
    return qHashMulti(seed, key.name, key.color, key.side);
}

QString iconPath(const QString &name)
{
    static const bool initialised = (initIconResource(), true);
    Q_UNUSED(initialised)
    return u":/kestrune/icons/"_s + name + u".svg"_s;
}

/// The drawing's black keeps and its white cuts out, so a pixel's coverage is its alpha less its whiteness.
QImage renderIcon(const IconKey &key)
{
    if (!hasIcon(key.name))
        return {};
    QSvgRenderer renderer(iconPath(key.name));
    QImage image(key.side, key.side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(0, 0, key.side, key.side));
    }
    const int opacity = qAlpha(key.color);
    for (int y = 0; y < key.side; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < key.side; ++x) {
            const int coverage = (qAlpha(line[x]) - qRed(line[x])) * opacity / 255;
            line[x] = qPremultiply(qRgba(qRed(key.color), qGreen(key.color), qBlue(key.color), coverage));
        }
    }
    return image;
}

QImage cachedIcon(const IconKey &key)
{
    static QCache<IconKey, QImage> cache(iconCacheLimit);
    if (const QImage *found = cache.object(key))
        return *found;
    QImage image = renderIcon(key).copy(); // without the paint engine, larger than the pixels
    cache.insert(key, new QImage(image));  // the copies share the pixels
    return image;
}

} // namespace

bool hasIcon(const QString &name)
{
    return !name.isEmpty() && QFile::exists(iconPath(name));
}

void drawIcon(QPainter &painter, const QRectF &square, const QString &name, const QColor &color)
{
    const int side = static_cast<int>(std::lround(square.width() * deviceScale(painter)));
    if (side >= 1 && side <= 1024)
        drawPixelForPixel(painter, square.topLeft(), cachedIcon({name, color.rgba(), side}));
}

} // namespace kestrune
