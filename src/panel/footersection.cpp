// SPDX-License-Identifier: MIT
#include "panel/footersection.h"

#include "panel/blingbutton.h"
#include "ui/boxlayouts.h"
#include "ui/iconbutton.h"
#include "ui/textbutton.h"
#include "ui/textlabel.h"
#include "viewmodel/instrumenttexts.h"
#include "viewmodel/paneltexts.h"

namespace kestrune {

using namespace Qt::StringLiterals;

FooterSection::FooterSection(const PanelContext &context, const QString &marketNotice, QWidget *parent)
    : QWidget(parent)
    , m_context(context)
    , m_note(new TextLabel({}, TypeRole::caption, Tone::secondary))
    , m_unread(new QWidget)
    , m_unreadText(new TextLabel({}, TypeRole::caption, Tone::orange))
    , m_acknowledge(new TextButton(u"知道了"_s))
    , m_refresh(new IconButton(u"arrow.clockwise"_s))
    , m_help(new IconButton(u"questionmark.circle"_s))
    , m_web(new IconButton(u"globe"_s))
    , m_bling(new BlingButton(context.clock))
{
    m_refresh->setTip(u"刷新数据"_s);
    m_help->setTip(u"使用说明"_s);
    m_web->setTip(u"打开网页版"_s);
    auto *actions = rowIn(nullptr, 4);
    actions->addWidget(m_note);
    actions->addStretch(1);
    actions->addWidget(m_refresh);
    actions->addWidget(m_help);
    actions->addWidget(m_web);
    actions->addSpacing(4);
    actions->addWidget(m_bling);
    m_unreadText->setWrap(true);
    auto *unread = rowIn(m_unread, rowSpacing);
    unread->addWidget(m_unreadText, 1);
    unread->addWidget(m_acknowledge, 0, Qt::AlignTop);
    auto *column = columnIn(this, rowSpacing);
    column->addWidget(m_unread);
    if (!marketNotice.isEmpty()) {
        auto *notice = new TextLabel(marketNotice, TypeRole::captionBold, Tone::orange);
        notice->setElide(Qt::ElideMiddle);
        notice->setToolTip(marketNotice);
        column->addWidget(notice);
    }
    column->addLayout(actions);
    connect(m_acknowledge, &TextButton::clicked, this, [&state = m_context.state] {
        state.unreadSettings = std::nullopt;
        state.instruments().acknowledgeDamage();
    });
    connect(m_refresh, &IconButton::clicked, this, &FooterSection::refreshRequested);
    connect(m_help, &IconButton::clicked, this, &FooterSection::helpRequested);
    connect(m_web, &IconButton::clicked, this,
            [this] { m_context.openUrl(QUrl(QStringLiteral(KESTRUNE_WEB_EDITION_URL))); });
    connect(m_bling, &BlingButton::clicked, this, [&state = m_context.state] { state.toggleBlingMode(); });
}

void FooterSection::refresh()
{
    m_note->setText(m_context.state.dataSourceNote());
    m_bling->setOn(m_context.state.blingMode());
    const auto &unread = m_context.state.unreadSettings();
    const auto &damaged = m_context.state.instruments().damaged();
    m_unread->setVisible(unread || !damaged.isEmpty());
    m_unreadText->setToolTip(unread ? unread->keptAs : QString());
    if (unread)
        m_unreadText->setText(unreadSettingsText(*unread));
    else if (!damaged.isEmpty())
        m_unreadText->setText(damagedListsText(damaged));
}

QList<QWidget *> FooterSection::tabStops() const
{
    return {m_acknowledge, m_refresh, m_help, m_web, m_bling};
}

} // namespace kestrune
