#pragma once

#include <QElapsedTimer>
#include <QPalette>
#include <QPointer>
#include <QWidget>

#include <functional>

namespace kestrune {

/// The window that holds the panel: opens under the status item, closes by a click elsewhere, by Escape and
/// when another program takes over.
class Popover : public QWidget
{
    Q_OBJECT
public:
    using ContentFactory = std::function<QWidget *(QWidget *parent)>;

    /// The content is made at the first opening.
    explicit Popover(ContentFactory makeContent);

    /// Opens under `item` (global, logical) on the item's screen.
    void openAt(const QRect &item);
    /// A click on the item closes the open panel before the item hears of it; that click must not open it
    /// again.
    [[nodiscard]] bool hasJustClosed() const;

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void applicationStateChanged(Qt::ApplicationState state);

    ContentFactory m_makeContent;
    QPointer<QWidget> m_content;
    QElapsedTimer m_sinceClosed;
    bool m_wasActive = false; ///< the program has been active since the panel opened
};

} // namespace kestrune
