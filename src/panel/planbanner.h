// SPDX-License-Identifier: MIT
#pragma once

#include "ui/palette.h"
#include "viewmodel/planbannermodel.h"

#include <QWidget>

#include <vector>

namespace kestrune {

class IconButton;
class IconLabel;
class TextButton;
class TextLabel;

/// The trade plan in its verdict's colour: optional title with a way back, verdict, price lines, position,
/// advice and warnings, cost, and the button that sets the alerts.
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

    [[nodiscard]] QWidget *makeTitleRow();
    [[nodiscard]] QWidget *makeBottomRow();
    void setLines(const std::vector<PlanLine> &lines);

    Tone m_tone = Tone::secondary;
    QWidget *m_titleRow;
    TextLabel *m_title;
    IconButton *m_close;
    TextLabel *m_headline;
    TextLabel *m_detail;
    QWidget *m_lineBox;
    std::vector<Line> m_lines; // shown ones first
    TextLabel *m_cost;
    TextButton *m_setAlerts;
};

} // namespace kestrune
