// SPDX-License-Identifier: MIT
#include "statusbar/statusmenu.h"

namespace kestrune {

using namespace Qt::StringLiterals;

StatusMenu::StatusMenu()
{
    connect(add(u"显示面板"_s), &QAction::triggered, this, &StatusMenu::showRequested);
    connect(add(u"刷新数据"_s), &QAction::triggered, this, &StatusMenu::refreshRequested);
    m_autostart = add(u"开机自动启动"_s);
    m_autostart->setCheckable(true);
    connect(m_autostart, &QAction::triggered, this, &StatusMenu::autostartToggled);
    add({})->setSeparator(true);
    connect(add(u"退出 Kestrune Bar"_s), &QAction::triggered, this, &StatusMenu::quitRequested);
}

StatusMenu::~StatusMenu() = default;

QAction *StatusMenu::add(const QString &text)
{
    auto *action = new QAction(text, this);
    m_entries.append(action);
    return action;
}

void StatusMenu::setAutostart(bool on)
{
    m_autostart->setChecked(on);
}

void StatusMenu::popup(const QPoint &position)
{
    if (!m_menu) {
        m_menu = std::make_unique<QMenu>();
        m_menu->addActions(m_entries);
    }
    Q_EMIT aboutToShow();
    m_menu->popup(position);
}

} // namespace kestrune
