// SPDX-License-Identifier: MIT
#include "panel/zonelist.h"

#include "panel/zonerow.h"
#include "ui/boxlayouts.h"
#include "viewmodel/zonelisting.h"

#include <algorithm>

namespace kestrune {

namespace {

constexpr int zoneRowSpacing = 2;

} // namespace

ZoneList::ZoneList(QWidget *parent) : QWidget(parent)
{
    columnIn(this, zoneRowSpacing);
}

void ZoneList::setZones(std::span<const Zone> zones, int decimals)
{
    std::vector<Zone> shown;
    shown.reserve(m_rows.size());
    for (const ZoneRow *row : m_rows)
        shown.push_back(row->zone());

    const auto matches = matchRows(shown, zones);
    std::vector<ZoneRow *> next;
    next.reserve(zones.size());
    for (std::size_t i = 0; i < zones.size(); ++i) {
        if (matches[i]) {
            next.push_back(m_rows[*matches[i]]);
            next.back()->setZone(zones[i], decimals);
        } else {
            next.push_back(makeRow(zones[i], decimals));
        }
    }
    if (next == m_rows)
        return;
    for (ZoneRow *row : m_rows) {
        if (std::ranges::find(next, row) == next.end())
            removeRow(row, next);
    }
    auto *column = static_cast<QVBoxLayout *>(layout());
    for (std::size_t i = 0; i < next.size(); ++i) {
        if (column->indexOf(next[i]) != int(i))
            column->insertWidget(int(i), next[i]); // moves one that is in the layout already
        next[i]->show();
    }
    m_rows = std::move(next);
    Q_EMIT rowsChanged();
}

ZoneRow *ZoneList::makeRow(const Zone &zone, int decimals)
{
    auto *row = new ZoneRow(zone, decimals, this);
    connect(row, &ZoneRow::tapped, this, [this, row] { Q_EMIT tapped(row->zone()); });
    connect(row, &ZoneRow::pointed, this,
            [this, row](bool on) { Q_EMIT pointed(row->zone().mid, on ? row->zone().type : QString()); });
    connect(row, &ZoneRow::bellPressed, this, [this, row] { Q_EMIT bellPressed(row->zone()); });
    connect(row, &ZoneRow::menuRequested, this,
            [this, row](const QPoint &at) { Q_EMIT menuRequested(row->zone(), at); });
    return row;
}

// The keyboard's place is handed to the row that now stands where this one stood.
void ZoneList::removeRow(ZoneRow *row, const std::vector<ZoneRow *> &remaining)
{
    const bool focused = row->hasFocus() || row->isAncestorOf(row->window()->focusWidget());
    const auto at = std::size_t(std::ranges::find(m_rows, row) - m_rows.begin());
    layout()->removeWidget(row);
    row->hide();
    row->deleteLater();
    if (focused && !remaining.empty())
        remaining[std::min(at, remaining.size() - 1)]->setFocus(Qt::OtherFocusReason);
}

} // namespace kestrune
