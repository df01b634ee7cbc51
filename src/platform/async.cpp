// SPDX-License-Identifier: MIT
#include "platform/async.h"

#include <utility>

namespace kestrune {

namespace {

// Keeps `start`, and with it whatever it captured, until the task it gave has ended.
QCoro::Task<> runToEnd(std::function<QCoro::Task<>()> start)
{
    const auto own = std::move(start);
    co_await own();
}

} // namespace

void startInBackground(QObject *context, std::function<QCoro::Task<>()> start)
{
    QMetaObject::invokeMethod(
        context, [start = std::move(start)]() mutable { runToEnd(std::move(start)); }, Qt::QueuedConnection);
}

} // namespace kestrune
