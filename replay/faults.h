// SPDX-License-Identifier: MIT
#pragma once

#include "replay/endpoints.h"
#include "replay/http.h"

namespace kestrune::replay {

/// What goes wrong at one endpoint: something about the answer, something about its way, or both.
struct Fault
{
    enum class Content { sound, status, empty, html, redirect, gzipBomb };

    Content content = Content::sound;
    int status = 200;
    QByteArray location;
    Delivery delivery = Delivery::whole;
};

using Faults = std::array<Fault, endpointCount>;

/// Reads "ENDPOINT=KIND[,KIND]" (ENDPOINT may be "all") into the faults asked for so far. False for an
/// unknown endpoint or kind, and for two kinds that exclude each other.
[[nodiscard]] bool addFault(Faults &faults, const QByteArray &text);

/// Changes a sound reply as the fault says.
void applyFault(const Fault &fault, Endpoint endpoint, HttpReply &reply);

} // namespace kestrune::replay
