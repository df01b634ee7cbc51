// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/appearance.h"
#include "statusbar/desktop/namewatch.h"
#include "statusbar/desktop/notifierwatch.h"
#include "statusbar/desktop/traywatch.h"
#include "statusbar/presentation.h"
#include "statusbar/statusitem.h"

#include <QDBusConnection>
#include <QList>
#include <QTimer>

#include <chrono>
#include <memory>

class QAction;

namespace kestrune {

class NotifierItem;
class Preferences;
class StripItem;
class XEmbedItem;

/// The status item as the controller sees it: picks the presentation that suits the desktop, at the start and
/// again whenever a host appears or goes.
class StatusItemChooser final : public StatusItem
{
    Q_OBJECT
public:
    struct Options
    {
        bool stripForced = false;
        QString yieldsTo{}; ///< while this name has an owner, that one shows the item; empty: nobody does
        std::chrono::milliseconds hostWait{5000};  ///< at log-in, before the strip shows
        std::chrono::milliseconds lookAfter{2000}; ///< whether a host lists the item that it was told of
    };

    /// `preferences` and the actions of `menu` outlive the item.
    StatusItemChooser(const QDBusConnection &connection, Preferences &preferences,
                      const QList<QAction *> &menu, const Options &options);
    ~StatusItemChooser() override;

    void show(const StatusItemContent &content) override;
    [[nodiscard]] std::optional<QRect> place() const override;

    [[nodiscard]] const Presentation &presentation() const { return m_presentation; }

Q_SIGNALS:
    void barChanged(const kestrune::BarColors &bar);
    void menuAboutToShow();

private:
    [[nodiscard]] DesktopFacts facts() const;
    void trayChanged();
    void hostsChanged();
    void choose();
    void apply(const Presentation &next);
    void makeTray();
    void makeOrRegisterNotifier();
    void forward(StatusItem &item);
    void checkBar();

    QDBusConnection m_connection;
    Preferences &m_preferences;
    QList<QAction *> m_menu;
    Options m_options;
    TrayWatch m_trayWatch;
    NotifierWatch m_notifierWatch;
    NameWatch m_shellWatch;
    QTimer m_wait; ///< for a host that is not there yet, or not there any more
    bool m_waited = false;
    bool m_squeezed = false;   ///< by the tray that is there now
    bool m_unanswered = false; ///< so far, by that tray
    bool m_unlisted = false;   ///< by the notifier's host
    int m_registeredWith = 0;
    std::optional<StatusItemContent> m_content;
    Presentation m_presentation;
    BarColors m_bar; ///< as announced last
    std::unique_ptr<XEmbedItem> m_tray;
    std::unique_ptr<NotifierItem> m_notifier;
    std::unique_ptr<StripItem> m_strip;
};

} // namespace kestrune
