// SPDX-License-Identifier: MIT
#include "chart/chartwidget.h"

#include "analysis/priceformat.h"
#include "chart/charttexts.h"
#include "ui/devicepixels.h"
#include "ui/menu.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr double notchFactor = 0.85; // of the candles that show, for a notch of the wheel
constexpr double notch = 120;
constexpr double touchNotch = 60; // pixels of a touch pad that zoom as much
constexpr double clickSlack = 4;
constexpr double panShare = 0.1;
constexpr double cursorStep = 2; // pixels

} // namespace

/// For screen readers: a row over each band, which paints nothing.
class ChartWidget::ZoneTable : public QWidget, public WithRole<QAccessible::Table>
{
    struct Row : public QWidget, public WithRole<QAccessible::Row>
    {
        using QWidget::QWidget;
    };

public:
    explicit ZoneTable(QWidget *parent) : QWidget(parent)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAccessibleName(u"撑压位"_s);
    }

    void fill(const ChartContent &content, const ChartScene &scene)
    {
        setGeometry(scene.base.frame.plot.toAlignedRect());
        while (m_rows.size() < content.zones.size()) {
            m_rows.push_back(new Row(this));
            m_rows.back()->show();
        }
        while (m_rows.size() > content.zones.size()) {
            delete m_rows.back();
            m_rows.pop_back();
        }
        for (std::size_t i = 0; i < m_rows.size() && i < scene.base.bands.size(); ++i) {
            m_rows[i]->setGeometry(scene.base.bands[i].rect.toAlignedRect().translated(-pos()));
            m_rows[i]->setAccessibleName(zoneWords(content, i));
        }
    }

private:
    std::vector<Row *> m_rows;
};

ChartWidget::ChartWidget(QWidget *parent) : QWidget(parent), m_table(new ZoneTable(this))
{
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(u"K线图"_s);
}

ChartWidget::~ChartWidget() = default;

QAccessibleInterface *ChartWidget::makeAccessible()
{
    return new QAccessibleWidget(this, QAccessible::Chart);
}

void ChartWidget::setContent(ChartContent content)
{
    m_view = kept(m_view, m_content.candles, content.candles);
    m_content = std::move(content);
    const auto moved = std::ranges::find(m_content.bells, m_bell, &ChartBell::id);
    if (moved == m_content.bells.end())
        putBellBack();
    changed();
    updateTexts();
}

void ChartWidget::light(double mid, const QString &type)
{
    m_litMid = mid;
    m_litType = type;
    update();
}

bool ChartWidget::putBellBack()
{
    if (!m_bellPrice)
        return false;
    m_bellPrice.reset();
    m_bell.clear();
    m_drag = Drag::none;
    update();
    return true;
}

const ChartScene &ChartWidget::scene()
{
    if (!m_scene)
        m_scene = makeChartScene(m_content, m_view, size(), devicePixelRatioF());
    return *m_scene;
}

void ChartWidget::setView(const OptionalChartView &view)
{
    if (view == m_view)
        return;
    m_view = view;
    changed();
}

void ChartWidget::changed()
{
    m_scene.reset();
    update();
}

// The zone at the pointer, else the one at the keyboard's price, else one that is pointed at elsewhere.
std::optional<std::size_t> ChartWidget::lit()
{
    if (m_drag == Drag::view || m_bellPrice)
        return std::nullopt;
    if (m_place)
        return bandAt(scene(), *m_place);
    const auto find = [this](const auto &wanted) -> std::optional<std::size_t> {
        const auto zone = std::ranges::find_if(m_content.zones, wanted);
        return zone == m_content.zones.end() ? std::nullopt
                                             : std::optional(std::size_t(zone - m_content.zones.begin()));
    };
    if (m_cursor)
        return find([this](const ChartZone &zone) { return zone.lo <= *m_cursor && *m_cursor <= zone.hi; });
    return find([this](const ChartZone &zone) { return zone.mid == m_litMid && zone.type == m_litType; });
}

ChartPointer ChartWidget::pointer()
{
    ChartPointer pointer;
    if (scene().base.candles.empty())
        return pointer;
    pointer.zone = lit();
    const QRectF &plot = scene().base.frame.plot;
    if (m_place && m_drag != Drag::view && m_place->x() <= plot.right()) {
        pointer.candle = candleAt(scene(), m_content, m_place->x());
        if (plot.contains(*m_place))
            pointer.y = m_place->y();
    } else if (m_cursor && !m_place) {
        pointer.y = scene().base.prices.y(*m_cursor);
    }
    if (m_bellPrice) {
        const auto bell = std::ranges::find(m_content.bells, m_bell, &ChartBell::id);
        pointer.bell = std::size_t(bell - m_content.bells.begin());
        pointer.bellPrice = m_bellPrice;
    }
    return pointer;
}

