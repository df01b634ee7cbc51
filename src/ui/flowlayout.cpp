// SPDX-License-Identifier: MIT
#include "ui/flowlayout.h"

#include <algorithm>

namespace kestrune {

FlowGeometry flowGeometry(std::span<const QSize> children, std::optional<int> width, int horizontalSpacing,
                          int verticalSpacing)
{
    FlowGeometry result;
    result.positions.reserve(children.size());
    int x = 0;
    int y = 0;
    int lineHeight = 0;
    for (const QSize &child : children) {
        if (x > 0 && width && x + child.width() > *width) {
            y += lineHeight + verticalSpacing;
            x = 0;
            lineHeight = 0;
        }
        result.positions.emplace_back(x, y);
        x += child.width() + horizontalSpacing;
        lineHeight = std::max(lineHeight, child.height());
    }
    const int used = children.empty() ? 0 : x - horizontalSpacing;
    result.size = {width.value_or(used), y + lineHeight};
    return result;
}

FlowLayout::FlowLayout(QWidget *parent, int horizontalSpacing, int verticalSpacing)
    : QLayout(parent), m_horizontalSpacing(horizontalSpacing), m_verticalSpacing(verticalSpacing)
{
    setContentsMargins(0, 0, 0, 0);
}

FlowLayout::~FlowLayout()
{
    for (QLayoutItem *item : m_items)
        delete item;
}

void FlowLayout::addItem(QLayoutItem *item)
{
    m_items.push_back(item);
    invalidate();
}

QLayoutItem *FlowLayout::itemAt(int index) const
{
    return index >= 0 && index < count() ? m_items[static_cast<std::size_t>(index)] : nullptr;
}

QLayoutItem *FlowLayout::takeAt(int index)
{
    QLayoutItem *item = itemAt(index);
    if (item)
        m_items.erase(m_items.begin() + index);
    return item;
}

void FlowLayout::setGeometry(const QRect &rect)
{
    QLayout::setGeometry(rect);
    const QRect inside = rect.marginsRemoved(contentsMargins());
    const FlowGeometry flow = walk(inside.width());
    std::size_t next = 0;
    for (QLayoutItem *item : m_items) {
        if (!item->isEmpty())
            item->setGeometry({inside.topLeft() + flow.positions[next++], item->sizeHint()});
    }
}

QSize FlowLayout::sizeHint() const
{
    const QMargins margins = contentsMargins();
    return walk(std::nullopt).size +
           QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

QSize FlowLayout::minimumSize() const
{
    QSize largest(0, 0);
    for (const QLayoutItem *item : m_items) {
        if (!item->isEmpty())
            largest = largest.expandedTo(item->sizeHint());
    }
    const QMargins margins = contentsMargins();
    return largest + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

int FlowLayout::heightForWidth(int width) const
{
    const QMargins margins = contentsMargins();
    return walk(width - margins.left() - margins.right()).size.height() + margins.top() + margins.bottom();
}

FlowGeometry FlowLayout::walk(std::optional<int> width) const
{
    std::vector<QSize> sizes;
    sizes.reserve(m_items.size());
    for (const QLayoutItem *item : m_items) {
        if (!item->isEmpty()) // a hidden widget takes no place
            sizes.push_back(item->sizeHint());
    }
    return flowGeometry(sizes, width, m_horizontalSpacing, m_verticalSpacing);
}

} // namespace kestrune
