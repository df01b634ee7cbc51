// SPDX-License-Identifier: MIT
#include "panel/alertrow.h"

#include "panel/panelcontext.h"
#include "ui/boxlayouts.h"
#include "ui/iconbutton.h"
#include "ui/iconlabel.h"
#include "ui/textbutton.h"
#include "ui/textlabel.h"

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int rowBellSide = 14;

} // namespace

AlertRow::AlertRow(QString id, QWidget *parent)
    : QWidget(parent)
    , m_id(std::move(id))
    , m_bell(new IconLabel(u"bell"_s, Tone::secondary, rowBellSide))
    , m_label(new TextLabel(TypeRole::caption))
    , m_rearm(new TextButton(u"再设"_s))
    , m_dismiss(new TextButton(u"收到"_s))
    , m_remove(new IconButton(u"xmark.circle.fill"_s))
{
    auto *line = rowIn(this, rowSpacing);
    m_label->setWrap(true);
    m_remove->setTip(u"删除该提醒"_s);
    m_remove->setIconSide(14);
    m_rearm->setToolTip(u"同一目标价，反方向再提醒一次"_s);
    m_rearm->hide();
    m_dismiss->hide();
    line->addWidget(m_bell);
    line->addWidget(m_label, 1, Qt::AlignVCenter);
    line->addWidget(m_rearm);
    line->addWidget(m_dismiss);
    line->addWidget(m_remove);
    connect(m_dismiss, &TextButton::clicked, this, &AlertRow::dismissed);
    connect(m_rearm, &TextButton::clicked, this, &AlertRow::rearmed);
    connect(m_remove, &IconButton::clicked, this, &AlertRow::removed);
}

void AlertRow::setAlert(const PriceAlert &alert, bool offersRearming)
{
    m_bell->setIconName(alert.triggered ? u"bell.fill"_s : u"bell"_s);
    m_bell->setTone(alert.triggered ? Tone::orange : Tone::secondary);
    const QString condition = alert.triggered ? u"已触发"_s : u"等待触发"_s;
    if (m_bell->accessibleName() != condition)
        m_bell->setAccessibleName(condition);
    m_label->setText(alert.label);
    m_rearm->setVisible(offersRearming);
    m_dismiss->setVisible(alert.triggered);
    if (m_dismiss->accessibleDescription() != alert.label) {
        m_rearm->setAccessibleDescription(alert.label);
        m_dismiss->setAccessibleDescription(alert.label);
        m_remove->setAccessibleDescription(alert.label);
    }
}

QWidget *AlertRow::dismissButton() const
{
    return m_dismiss;
}

QList<QWidget *> AlertRow::tabStops() const
{
    return {m_rearm, m_dismiss, m_remove};
}

} // namespace kestrune
