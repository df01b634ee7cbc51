// SPDX-License-Identifier: MIT
#pragma once

#include "ui/flatbutton.h"
#include "ui/typography.h"

namespace kestrune {

/// A small button of words, with an icon before them where one is set.
class TextButton : public FlatButton
{
    Q_OBJECT

public:
    enum class Look {
        raised, ///< on the raised ground: "收到", "设提醒"
        plain,  ///< words alone, the ground shows under the pointer only
    };

    explicit TextButton(const QString &text, Look look = Look::raised, QWidget *parent = nullptr);

    void setIconName(const QString &icon);
    void setTone(Tone tone);
    void setRole(TypeRole role);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Look m_look;
    QString m_icon;
    Tone m_tone = Tone::text;
    TypeRole m_role = TypeRole::captionBold;
};

} // namespace kestrune
