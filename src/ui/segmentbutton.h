// SPDX-License-Identifier: MIT
#pragma once

#include "ui/flatbutton.h"

namespace kestrune {

/// One timeframe of the header: white on accent when it is the current one (`checked`, set by the owner).
class SegmentButton : public FlatButton
{
    Q_OBJECT

public:
    explicit SegmentButton(const QString &text, QWidget *parent = nullptr);

    [[nodiscard]] QAccessible::Role accessibleRole() const override { return QAccessible::RadioButton; }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace kestrune
