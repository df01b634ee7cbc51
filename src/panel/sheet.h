// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>
#include <QWidget>

namespace kestrune {

/// Where a sheet of `size` stands: centred over `panel`, kept inside `screen`.
[[nodiscard]] QRect sheetGeometry(const QRect &panel, const QSize &size, const QRect &screen);

/// A popup of its own over the panel, which may be wider than the panel, around a view of fixed size. A click
/// outside closes the sheet and nothing else.
class Sheet : public QWidget
{
    Q_OBJECT

public:
    Sheet(QWidget *panel, QWidget *view);

    void openOver();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QWidget *m_view;
};

} // namespace kestrune
