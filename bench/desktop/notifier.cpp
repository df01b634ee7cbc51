// SPDX-License-Identifier: MIT
// Shows price ticks as a notifier item to the host that is on the session bus, and prints what one tick costs
// this process in voluntary context switches, over all its threads and less the timer's own wake-ups.
// Arguments: number of ticks, milliseconds between two, "dot", "label" or "wide" for the kind of host.

#include "statusbar/desktop/notifieritem.h"
#include "statusbar/statusmenu.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTimer>

#include <cstdio>
#include <functional>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

constexpr int settlingMs = 2000; // until the host has taken the item in

long voluntarySwitches()
{
    const QByteArray key("voluntary_ctxt_switches:");
    long sum = 0;
    for (const QString &thread : QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(u"/proc/self/task/%1/status"_s.arg(thread));
        if (!file.open(QIODevice::ReadOnly))
            continue; // a thread that has just ended
        for (const QByteArray &line : file.readAll().split('\n')) {
            if (line.startsWith(key))
                sum += line.mid(key.size()).trimmed().toLong();
        }
    }
    return sum;
}

/// A tick as most are: every text changes and with it the wide picture, the light keeps its colour.
StatusItemContent tick(int number)
{
    StatusItemContent content;
    content.status.text = u"ETH "_s + QString::number(3000 + number);
    content.title = u"ETH  %1  +1.25%"_s.arg(3000 + number);
    content.detail = u"观望 · %1"_s.arg(number);
    return content;
}

NotifierHost hostOf(const QString &name)
{
    if (name == "wide"_L1)
        return NotifierHost::wide;
    return name == "label"_L1 ? NotifierHost::label : NotifierHost::dot;
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    const int ticks = arguments.value(1).toInt();
    if (ticks <= 0)
        return 2;
    const StatusMenu menu;
    NotifierItem item(QDBusConnection::sessionBus(), hostOf(arguments.value(3)), menu.entries());
    item.show(tick(0));

    // First as many turns that show nothing new, then as many ticks.
    long before = 0;
    long idle = 0;
    int turn = -1;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        ++turn;
        if (turn == 0) {
            timer.setInterval(arguments.value(2).toInt());
            before = voluntarySwitches();
        } else if (turn == ticks) {
            idle = voluntarySwitches() - before;
            before = voluntarySwitches();
        } else if (turn == 2 * ticks) {
            std::printf("%.2f\n", static_cast<double>(voluntarySwitches() - before - idle) / ticks);
            QApplication::quit();
            return;
        }
        item.show(tick(turn < ticks ? 0 : turn));
    });
    timer.start(settlingMs);
    return QApplication::exec();
}
