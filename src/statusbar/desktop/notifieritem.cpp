// SPDX-License-Identifier: MIT
#include "statusbar/desktop/notifieritem.h"

#include "statusbar/desktop/notifiertypes.h"
#include "statusbar/panelplacement.h"
#include "statusbar/wayland.h"

#include <QCursor>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QImage>

#include <array>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

const QString itemPath = u"/StatusNotifierItem"_s;
const QString menuPath = u"/StatusNotifierItem/Menu"_s;
const QString itemInterface = u"org.kde.StatusNotifierItem"_s;

struct ItemProperty
{
    QLatin1String name;
    QLatin1String type;
};

constexpr std::array itemProperties{
    ItemProperty{"Category"_L1, "s"_L1},
    ItemProperty{"Id"_L1, "s"_L1},
    ItemProperty{"Title"_L1, "s"_L1},
    ItemProperty{"Status"_L1, "s"_L1},
    ItemProperty{"WindowId"_L1, "i"_L1}, // unsigned, some hosts refuse it
    ItemProperty{"IconName"_L1, "s"_L1},
    ItemProperty{"IconPixmap"_L1, "a(iiay)"_L1},
    ItemProperty{"OverlayIconName"_L1, "s"_L1},
    ItemProperty{"OverlayIconPixmap"_L1, "a(iiay)"_L1},
    ItemProperty{"AttentionIconName"_L1, "s"_L1},
    ItemProperty{"AttentionIconPixmap"_L1, "a(iiay)"_L1},
    ItemProperty{"AttentionMovieName"_L1, "s"_L1},
    ItemProperty{"ToolTip"_L1, "(sa(iiay)ss)"_L1},
    ItemProperty{"ItemIsMenu"_L1, "b"_L1},
    ItemProperty{"Menu"_L1, "o"_L1},
    ItemProperty{"IconThemePath"_L1, "s"_L1},
    ItemProperty{"XAyatanaLabel"_L1, "s"_L1},
    ItemProperty{"XAyatanaLabelGuide"_L1, "s"_L1},
};

/// The signal dot alone. With an alert it alternates like the text of the wide picture.
QImage dotImage(const StatusContent &status, int side)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const double diameter = side * 14 / 22.0;
    const double corner = (side - diameter) / 2;
    const bool orange = status.alertActive && status.pulse % 2 == 0;
    drawStatusDot(image, QRectF(corner, corner, diameter, diameter),
                  orange ? statusTextColor(status) : statusDotColor(status), status.dimmed);
    return image;
}

bool sameDot(const StatusContent &a, const StatusContent &b)
{
    return a.signal == b.signal && a.alertActive == b.alertActive && a.pulse == b.pulse && a.dark == b.dark &&
           a.dimmed == b.dimmed;
}

QString statusOf(const StatusContent &status)
{
    return status.alertActive ? u"NeedsAttention"_s : u"Active"_s;
}

} // namespace

class NotifierItem::BusObject final : public QDBusVirtualObject
{
public:
    explicit BusObject(NotifierItem &item) : m_item(item) {}

    [[nodiscard]] QString introspect(const QString &) const override
    {
        QString xml = u"<interface name=\"%1\">\n"_s.arg(itemInterface);
        for (const ItemProperty &property : itemProperties)
            xml +=
                u"<property name=\"%1\" type=\"%2\" access=\"read\"/>\n"_s.arg(property.name, property.type);
        for (const auto name : {"Activate"_L1, "SecondaryActivate"_L1, "ContextMenu"_L1})
            xml += u"<method name=\"%1\"><arg name=\"x\" type=\"i\" direction=\"in\"/>"
                   "<arg name=\"y\" type=\"i\" direction=\"in\"/></method>\n"_s.arg(name);
        xml += u"<method name=\"Scroll\"><arg name=\"delta\" type=\"i\" direction=\"in\"/>"
               "<arg name=\"orientation\" type=\"s\" direction=\"in\"/></method>\n"
               "<method name=\"ProvideXdgActivationToken\"><arg name=\"token\" type=\"s\" direction=\"in\"/>"
               "</method>\n"_s;
        for (const auto name :
             {"NewTitle"_L1, "NewIcon"_L1, "NewAttentionIcon"_L1, "NewOverlayIcon"_L1, "NewToolTip"_L1})
            xml += u"<signal name=\"%1\"/>\n"_s.arg(name);
        xml += u"<signal name=\"NewStatus\"><arg name=\"status\" type=\"s\"/></signal>\n"
               "<signal name=\"XAyatanaNewLabel\"><arg name=\"label\" type=\"s\"/>"
               "<arg name=\"guide\" type=\"s\"/></signal>\n</interface>"_s;
        return xml;
    }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        const QVariantList arguments = message.arguments();
        if (message.interface() == "org.freedesktop.DBus.Properties"_L1) {
            if (message.member() == "GetAll"_L1)
                return connection.send(message.createReply(m_item.properties()));
            if (message.member() != "Get"_L1 || arguments.size() != 2)
                return false;
            const QVariant value = m_item.property(arguments[1].toString());
            return value.isValid() &&
                   connection.send(message.createReply(QVariant::fromValue(QDBusVariant(value))));
        }
        if (message.interface() != itemInterface && !message.interface().isEmpty())
            return false;
        return m_item.call(message.member(), arguments, message.signature()) &&
               connection.send(message.createReply());
    }

private:
    NotifierItem &m_item;
};

