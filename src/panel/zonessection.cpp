// SPDX-License-Identifier: MIT
#include "panel/zonessection.h"

#include "analysis/priceformat.h"
#include "panel/planbanner.h"
#include "panel/zonelist.h"
#include "panel/zonerow.h"
#include "ui/boxlayouts.h"
#include "ui/iconbutton.h"
#include "ui/menu.h"
#include "ui/roundedrect.h"
#include "ui/spinner.h"
#include "ui/textbutton.h"
#include "ui/textlabel.h"
#include "viewmodel/planbannermodel.h"
#include "viewmodel/standingtexts.h"
#include "viewmodel/zonelisting.h"

#include <QMenu>
#include <QPainter>

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int priceLineHeight = 28;
constexpr int spinnerSide = 14;

/// The raised ground of the price line.
class RaisedBar : public QWidget
{
protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        fillRounded(painter, rect(), 6, paletteOf(this).raised);
    }
};

QWidget *makeSpinnerWithText()
{
    auto *row = new QWidget;
    auto *line = rowIn(row, blockSpacing);
    auto *spinner = new Spinner;
    spinner->setFixedSize(spinnerSide, spinnerSide);
    line->addWidget(spinner);
    line->addWidget(new TextLabel(u"加载撑压位…"_s, TypeRole::caption, Tone::secondary));
    line->addStretch(1);
    return row;
}

void showOrHide(TextLabel *label, const QString &text)
{
    label->setText(text);
    label->setVisible(!text.isEmpty());
}

} // namespace

