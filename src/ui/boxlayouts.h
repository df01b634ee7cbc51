// SPDX-License-Identifier: MIT
#pragma once

#include <QBoxLayout>

namespace kestrune {

/// A row, or a column, that fills `widget` to its edges.
inline QHBoxLayout *rowIn(QWidget *widget, int spacing)
{
    auto *row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing);
    return row;
}

inline QVBoxLayout *columnIn(QWidget *widget, int spacing)
{
    auto *column = new QVBoxLayout(widget);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing);
    return column;
}

} // namespace kestrune
