// SPDX-License-Identifier: MIT
#pragma once

#include "ui/flatbutton.h"

#include <QWidget>

class QVariantAnimation;

namespace kestrune {

/// The title row of a section that folds: chevron, title, and a softer word after it. `clicked` asks the
/// owner to fold or unfold; the row shows what `setChecked` says.
class DisclosureHeader : public FlatButton
{
    Q_OBJECT

public:
    explicit DisclosureHeader(const QString &title, QString suffix = {}, QWidget *parent = nullptr);

    [[nodiscard]] QAccessible::Role accessibleRole() const override { return QAccessible::Button; }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }
    [[nodiscard]] QRectF focusRect() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_suffix;
};

/// Shows or hides a widget below a title by growing it from nothing to its full height in 0.2 s; at once
/// while nobody sees it.
class Collapsible : public QWidget
{
    Q_OBJECT

public:
    /// Takes over `content`, folded at first.
    explicit Collapsible(QWidget *content, QWidget *parent = nullptr);

    void setExpanded(bool expanded);
    [[nodiscard]] bool isExpanded() const { return m_expanded; }
    /// Goes to where the fold under way would end.
    void finish();

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, 0}; }
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;

Q_SIGNALS:
    /// The content has grown by a step before the eyes of the user.
    void unfolding();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    [[nodiscard]] int fullHeight(int width) const;
    void setShare(double share);
    void placeContent();

    QWidget *m_content;
    bool m_expanded = false;
    bool m_unfolding = false; // before the eyes of the user, until the layout has followed the last step
    double m_share = 0;       // of the full height
    QVariantAnimation *m_animation;
};

} // namespace kestrune
