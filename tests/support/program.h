// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <chrono>

namespace kestrune::test {

/// A program of this build in a process of its own, in a home of its own. Its environment names no display
/// and a proxy that is not there, so that a request to any host but the loopback gets nowhere. Killed with
/// this object.
class Program : public QProcess
{
public:
    explicit Program(const QString &name = QStringLiteral("kestrune-bar"));
    ~Program() override;

    void set(const QString &variable, const QString &value);
    void unset(const QString &variable);

    void begin(const QStringList &arguments);
    /// Begins, and serves the event loop until the program has ended; false when it does not or crashes.
    [[nodiscard]] bool runToEnd(const QStringList &arguments,
                                std::chrono::milliseconds limit = std::chrono::seconds(15));
    /// The next line of standard output, with its end; empty when the program ends without one. Waits without
    /// serving the event loop.
    [[nodiscard]] QByteArray nextLine();
    /// SIGKILL; false when it had ended before.
    bool killNow();

    /// Normally and with status 0.
    [[nodiscard]] bool endedWell() const
    {
        return error() != FailedToStart && exitStatus() == NormalExit && exitCode() == 0;
    }
    /// From the last begin to the end.
    [[nodiscard]] qint64 elapsedMs() const { return m_elapsedMs; }
    /// Below its home, which is also its working directory; the settings stand in "config".
    [[nodiscard]] QString path(const QString &name) const { return m_home.filePath(name); }
    /// Of the file of that name below its home; empty when there is none.
    [[nodiscard]] QByteArray contentOf(const QString &name) const;

private:
    QTemporaryDir m_home;
    QElapsedTimer m_timer;
    qint64 m_elapsedMs = 0;
};

/// The market server. It is told to end with this object, and the test fails when it does not end well.
class ReplayServer : public Program
{
public:
    explicit ReplayServer(const QStringList &arguments = {});
    ~ReplayServer() override;

    /// The first line of standard output without its end, "http://127.0.0.1:PORT".
    [[nodiscard]] QString address() const { return m_address; }
    /// 0 when the server did not start.
    [[nodiscard]] quint16 port() const { return m_address.section(u':', -1).toUShort(); }

private:
    QString m_address;
};

} // namespace kestrune::test
