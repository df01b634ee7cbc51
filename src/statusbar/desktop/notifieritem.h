// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/desktop/menuexport.h"
#include "statusbar/desktop/notifierregistration.h"
#include "statusbar/presentation.h"
#include "statusbar/statusitem.h"

#include <QDBusConnection>
#include <QVariantMap>

#include <chrono>
#include <memory>
#include <optional>

namespace kestrune {

/// The item as a StatusNotifierItem on the session bus. Its properties are made when a host asks for them;
/// a host hears only of those that have changed.
class NotifierItem final : public StatusItem
{
    Q_OBJECT
public:
    /// `lookAfter`: when the watcher is asked whether it lists the item.
    NotifierItem(const QDBusConnection &connection, NotifierHost host, const QList<QAction *> &menu,
                 std::chrono::milliseconds lookAfter = std::chrono::seconds(2));
    ~NotifierItem() override;

    void show(const StatusItemContent &content) override;
    [[nodiscard]] std::optional<QRect> place() const override { return m_lastClick; }
    /// Another host may treat the item in another way. Makes it known to the watcher that is there now.
    void registerWith(NotifierHost host);

Q_SIGNALS:
    void menuAboutToShow();
    /// The watcher lists the item, or has been asked in vain to.
    void listedChanged(bool listed);

private:
    class BusObject;

    [[nodiscard]] QVariantMap properties() const;
    [[nodiscard]] QVariant property(const QString &name) const;
    [[nodiscard]] bool call(const QString &member, const QVariantList &arguments, const QString &signature);
    [[nodiscard]] bool showsWide() const { return m_host == NotifierHost::wide; }
    [[nodiscard]] bool samePictureForHost(const StatusItemContent &a, const StatusItemContent &b) const;
    void clicked(const QPoint &given);
    void announce(const QString &signal, const QVariantList &arguments = {});

    QDBusConnection m_connection;
    NotifierHost m_host;
    NotifierRegistration m_registration;
    StatusItemContent m_content;
    std::optional<QRect> m_lastClick;
    std::unique_ptr<BusObject> m_object;
    MenuExport m_menu;
    bool m_known = false; ///< on the bus, with a first picture
};

} // namespace kestrune
