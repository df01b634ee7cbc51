// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

namespace kestrune {

class ChoiceRow;
class IconLabel;
class PixelSparkline;
class Spinner;
class TextLabel;

/// Instrument, sparkline and price; change and time or standing of the price; status and timeframes.
class HeaderSection : public QWidget
{
    Q_OBJECT

public:
    explicit HeaderSection(const PanelContext &context, QWidget *parent = nullptr);

    void refresh();
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void chartRequested();

private:
    [[nodiscard]] QWidget *makeTitleRow();
    [[nodiscard]] QWidget *makeChangeRow();
    [[nodiscard]] QWidget *makeStatusRow();
    void refreshTitle();

    PanelContext m_context;
    TextLabel *m_title;
    int m_titleWidth = 0; // at its full size
    PixelSparkline *m_sparkline;
    TextLabel *m_price;
    Spinner *m_spinner;
    TextLabel *m_change;
    TextLabel *m_priceLine;
    IconLabel *m_statusIcon;
    TextLabel *m_status;
    ChoiceRow *m_timeframes;
};

} // namespace kestrune
