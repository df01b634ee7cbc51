// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility.h"

#include <QTimer>
#include <QWidget>

namespace kestrune {

/// A thin turning arc for "loading"; turns only while it shows.
class Spinner : public QWidget, public WithRole<QAccessible::Animation>
{
    Q_OBJECT

public:
    explicit Spinner(QWidget *parent = nullptr);

    [[nodiscard]] bool isTurning() const { return m_timer.isActive(); }
    [[nodiscard]] QSize sizeHint() const override { return {16, 16}; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QTimer m_timer;
    int m_step = 0;
};

} // namespace kestrune
