// SPDX-License-Identifier: MIT
#include "statusbar/statusimage.h"

#include "analysis/priceformat.h"
#include "statusbar/pixelshapes.h"
#include "ui/devicepixels.h"
#include "ui/glyphdrawing.h"
#include "ui/icons.h"
#include "ui/palette.h"
#include "ui/typography.h"
#include "viewmodel/signalcolors.h"

#include <QCache>
#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr double pictureScale = 2;
constexpr double textSize = 13; // points
constexpr double blingTextSize = 10.5;

constexpr double sideMargin = 3;
constexpr double dotSide = 8;
constexpr double dotBottom = 7;
constexpr double dotGap = 4;
constexpr double bellWidth = 14;
constexpr double bellGap = 4;
constexpr double countBellSide = 12; // of the bell that counts
constexpr double countGap = 2;
constexpr double countSize = 11;

constexpr double cellBottom = 2;
constexpr double cellHeight = 18;
constexpr double cellPadding = 10; // both sides together
constexpr double cellGap = 3;
constexpr double outlineShare = 0.3; // of the sign's colour, around its text
constexpr double offShare = 0.22;    // of it, the body of a sign that is switched off
constexpr int labelCacheLimit = 24;

const QColor &secondaryColor(bool dark)
{
    return (dark ? darkPalette() : lightPalette()).secondary;
}

const SignalColors &signalColors(bool dark)
{
    return dark ? signalsOnDark : signalsOnLight;
}

/// Font and line box at a scale, made once per scale.
struct TextStyle
{
    QFont font;
    double height = 0; // of the line box, pixels
    double ascent = 0;

    TextStyle(double points, QFont::Weight weight, double scale)
        : font(uiFont(std::max(static_cast<int>(std::lround(points * scale)), 1), weight))
    {
        const QFontMetricsF metrics(font);
        height = metrics.height();
        ascent = metrics.ascent();
    }
};

const TextStyle &textStyle(double points, QFont::Weight weight, double scale)
{
    static std::map<std::pair<int, int>, TextStyle> styles;
    const std::pair key(static_cast<int>(std::lround(points * scale)), static_cast<int>(weight));
    if (const auto it = styles.find(key); it != styles.end())
        return it->second;
    if (styles.size() >= 16) // a few screens' scales, not every one that a fractional zoom passes through
        styles.clear();
    return styles.emplace(key, TextStyle(points, weight, scale)).first->second;
}

/// A shaped line of text: measured and drawn without shaping it twice. One wider than `maximum` pixels loses
/// its middle, so that name and age stay.
class ShapedText
{
public:
    ShapedText(const QString &text, const TextStyle &style, double maximum)
        : m_style(style), m_layout(text, style.font)
    {
        QTextOption option;
        option.setWrapMode(QTextOption::NoWrap);
        m_layout.setTextOption(option);
        shape();
        if (width() > maximum) {
            m_layout.setText(QFontMetricsF(style.font).elidedText(text, Qt::ElideMiddle, maximum));
            shape();
        }
    }

    [[nodiscard]] double width() const { return m_line.isValid() ? m_line.horizontalAdvance() : 0; }
    [[nodiscard]] double height() const { return m_style.height; }
    /// With the top left corner of its line box at `topLeft`, in the painter's pen.
    void draw(QPainter &painter, const QPointF &topLeft) const
    {
        if (m_line.isValid())
            drawGlyphs(painter, m_line, m_layout.text(),
                       topLeft + QPointF(0, m_style.ascent - m_line.ascent()));
    }

private:
    void shape()
    {
        m_layout.beginLayout();
        m_line = m_layout.createLine();
        if (m_line.isValid())
            m_line.setLineWidth(std::numeric_limits<int>::max());
        m_layout.endLayout();
    }

    const TextStyle &m_style;
    QTextLayout m_layout;
    QTextLine m_line;
};

double bellSpace(const StatusContent &content)
{
    return content.alertActive ? bellWidth + bellGap : 0;
}

double widthOf(const StatusContent &content, double textWidth)
{
    return sideMargin + bellSpace(content) + dotSide + dotGap + textWidth + sideMargin;
}

