#pragma once

#include <QCoroTask>

#include <QObject>

#include <functional>

namespace kestrune {

/// Runs `start` on a later turn of the event loop, never inside this call, and lets the task it returns
/// live on by itself. Nothing runs when `context` is gone by then.
void startInBackground(QObject *context, std::function<QCoro::Task<>()> start);

} // namespace kestrune
