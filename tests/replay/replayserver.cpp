// SPDX-License-Identifier: MIT
#include "replay/replayserver.h"

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>
#include <array>
#include <cerrno>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kestrune::test {

QString ReplayServer::program()
{
    return QStringLiteral(KESTRUNE_BIN_DIR "/kestrune-replay");
}

ReplayServer::ReplayServer(const QStringList &arguments)
{
    m_process.start(program(), arguments);
    while (m_process.state() != QProcess::NotRunning && !m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(10000))
            break;
    }
    m_address = m_process.readLine();
    m_port = m_address.sliced(m_address.lastIndexOf(':') + 1).trimmed().toUShort();
}

ReplayServer::~ReplayServer()
{
    m_process.terminate();
    if (!m_process.waitForFinished(10000))
        m_process.kill();
    m_process.waitForFinished();
    // A sanitizer's findings show in the status.
    const bool well = m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
    if (!well && QTest::currentTestFunction())
        QTest::qFail(m_process.readAllStandardError().constData(), __FILE__, __LINE__);
}

QByteArray ReplayServer::get(const QByteArray &target) const
{
    WireClient client(m_port);
    client.ask(target);
    const WireReply reply = client.readReply();
    return reply.status == 200 ? reply.body : "status " + QByteArray::number(reply.status);
}

QByteArray WireReply::header(const QByteArray &name) const
{
    const QByteArray wanted = name.toLower() + ':';
    for (const QByteArray &line : head.split('\n')) {
        if (line.toLower().startsWith(wanted))
            return line.sliced(wanted.size()).trimmed();
    }
    return {};
}

WireClient::WireClient(quint16 port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        m_end = End::closed;
}

WireClient::~WireClient()
{
    ::close(m_socket);
}

void WireClient::send(const QByteArray &bytes)
{
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t count = ::send(m_socket, bytes.constData() + sent,
                                     static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0)
            return; // the reader finds out why
        sent += count;
    }
}

void WireClient::ask(const QByteArray &target)
{
    send("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
}

bool WireClient::readMore(int ms)
{
    if (m_end != End::open)
        return false;
    pollfd waiting{m_socket, POLLIN, 0};
    if (::poll(&waiting, 1, ms) <= 0)
        return false;
    std::array<char, 65536> bytes{};
    const ssize_t count = ::recv(m_socket, bytes.data(), bytes.size(), 0);
    if (count <= 0) {
        m_end = count < 0 && errno == ECONNRESET ? End::reset : End::closed;
        return false;
    }
    m_buffer.append(bytes.data(), count);
    return true;
}

QByteArray WireClient::readFor(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms && readMore(static_cast<int>(std::max<qint64>(0, ms - timer.elapsed())))) {
    }
    return std::exchange(m_buffer, {});
}

WireReply WireClient::readReply()
{
    constexpr int patience = 10000;
    WireReply reply;
    qsizetype end = -1;
    while ((end = m_buffer.indexOf("\r\n\r\n")) < 0) {
        if (!readMore(patience))
            return reply;
    }
    reply.head = m_buffer.left(end);
    m_buffer.remove(0, end + 4);
    const qsizetype length = reply.header("Content-Length").toLongLong();
    while (m_buffer.size() < length) {
        if (!readMore(patience))
            return reply;
    }
    reply.body = m_buffer.left(length);
    m_buffer.remove(0, length);
    reply.status = reply.head.split(' ').value(1).toInt();
    return reply;
}

} // namespace kestrune::test
