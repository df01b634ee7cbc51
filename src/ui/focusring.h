// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility.h"

#include <QPointer>
#include <QRectF>
#include <QWidget>

namespace kestrune {

/// A widget whose visible shape differs from its rectangle tells the focus ring here.
class FocusShape
{
public:
    virtual ~FocusShape() = default;
    [[nodiscard]] virtual QRectF focusRect() const = 0; ///< in the widget's coordinates
    [[nodiscard]] virtual double focusRadius() const = 0;
};

/// Lets two keys move the focus along `row`, from an event filter of its widgets: true for such a key press
/// on one of them.
[[nodiscard]] bool moveFocusByKeys(const QList<QWidget *> &row, const QObject *watched, const QEvent &event,
                                   Qt::Key back, Qt::Key forward);

/// The one focus ring of a window: 2 px of accent, 2 px outside the focused widget, only when the focus came
/// by the keyboard. It moves with its widget, scrolls with it and is cut where the widget's scroll area
/// cuts, so leave 4 px around what can be focused. Create it once as a child of the window.
class FocusRing : public QWidget, public WithRole<QAccessible::Border>
{
    Q_OBJECT

public:
    explicit FocusRing(QWidget *window);

    /// The widget the ring is around, if it shows.
    [[nodiscard]] QWidget *target() const { return isHidden() ? nullptr : m_target.data(); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void moveTo(QWidget *target);
    void place();
    void leave();

    QPointer<QWidget> m_window;
    QPointer<QWidget> m_target;
    double m_radius = 6;
};

} // namespace kestrune
