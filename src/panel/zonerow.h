// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/zone.h"
#include "panel/zonetags.h"
#include "ui/accessibility.h"
#include "ui/focusring.h"
#include "ui/hoverfade.h"

#include <QTimer>
#include <QWidget>

#include <vector>

namespace kestrune {

class FlowLayout;
class IconButton;
class Tag;

/// One support or resistance zone. Give it `overhang` more width on both sides than its text shall have:
/// its highlight reaches that far beyond. All setters work in place.
class ZoneRow : public QWidget, public FocusShape, public SelfDescribing
{
    Q_OBJECT

public:
    static constexpr int overhang = 6;

    ZoneRow(const Zone &zone, int decimals, QWidget *parent = nullptr);

    void setZone(const Zone &zone, int decimals);
    [[nodiscard]] const Zone &zone() const { return m_zone; }
    /// A price alert stands on the zone's middle; one goes along with the zone.
    void setAlerts(bool onMiddle, bool follows);
    /// Greys the numbers of a zone that is old or of another selection.
    void setDimmed(bool dimmed);
    void setSelected(bool selected);
    /// As under the pointer: the zone is pointed at elsewhere.
    void setLit(bool lit);
    [[nodiscard]] bool isSelected() const { return m_selected; }
    [[nodiscard]] const QString &priceText() const { return m_price; }
    [[nodiscard]] const QString &distance() const { return m_distance; }
    [[nodiscard]] IconButton *bell() const { return m_bell; }

    [[nodiscard]] QAccessibleInterface *makeAccessible() override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QRectF focusRect() const override { return QRectF(rect()).adjusted(2, 0, -2, 0); }
    [[nodiscard]] double focusRadius() const override { return 6; }

Q_SIGNALS:
    void tapped();
    void bellPressed();
    /// By the pointer, the keyboard, a reader, or a long press on the bell.
    void menuRequested(const QPoint &globalPosition);
    void pointed(bool on); ///< the pointer has come or gone

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    friend class AccessibleZoneRow;

    void askForMenu();
    void updateTags();
    void updateTexts();
    void updateAccessibleTexts();
    [[nodiscard]] int tagWidth(int width) const;

    Zone m_zone;
    int m_decimals;
    QString m_price;
    QString m_distance;
    int m_distanceWidth = 0;
    bool m_dimmed = false;
    bool m_selected = false;
    bool m_lit = false;
    bool m_pressed = false; // the mouse went down on the row
    std::vector<TagContent> m_tagContents;
    std::vector<Tag *> m_tags; // shown ones first
    QWidget *m_tagBox;
    FlowLayout *m_flow;
    IconButton *m_bell;
    bool m_followed = false;
    QTimer m_holding; // the bell
    HoverFade m_fade;
};

} // namespace kestrune
