// SPDX-License-Identifier: MIT
#pragma once

#include "ui/flatbutton.h"

namespace kestrune {

/// A plain icon with a hit area of 24 x 24. It stands alone, so it needs a tooltip, which is its accessible
/// name too unless another is set.
class IconButton : public FlatButton
{
    Q_OBJECT

public:
    explicit IconButton(QString icon, QWidget *parent = nullptr);

    void setIconName(const QString &icon);
    [[nodiscard]] const QString &iconName() const { return m_icon; }
    void setTone(Tone tone);
    [[nodiscard]] Tone tone() const { return m_tone; }
    /// Side of the drawn icon; 16 at first.
    void setIconSide(int side);
    /// A raised ground for buttons whose edges are to be seen; none at first.
    void setRaised(bool raised);
    /// Sets tooltip and accessible name.
    void setTip(const QString &tip);

    [[nodiscard]] QSize sizeHint() const override { return {24, 24}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_icon;
    Tone m_tone = Tone::secondary;
    int m_side = 16;
    bool m_raised = false;
};

} // namespace kestrune