ShapedText shapedText(const StatusContent &content, double scale)
{
    return {content.text, textStyle(textSize, QFont::Medium, scale),
            (maximumStatusWidth - widthOf(content, 0)) * scale};
}

QImage emptyImage(double width, double scale)
{
    QImage image(std::max(1, static_cast<int>(width * scale)),
                 std::max(1, static_cast<int>(std::lround(statusHeight * scale))),
                 QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

/// Lower edge of the text's line box, points upward.
double textBottom(const StatusContent &content, double height)
{
    double bottom = (statusHeight - height) / 2;
    if (content.align == VAlign::top)
        bottom = 1; // deliberate: the lower edge, although the case is called top
    else if (content.align == VAlign::bottom)
        bottom = statusHeight - height - 1;
    return bottom - content.baselineShift;
}

StatusPicture renderStatus(const StatusContent &content, double scale)
{
    const ShapedText text = shapedText(content, scale);
    StatusPicture picture{{}, widthOf(content, text.width() / scale)};
    picture.image = emptyImage(picture.width, scale);
    // deliberate: the bell is composited onto a picture that is still empty there and leaves no mark, so
    // only its room is kept; the shift and the blinking text are what shows an alert.
    const double x = sideMargin + bellSpace(content);
    const QRectF dot(x, statusHeight - dotBottom - dotSide, dotSide, dotSide);
    drawStatusDot(picture.image, QRectF(dot.topLeft() * scale, dot.size() * scale), statusDotColor(content),
                  content.dimmed);
    if (content.text.isEmpty())
        return picture;
    const double height = text.height() / scale;
    const double top = statusHeight - textBottom(content, height) - height;
    QPainter painter(&picture.image);
    painter.setPen(statusTextColor(content));
    text.draw(painter, QPointF(x + dotSide + dotGap, top) * scale);
    return picture;
}

using Rgb = std::array<double, 3>;

constexpr std::array<Rgb, 8> blingPalette{{{1.0, 0.58, 0.0},
                                           {0.72, 0.36, 0.95},
                                           {0.0, 0.8, 0.7},
                                           {1.0, 0.8, 0.0},
                                           {0.0, 0.58, 1.0},
                                           {1.0, 0.25, 0.4},
                                           {0.15, 0.4, 0.95},
                                           {0.45, 0.3, 0.95}}};

const std::array<QString, 8> &greatCoins()
{
    static const std::array<QString, 8> symbols{u"BTC"_s, u"ETH"_s,  u"SOL"_s, u"BNB"_s,
                                                u"XRP"_s, u"DOGE"_s, u"ADA"_s, u"LINK"_s};
    return symbols;
}

const Rgb &blingColor(const QString &symbol, std::size_t index)
{
    const auto &coins = greatCoins();
    const auto it = std::find(coins.begin(), coins.end(), symbol);
    const std::size_t own = it != coins.end() ? static_cast<std::size_t>(it - coins.begin()) : index;
    return blingPalette[own % blingPalette.size()];
}

QColor toColor(const Rgb &rgb, double factor, double raise, double alpha)
{
    const auto channel = [=](double value) {
        return static_cast<float>(std::min(value * factor + raise, 1.0));
    };
    return QColor::fromRgbF(channel(rgb[0]), channel(rgb[1]), channel(rgb[2]), static_cast<float>(alpha));
}

std::vector<BlingItem> withDefaults(const std::vector<BlingItem> &items)
{
    if (!items.empty())
        return items;
    std::vector<BlingItem> coins;
    for (const QString &symbol : greatCoins())
        coins.push_back({symbol, std::nullopt, std::nullopt});
    return coins;
}

/// The finished text of a sign; it outlasts many pulses, which change only what is beneath it.
struct SignLabel
{
    QImage image;
    double width = 0; ///< of the text, pixels
};

struct SignLabelKey
{
    QString text;
    QRgb outline;
    bool dimmed;
    int scale; ///< in 64ths

    bool operator==(const SignLabelKey &) const = default;
};

size_t qHash(const SignLabelKey &key, size_t seed = 0)
{
    return qHashMulti(seed, key.text, key.outline, key.dimmed, key.scale);
}

/// White inside a dark outline of the sign's own hue: the signs themselves are too bright for white.
SignLabel renderLabel(const SignLabelKey &key, double scale)
{
    const ShapedText text(key.text, textStyle(blingTextSize, QFont::Bold, scale),
                          (maximumSignWidth - cellPadding) * scale);
    const double reach = std::max(std::round(scale), 1.0);
    const double slant = std::max(std::round(scale * 0.7), 1.0);
    SignLabel label{{}, text.width()};
    label.image =
        QImage(static_cast<int>(std::ceil(text.width() + 2 * reach)),
               static_cast<int>(std::ceil(text.height() + 2 * reach)), QImage::Format_ARGB32_Premultiplied);
    label.image.fill(Qt::transparent);
    {
        QPainter painter(&label.image);
        painter.setPen(QColor::fromRgb(key.outline));
        for (int x = -1; x <= 1; ++x) {
            for (int y = -1; y <= 1; ++y)
                text.draw(painter, QPointF(reach, reach) + QPointF(x, y) * (x && y ? slant : reach));
        }
        painter.setPen(key.dimmed ? secondaryColor(true) : Qt::white);
        text.draw(painter, {reach, reach});
    }
    label.image = label.image.copy(); // without the paint engine, larger than the pixels
    return label;
}

SignLabel cachedLabel(const SignLabelKey &key, double scale)
{
    static QCache<SignLabelKey, SignLabel> cache(labelCacheLimit);
    if (const SignLabel *found = cache.object(key))
        return *found;
    SignLabel label = renderLabel(key, scale);
    cache.insert(key, new SignLabel(label)); // the copies share the pixels
    return label;
}

struct BlingCell
{
    SignLabel label;
    Rgb color;
    bool dimmed;
    QRectF rect; ///< points, y downward
};

std::vector<BlingCell> layOutCells(const std::vector<BlingItem> &items, double scale)
{
    std::vector<BlingCell> cells;
    cells.reserve(items.size());
    double x = 0;
    for (const BlingItem &item : items) {
        const Rgb &color = blingColor(item.symbol, cells.size());
        SignLabel label = cachedLabel({blingLabel(item), toColor(color, outlineShare, 0, 1).rgb(),
                                       item.dimmed, static_cast<int>(std::lround(scale * 64))},
                                      scale);
        const double width = label.width / scale + cellPadding;
        cells.push_back({std::move(label),
                         color,
                         item.dimmed,
                         {x, statusHeight - cellBottom - cellHeight, width, cellHeight}});
        x += width + cellGap;
    }
    return cells;
}

StatusPicture renderBling(const std::vector<BlingItem> &given, int pulse, double scale)
{
    const std::vector<BlingCell> cells = layOutCells(withDefaults(given), scale);
    StatusPicture picture{{}, cells.back().rect.right()};
    picture.image = emptyImage(picture.width, scale);
    const auto inPixels = [scale](const QRectF &rect) {
        return QRectF(rect.topLeft() * scale, rect.size() * scale);
    };
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const auto &[label, color, dimmed, rect] = cells[i];
        const double t = (std::sin(1.2 * pulse + 1.25 * static_cast<double>(i)) + 1) / 2;
        if (!dimmed)
            strokeRoundedRect(picture.image, inPixels(rect.adjusted(-1.5, -1.5, 1.5, 1.5)), 6.5 * scale,
                              1.5 * scale, toColor(color, 1, 0.35, 0.25 + 0.6 * t));
        fillRoundedRect(picture.image, inPixels(rect), 5 * scale,
                        toColor(color, dimmed ? offShare : 0.45 + 0.55 * t, 0, 1));
    }
    QPainter painter(&picture.image);
    for (const BlingCell &cell : cells) {
        const QPointF center = cell.rect.center() * scale + QPointF(0, scale); // one point below the middle
        const QSizeF size(cell.label.image.size());
        painter.drawImage((center - QPointF(size.width(), size.height()) / 2).toPoint(), cell.label.image);
    }
    return picture;
}

StatusPicture renderAlertBell(int count, bool dark, double scale)
{
    constexpr int mostCounted = 99;
    constexpr double lead = bellGap;
    const ShapedText number(count > mostCounted ? u"99+"_s : QString::number(count),
                            textStyle(countSize, QFont::DemiBold, scale), maximumStatusWidth * scale);
    const double textLeft = lead + countBellSide + countGap;
    StatusPicture picture{{}, textLeft + number.width() / scale + sideMargin};
    picture.image = emptyImage(picture.width, scale);
    const QColor &orange = signalColors(dark).orange;
    QPainter painter(&picture.image);
    drawIcon(painter,
             QRectF(lead * scale, (statusHeight - countBellSide) / 2 * scale, countBellSide * scale,
                    countBellSide * scale),
             u"bell.fill"_s, orange);
    painter.setPen(orange);
    number.draw(painter, {textLeft * scale, (statusHeight * scale - number.height()) / 2});
    return picture;
}

/// The painter's scale within what a screen can have.
double screenScale(const QPainter &painter)
{
    return std::clamp(deviceScale(painter), 0.1, 16.0);
}

StatusPicture finished(StatusPicture picture)
{
    picture.image.setDevicePixelRatio(pictureScale);
    return picture;
}

} // namespace

