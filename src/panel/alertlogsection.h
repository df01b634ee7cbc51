// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"
#include "viewmodel/alertlines.h"

#include <QWidget>

#include <vector>

namespace kestrune {

class Collapsible;
class DisclosureHeader;
class TextLabel;

/// What rang, of all instruments: the last firings under a title that folds.
class AlertLogSection : public QWidget
{
    Q_OBJECT

public:
    explicit AlertLogSection(const PanelContext &context, QWidget *parent = nullptr);

    void refresh();
    void setExpanded(bool expanded);
    [[nodiscard]] QList<QWidget *> tabStops() const;

private:
    PanelContext m_context;
    DisclosureHeader *m_header;
    QWidget *m_content;
    Collapsible *m_body;
    TextLabel *m_empty;
    std::vector<AlertLogLine> m_lines;
    std::vector<QWidget *> m_parts; // headings and rows, in order
};

} // namespace kestrune
