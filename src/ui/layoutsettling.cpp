// SPDX-License-Identifier: MIT
#include "ui/layoutsettling.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLayout>
#include <QScrollArea>

namespace kestrune {

namespace {

void renewHints(QLayout &layout)
{
    for (int i = 0; i < layout.count(); ++i) {
        if (QLayout *inner = layout.itemAt(i)->layout())
            renewHints(*inner);
    }
    layout.invalidate();
}

/// Forgets the size hints that layouts keep, from the inside out.
void renewHints(QWidget &widget)
{
    for (QObject *child : widget.children()) {
        if (child->isWidgetType() && !static_cast<QWidget *>(child)->isWindow())
            renewHints(*static_cast<QWidget *>(child));
    }
    if (widget.layout())
        renewHints(*widget.layout());
    widget.updateGeometry();
}

/// Places what is inside, from the outside in: a widget that keeps its size tells its layout nothing.
void place(QWidget &widget)
{
    if (widget.layout())
        widget.layout()->activate();
    if (qobject_cast<QScrollArea *>(&widget)) {
        QEvent request(QEvent::LayoutRequest);
        QCoreApplication::sendEvent(&widget, &request); // sizes the content by its height for width
    }
    for (QObject *child : widget.children()) {
        if (child->isWidgetType() && !static_cast<QWidget *>(child)->isWindow())
            place(*static_cast<QWidget *>(child));
    }
}

} // namespace

void settleLayouts(QWidget &root)
{
    renewHints(root);
    place(root);
}

} // namespace kestrune
