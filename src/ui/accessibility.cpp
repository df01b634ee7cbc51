// SPDX-License-Identifier: MIT
#include "ui/accessibility.h"

#include <QAccessibleWidget>
#include <QWidget>

namespace kestrune {

namespace {

QAccessibleInterface *makeInterface(const QString &, QObject *object)
{
    auto *widget = dynamic_cast<SelfDescribing *>(object);
    return widget ? widget->makeAccessible() : nullptr;
}

} // namespace

SelfDescribing::SelfDescribing()
{
    static const bool installed = (QAccessible::installFactory(makeInterface), true);
    Q_UNUSED(installed)
}

QAccessibleInterface *accessibleWithRole(SelfDescribing *widget, QAccessible::Role role)
{
    return new QAccessibleWidget(dynamic_cast<QWidget *>(widget), role);
}

} // namespace kestrune
