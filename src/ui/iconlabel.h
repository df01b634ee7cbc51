// SPDX-License-Identifier: MIT
#pragma once

#include "ui/palette.h"

#include <QWidget>

namespace kestrune {

/// An icon that only says something; give it an accessible name where no text beside it does.
class IconLabel : public QWidget
{
    Q_OBJECT

public:
    IconLabel(QString icon, Tone tone, int side, QWidget *parent = nullptr);

    void setIconName(const QString &icon);
    [[nodiscard]] const QString &iconName() const { return m_icon; }
    void setTone(Tone tone);
    [[nodiscard]] Tone tone() const { return m_tone; }

    [[nodiscard]] QSize sizeHint() const override { return {m_side, m_side}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_icon;
    Tone m_tone;
    int m_side;
};

} // namespace kestrune
