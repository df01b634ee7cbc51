// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QScrollArea>

namespace kestrune {

class EdgeFade;

/// A frameless vertical scroll area on the window's ground. Its thin scroll bar floats over the right margin
/// of the content, so that nothing moves when it appears; the content fades out where it is cut.
class ScrollArea : public QScrollArea
{
    Q_OBJECT

public:
    explicit ScrollArea(QWidget *parent = nullptr);

    /// Keeps this widget of the content where it is seen while what stands above it changes its height, as
    /// long as it is in the upper half of the view or further up.
    void setAnchor(QWidget *anchor);
    /// Scrolls until the end of this part of the content is seen, or its beginning where it is too high for
    /// both; not at all while it is seen. Brings the layouts up to date first.
    void reveal(const QWidget *part);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void updateFades();
    void noteChange(int anchorTop);
    void followAnchor();

    QWidget *m_handle;
    EdgeFade *m_above; // over the cut edges
    EdgeFade *m_below;
    QPointer<QWidget> m_anchor;
    bool m_changing = false; ///< until the end of this turn of the event loop
    int m_valueBefore = 0;   ///< of the scroll bar, before the change bounds it
    int m_topBefore = 0;     ///< of the anchor in the content
};

} // namespace kestrune
