// SPDX-License-Identifier: MIT
#pragma once

#include "ui/typography.h"

#include <QWidget>

namespace kestrune {

class IconButton;

/// A title with a small question mark whose tooltip explains it; pressing the mark shows the tooltip at once,
/// for those who do not hover.
class HelpTitle : public QWidget
{
    Q_OBJECT

public:
    HelpTitle(const QString &title, TypeRole role, const QString &help, QWidget *parent = nullptr);

    [[nodiscard]] IconButton *mark() const { return m_mark; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showHelp(const QPoint &at);

    IconButton *m_mark;
};

} // namespace kestrune
