// SPDX-License-Identifier: MIT
#include "support/loopbackserver.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <QTimer>

#include <stdexcept>
#include <utility>

#include <sys/socket.h>
#include <zlib.h>

namespace kestrune::test {

namespace {

using Fault = LoopbackServer::Fault;

QByteArray head(const LoopbackServer::Answer &answer)
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(answer.status) + " Told so\r\n";
    for (const QByteArray &line : answer.headers)
        head += line + "\r\n";
    if (answer.fault == Fault::truncateChunked)
        head += "Transfer-Encoding: chunked\r\n";
    else if (answer.fault == Fault::lengthNonsense)
        head += "Content-Length: many\r\n";
    else if (answer.fault == Fault::lengthTooShort)
        head += "Content-Length: " + QByteArray::number(answer.body.size() / 2) + "\r\n";
    else if (answer.fault != Fault::endless)
        head += "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n";
    if (answer.close)
        head += "Connection: close\r\n";
    return head + "\r\n";
}

} // namespace

QByteArray LoopbackServer::Request::header(const QByteArray &name) const
{
    for (const QByteArray &entry : headers.split('\n')) {
        const qsizetype colon = entry.indexOf(':');
        if (colon > 0 && entry.left(colon).trimmed().compare(name, Qt::CaseInsensitive) == 0)
            return entry.mid(colon + 1).trimmed();
    }
    return {};
}

LoopbackServer::LoopbackServer()
{
    connect(&m_server, &QTcpServer::newConnection, this, [this] { accept(); });
    if (!m_server.listen(QHostAddress::LocalHost))
        throw std::runtime_error("no loopback port");
}

QUrl LoopbackServer::url(const QString &pathAndQuery) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(pathAndQuery));
}

void LoopbackServer::closeConnections()
{
    for (QTcpSocket *socket : m_server.findChildren<QTcpSocket *>())
        socket->disconnectFromHost();
}

QByteArray LoopbackServer::gzip(const QByteArray &bytes)
{
    constexpr int gzipWindow = 15 + 16; // zlib's way of asking for the gzip format
    constexpr int memory = 8;
    z_stream stream = {};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, gzipWindow, memory, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error("zlib");
    QByteArray packed(static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(bytes.size()))), 0);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.constData()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.truncate(static_cast<qsizetype>(stream.total_out));
    deflateEnd(&stream);
    return packed;
}

LoopbackServer::Answer LoopbackServer::gzipped(const QByteArray &body)
{
    Answer answer;
    answer.body = gzip(body);
    answer.headers = {"Content-Encoding: gzip"};
    return answer;
}

LoopbackServer::Answer LoopbackServer::redirect(const QByteArray &location)
{
    Answer answer;
    answer.status = 302;
    answer.headers = {"Location: " + location};
    return answer;
}

void LoopbackServer::accept()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        const int connection = m_connections++;
        connect(socket, &QTcpSocket::readyRead, this,
                [this, socket, connection] { read(socket, connection); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_pending.erase(socket);
            socket->deleteLater();
        });
    }
}

void LoopbackServer::read(QTcpSocket *socket, int connection)
{
    QByteArray &pending = m_pending[socket];
    pending += socket->readAll();
    const qsizetype end = pending.indexOf("\r\n\r\n");
    if (end < 0)
        return;
    const qsizetype lineEnd = pending.indexOf("\r\n");
    m_requests.push_back({pending.left(lineEnd), pending.mid(lineEnd + 2, end - lineEnd - 2), connection});
    pending.remove(0, end + 4);

    const QByteArray target = m_requests.back().line.split(' ').value(1);
    const auto found = m_answers.find(QString::fromLatin1(target.split('?').first()));
    Answer told;
    if (found != m_answers.end())
        told = found->second;
    else
        told.status = 404;
    if (told.delay.count() > 0)
        QTimer::singleShot(told.delay, socket, [this, socket, told] { answer(socket, told); });
    else
        answer(socket, told);
}

void LoopbackServer::answer(QTcpSocket *socket, const Answer &answer)
{
    const QByteArray start = head(answer);
    const QByteArray half = answer.body.left(answer.body.size() / 2);
    switch (answer.fault) {
    case Fault::none:
    case Fault::lengthNonsense:
    case Fault::lengthTooShort:
        send(socket, start + answer.body);
        if (answer.close || answer.fault != Fault::none)
            socket->disconnectFromHost();
        break;
    case Fault::stall:
        break;
    case Fault::stallInBody:
        send(socket, start + half);
        break;
    case Fault::stallInHeaders:
        send(socket, start.left(start.size() / 2));
        break;
    case Fault::reset:
        reset(socket);
        break;
    case Fault::resetInBody:
        send(socket, start + half);
        socket->flush();
        QTimer::singleShot(std::chrono::milliseconds(20), socket, [socket] { reset(socket); });
        break;
    case Fault::truncate:
        send(socket, start + half);
        socket->disconnectFromHost();
        break;
    case Fault::truncateChunked:
        send(socket, start + QByteArray::number(half.size(), 16) + "\r\n" + half + "\r\n");
        socket->disconnectFromHost();
        break;
    case Fault::drip:
        send(socket, start);
        drip(socket, answer.body, answer.interval);
        break;
    case Fault::endless:
        send(socket, start);
        sendEndlessly(socket, answer.body);
        break;
    case Fault::endlessHeaders:
        send(socket, "HTTP/1.1 200 OK\r\n");
        sendEndlessly(socket, "X-Header: " + QByteArray(1000, 'x') + "\r\n");
        break;
    case Fault::garbage:
        send(socket, "\x16\x03\x01 this is no HTTP\r\n\r\n" + answer.body);
        socket->disconnectFromHost();
        break;
    case Fault::closeAtOnce:
        socket->disconnectFromHost();
        break;
    }
}

void LoopbackServer::send(QTcpSocket *socket, const QByteArray &bytes)
{
    m_bytesSent += bytes.size();
    socket->write(bytes);
}

void LoopbackServer::drip(QTcpSocket *socket, const QByteArray &bytes, std::chrono::milliseconds interval)
{
    if (bytes.isEmpty())
        return;
    send(socket, bytes.left(1));
    QTimer::singleShot(interval, Qt::PreciseTimer, socket,
                       [this, socket, rest = bytes.mid(1), interval] { drip(socket, rest, interval); });
}

void LoopbackServer::sendEndlessly(QTcpSocket *socket, const QByteArray &piece)
{
    const auto more = [this, socket, piece] {
        constexpr qint64 inHand = qint64(256) * 1024;
        while (socket->state() == QAbstractSocket::ConnectedState && socket->bytesToWrite() < inHand)
            send(socket, piece);
    };
    connect(socket, &QTcpSocket::bytesWritten, socket, more);
    more();
}

void LoopbackServer::reset(QTcpSocket *socket)
{
    // Lingering for no time makes the close a reset.
    const linger none{1, 0};
    ::setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &none, sizeof none);
    socket->abort();
}

} // namespace kestrune::test
