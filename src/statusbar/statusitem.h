// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/statusimage.h"

#include <QObject>
#include <QRect>
#include <QString>

#include <optional>
#include <vector>

namespace kestrune {

/// Everything that a presentation of the status item needs to show.
struct StatusItemContent
{
    bool bling = false;
    StatusContent status; ///< filled in neon mode too: hosts with room for a dot only show its signal
    std::vector<BlingItem> signs;
    int blingPulse = 0;
    QString title;          ///< name, price and change on one line
    QString detail;         ///< the verdict
    int firedElsewhere = 0; ///< alerts of other instruments that wait for an answer

    /// The text beside the dot, where the host writes it.
    [[nodiscard]] QString label() const;
};

/// Whether both are drawn alike; texts beside the picture do not count.
[[nodiscard]] bool samePicture(const StatusItemContent &a, const StatusItemContent &b);
/// Whether nothing at all would look or read differently.
[[nodiscard]] bool sameContent(const StatusItemContent &a, const StatusItemContent &b);

/// The finished picture at twice its size, for hosts that are handed a bitmap.
[[nodiscard]] StatusPicture pictureOf(const StatusItemContent &content);
/// Logical width of the picture when it is painted at `scale`.
[[nodiscard]] double widthOf(const StatusItemContent &content, double scale);
/// Paints it at the painter's scale, `origin` its top left corner in logical units.
void paintContent(QPainter &painter, const QPointF &origin, const StatusItemContent &content);

/// The item in the desktop's bar, whichever way the desktop shows it. Coordinates are global and logical.
class StatusItem : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    virtual void show(const StatusItemContent &content) = 0;
    /// Where the item is; nothing when its host does not say.
    [[nodiscard]] virtual std::optional<QRect> place() const = 0;

Q_SIGNALS:
    /// Clicked; `anchor` is the item's place, or just a point of it.
    void activated(const QRect &anchor);
    void contextMenuRequested(const QPoint &position);
};

} // namespace kestrune
