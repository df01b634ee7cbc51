// SPDX-License-Identifier: MIT
#include "statusbar/desktop/menuexport.h"

#include "statusbar/desktop/notifiertypes.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <QSet>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

const QString menuInterface = u"com.canonical.dbusmenu"_s;
const QString clickedEvent = u"clicked"_s;
const QString propertiesInterface = u"org.freedesktop.DBus.Properties"_s;

QVariantMap rootProperties()
{
    return {{u"children-display"_s, u"submenu"_s}};
}

QVariantMap propertiesOf(const QAction &action)
{
    if (action.isSeparator())
        return {{u"type"_s, u"separator"_s}};
    QString label = action.text();
    label.replace(u"_"_s, u"__"_s); // an underscore marks a mnemonic
    QVariantMap map{{u"label"_s, label}, {u"enabled"_s, action.isEnabled()}, {u"visible"_s, true}};
    if (action.isCheckable()) {
        map.insert(u"toggle-type"_s, u"checkmark"_s);
        map.insert(u"toggle-state"_s, action.isChecked() ? 1 : 0);
    }
    return map;
}

QVariantMap interfaceProperties()
{
    return {{u"Version"_s, QVariant::fromValue<uint>(3)},
            {u"TextDirection"_s, u"ltr"_s},
            {u"Status"_s, u"normal"_s},
            {u"IconThemePath"_s, QStringList()}};
}

} // namespace

MenuExport::MenuExport(const QDBusConnection &connection, const QString &path,
                       const QList<QAction *> &entries)
    : m_connection(connection), m_path(path), m_entries(entries)
{
    registerNotifierTypes();
    for (const QAction *action : m_entries)
        connect(action, &QAction::changed, this, &MenuExport::announceChange);
    m_connection.registerVirtualObject(m_path, this);
}

MenuExport::~MenuExport()
{
    m_connection.unregisterObject(m_path);
}

QString MenuExport::introspect(const QString &) const
{
    return uR"xml(<interface name="com.canonical.dbusmenu">
<property name="Version" type="u" access="read"/>
<property name="TextDirection" type="s" access="read"/>
<property name="Status" type="s" access="read"/>
<property name="IconThemePath" type="as" access="read"/>
<method name="GetLayout">
 <arg name="parentId" type="i" direction="in"/>
 <arg name="recursionDepth" type="i" direction="in"/>
 <arg name="propertyNames" type="as" direction="in"/>
 <arg name="revision" type="u" direction="out"/>
 <arg name="layout" type="(ia{sv}av)" direction="out"/>
</method>
<method name="GetGroupProperties">
 <arg name="ids" type="ai" direction="in"/>
 <arg name="propertyNames" type="as" direction="in"/>
 <arg name="properties" type="a(ia{sv})" direction="out"/>
</method>
<method name="GetProperty">
 <arg name="id" type="i" direction="in"/>
 <arg name="name" type="s" direction="in"/>
 <arg name="value" type="v" direction="out"/>
</method>
<method name="Event">
 <arg name="id" type="i" direction="in"/>
 <arg name="eventId" type="s" direction="in"/>
 <arg name="data" type="v" direction="in"/>
 <arg name="timestamp" type="u" direction="in"/>
</method>
<method name="EventGroup">
 <arg name="events" type="a(isvu)" direction="in"/>
 <arg name="idErrors" type="ai" direction="out"/>
</method>
<method name="AboutToShow">
 <arg name="id" type="i" direction="in"/>
 <arg name="needUpdate" type="b" direction="out"/>
</method>
<method name="AboutToShowGroup">
 <arg name="ids" type="ai" direction="in"/>
 <arg name="updatesNeeded" type="ai" direction="out"/>
 <arg name="idErrors" type="ai" direction="out"/>
</method>
<signal name="LayoutUpdated"><arg name="revision" type="u"/><arg name="parent" type="i"/></signal>
</interface>)xml"_s;
}

bool MenuExport::handleMessage(const QDBusMessage &message, const QDBusConnection &)
{
    if (message.interface() == propertiesInterface)
        return handlePropertyCall(message);
    if (message.interface() == menuInterface || message.interface().isEmpty())
        return handleMenuCall(message);
    return false;
}

