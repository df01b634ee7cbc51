// SPDX-License-Identifier: MIT
#include "panel/popoverview.h"

#include "chart/chartwidget.h"
#include "panel/addview.h"
#include "panel/alertlogsection.h"
#include "panel/alertssection.h"
#include "panel/chartsheet.h"
#include "panel/contextsection.h"
#include "panel/firedalerts.h"
#include "panel/footersection.h"
#include "panel/headersection.h"
#include "panel/helpview.h"
#include "panel/instrumentssection.h"
#include "panel/settingssection.h"
#include "panel/sheet.h"
#include "panel/snapshotsection.h"
#include "panel/zonessection.h"
#include "platform/async.h"
#include "state/alertlog.h"
#include "state/instruments.h"
#include "ui/boxlayouts.h"
#include "ui/chiprow.h"
#include "ui/disclosure.h"
#include "ui/divider.h"
#include "ui/focusring.h"
#include "ui/hoverfade.h"
#include "ui/layoutsettling.h"
#include "ui/scrollarea.h"
#include "ui/toast.h"
#include "ui/typography.h"
#include "viewmodel/planbannermodel.h"

#include <QDesktopServices>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int lowestHeight = 240;
constexpr int toastGap = 8;
constexpr int lowPanel = 480; ///< what lies below has room for one fired alert

PanelContext contextOf(AppState &state, const PopoverView::Options &options)
{
    return {state, [&clock = state.clock()] { return epochSeconds(clock.now()); },
            options.openUrl ? options.openUrl : [](const QUrl &url) { QDesktopServices::openUrl(url); }};
}

void addWithMargins(QVBoxLayout *column, QWidget *widget, int rightMargin = panelMargin)
{
    auto *frame = rowIn(nullptr, 0, {panelMargin, 0, rightMargin, 0});
    frame->addWidget(widget);
    column->addLayout(frame);
}

} // namespace

PopoverView::PopoverView(std::shared_ptr<AppState> state, const Options &options, QWidget *parent)
    : QWidget(parent), m_state(std::move(state))
{
    const PanelContext context = contextOf(*m_state, options);
    m_header = new HeaderSection(context);
    m_fired = new FiredAlerts(context);
    m_instruments = new InstrumentsSection(context);
    m_snapshot = new SnapshotSection(context);
    m_zones = new ZonesSection(context);
    m_marketContext = new ContextSection(context);
    m_alerts = new AlertsSection(context);
    m_alertLog = new AlertLogSection(context);
    m_settings = new SettingsSection(context);
    m_footer = new FooterSection(context, options.marketNotice);
    setWindowTitle(u"Kestrune Bar"_s);
    setAccessibleName(u"Kestrune Bar"_s);
    setFixedSize(panelSize);
    setAutoFillBackground(true); // inside another window too
    setDark(true);

    auto *column = columnIn(this, 0, {0, panelMargin, 0, panelMargin});
    m_area = new ScrollArea;
    m_area->setWidget(makeScrolledContent());
    m_area->widget()->setAutoFillBackground(false);
    m_area->setAnchor(m_marketContext);
    m_area->setMinimumHeight(1); // it gives way to everything else
    m_area->installEventFilter(this);
    // What is unfolded at the lower edge comes into view; queued, for the layout to end first.
    for (const Collapsible *body : m_area->findChildren<Collapsible *>()) {
        connect(
            body, &Collapsible::unfolding, this, [this, body] { m_area->reveal(body->parentWidget()); },
            Qt::QueuedConnection);
    }
    // The area's content keeps the spacing to the dividers itself, so that a focus ring at its edge shows.
    addWithMargins(column, m_header);
    column->addSpacing(stackSpacing);
    addWithMargins(column, new Divider);
    addWithMargins(column, m_fired);
    column->addWidget(m_area, 1);
    addWithMargins(column, new Divider);
    column->addSpacing(stackSpacing);
    addWithMargins(column, m_footer);
    m_toast = new Toast(this);
    new FocusRing(this);
    connectActions();
}

