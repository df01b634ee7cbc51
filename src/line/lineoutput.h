// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace kestrune {

/// Writes lines into a file descriptor, each at once and whole, and never waits for the reader: while that
/// reads nothing, the newest line replaces the one before it. SIGPIPE must be caught or ignored.
class LineOutput final : public QObject
{
    Q_OBJECT
public:
    explicit LineOutput(int fd);

    void write(const QByteArray &line);
    [[nodiscard]] bool isDrained() const { return m_begun.isEmpty(); }

Q_SIGNALS:
    /// Everything has been written.
    void drained();
    /// Nobody reads any more. Comes without a write too where the descriptor is a pipe, or a socket whose
    /// other end has sent nothing.
    void closed();

private:
    void watchReader();
    void pump();

    int m_fd;
    QByteArray m_begun; ///< what is left of the line that is being written
    QByteArray m_next;
    QSocketNotifier m_writable;
    std::unique_ptr<QSocketNotifier> m_reader;
};

} // namespace kestrune
