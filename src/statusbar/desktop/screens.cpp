// SPDX-License-Identifier: MIT
#include "statusbar/desktop/screens.h"

#include <QGuiApplication>
#include <QScreen>

namespace kestrune {

std::vector<ScreenShape> screenShapes()
{
    std::vector<ScreenShape> shapes;
    for (const QScreen *screen : QGuiApplication::screens())
        shapes.push_back({screen->geometry(), screen->devicePixelRatio()});
    return shapes;
}

} // namespace kestrune
