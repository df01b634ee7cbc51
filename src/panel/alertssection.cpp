// SPDX-License-Identifier: MIT
#include "panel/alertssection.h"

#include "panel/alertrow.h"
#include "ui/boxlayouts.h"
#include "ui/helptitle.h"
#include "ui/iconbutton.h"
#include "ui/inputfield.h"
#include "viewmodel/alertlines.h"

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

AlertsSection::AlertsSection(const PanelContext &context, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_title(new HelpTitle(
          u"价格提醒"_s, TypeRole::section,
          u"输入目标价回车，或点撑压位行右侧 🔔 设置提醒。触及后状态栏铃铛晃动、价格闪动并响铃。"_s))
    , m_input(new InputField(u"目标价"_s))
    , m_add(new IconButton(u"plus.circle.fill"_s))
    , m_rowBox(new QWidget)
{
    const QString tip = u"添加目标价提醒：价格涨/跌触及即触发"_s;
    m_input->setPlaceholderText(u"目标价"_s);
    m_input->setToolTip(tip);
    m_add->setTip(tip);
    m_add->setTone(Tone::accent);
    auto *entry = rowIn(nullptr, rowSpacing);
    entry->addWidget(m_input, 1);
    entry->addWidget(m_add);
    columnIn(m_rowBox, 4);
    m_rowBox->hide();

    auto *column = columnIn(this, blockSpacing);
    column->addWidget(m_title);
    column->addLayout(entry);
    column->addWidget(m_rowBox);
    connect(m_input, &InputField::returnPressed, this, &AlertsSection::addManualAlert);
    connect(m_add, &IconButton::clicked, this, &AlertsSection::addManualAlert);
}

void AlertsSection::addManualAlert()
{
    AppState &state = m_context.state;
    const std::pair entry(state.coinSymbol(), m_input->text());
    const TypedAlert typed = typedAlert(entry.second, state.livePrice(), m_asked == entry);
    m_asked = {};
    if (!typed.target) {
        if (typed.asks)
            m_asked = entry;
        Q_EMIT noted(typed.note, true, {}, {});
        return;
    }
    state.addAlert(*typed.target);
    m_input->clear();
}

void AlertsSection::refresh()
{
    const std::vector<PriceAlert> alerts = m_context.state.currentAlerts();
    const auto live = m_context.state.livePrice();
    std::vector<AlertRow *> next;
    next.reserve(alerts.size());
    for (const PriceAlert &alert : alerts) {
        // Stored data may hold an id twice; each record still gets a row of its own.
        const auto found = std::ranges::find_if(m_rows, [&](AlertRow *row) {
            return row->id() == alert.id && std::ranges::find(next, row) == next.end();
        });
        next.push_back(found != m_rows.end() ? *found : makeRow(alert.id));
        next.back()->setAlert(alert, offersRearming(alert, live));
    }
    if (next == m_rows)
        return;
    for (AlertRow *row : m_rows) {
        if (std::ranges::find(next, row) != next.end())
            continue;
        const bool focused = row->isAncestorOf(row->window()->focusWidget());
        m_rowBox->layout()->removeWidget(row);
        row->hide();
        row->deleteLater();
        if (focused)
            m_input->setFocus(Qt::OtherFocusReason);
    }
    auto *column = static_cast<QVBoxLayout *>(m_rowBox->layout());
    for (std::size_t i = 0; i < next.size(); ++i) {
        if (column->indexOf(next[i]) != int(i))
            column->insertWidget(int(i), next[i]);
        next[i]->show();
    }
    m_rows = std::move(next);
    m_rowBox->setVisible(!m_rows.empty());
    Q_EMIT tabStopsChanged();
}

AlertRow *AlertsSection::makeRow(const QString &id)
{
    auto *row = new AlertRow(id);
    connect(row, &AlertRow::dismissed, this, [this, id] { m_context.state.dismissAlert(id); });
    connect(row, &AlertRow::removed, this, [this, id] { removeAlert(id); });
    connect(row, &AlertRow::rearmed, this, [this, id] { rearmAlert(id); });
    return row;
}

std::optional<PriceAlert> AlertsSection::alertOf(const QString &id) const
{
    const std::vector<PriceAlert> &alerts = m_context.state.alerts();
    const auto found = std::ranges::find(alerts, id, &PriceAlert::id);
    return found == alerts.end() ? std::nullopt : std::optional(*found);
}

void AlertsSection::removeAlert(const QString &id)
{
    AppState &state = m_context.state;
    const auto alert = alertOf(id);
    state.removeAlert(id);
    if (alert)
        Q_EMIT noted(u"已删除 "_s + alert->label, false, u"撤销"_s,
                     [&state, alert = *alert] { state.restoreAlert(alert); });
}

void AlertsSection::rearmAlert(const QString &id)
{
    const auto before = alertOf(id);
    if (!before)
        return;
    m_context.state.rearmAlert(id);
    Q_EMIT noted(rearmedText(*before), false, {}, {});
}

const QWidget *AlertsSection::focusAlert(const QString &id) const
{
    const auto row = std::ranges::find(m_rows, id, &AlertRow::id);
    if (row == m_rows.end())
        return nullptr;
    if ((*row)->dismissButton()->isVisible())
        (*row)->dismissButton()->setFocus(Qt::TabFocusReason); // with the ring, which shows where it is
    return *row;
}

QList<QWidget *> AlertsSection::tabStops() const
{
    QList<QWidget *> stops{m_title->mark(), m_input, m_add};
    for (const AlertRow *row : m_rows)
        stops << row->tabStops();
    return stops;
}

} // namespace kestrune
