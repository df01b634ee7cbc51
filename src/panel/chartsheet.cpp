// SPDX-License-Identifier: MIT
#include "panel/chartsheet.h"

#include "chart/chartwidget.h"
#include "panel/chartsource.h"
#include "ui/boxlayouts.h"
#include "ui/chip.h"
#include "ui/iconbutton.h"
#include "ui/textbutton.h"
#include "viewmodel/chartsize.h"
#include "viewmodel/planbannermodel.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int chartGap = 6;      // between panel and chart
constexpr int leastBeside = 480; // what is narrower rather covers the panel
constexpr int gripSide = 16;
constexpr int chipRowMargin = 8;

/// Lines are switched one by one, unlike the instruments.
class LineChip : public Chip
{
public:
    using Chip::Chip;
    [[nodiscard]] QAccessible::Role accessibleRole() const override { return QAccessible::CheckBox; }
};

} // namespace

/// The corner of the chart that its size is dragged by.
class ChartGrip : public QWidget
{
public:
    ChartGrip(std::function<void(const QPoint &)> dragged, std::function<void()> released, QWidget *parent)
        : QWidget(parent), m_dragged(std::move(dragged)), m_released(std::move(released))
    {
        setFixedSize(gripSide, gripSide);
    }

    void setLeft(bool left)
    {
        setCursor(left ? Qt::SizeBDiagCursor : Qt::SizeFDiagCursor);
        move(left ? 0 : parentWidget()->width() - gripSide, parentWidget()->height() - gripSide);
        raise();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(paletteOf(this).secondary, 1));
        const bool left = x() == 0;
        for (const int side : {5, 9})
            painter.drawLine(QPointF(left ? 3 : width() - 3, height() - 3 - side),
                             QPointF(left ? 3 + side : width() - 3 - side, height() - 3));
    }
    void mousePressEvent(QMouseEvent *event) override { event->accept(); }
    void mouseMoveEvent(QMouseEvent *event) override { m_dragged(event->globalPosition().toPoint()); }
    void mouseReleaseEvent(QMouseEvent *) override { m_released(); }

private:
    std::function<void(const QPoint &)> m_dragged;
    std::function<void()> m_released;
};

QRect chartPlace(const QRect &panel, const QSize &wanted, const QRect &screen)
{
    const int height = std::min(wanted.height(), screen.height());
    const int top = std::clamp(panel.top(), screen.top(), screen.top() + screen.height() - height);
    const int left = panel.left() - chartGap - screen.left();
    const int right = screen.left() + screen.width() - (panel.left() + panel.width() + chartGap);
    const int width = std::min(wanted.width(), std::max(left, right));
    if (width < std::min(wanted.width(), leastBeside)) {
        const int over = std::min(wanted.width(), screen.width());
        const int x = std::clamp(panel.left() + panel.width() - over, screen.left(),
                                 screen.left() + screen.width() - over);
        return {x, top, over, height};
    }
    const bool onLeft = left >= width;
    return {onLeft ? panel.left() - chartGap - width : panel.left() + panel.width() + chartGap, top, width,
            height};
}

ChartSheet::ChartSheet(const PanelContext &context, QWidget *panel)
    : QWidget(panel->window()), m_context(context), m_panel(panel), m_chart(new ChartWidget)
{
    setPalette(panel->palette());
    auto *column = columnIn(this, 0, {1, 1, 1, 1});
    auto *row = rowIn(nullptr, rowSpacing, {chipRowMargin, chipRowMargin, chipRowMargin, 2});
    for (const ChartLineChoice &choice : chartLineChoices()) {
        auto *chip = new LineChip(choice.label);
        connect(chip, &Chip::clicked, this, [&state = m_context.state, key = choice.key] {
            state.chartLines = withToggled(state.chartLines(), key);
        });
        m_chips.append(chip);
        row->addWidget(chip);
    }
    row->addStretch(1);
    auto *close = new IconButton(u"xmark"_s);
    close->setTip(u"关闭图表"_s);
    connect(close, &IconButton::clicked, this, &ChartSheet::leave);
    row->addWidget(close);
    column->addLayout(row);
    column->addWidget(m_chart, 1);
    column->addSpacing(2);

    AppState &state = m_context.state;
    connect(m_chart, &ChartWidget::zonePicked, this,
            [&state](double mid, const QString &type) { togglePickedZone(state, mid, type); });
    connect(m_chart, &ChartWidget::alertWanted, this, [&state](double price) { state.addAlert(price); });
    connect(m_chart, &ChartWidget::alertMoved, this,
            [&state](const QString &id, double price) { state.moveAlert(id, price); });
    m_grip = new ChartGrip([this](const QPoint &corner) { resizeTo(corner); },
                           [this] {
                               m_context.state.chartSize = QString::number(m_wanted.width()) + u'x' +
                                                           QString::number(m_wanted.height());
                           },
                           this);
    new FocusRing(this);
    QWidget *before = m_chart;
    for (Chip *chip : std::as_const(m_chips)) {
        setTabOrder(before, chip);
        before = chip;
    }
    setTabOrder(before, close);
}

