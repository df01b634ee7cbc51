// SPDX-License-Identifier: MIT
#pragma once

#include "line/barrecord.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QPoint>

#include <functional>
#include <memory>

namespace kestrune {

/// The running program to others on the session's bus, as docs/dbus.md tells: what the item shows, and what
/// one can do with it. Says nothing as long as nobody has asked.
class BarService final : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kestrune.Bar1")
    // As the generated one would be, but that no reader may keep a property: it hears no more than Changed.
    Q_CLASSINFO(
        "D-Bus Introspection",
        "  <interface name=\"org.kestrune.Bar1\">\n"
        "    <property name=\"Title\" type=\"s\" access=\"read\"/>\n"
        "    <property name=\"Price\" type=\"d\" access=\"read\"/>\n"
        "    <property name=\"Signal\" type=\"s\" access=\"read\"/>\n"
        "    <property name=\"Fresh\" type=\"b\" access=\"read\"/>\n"
        "    <property name=\"Json\" type=\"s\" access=\"read\"/>\n"
        "    <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>\n"
        "    <signal name=\"Changed\"/>\n"
        "    <method name=\"Open\">\n"
        "      <arg name=\"x\" type=\"i\" direction=\"in\"/>\n"
        "      <arg name=\"y\" type=\"i\" direction=\"in\"/>\n"
        "    </method>\n"
        "    <method name=\"Close\"/>\n"
        "    <method name=\"Next\"/>\n"
        "    <method name=\"Previous\"/>\n"
        "    <method name=\"Select\">\n"
        "      <arg name=\"code\" type=\"s\" direction=\"in\"/>\n"
        "    </method>\n"
        "  </interface>\n")
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(double Price READ price)
    Q_PROPERTY(QString Signal READ signal)
    Q_PROPERTY(bool Fresh READ fresh)
    Q_PROPERTY(QString Json READ json)
public:
    struct Panel
    {
        /// For a click at a position in the screen's own pixels; where that is nowhere, at the item.
        std::function<void(const QPoint &position)> open;
        std::function<void()> close;
    };

    BarService(const QDBusConnection &connection, std::shared_ptr<AppState> state,
               const QString &marketNotice, Panel panel);
    ~BarService() override;

    [[nodiscard]] QString title() const { return m_feed->read().text; }
    [[nodiscard]] double price() const { return m_feed->read().price.value_or(0); }
    [[nodiscard]] QString signal() const { return m_feed->read().states.first(); }
    [[nodiscard]] bool fresh() const { return m_feed->read().exitStatus() == 0; }
    [[nodiscard]] QString json() const { return QString::fromUtf8(m_feed->read().json); }

public Q_SLOTS:
    Q_SCRIPTABLE void Open(int x, int y);
    Q_SCRIPTABLE void Close();
    Q_SCRIPTABLE void Next();
    Q_SCRIPTABLE void Previous();
    Q_SCRIPTABLE void Select(const QString &code);

Q_SIGNALS:
    /// What was read last no longer holds; once until something is read again.
    Q_SCRIPTABLE void Changed();

private:
    QDBusConnection m_connection;
    std::shared_ptr<AppState> m_state;
    std::unique_ptr<RecordFeed> m_feed;
    Panel m_panel;
};

} // namespace kestrune
