// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/statusitem.h"

#include <QWidget>

namespace kestrune {

/// A window of our own that shows the status picture at the screen's scale, in a tray or as a strip.
class ItemWidget : public QWidget
{
    Q_OBJECT
public:
    enum class Ground { transparent, solid };

    ItemWidget(Qt::WindowFlags flags, Ground ground);

    void setContent(const StatusItemContent &content);
    [[nodiscard]] const StatusItemContent &content() const { return m_content; }
    [[nodiscard]] QSize sizeHint() const override;

Q_SIGNALS:
    void resizeWanted(); ///< the picture has got another width
    void resized();      ///< by us, or by what holds the window
    void clicked();
    void menuRequested(const QPoint &position);
    void dragged(const QPoint &distance); ///< since the press
    void dropped();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    StatusItemContent m_content;
    Ground m_ground;
    QPointF m_pressedAt;
    bool m_pressed = false;
    bool m_dragging = false;
};

} // namespace kestrune
