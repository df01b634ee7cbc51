// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

namespace kestrune::test {

/// Delivers what is waiting in the event queue, and what that brings along, until nothing is ready any more.
void drainEvents();

/// Runs the event loop until `condition` holds; false when it does not within `limit` of real time.
[[nodiscard]] bool waitFor(const std::function<bool()> &condition,
                           std::chrono::milliseconds limit = std::chrono::seconds(5));

} // namespace kestrune::test
