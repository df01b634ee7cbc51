// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

namespace kestrune::test {

/// The real server in a process of its own; it ends with this object.
class ReplayServer
{
public:
    explicit ReplayServer(const QStringList &arguments);
    ~ReplayServer();
    ReplayServer(const ReplayServer &) = delete;
    ReplayServer &operator=(const ReplayServer &) = delete;

    /// 0 when the server did not start.
    [[nodiscard]] quint16 port() const { return m_port; }
    /// The first line of standard output.
    [[nodiscard]] QByteArray address() const { return m_address; }
    [[nodiscard]] QProcess &process() { return m_process; }

    /// One GET on a connection of its own; the body, or "status N" for any other status than 200.
    [[nodiscard]] QByteArray get(const QByteArray &target) const;

    [[nodiscard]] static QString program();

private:
    QProcess m_process;
    QByteArray m_address;
    quint16 m_port = 0;
};

struct WireReply
{
    int status = 0; ///< 0 when no complete head arrived
    QByteArray head;
    QByteArray body; ///< as long as Content-Length tells, or what came

    [[nodiscard]] QByteArray header(const QByteArray &name) const;
};

/// A blocking socket that shows what is on the wire, resets included.
class WireClient
{
public:
    enum class End { open, closed, reset };

    explicit WireClient(quint16 port);
    ~WireClient();
    WireClient(const WireClient &) = delete;
    WireClient &operator=(const WireClient &) = delete;

    void send(const QByteArray &bytes);
    /// Sends a GET that keeps the connection.
    void ask(const QByteArray &target);
    /// Everything that comes until the other side ends or `ms` have passed in silence or in all.
    [[nodiscard]] QByteArray readFor(int ms);
    /// The next whole reply; status 0 when it does not come within ten seconds.
    [[nodiscard]] WireReply readReply();
    [[nodiscard]] End end() const { return m_end; }

private:
    bool readMore(int ms);

    int m_socket;
    QByteArray m_buffer;
    End m_end = End::open;
};

} // namespace kestrune::test