// The chart tells of its end, which is not to reach a panel that is half gone.
PopoverView::~PopoverView()
{
    delete m_chart;
}

QWidget *PopoverView::makeScrolledContent()
{
    auto *content = new QWidget;
    auto *column = columnIn(content, stackSpacing, {0, stackSpacing - ChipRow::ringRoom, 0, stackSpacing});
    addWithMargins(column, m_instruments);
    column->addSpacing(-ChipRow::ringRoom);
    addWithMargins(column, new Divider);
    addWithMargins(column, m_snapshot);
    addWithMargins(column, new Divider);
    column->addWidget(m_zones);
    addWithMargins(column, m_marketContext);
    addWithMargins(column, new Divider);
    addWithMargins(column, m_alerts, panelMargin - 4); // its icons, not their hit areas, end at the margin
    addWithMargins(column, m_alertLog);
    addWithMargins(column, new Divider);
    addWithMargins(column, m_settings);
    column->addStretch(1);
    return content;
}

void PopoverView::connectActions()
{
    connect(m_state.get(), &AppState::fieldWillChange, this, &PopoverView::fieldChanged);
    connect(&m_state->instruments(), &InstrumentBook::changed, this, &PopoverView::scheduleUpdate);
    connect(m_instruments, &InstrumentsSection::picked, this, &PopoverView::chooseInstrument);
    connect(m_instruments, &InstrumentsSection::marketPicked, m_settings, &SettingsSection::chooseMarket);
    connect(m_instruments, &InstrumentsSection::addRequested, this, &PopoverView::showAdding);
    connect(m_instruments, &InstrumentsSection::noted, this, &PopoverView::showToast);
    connect(m_footer, &FooterSection::refreshRequested, this, &PopoverView::refreshAll);
    connect(m_zones, &ZonesSection::refreshRequested, this, &PopoverView::refreshZones);
    connect(m_footer, &FooterSection::helpRequested, this, &PopoverView::showHelp);
    connect(m_header, &HeaderSection::chartRequested, this, &PopoverView::toggleChart);
    connect(m_zones, &ZonesSection::chartRequested, this, &PopoverView::toggleChart);
    connect(m_settings, &SettingsSection::noted, this,
            [this](const QString &note) { showToast(note, true); });
    connect(&m_state->alertLog(), &AlertLog::changed, this, &PopoverView::scheduleUpdate);
    connect(m_fired, &FiredAlerts::picked, this, &PopoverView::chooseAlert);
    connect(m_fired, &FiredAlerts::logRequested, this, &PopoverView::showLog);
    connect(m_fired, &FiredAlerts::rowsChanged, this, &PopoverView::makeRoomForFired);
    connect(m_alerts, &AlertsSection::noted, this, &PopoverView::showToast);
    const auto markStale = [this] { m_tabStopsStale = true; };
    connect(m_instruments, &InstrumentsSection::tabStopsChanged, this, markStale);
    connect(m_zones, &ZonesSection::tabStopsChanged, this, markStale);
    connect(m_alerts, &AlertsSection::tabStopsChanged, this, markStale);
}

// The fields that only animate the status item change several times a second and show nowhere in the panel.
void PopoverView::fieldChanged(const PublishedField *field)
{
    if (field != &m_state->blingPulse && field != &m_state->pulsePhase && field != &m_state->multiPrices)
        scheduleUpdate();
}

void PopoverView::scheduleUpdate()
{
    if (m_updatePending || !isVisible())
        return; // showing brings everything up to date
    m_updatePending = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_updatePending = false;
            if (!isVisible())
                return;
            updateNow();
            showRequestedAlert();
        },
        Qt::QueuedConnection);
}

void PopoverView::updateNow()
{
    m_header->refresh();
    m_fired->refresh();
    m_instruments->refresh();
    m_snapshot->refresh();
    m_zones->refresh();
    m_marketContext->refresh();
    m_alerts->refresh();
    m_alertLog->refresh();
    m_settings->refresh();
    m_footer->refresh();
    if (m_chart)
        m_chart->refresh();
    if (m_tabStopsStale)
        orderTabStops();
}

