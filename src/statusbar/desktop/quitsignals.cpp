// SPDX-License-Identifier: MIT
#include "statusbar/desktop/quitsignals.h"

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace kestrune {

namespace {

volatile std::sig_atomic_t pipeEnd = -1;

void pass(int)
{
    // Only this much is allowed inside a signal handler. A full pipe says the same already.
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(static_cast<int>(pipeEnd), &byte, 1);
}

} // namespace

QuitSignals::QuitSignals(std::initializer_list<int> more) : m_signals{SIGTERM, SIGINT, SIGHUP}
{
    m_signals.insert(m_signals.end(), more);
    if (::pipe2(m_pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return; // without it the signals end the process at once; everything is saved as it changes
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &QuitSignals::drain);
    pipeEnd = m_pipe[1];
    handle(pass);
}

QuitSignals::~QuitSignals()
{
    if (!m_notifier)
        return;
    handle(SIG_DFL);
    m_notifier.reset();
    ::close(m_pipe[0]);
    ::close(m_pipe[1]);
}

void QuitSignals::handle(void (*handler)(int)) const
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : m_signals)
        sigaction(number, &action, nullptr);
}

void QuitSignals::drain()
{
    std::array<char, 16> bytes{};
    while (::read(m_pipe[0], bytes.data(), bytes.size()) > 0)
        continue;
    Q_EMIT received();
}

} // namespace kestrune