bool MenuExport::handlePropertyCall(const QDBusMessage &message)
{
    const QVariantMap all = interfaceProperties();
    const QVariantList arguments = message.arguments();
    if (message.member() == "GetAll"_L1)
        return m_connection.send(message.createReply(all));
    if (message.member() != "Get"_L1 || arguments.size() != 2 || !all.contains(arguments[1].toString()))
        return false;
    return m_connection.send(
        message.createReply(QVariant::fromValue(QDBusVariant(all.value(arguments[1].toString())))));
}

bool MenuExport::handleMenuCall(const QDBusMessage &message)
{
    const QString member = message.member();
    const QVariantList arguments = message.arguments();
    const QString signature = message.signature();
    const auto reply = [&](const QVariantList &values) {
        return m_connection.send(message.createReply(values));
    };
    if (member == "GetLayout"_L1 && signature == "iias"_L1) {
        const int parent = arguments[0].toInt();
        const QAction *action = entry(parent);
        const MenuNode node = action ? MenuNode{parent, propertiesOf(*action), {}} : layout();
        return reply({m_revision, QVariant::fromValue(node)});
    }
    if (member == "GetGroupProperties"_L1 && signature == "aias"_L1)
        return reply({QVariant::fromValue(properties(qdbus_cast<QList<int>>(arguments[0])))});
    if (member == "GetProperty"_L1 && signature == "is"_L1) {
        const QAction *action = entry(arguments[0].toInt());
        const QVariantMap map = action ? propertiesOf(*action) : rootProperties();
        return reply(
            {QVariant::fromValue(QDBusVariant(map.value(arguments[1].toString(), QVariant(QString()))))});
    }
    if (member == "Event"_L1 && signature == "isvu"_L1) {
        if (arguments[1].toString() == clickedEvent)
            click(arguments[0].toInt());
        return reply({});
    }
    if (member == "EventGroup"_L1 && signature == "a(isvu)"_L1)
        return reply({QVariant::fromValue(sendEvents(arguments[0]))});
    if (member == "AboutToShow"_L1 && signature == "i"_L1) {
        const uint before = m_revision;
        Q_EMIT aboutToShow();
        return reply({m_revision != before});
    }
    if (member == "AboutToShowGroup"_L1 && signature == "ai"_L1) {
        Q_EMIT aboutToShow();
        return reply({QVariant::fromValue(QList<int>()), QVariant::fromValue(QList<int>())});
    }
    return false;
}

MenuNode MenuExport::layout() const
{
    MenuNode root{0, rootProperties(), {}};
    for (int id = 1; const QAction *action : m_entries)
        root.children.append({id++, propertiesOf(*action), {}});
    return root;
}

QList<MenuProperties> MenuExport::properties(const QList<int> &ids) const
{
    QList<MenuProperties> list;
    if (ids.isEmpty()) { // all of them
        for (int id = 1; const QAction *action : m_entries)
            list.append({id++, propertiesOf(*action)});
        return list;
    }
    QSet<int> asked;
    for (const int id : ids) {
        if (const QAction *action = entry(id); action && !asked.contains(id)) {
            asked.insert(id);
            list.append({id, propertiesOf(*action)});
        }
    }
    return list;
}

QAction *MenuExport::entry(int id) const
{
    return m_entries.value(qsizetype(id) - 1);
}

void MenuExport::click(int id)
{
    // After the answer: the entry may end the program.
    if (QAction *action = entry(id))
        QMetaObject::invokeMethod(action, &QAction::trigger, Qt::QueuedConnection);
}

QList<int> MenuExport::sendEvents(const QVariant &events)
{
    QList<int> clicked; // in their order
    QSet<int> unknown;
    const auto list = events.value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        int id = 0;
        QString name;
        QDBusVariant data;
        uint timestamp = 0;
        list.beginStructure();
        list >> id >> name >> data >> timestamp;
        list.endStructure();
        if (id != 0 && !entry(id))
            unknown.insert(id);
        else if (name == clickedEvent && !clicked.contains(id))
            clicked.append(id);
    }
    list.endArray();
    for (const int id : clicked)
        click(id);
    return unknown.values();
}

void MenuExport::announceChange()
{
    QDBusMessage signal = QDBusMessage::createSignal(m_path, menuInterface, u"LayoutUpdated"_s);
    signal << ++m_revision << 0;
    m_connection.send(signal);
}

} // namespace kestrune
