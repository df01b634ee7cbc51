// SPDX-License-Identifier: MIT
#pragma once

#include "panel/panelcontext.h"

#include <QWidget>

namespace kestrune {

class BlingButton;
class IconButton;
class TextButton;
class TextLabel;

/// Disclaimer and actions; above them what is to be known first: that the settings could not be read, until
/// that is acknowledged, and that prices are not live.
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
    QWidget *m_unread;
    TextLabel *m_unreadText;
    TextButton *m_acknowledge;
    IconButton *m_refresh;
    IconButton *m_help;
    IconButton *m_web;
    BlingButton *m_bling;
};

} // namespace kestrune
