// SPDX-License-Identifier: MIT
#include "platform/jsonpreferences.h"
#include "state/appstate.h"
#include "support/fakeclock.h"
#include "support/fakehttpclient.h"
#include "support/recordingattention.h"

#include <QCoreApplication>
#include <QThread>

#include <cstdio>

#include <unistd.h>

// A program that changes settings as fast as it can until it is killed, and tells each change once the call
// that made it has returned.

using namespace kestrune;
using namespace kestrune::test;

namespace {

void tell(const char *what, int number)
{
    char line[64];
    const int size = std::snprintf(line, sizeof line, "%s %d\n", what, number);
    if (::write(STDOUT_FILENO, line, static_cast<std::size_t>(size)) != size)
        std::_Exit(3);
}

[[noreturn]] void changeTheState(const QString &folder)
{
    constexpr std::size_t mostAlerts = 12;
    RecordingAttention attention;
    JsonPreferences preferences(folder);
    FakeClock clock;
    FakeHttpClient http(FakeHttpClient::Unexpected::record);
    const auto state = AppState::create({http, http, clock, preferences, attention, Endpoints::live()});
    int account = int(state->accountSize());
    int alert = state->alerts().empty() ? 0 : int(state->alerts().back().targetPrice);
    for (;;) {
        state->accountSize = ++account;
        tell("account", account);
        state->marginMode = account % 2 == 0 ? MarginMode::cross : MarginMode::isolated;
        if (state->alerts().size() >= mostAlerts)
            state->removeAlert(state->alerts().front().id);
        state->addAlert(++alert);
        tell("alert", alert);
    }
}

/// Another running program, with an entry of its own in the same file.
[[noreturn]] void changeAnEntry(const QString &folder)
{
    JsonPreferences preferences(folder);
    for (int number = 1;; ++number) {
        preferences.setInteger(QStringLiteral("other"), number);
        tell("other", number);
        QThread::msleep(1);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("state"))
        changeTheState(arguments.value(2));
    if (arguments.value(1) == QLatin1String("entry"))
        changeAnEntry(arguments.value(2));
    return 2;
}
