// SPDX-License-Identifier: MIT
#include "statusbar/statusimage.h"

#include "analysis/priceformat.h"
#include "statusbar/pixelshapes.h"
#include "ui/devicepixels.h"
#include "ui/glyphdrawing.h"
#include "ui/typography.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
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

constexpr double cellBottom = 2;
constexpr double cellHeight = 18;
constexpr double cellPadding = 10; // both sides together
constexpr double cellGap = 3;

/// The platform's green, red and orange as they read best on the bar's ground.
struct SignalColors
{
    QColor green, red, orange;
};

const SignalColors &signalColors(bool dark)
{
    static const SignalColors onDark{0x32D15B, 0xFF5A50, 0xFF9F0A};
    static const SignalColors onLight{0x17803A, 0xC9281E, 0xA85800};
    return dark ? onDark : onLight;
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

/// A shaped line of text: measured and drawn without shaping it twice.
class ShapedText
{
public:
    ShapedText(const QString &text, const TextStyle &style) : m_style(style), m_layout(text, style.font)
    {
        QTextOption option;
        option.setWrapMode(QTextOption::NoWrap);
        m_layout.setTextOption(option);
        m_layout.beginLayout();
        m_line = m_layout.createLine();
        if (m_line.isValid())
            m_line.setLineWidth(std::numeric_limits<int>::max());
        m_layout.endLayout();
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
    const ShapedText text(content.text, textStyle(textSize, QFont::Medium, scale));
    StatusPicture picture{{}, widthOf(content, text.width() / scale)};
    picture.image = emptyImage(picture.width, scale);
    // deliberate: the bell is composited onto a picture that is still empty there and leaves no mark, so
    // only its room is kept; the shift and the blinking text are what shows an alert.
    const double x = sideMargin + bellSpace(content);
    const QRectF dot(x, statusHeight - dotBottom - dotSide, dotSide, dotSide);
    fillRoundedRect(picture.image, QRectF(dot.topLeft() * scale, dot.size() * scale), dotSide * scale / 2,
                    statusDotColor(content));
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

struct BlingCell
{
    BlingCell(const QString &text, const TextStyle &style, const QString &itemSymbol)
        : label(text, style), symbol(itemSymbol)
    {}

    ShapedText label;
    QString symbol;
    QRectF rect; ///< points, y downward
};

std::deque<BlingCell> layOutCells(const std::vector<BlingItem> &items, double scale)
{
    const TextStyle &style = textStyle(blingTextSize, QFont::Bold, scale);
    std::deque<BlingCell> cells; // a text layout cannot be moved
    double x = 0;
    for (const BlingItem &item : items) {
        BlingCell &cell = cells.emplace_back(blingLabel(item), style, item.symbol);
        const double width = cell.label.width() / scale + cellPadding;
        cell.rect = {x, statusHeight - cellBottom - cellHeight, width, cellHeight};
        x += width + cellGap;
    }
    return cells;
}

StatusPicture renderBling(const std::vector<BlingItem> &given, int pulse, double scale)
{
    const std::deque<BlingCell> cells = layOutCells(withDefaults(given), scale);
    StatusPicture picture{{}, cells.back().rect.right()};
    picture.image = emptyImage(picture.width, scale);
    const auto inPixels = [scale](const QRectF &rect) {
        return QRectF(rect.topLeft() * scale, rect.size() * scale);
    };
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const QRectF &rect = cells[i].rect;
        const Rgb &color = blingColor(cells[i].symbol, i);
        const double t = (std::sin(1.2 * pulse + 1.25 * static_cast<double>(i)) + 1) / 2;
        strokeRoundedRect(picture.image, inPixels(rect.adjusted(-1.5, -1.5, 1.5, 1.5)), 6.5 * scale,
                          1.5 * scale, toColor(color, 1, 0.35, 0.25 + 0.6 * t));
        fillRoundedRect(picture.image, inPixels(rect), 5 * scale, toColor(color, 0.45 + 0.55 * t, 0, 1));
    }
    QPainter painter(&picture.image);
    painter.setPen(Qt::white);
    for (const BlingCell &cell : cells) {
        const QPointF center = cell.rect.center() * scale;
        const QPointF size(cell.label.width(), cell.label.height());
        cell.label.draw(painter, center - size / 2 + QPointF(0, scale)); // one point below the middle
    }
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
    if (content.signal == BarSignal::neutral)
        return content.dark ? Qt::white : Qt::black;
    return statusDotColor(content);
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
    return widthOf(content,
                   ShapedText(content.text, textStyle(textSize, QFont::Medium, scale)).width() / scale);
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

} // namespace kestrune
