// SPDX-License-Identifier: MIT
#pragma once

#include "market/endpoints.h"

#include <QString>

namespace kestrune {

class Attention;
class Clock;
class HttpClient;
class Preferences;

/// What the state works with. All outlive it, but for a refresh that is still waiting when the clients go:
/// their end resumes it, and then it ends too.
struct StateDependencies
{
    HttpClient &cryptoHttp;
    HttpClient &stockHttp;
    Clock &clock;
    Preferences &preferences;
    Attention &attention;
    Endpoints endpoints;
    QString alertLog = {}; ///< path of the log of firings; empty: it is kept in memory alone
};

struct RefreshOutcome
{
    bool success = false;
    QString message; ///< user-facing
};

} // namespace kestrune
