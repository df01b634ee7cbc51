// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/appearance.h"

#include <QObject>

namespace kestrune {

/// Light or dark, and when it changes.
class ThemeSource : public QObject, public AppearanceSource
{
    Q_OBJECT
public:
    using QObject::QObject;

    /// Whether every change is announced by changed(), so that nobody has to look now and then.
    [[nodiscard]] virtual bool announces() const = 0;

Q_SIGNALS:
    void changed();
    void announcesChanged();
};

} // namespace kestrune
