// SPDX-License-Identifier: MIT
// A race for the thread sanitizer to find: after another program was started, called from Qt's event loop.

#include <QCoreApplication>
#include <QProcess>
#include <QTimer>

#include <thread>

static void writeTogether()
{
    static int shared = 0;
    ++shared;
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    std::thread waiting([] { std::this_thread::sleep_for(std::chrono::milliseconds(200)); });
    QProcess::execute(QStringLiteral("true"));
    waiting.join();
    QTimer::singleShot(0, &application, [] {
        std::thread other(writeTogether);
        writeTogether();
        other.join();
        QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}
