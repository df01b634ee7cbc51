// SPDX-License-Identifier: MIT
#pragma once

#include "ui/palette.h"
#include "viewmodel/planbannermodel.h"

#include <QWidget>

#include <vector>

namespace kestrune {

class IconButton;
class IconLabel;
class RatioBar;
class Tag;
class TextButton;
class TextLabel;

/// The trade plan in its verdict's colour: optional title with a way back, direction and verdict, price rows,
/// position, advice and warnings, cost, and the button that sets the alerts; or why there is no plan.
class PlanBanner : public QWidget
{
    Q_OBJECT

public:
    explicit PlanBanner(QWidget *parent = nullptr);

    void setModel(const PlanBannerModel &model);
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void closeRequested();
    void alertsRequested();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    struct Line
    {
        QWidget *row;
        IconLabel *icon;
        TextLabel *text;
    };

    struct PriceRow
    {
        TextLabel *label;
        TextLabel *number;
        TextLabel *rest;
    };

    [[nodiscard]] QWidget *makeTitleRow();
    [[nodiscard]] QWidget *makeVerdictRow();
    [[nodiscard]] QWidget *makeBottomRow();
    void setPlan(const TradePlan &plan);
    void setPrices(const std::vector<PlanRow> &rows);
    void setLines(const std::vector<PlanLine> &lines);

    Tone m_tone = Tone::secondary;
    QWidget *m_titleRow;
    TextLabel *m_title;
    IconButton *m_close;
    QWidget *m_verdictRow;
    Tag *m_direction;
    TextLabel *m_headline;
    QWidget *m_priceBox;
    std::vector<PriceRow> m_prices; // shown ones first
    RatioBar *m_ratio;              // beside the last number
    QWidget *m_lineBox;
    std::vector<Line> m_lines; // shown ones first
    QWidget *m_bottomRow;
    TextLabel *m_cost;
    TextButton *m_setAlerts;
};

} // namespace kestrune
