// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace kestrune {

/// Seconds since the Unix epoch: what pulsing drawings take their phase from, so that a picture can be
/// drawn for a given moment.
using EpochClock = std::function<double()>;

} // namespace kestrune
