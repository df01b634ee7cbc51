// SPDX-License-Identifier: MIT
#include "support/eventloop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QTimer>

namespace kestrune::test {

namespace {

bool turn(QEventLoop::ProcessEventsFlags flags)
{
    QCoreApplication::sendPostedEvents();
    // Outside a running event loop nobody else deletes what asked for it.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return QAbstractEventDispatcher::instance()->processEvents(flags);
}

} // namespace

void drainEvents()
{
    // A loop that always finds work (a ticking zero timer) must not hold the test for ever.
    constexpr int mostTurns = 1000;
    for (int i = 0; i < mostTurns && turn(QEventLoop::AllEvents); ++i) {
    }
}

bool waitFor(const std::function<bool()> &condition, std::chrono::milliseconds limit)
{
    QDeadlineTimer deadline(limit, Qt::PreciseTimer);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        // The timer bounds the wait inside the dispatcher.
        QTimer wakeUp;
        wakeUp.start(std::chrono::milliseconds(5));
        turn(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace kestrune::test