ChartSheet::~ChartSheet() = default;

void ChartSheet::open()
{
    refresh();
    m_wanted = chartSizeFrom(m_context.state.chartSize()).value_or(usualChartSize);
    place(m_wanted);
    show();
    raise();
    m_chart->setFocus(Qt::OtherFocusReason);
}

void ChartSheet::refresh()
{
    setPalette(m_panel->palette());
    m_chart->setContent(chartContent(m_context.state));
    const auto choices = chartLineChoices();
    for (qsizetype i = 0; i < m_chips.size(); ++i)
        m_chips[i]->setChecked(isChosen(m_context.state.chartLines(), choices[std::size_t(i)].key));
}

// The keyboard goes back to no one, as before the chart, and not to what comes next.
void ChartSheet::leave()
{
    if (QWidget *focus = window()->focusWidget(); focus && isAncestorOf(focus))
        focus->clearFocus();
    hide();
}

void ChartSheet::place(const QSize &wanted)
{
    QWidget *window = m_panel->window();
    if (window == m_panel) {
        setGeometry(QRect({}, wanted.boundedTo(m_panel->size())));
        m_gripLeft = false;
        m_grip->setLeft(m_gripLeft);
        return;
    }
    const QRect panel(m_panel->mapToGlobal(QPoint()), m_panel->size());
    // Where windows do not know their place, and have no holes, the chart is on the right, where a window
    // grows by itself, and as high as the panel; as wide as a window that stands in the middle has room for.
    const bool knowsPlace = !QGuiApplication::platformName().startsWith(u"wayland");
    const QScreen *screen = window->screen();
    const QRect available = screen ? screen->availableGeometry() : panel;
    const int beside = std::max((available.width() - panel.width()) / 2 - chartGap, leastChartSize.width());
    const QRect chart = knowsPlace ? chartPlace(panel, wanted, available)
                                   : QRect(panel.left() + panel.width() + chartGap, panel.top(),
                                           std::min(wanted.width(), beside), panel.height());
    const QRect whole = panel.united(chart);
    const auto inWindow = [&whole](const QRect &rect) { return rect.translated(-whole.topLeft()); };
    const QRect inner = inWindow(panel);
    window->layout()->setContentsMargins(inner.left(), inner.top(),
                                         whole.width() - inner.left() - inner.width(),
                                         whole.height() - inner.top() - inner.height());
    window->setFixedSize(whole.size());
    if (knowsPlace) {
        window->move(whole.topLeft());
        window->setMask(QRegion(inner) + inWindow(chart));
    }
    setGeometry(inWindow(chart));
    m_gripLeft = chart.left() < panel.left();
    m_grip->setLeft(m_gripLeft);
}

void ChartSheet::giveRoomBack()
{
    QWidget *window = m_panel->window();
    if (window == m_panel)
        return;
    const QPoint corner = m_panel->mapToGlobal(QPoint());
    window->clearMask();
    window->layout()->setContentsMargins({});
    window->setFixedSize(m_panel->size());
    if (!QGuiApplication::platformName().startsWith(u"wayland"))
        window->move(corner);
}

void ChartSheet::paintEvent(QPaintEvent *)
{
    const Palette &palette = paletteOf(this);
    QPainter painter(this);
    painter.fillRect(rect(), palette.ground);
    painter.setPen(QPen(blended(palette.hairline, palette.ground), 1));
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

void ChartSheet::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        if (!m_chart->putBellBack())
            leave();
        return;
    }
    QWidget::keyPressEvent(event);
}

void ChartSheet::resizeTo(const QPoint &corner)
{
    const QPoint at = mapFromGlobal(corner);
    m_wanted = QSize(m_gripLeft ? width() - at.x() : at.x(), at.y()).expandedTo(leastChartSize);
    place(m_wanted);
}

void ChartSheet::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (event->spontaneous())
        return;
    giveRoomBack();
    Q_EMIT closed();
    deleteLater();
}

} // namespace kestrune
