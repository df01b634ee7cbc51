// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

#include <QObject>

#include <functional>

namespace kestrune {

// Beware of g++ 12.2: a coroutine that declares no local variable and has a co_await inside a condition
// (`while (co_await clock->sleep(1s))`) crashes at its first wake-up, at every optimisation level. Name the
// result first: `const bool awake = co_await clock->sleep(1s);`. And a braced list inside a co_await
// expression
// (`co_await f({a, b})`) does not compile: name the list first.

/// Runs `start` on a later turn of the event loop, never inside this call, and lets the task it returns
/// live on by itself. Nothing runs when `context` is gone by then.
void startInBackground(QObject *context, std::function<QCoro::Task<>()> start);

} // namespace kestrune
