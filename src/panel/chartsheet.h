// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QRect>
#include <QWidget>

namespace kestrune {

class ChartGrip;
class ChartWidget;
class Chip;

/// Where the chart stands on the screen: beside the panel, left of it rather than right, narrower than wanted
/// where that is enough, else over it.
[[nodiscard]] QRect chartPlace(const QRect &panel, const QSize &wanted, const QRect &screen);

/// The chart with the chips of its lines, inside the panel's window, which grows by it: so both take the
/// keyboard and the mouse, and close together. A panel that is a window itself has the chart over it. Closing
/// deletes it.
class ChartSheet : public QWidget
{
    Q_OBJECT

public:
    ChartSheet(const PanelContext &context, QWidget *panel);
    ~ChartSheet() override;

    void open();
    void leave();
    void refresh();
    [[nodiscard]] ChartWidget *chart() const { return m_chart; }

Q_SIGNALS:
    void closed();

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void place(const QSize &wanted);
    void giveRoomBack();
    void resizeTo(const QPoint &corner);

    PanelContext m_context;
    QWidget *m_panel;
    ChartWidget *m_chart;
    ChartGrip *m_grip = nullptr;
    QList<Chip *> m_chips;  // of the lines, in the order of the choices
    bool m_gripLeft = true; // the corner that is not the panel's
    QSize m_wanted;
};

} // namespace kestrune
