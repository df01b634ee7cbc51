#include "panel/helptitle.h"

#include "panel/boxlayouts.h"
#include "panel/iconbutton.h"
#include "panel/textlabel.h"

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
    connect(m_mark, &IconButton::clicked, this, [this] {
        QToolTip::showText(m_mark->mapToGlobal(QPoint(0, m_mark->height())), m_mark->toolTip(), m_mark);
    });
    m_mark->setToolTip(help);
    m_mark->setAccessibleName(title + u" · 说明"_s);
    m_mark->setAccessibleDescription(help);
    label->setToolTip(help);
}

} // namespace kestrune