StatusPicture makeStatusBarImage(const StatusContent &content)
{
    return finished(renderStatus(content, pictureScale));
}

StatusPicture makeBlingStatusBarImage(const std::vector<BlingItem> &items, int pulse)
{
    return finished(renderBling(items, pulse, pictureScale));
}

QColor statusDotColor(const StatusContent &content)
{
    if (content.dimmed)
        return secondaryColor(content.dark);
    switch (content.signal) {
    case BarSignal::buy:
        return signalColors(content.dark).green;
    case BarSignal::sell:
        return signalColors(content.dark).red;
    case BarSignal::neutral:
        break;
    }
    return {128, 128, 128};
}

QColor statusTextColor(const StatusContent &content)
{
    if (content.alertActive && content.pulse % 2 == 0)
        return signalColors(content.dark).orange;
    if (content.signal == BarSignal::neutral && !content.dimmed)
        return content.dark ? Qt::white : Qt::black;
    return statusDotColor(content);
}

void drawStatusDot(QImage &image, const QRectF &square, const QColor &color, bool dimmed)
{
    const double radius = square.width() / 2;
    if (!dimmed) {
        fillRoundedRect(image, square, radius, color);
        return;
    }
    const double line = radius * 3 / 8;
    const double inset = line / 2;
    strokeRoundedRect(image, square.adjusted(inset, inset, -inset, -inset), radius - inset, line, color);
}

