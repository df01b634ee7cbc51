// SPDX-License-Identifier: MIT
#include "support/loopbackserver.h"

#include <QFile>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtEndian>

#include <utility>

#include <sys/socket.h>
#include <zlib.h>

namespace kestrune::test {

namespace {

QByteArray headOf(const LoopbackServer::Answer &answer)
{
    using Fault = LoopbackServer::Fault;
    QByteArrayList lines{"HTTP/1.1 " + QByteArray::number(answer.status) + " Answer"};
    lines += answer.headers;
    if (answer.fault == Fault::truncateChunked)
        lines += "Transfer-Encoding: chunked";
    else if (answer.fault == Fault::lengthNonsense)
        lines += "Content-Length: many";
    else if (answer.fault != Fault::endless)
        lines += "Content-Length: " + QByteArray::number(answer.body.size());
    return lines.join("\r\n") + "\r\n\r\n";
}

std::unique_ptr<QTcpServer> secureServer(const LoopbackServer::Certificate &files)
{
    QFile key(files.key);
    if (!key.open(QIODevice::ReadOnly))
        qFatal("no key for the loopback server");
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(QSslCertificate::fromPath(files.certificate));
    configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(configuration);
    return server;
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

LoopbackServer::LoopbackServer(const std::optional<Certificate> &certificate)
    : m_scheme(certificate ? QStringLiteral("https") : QStringLiteral("http"))
    , m_server(certificate ? secureServer(*certificate) : std::make_unique<QTcpServer>())
{
    connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this, &LoopbackServer::accept);
    if (!m_server->listen(QHostAddress::LocalHost))
        qFatal("no loopback port");
}

QUrl LoopbackServer::url(const QString &pathAndQuery) const
{
    return {
        QStringLiteral("%1://127.0.0.1:%2%3").arg(m_scheme).arg(m_server->serverPort()).arg(pathAndQuery)};
}

LoopbackServer::Answer LoopbackServer::gzipped(const QByteArray &body)
{
    const auto bytesOf = [](qsizetype number) {
        const auto little = qToLittleEndian(static_cast<quint32>(number));
        return QByteArray(reinterpret_cast<const char *>(&little), sizeof little);
    };
    const uLong sum = crc32_z(0, reinterpret_cast<const Bytef *>(body.constData()), size_t(body.size()));
    // What stands between Qt's six bytes in front and four behind is the same in both formats; nothing is no
    // case of its.
    const QByteArray content =
        body.isEmpty() ? QByteArray::fromHex("0300") : qCompress(body, 9).sliced(6).chopped(4);
    return {.body = QByteArray::fromHex("1f8b08000000000002ff") + content + bytesOf(qsizetype(sum)) +
                    bytesOf(body.size()),
            .headers = {"Content-Encoding: gzip"}};
}

void LoopbackServer::accept()
{
    while (QTcpSocket *socket = m_server->nextPendingConnection()) {
        const int connection = m_connections++;
        connect(socket, &QTcpSocket::readyRead, this, [=, this] { read(socket, connection); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_pending.erase(socket);
            socket->deleteLater();
        });
        read(socket, connection); // over TLS the request may be there already
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
    const auto found = m_answers.find(QString::fromLatin1(target.split('?').front()));
    const Answer next = found == m_answers.end() ? Answer{.status = 404} : found->second;
    if (next.delay.count() > 0)
        QTimer::singleShot(next.delay, socket, [this, socket, next] { answer(socket, next); });
    else
        answer(socket, next);
}

void LoopbackServer::answer(QTcpSocket *socket, const Answer &answer)
{
    const QByteArray head = headOf(answer);
    const QByteArray half = answer.body.left(answer.body.size() / 2);
    bool close = false;
    switch (answer.fault) {
    case Fault::none:
        send(socket, head + answer.body);
        break;
    case Fault::lengthNonsense:
        send(socket, head + answer.body);
        close = true;
        break;
    case Fault::stall:
    case Fault::reset:
        break;
    case Fault::stallInHeaders:
        send(socket, head.left(head.size() / 2));
        break;
    case Fault::stallInBody:
    case Fault::resetInBody:
        send(socket, head + half);
        break;
    case Fault::truncate:
        send(socket, head + half);
        close = true;
        break;
    case Fault::truncateChunked:
        send(socket, head + QByteArray::number(half.size(), 16) + "\r\n" + half + "\r\n");
        close = true;
        break;
    case Fault::drip:
        send(socket, head);
        drip(socket, answer.body, answer.interval);
        break;
    case Fault::endless:
        send(socket, head);
        sendEndlessly(socket, answer.body);
        break;
    case Fault::endlessHeaders:
        send(socket, "HTTP/1.1 200 OK\r\n");
        sendEndlessly(socket, "X-Header: " + QByteArray(1000, 'x') + "\r\n");
        break;
    case Fault::garbage:
        send(socket, "\x16\x03\x01 this is no HTTP\r\n\r\n" + answer.body);
        close = true;
        break;
    case Fault::closeAtOnce:
        close = true;
        break;
    }
    if (answer.fault == Fault::reset || answer.fault == Fault::resetInBody)
        QTimer::singleShot(std::chrono::milliseconds(20), socket, [socket] { reset(socket); });
    if (close)
        socket->disconnectFromHost();
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