void ChartWidget::announceLit()
{
    const auto zone = m_place || m_cursor ? lit() : std::nullopt;
    const QString type = zone ? m_content.zones[*zone].type : QString();
    const double mid = zone ? m_content.zones[*zone].mid : 0;
    if (type == m_announced && mid == m_announcedMid)
        return;
    m_announced = type;
    m_announcedMid = mid;
    Q_EMIT zonePointed(mid, type);
}

void ChartWidget::pointAt(const std::optional<QPointF> &place)
{
    m_place = place;
    if (place)
        m_cursor.reset();
    announceLit();
    update();
}

bool ChartWidget::event(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        update();
    if (event->type() == QEvent::FocusOut && m_cursor && !m_bellPrice) {
        m_cursor.reset();
        announceLit();
        update();
    }
    return QWidget::event(event);
}

void ChartWidget::paintEvent(QPaintEvent *)
{
    const ChartScene &shown = scene();
    const Palette &palette = paletteOf(this);
    const double scale = devicePixelRatioF();
    const QSize pixels = (QSizeF(size()) * scale).toSize();
    if (m_layer.size() != pixels || m_layerDark != palette.dark || m_layerBase != shown.base) {
        if (m_layer.size() != pixels)
            m_layer = QImage(pixels, QImage::Format_RGB32);
        m_layer.setDevicePixelRatio(scale);
        QPainter painter(&m_layer);
        paintChartBase(painter, shown.base, size(), palette);
        m_layerBase = shown.base;
        m_layerDark = palette.dark;
    }
    QPainter painter(this);
    painter.drawImage(0, 0, m_layer);
    paintChartFront(painter, shown, m_content, pointer(), palette, m_words);
}

void ChartWidget::resizeEvent(QResizeEvent *)
{
    changed();
    updateTexts();
}

void ChartWidget::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        event->accept(); // nothing behind the chart is meant
        return;
    }
    pointAt(event->position());
    m_press = event->position();
    m_pressFirst = shownOf(m_view, m_content.candles.size()).first;
    m_drag = Drag::undecided;
    if (const auto bell = bellAt(scene(), m_press)) {
        m_drag = Drag::bell;
        m_bell = m_content.bells[*bell].id;
    }
}

void ChartWidget::mouseMoveEvent(QMouseEvent *event)
{
    const QPointF moved = event->position() - m_press;
    if (m_drag == Drag::undecided && std::abs(moved.x()) > clickSlack && m_view)
        m_drag = Drag::view;
    if (m_drag == Drag::view) {
        const ChartView shown = shownOf(m_view, m_content.candles.size());
        const double by = m_pressFirst - moved.x() / scene().base.times.pitch - shown.first;
        setView(panned(m_view, m_content.candles.size(), by));
    }
    if (m_drag == Drag::bell && (m_bellPrice || std::abs(moved.y()) > clickSlack))
        moveBell(event->position().y());
    pointAt(event->position());
    setCursor(m_drag == Drag::bell || bellAt(scene(), event->position()) ? Qt::SizeVerCursor
              : lit()                                                    ? Qt::PointingHandCursor
                                                                         : Qt::ArrowCursor);
}

void ChartWidget::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const Drag drag = std::exchange(m_drag, Drag::none);
    if (drag == Drag::bell) {
        putDownBell();
    } else if (drag == Drag::undecided && (event->position() - m_press).manhattanLength() <= clickSlack) {
        if (const auto zone = bandAt(scene(), event->position()))
            pick(*zone);
    }
    update();
}

void ChartWidget::mouseDoubleClickEvent(QMouseEvent *event)
{
    const QPointF place = event->position();
    if (event->button() != Qt::LeftButton || bandAt(scene(), place) || bellAt(scene(), place) ||
        place.x() > scene().base.frame.plot.right())
        return;
    if (const auto price = priceAt(scene(), m_content, place.y()))
        Q_EMIT alertWanted(*price);
}

void ChartWidget::leaveEvent(QEvent *)
{
    if (m_drag == Drag::none)
        pointAt(std::nullopt);
}

// Each event counts by its angle, so that fine wheels and touch pads are as smooth as their steps.
void ChartWidget::wheelEvent(QWheelEvent *event)
{
    event->accept();
    if (scene().base.candles.empty())
        return;
    const std::size_t count = m_content.candles.size();
    const bool touch = !event->pixelDelta().isNull();
    const QPointF delta = touch ? QPointF(event->pixelDelta()) : QPointF(event->angleDelta());
    const TimeScale &times = scene().base.times;
    if (std::abs(delta.x()) > std::abs(delta.y())) {
        const double pixels = touch ? delta.x() : delta.x() / notch * width() * panShare;
        setView(panned(m_view, count, -pixels / times.pitch));
    } else {
        const double factor = std::pow(notchFactor, delta.y() / (touch ? touchNotch : notch));
        setView(zoomed(m_view, count, factor, times.index(event->position().x())));
    }
    pointAt(event->position());
}

