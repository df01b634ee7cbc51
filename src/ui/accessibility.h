// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace kestrune {

/// Lets widgets describe themselves and lists every visible top-level window among the application's
/// accessible children, popups included, which the toolkit leaves out. Call it with the application object
/// there, before a screen reader asks.
void installAccessibility();

/// A widget that makes its own interface for screen readers. Names and descriptions are the widget's own.
class SelfDescribing
{
public:
    [[nodiscard]] virtual QAccessibleInterface *makeAccessible() = 0;

protected:
    SelfDescribing() { installAccessibility(); }
    ~SelfDescribing() = default;
};

/// For widgets that need nothing but a role.
template <QAccessible::Role role>
class WithRole : public SelfDescribing
{
public:
    [[nodiscard]] QAccessibleInterface *makeAccessible() override
    {
        return new QAccessibleWidget(dynamic_cast<QWidget *>(this), role);
    }

protected:
    ~WithRole() = default;
};

/// The interface of a widget that is pressed, or toggled where it is a check box or a radio button.
class PressableInterface : public QAccessibleWidget
{
public:
    using QAccessibleWidget::QAccessibleWidget;

    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString &name) override;

protected:
    virtual void press() = 0;
};

} // namespace kestrune
