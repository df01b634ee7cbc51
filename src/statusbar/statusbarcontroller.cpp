// SPDX-License-Identifier: MIT
#include "statusbar/statusbarcontroller.h"

#include "statusbar/panelplacement.h"
#include "viewmodel/standingtexts.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

/// In the order of the list: prices come in any.
std::vector<BlingItem> signsOf(const AppState &state)
{
    std::vector<BlingItem> signs;
    signs.reserve(state.multiPrices().size());
    std::transform(
        state.multiPrices().begin(), state.multiPrices().end(), std::back_inserter(signs),
        [&state](const SymbolPrice &entry) {
            return BlingItem{entry.symbol, entry.price, entry.change, state.signIsDim(entry.symbol)};
        });
    QStringList order;
    for (const QString &code : state.blingSymbols())
        order.append(shownCode(state.market(), code));
    std::ranges::stable_sort(signs, {}, [&order](const BlingItem &sign) {
        return std::size_t(order.indexOf(sign.symbol)); // what is not listed comes last
    });
    return signs;
}

/// In words, what the picture says by a bell.
QString firedText(int elsewhere)
{
    return elsewhere == 0 ? QString() : u" · 另有 %1 条提醒已触发"_s.arg(elsewhere);
}

} // namespace

StatusBarController::StatusBarController(std::shared_ptr<AppState> state, StatusItem &statusItem,
                                         const Appearance &appearance, const PanelFactory &makePanel)
    : m_state(std::move(state))
    , m_statusItem(statusItem)
    , m_popover([shared = m_state, makePanel](QWidget *parent) { return makePanel(shared, parent); })
{
    setAppearance(appearance);
    connect(&m_statusItem, &StatusItem::activated, this, &StatusBarController::togglePopover);
    connect(&m_popover, &Popover::itemMenuRequested, &m_statusItem, &StatusItem::contextMenuRequested,
            Qt::QueuedConnection); // after the press, which closes
    subscribe();
}

StatusBarController::~StatusBarController() = default;

StatusItemContent StatusBarController::content() const
{
    StatusItemContent content;
    content.bling = m_state->blingMode();
    content.status.text = itemText(*m_state);
    content.status.dimmed = !m_state->priceStanding().fresh();
    content.status.signal = m_state->barSignal();
    content.status.align = VAlign::center;
    content.status.alertActive = m_state->alertActive();
    // Only odd and even look different, and only during an alert.
    content.status.pulse = content.status.alertActive ? m_state->pulsePhase() & 1 : 0;
    content.status.dark = m_appearance.darkBar;
    if (content.bling) {
        content.signs = signsOf(*m_state);
        content.blingPulse = m_state->blingPulse();
    }
    content.firedElsewhere = m_state->firedElsewhere();
    content.title = titleLine(*m_state) + firedText(content.firedElsewhere);
    content.detail = verdictText(*m_state);
    return content;
}

void StatusBarController::subscribe()
{
    // Each change is looked at by itself; redraw() passes on only what looks or reads different.
    const AppState &state = *m_state;
    const std::initializer_list<const PublishedField *> looksAndReadings{
        &state.market,      &state.coinSymbol,   &state.timeframe, &state.signalThreshold, &state.miniMode,
        &state.blingMode,   &state.price,        &state.changePct, &state.decimals,        &state.stockQuote,
        &state.zones,       &state.zonePrice,    &state.alerts,    &state.pulsePhase,      &state.blingPulse,
        &state.multiPrices, &state.errorMessage, &state.agesPassed};
    for (const PublishedField *field : looksAndReadings)
        m_state->onChange(*field, this, [this] { redraw(); });
    m_state->onChange(m_state->blingMode, this, [this] { m_popover.close(); });
    m_state->onChange(m_state->alertToShow, this, [this] {
        if (m_state->alertToShow() && !m_popover.isVisible())
            showPopover();
    });
}

void StatusBarController::redraw()
{
    StatusItemContent now = content();
    if (m_shown && sameContent(*m_shown, now))
        return;
    m_statusItem.show(now);
    m_shown = std::move(now);
}

void StatusBarController::setAppearance(const Appearance &appearance)
{
    m_appearance = appearance;
    m_popover.setDark(appearance.darkDesktop);
    redraw();
}

void StatusBarController::togglePopover(const QRect &anchor)
{
    if (m_popover.isVisible())
        m_popover.close();
    else if (m_popover.hasJustClosed())
        return;
    else if (anchor.isValid())
        showPopover(anchor);
    else
        showPopover();
}

void StatusBarController::openPopover(const QPoint &position)
{
    const auto shapes = screenShapes();
    togglePopover(placeInSight({toLogical(position, shapes), QSize(1, 1)}, shapes).value_or(QRect()));
}

void StatusBarController::showPopover()
{
    if (const auto place = m_statusItem.place())
        showPopover(*place);
    else if (const QScreen *screen = QGuiApplication::primaryScreen())
        showPopover(cornerAnchor(screen->availableGeometry(), screen->geometry()));
}

void StatusBarController::showPopover(const QRect &anchor)
{
    m_popover.openAt(anchor);
}

} // namespace kestrune
