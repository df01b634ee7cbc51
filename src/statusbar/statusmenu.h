// SPDX-License-Identifier: MIT
#pragma once

#include <QAction>
#include <QList>
#include <QMenu>
#include <QObject>

#include <memory>

namespace kestrune {

/// The status item's menu: its four entries, shown by ourselves or exported to a host.
class StatusMenu : public QObject
{
    Q_OBJECT
public:
    StatusMenu();
    ~StatusMenu() override;

    /// In order; a separator is an action too.
    [[nodiscard]] const QList<QAction *> &entries() const { return m_entries; }
    void setAutostart(bool on);
    /// Opens the menu as a window of our own, top left corner at `position` (global, logical).
    void popup(const QPoint &position);

Q_SIGNALS:
    void showRequested();
    void refreshRequested();
    void autostartToggled(bool on);
    void quitRequested();
    /// About to be shown: whoever knows brings the entries up to date.
    void aboutToShow();

private:
    QAction *add(const QString &text);

    QList<QAction *> m_entries;
    QAction *m_autostart = nullptr;
    std::unique_ptr<QMenu> m_menu; ///< made at the first use
};

} // namespace kestrune