void PopoverView::setDark(bool dark)
{
    setPalette(toolkitPalette(dark ? darkPalette() : lightPalette()));
    QToolTip::setPalette(palette()); // tooltips take over nothing from the widget they belong to
    QToolTip::setFont(fontFor(TypeRole::caption));
    if (m_chart)
        m_chart->refresh();
}

void PopoverView::setMaximumPanelHeight(int height)
{
    setFixedSize(panelSize.width(), std::clamp(height, lowestHeight, panelSize.height()));
    m_fired->setRoom(this->height() < lowPanel ? 1 : FiredAlerts::mostRows);
}

bool PopoverView::isHelpShown() const
{
    return m_help && m_help->isVisible();
}

void PopoverView::setSettingsExpanded(bool expanded)
{
    m_settings->setExpanded(expanded);
}

void PopoverView::showToast(const QString &message, bool isError, const QString &action,
                            const std::function<void()> &onAction)
{
    placeToast();
    m_toast->present(message, isError, action, onAction);
}

void PopoverView::chooseInstrument(const QString &symbol)
{
    clearPickedZone(*m_state);
    m_state->setCoin(symbol);
}

void PopoverView::chooseAlert(const QString &id)
{
    const MarketSegment before = m_state->market();
    clearPickedZone(*m_state);
    m_state->showAlertInstrument(id);
    if (m_state->market() != before)
        m_settings->fillFields(); // stocks have set the leverage
}

// Asked for outside the panel, which is why it says where it is.
void PopoverView::showRequestedAlert()
{
    const auto id = m_state->alertToShow();
    if (!id)
        return;
    m_state->alertToShow = std::nullopt;
    if (const QWidget *row = m_alerts->focusAlert(*id))
        m_area->reveal(row);
}

void PopoverView::showLog()
{
    m_alertLog->setExpanded(true);
    m_area->reveal(m_alertLog);
}

// What the pointer is on stays under it.
void PopoverView::makeRoomForFired()
{
    const int before = m_area->y();
    if (!isVisible())
        return;
    settleLayouts(*this);
    if (isUnderPointer(*m_area)) {
        QScrollBar *bar = m_area->verticalScrollBar();
        bar->setValue(bar->value() + m_area->y() - before);
    }
}

void PopoverView::refreshAll()
{
    if (!std::exchange(m_refreshing, true)) // a click while one runs joins it
        startInBackground(this, [this] { return refreshAndReport(m_state, this); });
}

void PopoverView::refreshZones()
{
    if (!m_refreshing && !m_state->isLoading())
        startInBackground(m_state.get(), [state = m_state.get()] { return state->refreshSR(); });
}

QCoro::Task<> PopoverView::refreshAndReport(std::shared_ptr<AppState> state, QPointer<PopoverView> view)
{
    const auto held = std::move(state);
    const RefreshOutcome outcome = co_await held->refreshAll();
    if (!view)
        co_return;
    view->m_refreshing = false;
    view->showToast(outcome.message, !outcome.success);
}

void PopoverView::showHelp()
{
    if (!m_help) {
        m_helpView = new HelpView;
        m_help = new Sheet(this, m_helpView);
        connect(m_helpView, &HelpView::closeRequested, m_help, &QWidget::close);
    }
    m_help->openOver();
    m_helpView->takeFocus();
}

void PopoverView::showAdding()
{
    if (!m_adding) {
        m_addView = new AddView(contextOf(*m_state, {}));
        m_adding = new Sheet(this, m_addView);
        connect(m_addView, &AddView::closeRequested, m_adding, &QWidget::close);
        connect(m_addView, &AddView::chosen, this, &PopoverView::takeChosen);
    }
    m_adding->openOver();
    m_addView->begin();
}

void PopoverView::takeChosen(MarketSegment segment, const QString &symbol)
{
    m_adding->close();
    m_settings->chooseMarket(segment);
    chooseInstrument(symbol);
}

