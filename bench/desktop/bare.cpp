// SPDX-License-Identifier: MIT
// What any program of this kind costs: a window with one text, Qt Network and Qt D-Bus at hand. Start time,
// memory and processor time of the status bar are held against it. bare [MS TEXT [URL]]: every MS
// milliseconds TEXT and a number are shown, where there is an address after an answer of it. bare quit ends
// as soon as the window shows.

#include <QApplication>
#include <QDBusConnection>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

int main(int argc, char **argv)
{
    QApplication::setStyle(QStringLiteral("Fusion"));
    const QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    QNetworkAccessManager network;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    QLabel label(bus.isConnected() ? QStringLiteral("ETH 3,456.78") : QStringLiteral("no session bus"));
    label.setWindowFlags(Qt::Tool | Qt::FramelessWindowHint);
    label.show();

    int turn = 0;
    const auto showNext = [&] {
        label.setText(arguments[2] + QString::number(++turn));
        label.adjustSize();
    };
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &label, [&] {
        if (arguments.size() == 3)
            return showNext();
        QNetworkReply *const reply = network.get(QNetworkRequest(QUrl(arguments[3])));
        QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
        QObject::connect(reply, &QNetworkReply::finished, &label, showNext);
    });
    if (arguments.size() == 2)
        QTimer::singleShot(0, &application, &QApplication::quit);
    else if (arguments.size() > 2)
        timer.start(arguments[1].toInt());
    return QApplication::exec();
}
