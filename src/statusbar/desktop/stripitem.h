// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/desktop/itemwidget.h"
#include "statusbar/statusitem.h"

#include <QTimer>

#include <memory>

namespace kestrune {

class Preferences;

/// Where the strip's top right corner belongs: the remembered place moved onto the nearest free area, without
/// one the right end of the first area's top.
[[nodiscard]] QPoint stripCorner(std::optional<QPoint> remembered, const QSize &size,
                                 const QList<QRect> &availableAreas);

/// The item as a small window of its own, for desktops whose bar does not show the text. It never takes the
/// focus, can be dragged and stays where it was left; its right end keeps its place when the width changes.
class StripItem final : public StatusItem
{
    Q_OBJECT
public:
    /// `preferences` outlives the item.
    explicit StripItem(Preferences &preferences);
    ~StripItem() override;

    void show(const StatusItemContent &content) override;
    [[nodiscard]] std::optional<QRect> place() const override;

private:
    void putInPlace();
    void becomeForeignToManagers();
    void watchSize();
    void watchPlace();
    [[nodiscard]] QRect currentPlace() const;
    void beginOrContinueDrag(const QPoint &distance);
    void endDrag();

    Preferences &m_preferences;
    std::unique_ptr<ItemWidget> m_widget;
    std::optional<QPoint> m_dragOrigin; ///< corner at the press
    QPoint m_chosen;                    ///< top left corner, as asked for last
    QTimer m_placeCheck;                ///< runs once after showing
};

} // namespace kestrune