void PopoverView::toggleChart()
{
    if (m_chart) {
        m_chart->leave();
        return;
    }
    m_chart = new ChartSheet(contextOf(*m_state, {}), this);
    connect(m_chart->chart(), &ChartWidget::zonePointed, m_zones, &ZonesSection::light);
    connect(m_zones, &ZonesSection::zonePointed, m_chart->chart(), &ChartWidget::light);
    connect(m_chart, &ChartSheet::closed, this, [this] {
        m_chart = nullptr;
        m_zones->light(0, {});
    });
    m_chart->open();
}

// Tab follows the reading order, also through rows that came later than what stands below them.
void PopoverView::orderTabStops()
{
    m_tabStopsStale = false;
    QList<QWidget *> stops = m_header->tabStops();
    stops << m_fired->tabStops() << m_instruments->tabStops() << m_zones->tabStops()
          << m_marketContext->tabStops() << m_alerts->tabStops() << m_alertLog->tabStops()
          << m_settings->tabStops() << m_footer->tabStops() << m_toast->actionButton();
    // The panel is the chain's beginning; the toolkit only accepts it as such while it takes the focus
    // itself.
    setFocusPolicy(Qt::TabFocus);
    QWidget *before = this;
    for (QWidget *stop : std::as_const(stops)) {
        setTabOrder(before, stop);
        before = stop;
    }
    setFocusPolicy(Qt::NoFocus);
}

void PopoverView::placeToast()
{
    m_toast->setAnchor(QPoint(width() / 2, m_footer->y() - toastGap), width() - 2 * panelMargin);
}

// Before anything is painted, so that nothing is seen moving to where it stood all the time.
void PopoverView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (window() != this)
        window()->installEventFilter(this);
    m_settings->fillFields();
    {
        const QSignalBlocker opening(m_fired); // nothing has been seen yet that could jump
        updateNow();
    }
    m_marketContext->finishFolding();
    settleLayouts(*this);
    if (m_zones->isLong())
        m_area->reveal(m_zones->core());
    showRequestedAlert();
}

void PopoverView::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    for (Sheet *sheet : {m_help, m_adding}) {
        if (sheet)
            sheet->close();
    }
    if (m_chart)
        m_chart->leave();
    m_toast->hide();
}

void PopoverView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    placeToast();
}

// The keys that go through the instruments; those of a text field are its own.
bool PopoverView::takeKey(const QKeyEvent &event)
{
    if (qobject_cast<QLineEdit *>(focusWidget()) ||
        (event.modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier)))
        return false;
    const QString text = event.text(); // "/" and the digits are elsewhere on other keyboards
    if (event.key() == Qt::Key_PageUp || event.key() == Qt::Key_PageDown)
        m_instruments->step(event.key() == Qt::Key_PageUp ? -1 : 1);
    else if (text == u"/")
        showAdding();
    else if (text.compare(u"c", Qt::CaseInsensitive) == 0)
        toggleChart();
    else if (text.size() == 1 && text >= u"1" && text <= u"9")
        m_instruments->pick(text.front().unicode() - u'1');
    else
        return false;
    return true;
}

// The scrolling area would take the page keys; a window around the panel gets what nothing has the focus for.
bool PopoverView::eventFilter(QObject *watched, QEvent *event)
{
    if ((watched == m_area || watched == window()) && event->type() == QEvent::KeyPress &&
        takeKey(*static_cast<QKeyEvent *>(event)))
        return true;
    return QWidget::eventFilter(watched, event);
}

void PopoverView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape) {
        if (!takeKey(*event))
            QWidget::keyPressEvent(event);
        return;
    }
    if (isHelpShown()) {
        m_help->close();
        return;
    }
    if (m_chart) {
        m_chart->leave();
        return;
    }
    Q_EMIT closeRequested();
    if (isWindow())
        close();
    else
        event->ignore(); // for the window around the panel
}

} // namespace kestrune
