// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QScrollArea>

namespace kestrune {

/// A frameless vertical scroll area on the window's ground. Its thin scroll bar floats over the right margin
/// of the content, so that nothing moves when it appears.
class ScrollArea : public QScrollArea
{
    Q_OBJECT

public:
    explicit ScrollArea(QWidget *parent = nullptr);

    /// Keeps this widget of the content where it is seen while what stands above it changes its height, as
    /// long as it is in the upper half of the view or further up.
    void setAnchor(QWidget *anchor);
    /// Scrolls down until the end of this part of the content is seen, but no further than to its beginning.
    void reveal(const QWidget *part);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void noteChange(int anchorTop);
    void followAnchor();

    QWidget *m_handle;
    QPointer<QWidget> m_anchor;
    bool m_changing = false; ///< until the end of this turn of the event loop
    int m_valueBefore = 0;   ///< of the scroll bar, before the change bounds it
    int m_topBefore = 0;     ///< of the anchor in the content
};

} // namespace kestrune
