// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility.h"

#include <QTextLayout>
#include <QTimer>
#include <QWidget>

class QVariantAnimation;

namespace kestrune {

/// A capsule with an icon and a message that rises into place, stays 2.5 s and leaves. It floats above its
/// parent: tell it where its lower edge stands. Hiding the parent ends it at once.
class Toast : public QWidget, public WithRole<QAccessible::AlertMessage>
{
    Q_OBJECT

public:
    explicit Toast(QWidget *parent);

    /// Shows a message, replacing one that shows; every message gets the full time.
    void present(const QString &message, bool isError);
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
    QVariantAnimation *m_slide;
};

} // namespace kestrune
