// SPDX-License-Identifier: MIT
#include "ui/flatbutton.h"

#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QPainter>

namespace kestrune {

namespace {

/// The toolkit's own interface would switch a checkable button without a click, so that only its look
/// changed.
class AccessibleFlatButton : public QAccessibleWidget
{
public:
    explicit AccessibleFlatButton(FlatButton *button) : QAccessibleWidget(button, button->accessibleRole()) {}

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

    [[nodiscard]] QStringList actionNames() const override
    {
        return QStringList{action()} + QAccessibleWidget::actionNames();
    }

    void doAction(const QString &name) override
    {
        if (name == toggleAction() || name == pressAction())
            button()->click();
        else
            QAccessibleWidget::doAction(name);
    }

private:
    [[nodiscard]] FlatButton *button() const { return static_cast<FlatButton *>(widget()); }
    [[nodiscard]] QString action() const
    {
        return role() == QAccessible::CheckBox || role() == QAccessible::RadioButton ? toggleAction()
                                                                                     : pressAction();
    }
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
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (ground.isValid()) {
        painter.setBrush(ground);
        painter.drawRoundedRect(shape, radius, radius);
    }
    if (m_fade.level() > 0) {
        painter.setBrush(paletteOf(this).veil(m_fade.level()));
        painter.drawRoundedRect(shape, radius, radius);
    }
}

} // namespace kestrune
