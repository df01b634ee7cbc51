// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility.h"

#include <QWidget>

namespace kestrune {

/// A horizontal line one device pixel thick, in a widget one pixel high.
class Divider : public QWidget, public WithRole<QAccessible::Separator>
{
    Q_OBJECT

public:
    explicit Divider(QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override { return {0, 1}; }

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace kestrune
