// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

class QImage;

namespace kestrune {

/// The service that hosts of status items ask, and its object and interface.
inline const QString notifierWatcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
inline const QString notifierWatcherPath = QStringLiteral("/StatusNotifierWatcher");

/// A picture as notifier hosts take it: 32 bits per pixel, alpha first, network byte order, not
/// premultiplied.
struct NotifierPixmap
{
    int width = 0;
    int height = 0;
    QByteArray pixels;
};

struct NotifierToolTip
{
    QString iconName;
    QList<NotifierPixmap> icon;
    QString title;
    QString text;
};

/// One entry of an exported menu with its children.
struct MenuNode
{
    int id = 0;
    QVariantMap properties;
    QList<MenuNode> children;
};

struct MenuProperties
{
    int id = 0;
    QVariantMap properties;
};

[[nodiscard]] NotifierPixmap toNotifierPixmap(const QImage &image);
/// Makes the types known to the bus; may be called again.
void registerNotifierTypes();

QDBusArgument &operator<<(QDBusArgument &argument, const NotifierPixmap &pixmap);
const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierPixmap &pixmap);
QDBusArgument &operator<<(QDBusArgument &argument, const NotifierToolTip &toolTip);
const QDBusArgument &operator>>(const QDBusArgument &argument, NotifierToolTip &toolTip);
QDBusArgument &operator<<(QDBusArgument &argument, const MenuNode &node);
const QDBusArgument &operator>>(const QDBusArgument &argument, MenuNode &node);
QDBusArgument &operator<<(QDBusArgument &argument, const MenuProperties &entry);
const QDBusArgument &operator>>(const QDBusArgument &argument, MenuProperties &entry);

} // namespace kestrune

Q_DECLARE_METATYPE(kestrune::NotifierPixmap)
Q_DECLARE_METATYPE(kestrune::NotifierToolTip)
Q_DECLARE_METATYPE(kestrune::MenuNode)
Q_DECLARE_METATYPE(kestrune::MenuProperties)
