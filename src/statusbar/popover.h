// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QWidget>

#include <functional>
#include <optional>

namespace kestrune {

/// What the popover shows, and how it hands on what it knows of its surroundings.
struct PanelContent
{
    QWidget *widget = nullptr;
    std::function<void(bool)> setDark;
    std::function<void(int)> setMaximumHeight;      ///< the free room in pixels
    std::function<void(const QString &)> showError; ///< a message that leaves by itself
};

/// The window that holds the panel: opens under the status item, closes by a click elsewhere, by Escape and
/// when another program takes over.
class Popover : public QWidget
{
    Q_OBJECT
public:
    using ContentFactory = std::function<PanelContent(QWidget *parent)>;

    /// The content is made at the first opening.
    explicit Popover(ContentFactory makeContent);

    void setDark(bool dark);
    /// Shows the message in the open panel, or as soon as it opens next.
    void showError(const QString &message);
    /// Opens under `item` (global, logical) on the item's screen.
    void openAt(const QRect &item);
    /// A click on the item closes the open panel before the item hears of it; that click must not open it
    /// again.
    [[nodiscard]] bool hasJustClosed() const;

Q_SIGNALS:
    /// The item was pressed with the right button while the panel lay over everything.
    void itemMenuRequested(const QPoint &position);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void makeContent();
    void discardClosedWindow();
    void applicationStateChanged(Qt::ApplicationState state);

    ContentFactory m_makeContent;
    std::optional<PanelContent> m_content;
    QWidget *m_edge = nullptr; ///< made with the content, lies over it
    bool m_dark = false;
    QRect m_item;           ///< where the panel was opened
    QString m_waitingError; ///< for the next opening
    QElapsedTimer m_sinceClosed;
    bool m_wasActive = false; ///< the program has been active since the panel opened
};

} // namespace kestrune
