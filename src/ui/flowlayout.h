// SPDX-License-Identifier: MIT
#pragma once

#include <QLayout>
#include <QSize>

#include <optional>
#include <span>
#include <vector>

namespace kestrune {

/// What the walk of a wrapping row comes to.
struct FlowGeometry
{
    std::vector<QPoint> positions; ///< top-left corners, one per child
    QSize size;                    ///< the proposed width (unproposed: the width used) by the lines' height
};

/// Walks the children in order and starts a new line before one that would reach beyond `width` (no width:
/// one endless line). A child wider than that takes a line of its own.
[[nodiscard]] FlowGeometry flowGeometry(std::span<const QSize> children, std::optional<int> width,
                                        int horizontalSpacing, int verticalSpacing);

/// A wrapping row of widgets at their ideal sizes.
class FlowLayout : public QLayout
{
    Q_OBJECT

public:
    explicit FlowLayout(QWidget *parent = nullptr, int horizontalSpacing = 4, int verticalSpacing = 2);
    ~FlowLayout() override;

    void addItem(QLayoutItem *item) override;
    [[nodiscard]] int count() const override { return static_cast<int>(m_items.size()); }
    [[nodiscard]] QLayoutItem *itemAt(int index) const override;
    QLayoutItem *takeAt(int index) override;
    void setGeometry(const QRect &rect) override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSize() const override;
    [[nodiscard]] Qt::Orientations expandingDirections() const override { return {}; }
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;

private:
    [[nodiscard]] FlowGeometry walk(std::optional<int> width) const;

    std::vector<QLayoutItem *> m_items; // owned
    int m_horizontalSpacing;
    int m_verticalSpacing;
};

} // namespace kestrune
