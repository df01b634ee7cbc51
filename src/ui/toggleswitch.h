// SPDX-License-Identifier: MIT
#pragma once

#include "ui/flatbutton.h"

namespace kestrune {

/// A line of words with a switch at its right end. `clicked` asks the owner to switch; the switch shows what
/// `setChecked` says.
class ToggleSwitch : public FlatButton
{
    Q_OBJECT

public:
    explicit ToggleSwitch(const QString &text, QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace kestrune
