// SPDX-License-Identifier: MIT
#include "ui/flatbutton.h"

#include "ui/roundedrect.h"

#include <QKeyEvent>

namespace kestrune {

namespace {

/// The toolkit's own interface would switch a checkable button without a click, so that only its look
/// changed.
class AccessibleFlatButton : public PressableInterface
{
public:
    explicit AccessibleFlatButton(FlatButton *button) : PressableInterface(button, button->accessibleRole())
    {}

    // Asked anew: a reader may have met the button before its constructor had made it checkable.
    [[nodiscard]] QAccessible::Role role() const override { return button()->accessibleRole(); }

    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        const QString own = QAccessibleWidget::text(kind);
        return kind == QAccessible::Name && own.isEmpty() ? button()->text() : own;
    }

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.pressed = button()->isDown();
        if (button()->isCheckable() && role() == QAccessible::Button) {
            state.expandable = true;
            state.expanded = button()->isChecked();
            state.collapsed = !button()->isChecked();
        } else {
            state.checkable = button()->isCheckable();
            state.checked = button()->isChecked();
        }
        return state;
    }

protected:
    void press() override { button()->click(); }

private:
    [[nodiscard]] FlatButton *button() const { return static_cast<FlatButton *>(widget()); }
};

} // namespace

FlatButton::FlatButton(QWidget *parent) : QAbstractButton(parent), m_fade(*this)
{
    setFocusPolicy(Qt::TabFocus);
    connect(this, &QAbstractButton::pressed, this, [this] { m_fade.setPressed(true); });
    connect(this, &QAbstractButton::released, this, [this] { m_fade.setPressed(false); });
}

QAccessibleInterface *FlatButton::makeAccessible()
{
    return new AccessibleFlatButton(this);
}

bool FlatButton::event(QEvent *event)
{
    m_fade.handle(*event);
    return QAbstractButton::event(event);
}

void FlatButton::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (!event->isAutoRepeat())
            click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void FlatButton::paintGround(QPainter &painter, const QRectF &shape, double radius,
                             const QColor &ground) const
{
    if (ground.isValid())
        fillRounded(painter, shape, radius, ground);
    if (m_fade.level() > 0)
        fillRounded(painter, shape, radius, paletteOf(this).veil(m_fade.level()));
}

} // namespace kestrune
