// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessible>

namespace kestrune {

/// A widget that makes its own interface for screen readers. Names and descriptions are the widget's own.
class SelfDescribing
{
public:
    [[nodiscard]] virtual QAccessibleInterface *makeAccessible() = 0;

protected:
    SelfDescribing();
    ~SelfDescribing() = default;
};

[[nodiscard]] QAccessibleInterface *accessibleWithRole(SelfDescribing *widget, QAccessible::Role role);

/// For widgets that need nothing but a role.
template <QAccessible::Role role>
class WithRole : public SelfDescribing
{
public:
    [[nodiscard]] QAccessibleInterface *makeAccessible() override { return accessibleWithRole(this, role); }

protected:
    ~WithRole() = default;
};

} // namespace kestrune
