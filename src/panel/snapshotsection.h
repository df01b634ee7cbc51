// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

#include <vector>

namespace kestrune {

class FlowLayout;
class TextLabel;

/// The one-line conclusion and one dot, label and verdict per timeframe.
class SnapshotSection : public QWidget
{
    Q_OBJECT

public:
    explicit SnapshotSection(const PanelContext &context, QWidget *parent = nullptr);

    void refresh();

private:
    PanelContext m_context;
    TextLabel *m_conclusion;
    QWidget *m_itemBox;
    FlowLayout *m_items;
    std::vector<QWidget *> m_itemWidgets; // shown ones first
};

} // namespace kestrune
