// SPDX-License-Identifier: MIT
#include "ui/approot.h"

#include <QAccessible>
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

QAccessibleInterface *makeRoot(const QString &, QObject *object)
{
    return object == qApp ? new AppRoot(object) : nullptr;
}

} // namespace

void installAccessibleRoot()
{
    static const bool installed = (QAccessible::installFactory(makeRoot), true);
    Q_UNUSED(installed)
}

} // namespace kestrune