NotifierItem::NotifierItem(const QDBusConnection &connection, NotifierHost host, const QList<QAction *> &menu,
                           std::chrono::milliseconds lookAfter)
    : m_connection(connection)
    , m_host(host)
    , m_registration(connection, itemPath, lookAfter)
    , m_object(std::make_unique<BusObject>(*this))
    , m_menu(connection, menuPath, menu)
{
    registerNotifierTypes();
    connect(&m_menu, &MenuExport::aboutToShow, this, &NotifierItem::menuAboutToShow);
    connect(&m_registration, &NotifierRegistration::listedChanged, this, &NotifierItem::listedChanged);
}

NotifierItem::~NotifierItem()
{
    if (!m_known)
        return;
    m_connection.unregisterObject(itemPath);
}

void NotifierItem::registerWith(NotifierHost host)
{
    m_host = host;
    if (m_known)
        m_registration.start(host == NotifierHost::shell);
}

bool NotifierItem::samePictureForHost(const StatusItemContent &a, const StatusItemContent &b) const
{
    return showsWide() ? samePicture(a, b) : sameDot(a.status, b.status);
}

void NotifierItem::show(const StatusItemContent &content)
{
    const StatusItemContent before = std::exchange(m_content, content);
    if (!m_known) {
        m_known = true;
        m_connection.registerVirtualObject(itemPath, m_object.get());
        registerWith(m_host);
        return;
    }
    if (statusOf(before.status) != statusOf(content.status))
        announce(u"NewStatus"_s, {statusOf(content.status)});
    if (!samePictureForHost(before, content)) {
        announce(u"NewIcon"_s);
        if (content.status.alertActive)
            announce(u"NewAttentionIcon"_s);
    }
    if (before.title != content.title || before.detail != content.detail) {
        announce(u"NewTitle"_s);
        announce(u"NewToolTip"_s);
    }
    const bool showsLabel = m_host == NotifierHost::label || m_host == NotifierHost::shell;
    if (showsLabel && before.status.text != content.status.text)
        announce(u"XAyatanaNewLabel"_s, {content.status.text, content.status.text});
}

void NotifierItem::announce(const QString &signal, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createSignal(itemPath, itemInterface, signal);
    message.setArguments(arguments);
    m_connection.send(message);
}

QVariantMap NotifierItem::properties() const
{
    QVariantMap map;
    for (const ItemProperty &entry : itemProperties)
        map.insert(entry.name, property(entry.name));
    return map;
}

QVariant NotifierItem::property(const QString &name) const
{
    const StatusContent &status = m_content.status;
    if (name == "Category"_L1)
        return u"ApplicationStatus"_s;
    if (name == "Id"_L1)
        return u"kestrune-bar"_s;
    if (name == "Title"_L1)
        return QString(m_content.title + u" · "_s + m_content.detail);
    if (name == "Status"_L1)
        return statusOf(status);
    if (name == "WindowId"_L1)
        return 0;
    if (name == "ItemIsMenu"_L1)
        return false;
    if (name == "Menu"_L1)
        return QVariant::fromValue(QDBusObjectPath(menuPath));
    if (name == "ToolTip"_L1)
        return QVariant::fromValue(NotifierToolTip{{}, {}, m_content.title, m_content.detail});
    if (name == "XAyatanaLabel"_L1 || name == "XAyatanaLabelGuide"_L1)
        return status.text;
    if (name == "OverlayIconPixmap"_L1)
        return QVariant::fromValue(QList<NotifierPixmap>());
    if (name == "IconPixmap"_L1 || name == "AttentionIconPixmap"_L1) {
        // Hosts that fit any picture into a square must not be offered the wide one: some take the largest.
        QList<NotifierPixmap> pixmaps;
        if (showsWide())
            pixmaps.append(toNotifierPixmap(pictureOf(m_content).image));
        else
            pixmaps = {toNotifierPixmap(dotImage(status, 22)), toNotifierPixmap(dotImage(status, 44))};
        return QVariant::fromValue(pixmaps);
    }
    for (const ItemProperty &entry : itemProperties) {
        if (entry.name == name)
            return QString(); // names of icons and folders, none of which are used
    }
    return {};
}

bool NotifierItem::call(const QString &member, const QVariantList &arguments, const QString &signature)
{
    const bool position = signature == "ii"_L1;
    if (member == "Activate"_L1 && position) {
        clicked({arguments[0].toInt(), arguments[1].toInt()});
        return true;
    }
    if (member == "ContextMenu"_L1 && position) {
        const QPoint pointer = QCursor::pos();
        const auto shapes = screenShapes();
        const auto anchor =
            anchorOfClick(toLogical({arguments[0].toInt(), arguments[1].toInt()}, shapes), pointer, shapes);
        QMetaObject::invokeMethod(
            this, [this, at = anchor ? anchor->topLeft() : pointer] { Q_EMIT contextMenuRequested(at); },
            Qt::QueuedConnection);
        return true;
    }
    if (member == "ProvideXdgActivationToken"_L1 && signature == "s"_L1) {
        useActivationToken(arguments[0].toString());
        return true;
    }
    return (member == "SecondaryActivate"_L1 && position) || (member == "Scroll"_L1 && signature == "is"_L1);
}

void NotifierItem::clicked(const QPoint &given)
{
    const auto shapes = screenShapes();
    m_lastClick = anchorOfClick(toLogical(given, shapes), QCursor::pos(), shapes);
    // After the answer, so that a host that waits for it is not held up.
    QMetaObject::invokeMethod(
        this, [this] { Q_EMIT activated(m_lastClick.value_or(QRect())); }, Qt::QueuedConnection);
}

} // namespace kestrune
