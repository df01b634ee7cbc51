// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

#include <vector>

namespace kestrune {

class Chip;
class ChipRow;
struct ChipItem;
class MarketSwitch;

/// The segment's instruments as chips, behind them the way to add one, above them the choice of the segment.
class InstrumentsSection : public QWidget
{
    Q_OBJECT

public:
    explicit InstrumentsSection(const PanelContext &context, QWidget *parent = nullptr);
    ~InstrumentsSection() override;

    void refresh();
    /// Selects what stands at a position of the list; nothing happens where there is none.
    void pick(qsizetype position);
    /// Selects the instrument so many places further on, at most to an end of the list.
    void step(int places);
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void tabStopsChanged();
    void picked(const QString &symbol);
    void marketPicked(MarketSegment segment);
    void addRequested();
    /// What was done to the list and, with an action, how to undo it.
    void noted(const QString &message, bool isError, const QString &action,
               const std::function<void()> &onAction);

private:
    void removeInstrument(const QString &symbol);
    void resetList();
    void showMenu(const QString &symbol, const QPoint &globalPosition);

    PanelContext m_context;
    MarketSwitch *m_market;
    ChipRow *m_chips;
    Chip *m_add;
    std::vector<ChipItem> m_items;
    bool m_itemsStale = true;
    MarketSegment m_itemsOf = MarketSegment::crypto;
};

} // namespace kestrune
