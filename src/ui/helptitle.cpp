// SPDX-License-Identifier: MIT
#include "ui/helptitle.h"

#include "ui/boxlayouts.h"
#include "ui/iconbutton.h"
#include "ui/textlabel.h"

#include <QHelpEvent>
#include <QToolTip>

namespace kestrune {

using namespace Qt::StringLiterals;

HelpTitle::HelpTitle(const QString &title, TypeRole role, const QString &help, QWidget *parent)
    : QWidget(parent), m_mark(new IconButton(u"questionmark.circle"_s))
{
    auto *label = new TextLabel(title, role);
    auto *line = rowIn(this, 0);
    line->addWidget(label);
    line->addWidget(m_mark);
    line->addStretch(1);
    m_mark->setIconSide(12);
    m_mark->setFixedSize(20, 20);
    setFixedHeight(20);
    label->installEventFilter(this);
    m_mark->installEventFilter(this);
    connect(m_mark, &IconButton::clicked, this,
            [this] { showHelp(m_mark->mapToGlobal(QPoint(0, m_mark->height()))); });
    m_mark->setToolTip(help);
    m_mark->setAccessibleName(title + u" · 说明"_s);
    m_mark->setAccessibleDescription(help);
    label->setToolTip(help);
}

bool HelpTitle::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::eventFilter(watched, event);
    showHelp(static_cast<QHelpEvent *>(event)->globalPos());
    return true;
}

// Only rich text is wrapped; a plain tooltip would be one line, wider than the window.
void HelpTitle::showHelp(const QPoint &at)
{
    QToolTip::showText(at, u"<p>"_s + m_mark->toolTip().toHtmlEscaped() + u"</p>"_s, m_mark);
}

} // namespace kestrune
