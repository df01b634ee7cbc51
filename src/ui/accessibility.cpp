// SPDX-License-Identifier: MIT
#include "ui/accessibility.h"

#include <QAccessibleObject>
#include <QApplication>
#include <QWidget>

namespace kestrune {

namespace {

QList<QObject *> shownWindows()
{
    QList<QObject *> windows;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->windowType() != Qt::Desktop && window->windowType() != Qt::ToolTip)
            windows.append(window);
    }
    return windows;
}

class AppRoot : public QAccessibleObject
{
public:
    using QAccessibleObject::QAccessibleObject;

    [[nodiscard]] QAccessibleInterface *parent() const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return int(shownWindows().size()); }
    [[nodiscard]] QAccessibleInterface *child(int index) const override
    {
        const auto windows = shownWindows();
        return index >= 0 && index < windows.size() ? QAccessible::queryAccessibleInterface(windows[index])
                                                    : nullptr;
    }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override
    {
        return child ? int(shownWindows().indexOf(child->object())) : -1;
    }
    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Name)
            return QApplication::applicationName();
        return kind == QAccessible::Description ? QApplication::applicationFilePath() : QString();
    }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::Application; }
    [[nodiscard]] QAccessible::State state() const override { return {}; }
    [[nodiscard]] QAccessibleInterface *focusChild() const override
    {
        QWidget *focused = QApplication::focusWidget();
        return focused ? QAccessible::queryAccessibleInterface(focused) : nullptr;
    }
};

QAccessibleInterface *makeInterface(const QString &, QObject *object)
{
    if (object == qApp)
        return new AppRoot(object);
    auto *widget = dynamic_cast<SelfDescribing *>(object);
    return widget ? widget->makeAccessible() : nullptr;
}

} // namespace

void installAccessibility()
{
    static const bool installed = (QAccessible::installFactory(makeInterface), true);
    Q_UNUSED(installed)
}

QStringList PressableInterface::actionNames() const
{
    const bool toggles = role() == QAccessible::CheckBox || role() == QAccessible::RadioButton;
    return QStringList{toggles ? toggleAction() : pressAction()} + QAccessibleWidget::actionNames();
}

void PressableInterface::doAction(const QString &name)
{
    if (name == toggleAction() || name == pressAction())
        press();
    else
        QAccessibleWidget::doAction(name);
}

} // namespace kestrune
