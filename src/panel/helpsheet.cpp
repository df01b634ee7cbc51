// SPDX-License-Identifier: MIT
#include "panel/helpsheet.h"

#include "panel/helpview.h"
#include "ui/boxlayouts.h"

#include <QHideEvent>
#include <QScreen>

#include <algorithm>

namespace kestrune {

QRect sheetGeometry(const QRect &panel, const QSize &size, const QRect &screen)
{
    const QPoint corner = panel.center() - QPoint(size.width() / 2, size.height() / 2);
    const int x =
        std::clamp(corner.x(), screen.left(), std::max(screen.left(), screen.right() + 1 - size.width()));
    const int y =
        std::clamp(corner.y(), screen.top(), std::max(screen.top(), screen.bottom() + 1 - size.height()));
    return {QPoint(x, y), size};
}

HelpSheet::HelpSheet(QWidget *panel)
    : QWidget(panel, Qt::Popup | Qt::FramelessWindowHint), m_view(new HelpView)
{
    setAttribute(Qt::WA_WindowPropagation); // the panel's colours
    // The press that closes the sheet is spent: replayed, it would close the panel or press something.
    setAttribute(Qt::WA_NoMouseReplay);
    setAccessibleName(m_view->accessibleName());
    setWindowTitle(m_view->accessibleName());
    columnIn(this, 0)->addWidget(m_view);
    connect(m_view, &HelpView::closeRequested, this, &QWidget::close);
}

void HelpSheet::openOver()
{
    QWidget *panel = parentWidget();
    const QRect over(panel->mapToGlobal(QPoint(0, 0)), panel->size());
    const QScreen *screen = panel->screen();
    setGeometry(sheetGeometry(over, HelpView::viewSize, screen ? screen->availableGeometry() : over));
    show();
    m_view->takeFocus();
}

void HelpSheet::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    Q_EMIT closed();
}

} // namespace kestrune
