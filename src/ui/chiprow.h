// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <vector>

namespace kestrune {

class Chip;
class EdgeFade;

/// `key` tells a chip of a row from the others and is what the row's signals name. A chip whose text is
/// another tells its key in the tooltip and to screen readers.
struct ChipItem
{
    QString key;
    QString text;

    bool operator==(const ChipItem &) const = default;
};

/// Chips in a row that scrolls sideways by wheel, by dragging and by the arrow keys, and fades out
/// where it is cut. Pressing and holding lifts a chip, which then follows the hand to another place.
class ChipRow : public QWidget
{
    Q_OBJECT

public:
    static constexpr int ringRoom = 4; ///< above and below the chips, for the focus ring

    explicit ChipRow(QWidget *parent = nullptr);

    /// Keys occur once. `current` is highlighted and brought into view when it or the list changes.
    void setContent(const std::vector<ChipItem> &items, const QString &current);
    [[nodiscard]] const std::vector<Chip *> &chips() const { return m_chips; }
    /// Pixels the row is scrolled to the right.
    [[nodiscard]] int offset() const { return m_offset; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

Q_SIGNALS:
    void picked(const QString &key);
    /// By Delete; the owner removes it.
    void removeRequested(const QString &key);
    /// A chip is wanted at another position in the list, by hand or by Alt and an arrow key.
    void moveRequested(const QString &key, int position);
    void menuRequested(const QString &key, const QPoint &globalPosition);
    /// There are others, or in another order.
    void chipsChanged();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    [[nodiscard]] Chip *makeChip();
    [[nodiscard]] int indexOf(const Chip *chip) const;
    void rebuild(const std::vector<ChipItem> &items);
    void place();
    void scrollTo(int offset);
    void bringIntoView(const Chip &chip);
    [[nodiscard]] int farthestOffset() const;
    void press(int x, Chip *chip);
    void drag(int x);
    [[nodiscard]] bool letGo();
    void lift();
    void carry();
    void putDown();
    bool filterKey(Chip &chip, const QKeyEvent &event);

    std::vector<ChipItem> m_items;
    QString m_current;
    std::vector<Chip *> m_chips; // of the items, in order
    QWidget *m_strip;            // holds the chips, moves sideways
    EdgeFade *m_before;          // over the cut edges
    EdgeFade *m_after;
    int m_offset = 0;
    int m_pressX = 0;
    int m_handX = 0;
    int m_pressOffset = 0;
    bool m_pressed = false;
    bool m_dragging = false;
    Chip *m_held = nullptr;   // pressed
    Chip *m_lifted = nullptr; // held for long enough
    int m_grip = 0;           // where the hand holds it
    int m_target = 0;         // the position it would take
    QTimer m_holding;
    QTimer m_creeping; // scrolls while a lifted chip is held at an edge
};

} // namespace kestrune
