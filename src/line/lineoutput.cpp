// SPDX-License-Identifier: MIT
#include "line/lineoutput.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrune {

namespace {

/// What of `events` holds at this moment, and what always counts.
short polled(int fd, short events)
{
    pollfd one{.fd = fd, .events = events, .revents = 0};
    while (::poll(&one, 1, 0) < 0 && errno == EINTR)
        continue;
    return one.revents;
}

} // namespace

LineOutput::LineOutput(int fd) : m_fd(fd), m_writable(fd, QSocketNotifier::Write)
{
    m_writable.setEnabled(false);
    connect(&m_writable, &QSocketNotifier::activated, this, &LineOutput::pump);
    struct stat facts = {};
    // A terminal or a file is always "readable" and never without a reader.
    if (::fstat(fd, &facts) == 0 && (S_ISFIFO(facts.st_mode) || S_ISSOCK(facts.st_mode)))
        watchReader();
}

void LineOutput::watchReader()
{
    m_reader = std::make_unique<QSocketNotifier>(m_fd, QSocketNotifier::Read);
    connect(m_reader.get(), &QSocketNotifier::activated, this, [this] {
        // What a socket's other end sends is not for us, and one that sends no more may go on reading, as
        // tmux does: whether that one has gone, the next line tells.
        m_reader->setEnabled(false);
        if (polled(m_fd, 0) & (POLLHUP | POLLERR))
            Q_EMIT closed();
    });
}

void LineOutput::write(const QByteArray &line)
{
    (m_begun.isEmpty() ? m_begun : m_next) = line;
    pump();
}

void LineOutput::pump()
{
    while (!m_begun.isEmpty()) {
        // A pipe that can be written takes this much without waiting.
        const auto size = std::min<qsizetype>(m_begun.size(), PIPE_BUF);
        const bool ready = polled(m_fd, POLLOUT) != 0;
        const auto written = ready ? ::write(m_fd, m_begun.constData(), static_cast<size_t>(size)) : 0;
        if (written < 0 && errno != EINTR && errno != EAGAIN) {
            m_writable.setEnabled(false);
            Q_EMIT closed();
            return;
        }
        if (written <= 0) {
            m_writable.setEnabled(true);
            return;
        }
        m_begun.remove(0, written);
        if (m_begun.isEmpty())
            m_begun = std::exchange(m_next, {});
    }
    m_writable.setEnabled(false);
    Q_EMIT drained();
}

} // namespace kestrune
