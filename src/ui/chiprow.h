// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <QWidget>

#include <vector>

namespace kestrune {

class Chip;
class EdgeFade;

/// Chips in a row that scrolls sideways by wheel, by dragging and by the arrow keys, and fades out
/// where it is cut.
class ChipRow : public QWidget
{
    Q_OBJECT

public:
    static constexpr int ringRoom = 4; ///< above and below the chips, for the focus ring

    explicit ChipRow(QWidget *parent = nullptr);

    /// `current` is highlighted and brought into view when it or the list changes.
    void setContent(const QStringList &symbols, const QString &current);
    [[nodiscard]] const std::vector<Chip *> &chips() const { return m_chips; }
    /// Pixels the row is scrolled to the right.
    [[nodiscard]] int offset() const { return m_offset; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

Q_SIGNALS:
    void picked(const QString &symbol);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void rebuild();
    void scrollTo(int offset);
    void bringIntoView(const Chip &chip);
    [[nodiscard]] int farthestOffset() const;
    void press(int x);
    void drag(int x);
    bool filterKey(const Chip &chip, const QKeyEvent &event);

    QStringList m_symbols;
    QString m_current;
    std::vector<Chip *> m_chips; // in order
    QWidget *m_strip;            // holds the chips, moves sideways
    EdgeFade *m_before;          // over the cut edges
    EdgeFade *m_after;
    int m_offset = 0;
    int m_pressX = 0;
    int m_pressOffset = 0;
    bool m_pressed = false;
    bool m_dragging = false;
};

} // namespace kestrune
