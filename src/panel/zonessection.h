// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

#include <vector>

namespace kestrune {

class IconButton;
class PlanBanner;
class TextButton;
class TextLabel;
class ZoneList;

/// Resistances, the price line, the trade plan, supports. As wide as the panel: the rows reach beyond the
/// margin by themselves.
class ZonesSection : public QWidget
{
    Q_OBJECT

public:
    explicit ZonesSection(const PanelContext &context, QWidget *parent = nullptr);

    void refresh();
    [[nodiscard]] QList<QWidget *> tabStops() const;
    /// Price line and plan, what the panel is opened for.
    [[nodiscard]] const QWidget *core() const { return m_core; }
    /// Whether so many rows are listed on a side that the core may lie outside the first view.
    [[nodiscard]] bool isLong() const;
    /// Lights the row of a zone that is pointed at elsewhere; none with an empty type.
    void light(double mid, const QString &type);

Q_SIGNALS:
    void tabStopsChanged();
    void refreshRequested(); ///< of the zones alone
    void chartRequested();
    void zonePointed(double mid, const QString &type); ///< an empty type: none any more

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    [[nodiscard]] QWidget *makeLoadingRow();
    [[nodiscard]] QWidget *makePriceLine();
    void connectList(ZoneList *list);
    void refreshRows();
    void refreshMessages();
    void showNotices(const QStringList &notices);
    void refreshPriceLine();
    void refreshBanner();
    void keepHeight(bool empty);
    void showMenu(const Zone &zone, const QPoint &globalPosition);
    void openChart();

    PanelContext m_context;
    ZoneList *m_resistances;
    ZoneList *m_supports;
    TextLabel *m_noResistances;
    TextLabel *m_noSupports;
    QWidget *m_core;
    QWidget *m_loadingRow;  // with no rows to look at
    QWidget *m_loadingHint; // inside the price line, so that rows do not jump at every refresh
    TextButton *m_empty;
    QWidget *m_noticeBox;
    std::vector<TextLabel *> m_notices; // shown ones first
    TextLabel *m_planNotice;            // in the banner's place
    TextLabel *m_price;
    IconButton *m_chart; // of the market's site
    TextButton *m_ownChart;
    PlanBanner *m_banner;
    bool m_wasEmpty = true;
    bool m_wasLoading = false;
};

} // namespace kestrune