QString blingLabel(const BlingItem &item)
{
    QString label = item.symbol;
    if (item.changePct)
        label += *item.changePct < 0 ? u" ▼"_s : u" ▲"_s;
    else
        label += u' ';
    label += item.price ? fmtP(*item.price, getDecimals(*item.price)) : u"--"_s;
    return label;
}

double statusWidth(const StatusContent &content, double scale)
{
    return widthOf(content, shapedText(content, scale).width() / scale);
}

void paintStatus(QPainter &painter, const QPointF &origin, const StatusContent &content)
{
    drawPixelForPixel(painter, origin, renderStatus(content, screenScale(painter)).image);
}

double blingStatusWidth(const std::vector<BlingItem> &items, double scale)
{
    return layOutCells(withDefaults(items), scale).back().rect.right();
}

void paintBlingStatus(QPainter &painter, const QPointF &origin, const std::vector<BlingItem> &items,
                      int pulse)
{
    drawPixelForPixel(painter, origin, renderBling(items, pulse, screenScale(painter)).image);
}

StatusPicture makeAlertBell(int count, bool dark, double scale)
{
    StatusPicture picture = renderAlertBell(count, dark, scale);
    picture.image.setDevicePixelRatio(scale);
    return picture;
}

void paintAlertBell(QPainter &painter, const QPointF &origin, int count, bool dark)
{
    drawPixelForPixel(painter, origin, renderAlertBell(count, dark, screenScale(painter)).image);
}

} // namespace kestrune
