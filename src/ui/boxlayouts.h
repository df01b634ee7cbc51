// SPDX-License-Identifier: MIT
#pragma once

#include <QBoxLayout>

namespace kestrune {

/// A row, or a column, that fills `widget` but for the margins; without a widget a part of another layout.
inline QHBoxLayout *rowIn(QWidget *widget, int spacing, const QMargins &margins = {})
{
    auto *row = new QHBoxLayout(widget);
    row->setContentsMargins(margins);
    row->setSpacing(spacing);
    return row;
}

inline QVBoxLayout *columnIn(QWidget *widget, int spacing, const QMargins &margins = {})
{
    auto *column = new QVBoxLayout(widget);
    column->setContentsMargins(margins);
    column->setSpacing(spacing);
    return column;
}

} // namespace kestrune
