// SPDX-License-Identifier: MIT
#include "statusbar/desktop/notifiertypes.h"

#include <QDBusMetaType>
#include <QDBusVariant>
#include <QImage>
#include <QtEndian>

namespace kestrune {

namespace {

template <typename... Members>
QDBusArgument &writeStructure(QDBusArgument &argument, const Members &...members)
{
    argument.beginStructure();
    (argument << ... << members);
    argument.endStructure();
    return argument;
}

template <typename... Members>
const QDBusArgument &readStructure(const QDBusArgument &argument, Members &...members)
{
    argument.beginStructure();
    (argument >> ... >> members);
    argument.endStructure();
    return argument;
}

} // namespace

NotifierPixmap toNotifierPixmap(const QImage &image)
{
    const QImage straight = image.convertToFormat(QImage::Format_ARGB32);
    NotifierPixmap pixmap{straight.width(), straight.height(), {}};
    const qsizetype line = qsizetype(straight.width()) * 4;
    pixmap.pixels.resize(line * straight.height());
    for (int y = 0; y < straight.height(); ++y)
        qToBigEndian<quint32>(straight.constScanLine(y), straight.width(), pixmap.pixels.data() + y * line);
    return pixmap;
}

void registerNotifierTypes()
{
    qDBusRegisterMetaType<NotifierPixmap>();
    qDBusRegisterMetaType<QList<NotifierPixmap>>();
    qDBusRegisterMetaType<NotifierToolTip>();
    qDBusRegisterMetaType<MenuNode>();
    qDBusRegisterMetaType<MenuProperties>();
    qDBusRegisterMetaType<QList<MenuProperties>>();
}

QDBusArgument &operator<<(QDBusArgument &argument, const NotifierPixmap &pixmap)
{
    return writeStructure(argument, pixmap.width, pixmap.height, pixmap.pixels);
}

const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierPixmap &pixmap)
{
    return readStructure(argument, pixmap.width, pixmap.height, pixmap.pixels);
}

QDBusArgument &operator<<(QDBusArgument &argument, const NotifierToolTip &toolTip)
{
    return writeStructure(argument, toolTip.iconName, toolTip.icon, toolTip.title, toolTip.text);
}

const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierToolTip &toolTip)
{
    return readStructure(argument, toolTip.iconName, toolTip.icon, toolTip.title, toolTip.text);
}

QDBusArgument &operator<<(QDBusArgument &argument, const MenuNode &node)
{
    argument.beginStructure();
    argument << node.id << node.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const MenuNode &child : node.children)
        argument << QDBusVariant(QVariant::fromValue(child));
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, MenuNode &node)
{
    argument.beginStructure();
    argument >> node.id >> node.properties;
    argument.beginArray();
    node.children.clear();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        node.children.append(qdbus_cast<MenuNode>(child.variant().value<QDBusArgument>()));
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const MenuProperties &entry)
{
    return writeStructure(argument, entry.id, entry.properties);
}

const QDBusArgument &operator>>(const QDBusArgument &argument, MenuProperties &entry)
{
    return readStructure(argument, entry.id, entry.properties);
}

} // namespace kestrune