void ChartWidget::keyPressEvent(QKeyEvent *event)
{
    const std::size_t count = m_content.candles.size();
    const ChartView shown = shownOf(m_view, count);
    const bool fine = event->modifiers().testFlag(Qt::ShiftModifier) || m_bellPrice;
    switch (event->key()) {
    case Qt::Key_Left:
        setView(panned(m_view, count, -shown.count * panShare));
        break;
    case Qt::Key_Right:
        setView(panned(m_view, count, shown.count * panShare));
        break;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        setView(zoomed(m_view, count, notchFactor, shown.first + shown.count));
        break;
    case Qt::Key_Minus:
        setView(zoomed(m_view, count, 1 / notchFactor, shown.first + shown.count));
        break;
    case Qt::Key_Home:
        setView(std::nullopt);
        break;
    case Qt::Key_Up:
    case Qt::Key_Down: {
        const bool up = event->key() == Qt::Key_Up;
        fine ? goBy(up ? -cursorStep : cursorStep) : goToNext(up);
        break;
    }
    case Qt::Key_A:
        if (m_cursor && event->modifiers() == Qt::NoModifier)
            Q_EMIT alertWanted(*m_cursor);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (!event->isAutoRepeat())
            activate();
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    updateTexts();
}

void ChartWidget::contextMenuEvent(QContextMenuEvent *event)
{
    const auto price = event->reason() == QContextMenuEvent::Keyboard
                           ? m_cursor
                           : priceAt(scene(), m_content, event->pos().y());
    if (!price)
        return;
    QMenu *menu = makeMenu(this);
    connect(menu->addAction(u"在此价位设提醒 · "_s + fmtP(*price, m_content.decimals)), &QAction::triggered,
            this, [this, target = *price] { Q_EMIT alertWanted(target); });
    menu->popup(event->globalPos());
}

void ChartWidget::pick(std::size_t zone)
{
    Q_EMIT zonePicked(m_content.zones[zone].mid, m_content.zones[zone].type);
}

void ChartWidget::moveBell(double y)
{
    const PriceScale &prices = scene().base.prices;
    if (const auto price = priceAt(scene(), m_content, std::clamp(y, prices.top, prices.bottom)))
        m_bellPrice = price;
    update();
}

void ChartWidget::putDownBell()
{
    const auto price = std::exchange(m_bellPrice, std::nullopt);
    const QString id = std::exchange(m_bell, {});
    if (price)
        Q_EMIT alertMoved(id, *price);
    update();
}

// From one thing at a price to the next: zones and bells.
void ChartWidget::goToNext(bool up)
{
    const PriceScale &prices = scene().base.prices;
    const double from =
        m_cursor.value_or(m_content.price ? m_content.price->value : (prices.low + prices.high) / 2);
    std::optional<double> next;
    const auto take = [&](double price) {
        const bool beyond = up ? price > from : price < from;
        if (beyond && prices.holds(price) && (!next || (up ? price < *next : price > *next)))
            next = price;
    };
    for (const ChartZone &zone : m_content.zones)
        take(zone.mid);
    for (const ChartBell &bell : m_content.bells)
        take(bell.price);
    if (!next)
        return;
    m_cursor = next;
    m_place.reset();
    announceLit();
    update();
}

void ChartWidget::goBy(double pixels)
{
    const PriceScale &prices = scene().base.prices;
    const double from = m_bellPrice       ? *m_bellPrice
                        : m_cursor        ? *m_cursor
                        : m_content.price ? m_content.price->value
                                          : (prices.low + prices.high) / 2;
    const double y = std::clamp(prices.y(from) + pixels, prices.top, prices.bottom);
    m_place.reset();
    if (m_bellPrice)
        moveBell(y);
    if (const auto price = priceAt(scene(), m_content, y))
        m_cursor = price;
    announceLit();
    update();
}

void ChartWidget::activate()
{
    if (m_bellPrice) {
        putDownBell();
        return;
    }
    const auto bell =
        std::ranges::find_if(m_content.bells, [this](const ChartBell &b) { return m_cursor == b.price; });
    if (bell != m_content.bells.end()) {
        m_bell = bell->id;
        m_bellPrice = bell->price;
        update();
    } else if (const auto zone = m_cursor ? lit() : std::nullopt) {
        pick(*zone);
    }
}

void ChartWidget::updateTexts()
{
    setAccessibleDescription(chartDescription(m_content, m_view, m_cursor));
    m_table->fill(m_content, scene());
}

} // namespace kestrune
