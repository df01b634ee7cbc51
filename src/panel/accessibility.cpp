#include "panel/accessibility.h"

#include "panel/divider.h"
#include "panel/flatbutton.h"
#include "panel/focusring.h"
#include "panel/helpview.h"
#include "panel/pixelsparkline.h"
#include "panel/spinner.h"
#include "panel/tag.h"
#include "panel/textlabel.h"
#include "panel/toast.h"
#include "panel/zonerow.h"

#include <QAccessibleWidget>

namespace kestrune {

namespace {

/// A zone row is pressed to select it and reports its selection as a check mark.
class AccessibleZoneRow : public QAccessibleWidget
{
public:
    explicit AccessibleZoneRow(ZoneRow *row) : QAccessibleWidget(row, QAccessible::CheckBox) {}

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.checkable = true;
        state.checked = row()->isSelected();
        return state;
    }

    [[nodiscard]] QStringList actionNames() const override
    {
        return QStringList{toggleAction()} + QAccessibleWidget::actionNames();
    }

    void doAction(const QString &name) override
    {
        if (name == toggleAction() || name == pressAction())
            Q_EMIT row()->tapped();
        else
            QAccessibleWidget::doAction(name);
    }

private:
    [[nodiscard]] ZoneRow *row() const { return static_cast<ZoneRow *>(widget()); }
};

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

QAccessibleInterface *makeInterface(const QString &, QObject *object)
{
    auto *widget = qobject_cast<QWidget *>(object);
    if (!widget)
        return nullptr;
    if (auto *row = qobject_cast<ZoneRow *>(widget))
        return new AccessibleZoneRow(row);
    if (auto *button = qobject_cast<FlatButton *>(widget))
        return new AccessibleFlatButton(button);
    if (qobject_cast<TextLabel *>(widget) || qobject_cast<Tag *>(widget))
        return new QAccessibleWidget(widget, QAccessible::StaticText);
    if (qobject_cast<Divider *>(widget))
        return new QAccessibleWidget(widget, QAccessible::Separator);
    if (qobject_cast<FocusRing *>(widget))
        return new QAccessibleWidget(widget, QAccessible::Border);
    if (qobject_cast<PixelSparkline *>(widget))
        return new QAccessibleWidget(widget, QAccessible::Chart);
    if (qobject_cast<Spinner *>(widget))
        return new QAccessibleWidget(widget, QAccessible::Animation);
    if (qobject_cast<Toast *>(widget))
        return new QAccessibleWidget(widget, QAccessible::AlertMessage);
    if (qobject_cast<HelpView *>(widget))
        return new QAccessibleWidget(widget, QAccessible::Dialog);
    return nullptr;
}

} // namespace

void installPanelAccessibility()
{
    static const bool installed = (QAccessible::installFactory(makeInterface), true);
    Q_UNUSED(installed)
}

} // namespace kestrune
