// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace kestrune {

/// The ground growing over a content towards an edge behind which there is more of it. Lies above the
/// content and lets the mouse through; its owner shows it while there is more.
class EdgeFade : public QWidget
{
public:
    static constexpr int depth = 16;

    EdgeFade(Qt::Edge edge, QWidget *parent);

    /// Places it along its edge of `area`, a rectangle of the parent.
    void placeIn(const QRect &area);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Qt::Edge m_edge;
};

} // namespace kestrune
