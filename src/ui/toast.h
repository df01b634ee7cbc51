// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility.h"

#include <QTextLayout>
#include <QTimer>
#include <QWidget>

#include <functional>

class QVariantAnimation;

namespace kestrune {

class TextButton;

/// A capsule with an icon and a message that rises into place, stays 2.5 s and leaves; with a button it stays
/// 8 s, and on while the button has the pointer or the focus. It floats above its
/// parent: tell it where its lower edge stands. Hiding the parent ends it at once.
class Toast : public QWidget, public WithRole<QAccessible::AlertMessage>
{
    Q_OBJECT

public:
    explicit Toast(QWidget *parent);

    /// Shows a message, replacing one that shows; every message gets the full time.
    /// With an `action` there is a button of that text, which runs `onAction` and ends the message.
    void present(const QString &message, bool isError, const QString &action = {},
                 std::function<void()> onAction = {});
    /// Shows and can be reached while the message has an action.
    [[nodiscard]] QWidget *actionButton() const;
    /// Middle of the capsule's lower edge in the parent, and the widest the capsule may be.
    void setAnchor(const QPoint &bottomCenter, int maximumWidth);

    /// What shows, or is on its way out; empty when none.
    [[nodiscard]] const QString &message() const { return m_message; }
    [[nodiscard]] bool isError() const { return m_isError; }

Q_SIGNALS:
    void dismissed();

protected:
    void paintEvent(QPaintEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void slideTo(double presence);
    void place();
    void clear();

    QString m_message;
    bool m_isError = false;
    QPoint m_bottomCenter;
    int m_maximumWidth = 292;
    QSize m_capsule;
    QTextLayout m_layout;
    double m_presence = 0; // 0 away, 1 in place
    QTimer m_dismissal;
    TextButton *m_action;
    std::function<void()> m_onAction;
    QVariantAnimation *m_slide;
};

} // namespace kestrune