ZonesSection::ZonesSection(const PanelContext &context, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_resistances(new ZoneList)
    , m_supports(new ZoneList)
    , m_noResistances(new TextLabel(u"无"_s, TypeRole::caption, Tone::secondary))
    , m_noSupports(new TextLabel(u"无"_s, TypeRole::caption, Tone::secondary))
    , m_core(new QWidget)
    , m_empty(new TextButton(u"暂无撑压数据，点击刷新"_s))
    , m_noticeBox(new QWidget)
    , m_planNotice(new TextLabel({}, TypeRole::caption, Tone::secondary))
    , m_banner(new PlanBanner)
{
    auto *column = columnIn(this, blockSpacing);
    const auto addPart = [column](int sideMargin) {
        auto *part = columnIn(nullptr, blockSpacing, {sideMargin, 0, sideMargin, 0});
        column->addLayout(part);
        return part;
    };
    auto *top = addPart(panelMargin);
    top->addWidget(new TextLabel(u"阻力"_s, TypeRole::section, Tone::red));
    top->addWidget(m_noResistances);
    addPart(panelMargin - ZoneRow::overhang)->addWidget(m_resistances);

    m_empty->setIconName(u"arrow.clockwise"_s);
    m_planNotice->setWrap(true);
    auto *between = addPart(panelMargin);
    between->addWidget(makeLoadingRow());
    between->addWidget(m_empty, 0, Qt::AlignHCenter);
    columnIn(m_noticeBox, 2);
    between->addWidget(m_noticeBox);
    auto *core = columnIn(m_core, blockSpacing);
    core->addWidget(makePriceLine());
    core->addWidget(m_planNotice);
    core->addWidget(m_banner);
    between->addWidget(m_core);
    between->addWidget(new TextLabel(u"支撑"_s, TypeRole::section, Tone::green));
    between->addWidget(m_noSupports);
    addPart(panelMargin - ZoneRow::overhang)->addWidget(m_supports);
    column->addStretch(1); // takes what a kept height leaves over

    connectList(m_resistances);
    connectList(m_supports);
    connect(m_empty, &TextButton::clicked, this, &ZonesSection::refreshRequested);
    connect(m_chart, &IconButton::clicked, this, &ZonesSection::openChart);
    connect(m_banner, &PlanBanner::closeRequested, this,
            [&state = m_context.state] { clearPickedZone(state); });
    connect(m_banner, &PlanBanner::alertsRequested, this, [this] {
        if (const auto model = planBannerModel(m_context.state); model && model->plan)
            m_context.state.addPlanAlerts(*model->plan);
    });
    m_banner->hide();
}

QWidget *ZonesSection::makeLoadingRow()
{
    m_loadingRow = makeSpinnerWithText();
    m_loadingRow->setFixedHeight(TextButton(u"…"_s).sizeHint().height()); // as high as what replaces it
    m_loadingRow->hide();
    return m_loadingRow;
}

QWidget *ZonesSection::makePriceLine()
{
    auto *bar = new RaisedBar;
    bar->setFixedHeight(priceLineHeight);
    auto *line = rowIn(bar, 4, {rowSpacing, 0, 2, 0});
    m_price = new TextLabel(TypeRole::bodyBold);
    m_loadingHint = makeSpinnerWithText();
    m_loadingHint->hide();
    m_chart = new IconButton(u"command"_s);
    m_ownChart = new TextButton(u"图表"_s, TextButton::Look::plain);
    m_ownChart->setToolTip(u"K线图（C）"_s);
    connect(m_ownChart, &TextButton::clicked, this, &ZonesSection::chartRequested);
    line->addWidget(new TextLabel(u"现价"_s, TypeRole::body, Tone::secondary));
    line->addWidget(m_price);
    line->addStretch(1);
    line->addWidget(m_loadingHint);
    line->addWidget(m_ownChart);
    line->addWidget(m_chart);
    return bar;
}

void ZonesSection::connectList(ZoneList *list)
{
    connect(list, &ZoneList::tapped, this,
            [this](const Zone &zone) { togglePickedZone(m_context.state, zone.mid, zone.type); });
    connect(list, &ZoneList::pointed, this, &ZonesSection::zonePointed);
    connect(list, &ZoneList::bellPressed, this,
            [this](const Zone &zone) { m_context.state.toggleZoneAlert(zone); });
    connect(list, &ZoneList::menuRequested, this, &ZonesSection::showMenu);
    connect(list, &ZoneList::rowsChanged, this, [this, list] {
        for (ZoneRow *row : list->rows())
            row->installEventFilter(this); // once, however often
        Q_EMIT tabStopsChanged();
    });
}

void ZonesSection::refresh()
{
    refreshRows();
    refreshMessages();
    refreshPriceLine();
    refreshBanner();
}

void ZonesSection::refreshRows()
{
    const AppState &state = m_context.state;
    const bool fresh = state.zonesStanding().fresh();
    const auto fill = [&](ZoneList *list, TextLabel *none, QStringView type) {
        list->setZones(listedZones(state.zones(), type, state.displayRangePct(), state.maxPerSide()),
                       state.decimals());
        for (ZoneRow *row : list->rows()) {
            const Zone &zone = row->zone();
            row->setAlerts(state.hasAlert(zone.mid), state.follows(zone));
            row->setDimmed(!fresh);
            row->setSelected(state.selectedZonePrice() == zone.mid && state.selectedZoneType() == zone.type);
        }
        list->setVisible(!list->rows().empty());
        none->setVisible(list->rows().empty() && !state.zones().empty());
    };
    keepHeight(state.zones().empty());
    fill(m_resistances, m_noResistances, u"resistance");
    fill(m_supports, m_noSupports, u"support");
}

// A new instrument has no zones for a moment: the block stays as high as it was until it is filled again or
// the load has failed, so that what stands below does not jump twice.
void ZonesSection::keepHeight(bool empty)
{
    const bool loading = m_context.state.isLoading();
    if (empty && !m_wasEmpty)
        setMinimumHeight(height());
    else if (!empty || (m_wasLoading && !loading))
        setMinimumHeight(0);
    m_wasEmpty = empty;
    m_wasLoading = loading;
}

void ZonesSection::refreshMessages()
{
    const AppState &state = m_context.state;
    const bool empty = state.zones().empty();
    m_loadingRow->setVisible(state.isLoading() && empty);
    m_loadingHint->setVisible(state.isLoading() && !empty);
    m_empty->setVisible(!state.isLoading() && empty);
    showNotices(dataNotices(state));
}

void ZonesSection::showNotices(const QStringList &notices)
{
    while (std::ssize(m_notices) < notices.size()) {
        m_notices.push_back(new TextLabel({}, TypeRole::caption, Tone::secondary));
        m_notices.back()->setWrap(true);
        m_noticeBox->layout()->addWidget(m_notices.back());
    }
    for (qsizetype i = 0; i < std::ssize(m_notices); ++i)
        showOrHide(m_notices[std::size_t(i)], notices.value(i));
    m_noticeBox->setVisible(!notices.isEmpty());
}

void ZonesSection::refreshPriceLine()
{
    const AppState &state = m_context.state;
    const auto price = state.ownZonePrice();
    m_price->setText(price ? fmtP(*price, state.decimals()) : u"—"_s);
    m_price->setTone(state.livePrice() ? Tone::text : Tone::secondary);
    m_chart->setTip(u"在 TradingView 打开 "_s + state.tradingViewSymbol());
}

void ZonesSection::refreshBanner()
{
    const auto model = planBannerModel(m_context.state);
    if (model)
        m_banner->setModel(*model);
    showOrHide(m_planNotice, model ? QString() : planNotice(m_context.state));
    if (m_banner->isHidden() == model.has_value()) {
        m_banner->setVisible(model.has_value());
        Q_EMIT tabStopsChanged();
    }
}

void ZonesSection::light(double mid, const QString &type)
{
    for (const ZoneList *list : {m_resistances, m_supports}) {
        for (ZoneRow *row : list->rows())
            row->setLit(row->zone().mid == mid && row->zone().type == type);
    }
}

void ZonesSection::showMenu(const Zone &zone, const QPoint &globalPosition)
{
    AppState &state = m_context.state;
    QMenu *menu = makeMenu(this);
    menu->addAction(state.hasAlert(zone.mid) ? u"取消该价位提醒"_s : u"设置该价位提醒"_s, this,
                    [&state, zone] { state.toggleZoneAlert(zone); });
    QAction *follow = menu->addAction(u"跟随这个区域"_s, this, [&state, zone] { state.followZone(zone); });
    follow->setCheckable(true);
    follow->setChecked(state.follows(zone));
    menu->popup(globalPosition);
}

void ZonesSection::openChart()
{
    if (const auto url = m_context.state.tradingViewURL())
        m_context.openUrl(*url);
}

bool ZonesSection::isLong() const
{
    constexpr std::size_t manyRows = 5;
    return std::max(m_resistances->rows().size(), m_supports->rows().size()) > manyRows;
}

bool ZonesSection::eventFilter(QObject *watched, QEvent *event)
{
    QList<QWidget *> rows;
    for (const ZoneList *list : {m_resistances, m_supports})
        rows.append({list->rows().begin(), list->rows().end()});
    return moveFocusByKeys(rows, watched, *event, Qt::Key_Up, Qt::Key_Down) ||
           QWidget::eventFilter(watched, event);
}

QList<QWidget *> ZonesSection::tabStops() const
{
    QList<QWidget *> stops;
    const auto addRows = [&stops](const ZoneList *list) {
        for (ZoneRow *row : list->rows())
            stops << row << row->bell();
    };
    addRows(m_resistances);
    stops << m_empty << m_ownChart << m_chart << m_banner->tabStops();
    addRows(m_supports);
    return stops;
}

} // namespace kestrune
