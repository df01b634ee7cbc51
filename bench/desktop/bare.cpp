// SPDX-License-Identifier: MIT
// What any program of this kind costs: a window with one text, Qt Network and Qt D-Bus at hand. Start time
// and memory of the status bar are held against it.

#include <QApplication>
#include <QDBusConnection>
#include <QLabel>
#include <QNetworkAccessManager>

int main(int argc, char **argv)
{
    QApplication::setStyle(QStringLiteral("Fusion"));
    const QApplication application(argc, argv);
    const QNetworkAccessManager network;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    QLabel label(bus.isConnected() ? QStringLiteral("ETH 3,456.78") : QStringLiteral("no session bus"));
    label.setWindowFlags(Qt::Tool | Qt::FramelessWindowHint);
    label.show();
    return QApplication::exec();
}
