// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

namespace kestrune {

class BlingButton;
class IconButton;
class TextLabel;

/// Disclaimer and actions; above them, where the prices are not live, the line that says so.
class FooterSection : public QWidget
{
    Q_OBJECT

public:
    FooterSection(const PanelContext &context, const QString &marketNotice, QWidget *parent = nullptr);

    void refresh();
    [[nodiscard]] QList<QWidget *> tabStops() const;

Q_SIGNALS:
    void refreshRequested();
    void helpRequested();

private:
    PanelContext m_context;
    TextLabel *m_note;
    IconButton *m_refresh;
    IconButton *m_help;
    IconButton *m_web;
    BlingButton *m_bling;
};

} // namespace kestrune
