// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

#include <vector>

namespace kestrune {

class Collapsible;
class DisclosureHeader;
class TextLabel;

/// The raw indicator readings, folded away unless wanted.
class ContextSection : public QWidget
{
    Q_OBJECT

public:
    explicit ContextSection(const PanelContext &context, QWidget *parent = nullptr);

    void refresh();
    /// Ends a fold that is under way.
    void finishFolding();
    [[nodiscard]] QList<QWidget *> tabStops() const;

private:
    struct Row
    {
        QWidget *widget;
        TextLabel *label;
        TextLabel *value;
    };

    void addRow();

    PanelContext m_context;
    DisclosureHeader *m_header;
    QWidget *m_content;
    Collapsible *m_body;
    std::vector<Row> m_rows; // shown ones first
};

} // namespace kestrune
