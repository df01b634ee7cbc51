// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

#include <optional>

namespace kestrune::test {

/// Lets a task that has been started run on by itself.
inline void begin(const QCoro::Task<> &) {}

/// Puts the task's value into `result` when it ends.
template <typename T>
QCoro::Task<> keepResult(QCoro::Task<T> task, std::optional<T> *result)
{
    *result = co_await task;
}

} // namespace kestrune::test
