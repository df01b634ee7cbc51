// SPDX-License-Identifier: MIT
#pragma once

#include "panel/epochclock.h"
#include "ui/flatbutton.h"

#include <QTimer>

namespace kestrune {

/// The neon switch: grey sparkles when off, white ones breathing on a warm gradient when on. `clicked` asks
/// the owner to switch; the button shows what `setOn` says.
class BlingButton : public FlatButton
{
    Q_OBJECT

public:
    explicit BlingButton(EpochClock clock, QWidget *parent = nullptr);

    void setOn(bool on);
    [[nodiscard]] bool isOn() const { return isChecked(); }
    /// On and visible.
    [[nodiscard]] bool isAnimating() const { return m_timer.isActive(); }

    [[nodiscard]] double focusRadius() const override { return 8; }
    [[nodiscard]] QSize sizeHint() const override { return {34, 34}; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void updateTip();
    void updateTimer();

    EpochClock m_clock;
    QTimer m_timer;
};

} // namespace kestrune
