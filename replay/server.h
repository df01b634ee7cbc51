// SPDX-License-Identifier: MIT
#pragma once

#include "replay/commandline.h"
#include "replay/market.h"

#include <QTcpServer>

#include <memory>

namespace kestrune::replay {

/// Starts listening on the loopback address as the options say and answers from `market`, which must
/// outlive it. Gives the reason when that fails.
[[nodiscard]] std::variant<std::unique_ptr<QTcpServer>, QString> startServer(const Options &options,
                                                                             Market &market);

} // namespace kestrune::replay
