// SPDX-License-Identifier: MIT
#include "ui/menu.h"

#include "ui/palette.h"
#include "ui/typography.h"

#include <QMenu>

namespace kestrune {

QMenu *makeMenu(QWidget *owner)
{
    auto *menu = new QMenu(owner);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QPalette colours = toolkitPalette(paletteOf(owner)); // a window of its own inherits none
    for (const auto role : {QPalette::Base, QPalette::Window})
        colours.setColor(role, paletteOf(owner).raised); // on the panel's ground an edge shows
    menu->setPalette(colours);
    menu->setFont(fontFor(TypeRole::body));
    return menu;
}

} // namespace kestrune
