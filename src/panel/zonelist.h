// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/zone.h"

#include <QWidget>

#include <span>
#include <vector>

namespace kestrune {

class ZoneRow;

/// The rows of one side. Zones are new objects at every tick: a row keeps its place, hover and focus by the
/// level it shows.
class ZoneList : public QWidget
{
    Q_OBJECT

public:
    explicit ZoneList(QWidget *parent = nullptr);

    void setZones(std::span<const Zone> zones, int decimals);
    [[nodiscard]] const std::vector<ZoneRow *> &rows() const { return m_rows; }

Q_SIGNALS:
    /// A row is new or gone, or the order changed.
    void rowsChanged();
    void tapped(const kestrune::Zone &zone);
    void bellPressed(const kestrune::Zone &zone);
    void menuRequested(const kestrune::Zone &zone, const QPoint &globalPosition);
    void pointed(double mid, const QString &type); ///< an empty type: no row any more

private:
    [[nodiscard]] ZoneRow *makeRow(const Zone &zone, int decimals);
    void removeRow(ZoneRow *row, const std::vector<ZoneRow *> &remaining);

    std::vector<ZoneRow *> m_rows; // in order
};

} // namespace kestrune
