// SPDX-License-Identifier: MIT
#include "replay/http.h"

#include <QSslSocket>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <utility>

#include <sys/socket.h>

namespace kestrune::replay {

namespace {

using namespace std::chrono_literals;

constexpr qsizetype maxHeadSize = 16LL * 1024;
constexpr qint64 readBufferSize = 64LL * 1024;
constexpr qint64 maxUnsent = 1024LL * 1024;
constexpr int maxConnections = 256;
constexpr auto silenceLimit = 120s;

/// What a request's head comes to: something to answer, or the status that refuses it.
struct ParsedHead
{
    HttpRequest request;
    int refusal = 0;
    bool keepAlive = true;
};

const char *reason(int status)
{
    static constexpr std::pair<int, const char *> reasons[] = {
        {200, "OK"},
        {302, "Found"},
        {400, "Bad Request"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {405, "Method Not Allowed"},
        {429, "Too Many Requests"},
        {431, "Request Header Fields Too Large"},
        {500, "Internal Server Error"},
        {501, "Not Implemented"},
        {502, "Bad Gateway"},
        {503, "Service Unavailable"},
        {505, "HTTP Version Not Supported"},
    };
    const auto *const found = std::ranges::find(reasons, status, &std::pair<int, const char *>::first);
    return found == std::end(reasons) ? "Status" : found->second;
}

/// The header fields that matter here.
struct Headers
{
    bool valid = true;
    bool host = false;
    bool body = false;
    QByteArray connection;
};

Headers parseHeaders(const QList<QByteArray> &lines)
{
    Headers headers;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines[i].indexOf(':');
        const QByteArray name = lines[i].left(colon).toLower();
        if (colon < 1 || name.contains(' ') || name.contains('\t')) {
            headers.valid = false;
            break;
        }
        const QByteArray value = lines[i].sliced(colon + 1).trimmed();
        if (name == "host")
            headers.host = true;
        else if (name == "connection")
            headers.connection = value.toLower();
        else if (name == "transfer-encoding" || (name == "content-length" && value != "0"))
            headers.body = true;
    }
    return headers;
}

ParsedHead parseHead(const QByteArray &head)
{
    ParsedHead parsed;
    QList<QByteArray> lines = head.split('\n');
    for (QByteArray &line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
    }
    const QList<QByteArray> start = lines.first().split(' ');
    const Headers headers = parseHeaders(lines);
    const auto refuse = [&parsed](int status) {
        parsed.refusal = status;
        parsed.keepAlive = false;
        return parsed;
    };
    if (start.size() != 3 || start[0].isEmpty() || !start[2].startsWith("HTTP/") || !headers.valid)
        return refuse(400);
    const bool modern = start[2] == "HTTP/1.1";
    if (!modern && start[2] != "HTTP/1.0")
        return refuse(505);
    if (start[0] != "GET")
        return refuse(405);
    if ((modern && !headers.host) || headers.body || start[1].isEmpty())
        return refuse(400);
    const qsizetype question = start[1].indexOf('?');
    parsed.request.path = question < 0 ? start[1] : start[1].left(question);
    parsed.request.query = question < 0 ? QByteArray() : start[1].sliced(question + 1);
    parsed.keepAlive = modern ? headers.connection != "close" : headers.connection == "keep-alive";
    return parsed;
}

/// One client. Requests wait in the buffer until the one before is answered.
class Connection : public QObject
{
public:
    Connection(QTcpSocket &socket, const HttpHandler &handler)
        : QObject(&socket), m_socket(socket), m_handler(handler)
    {
        m_socket.setReadBufferSize(readBufferSize);
        m_silence.setSingleShot(true);
        m_silence.setInterval(silenceLimit);
        connect(&m_silence, &QTimer::timeout, this, [this] { m_socket.abort(); });
        m_silence.start();
        connect(&m_socket, &QTcpSocket::readyRead, this, &Connection::proceed);
        connect(&m_socket, &QTcpSocket::bytesWritten, this, [this] {
            m_silence.start();
            if (m_finishing)
                endOutput();
            else
                proceed();
        });
        proceed();
    }

private:
    void proceed()
    {
        if (m_finishing)
            m_socket.readAll();
        // A client that sends requests but reads no answers waits, and so does one whose answer is on the
        // way.
        while (!m_busy && m_socket.bytesToWrite() < maxUnsent) {
            if (m_buffer.size() < maxHeadSize)
                m_buffer.append(m_socket.read(maxHeadSize + 4 - m_buffer.size()));
            while (m_buffer.startsWith("\r\n")) // tolerated before a request line
                m_buffer.remove(0, 2);
            const qsizetype end = m_buffer.indexOf("\r\n\r\n");
            if (end < 0) {
                if (m_buffer.size() >= maxHeadSize)
                    answer({{}, 431, false});
                return;
            }
            const ParsedHead head = parseHead(m_buffer.left(end));
            m_buffer.remove(0, end + 4);
            answer(head);
        }
    }

    void answer(const ParsedHead &head)
    {
        m_busy = true;
        m_silence.start();
        HttpReply reply;
        if (head.refusal != 0) {
            reply.status = head.refusal;
            reply.contentType = "text/plain";
            reply.body = QByteArray(reason(head.refusal)) + "\n";
            if (head.refusal == 405)
                reply.moreHeaders = "Allow: GET\r\n";
        } else {
            reply = m_handler(head.request);
        }
        const bool keepAlive = head.keepAlive && !isFlood(reply.delivery);
        if (reply.latency.count() <= 0) {
            send(reply, keepAlive);
            return;
        }
        QTimer::singleShot(reply.latency, Qt::PreciseTimer, this, [this, reply, keepAlive] {
            send(reply, keepAlive);
            proceed();
        });
    }

    void send(const HttpReply &reply, bool keepAlive)
    {
        const QByteArray head = "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' + reason(reply.status) +
                                "\r\nContent-Type: " + reply.contentType + "\r\n" +
                                lengthHeader(reply.delivery, reply.body.size()) + reply.moreHeaders +
                                (keepAlive ? "" : "Connection: close\r\n") + "\r\n";
        deliver(m_socket, reply.delivery, head, reply.body, [this, keepAlive] {
            m_busy = !keepAlive;
            if (!keepAlive)
                finish();
        });
    }

    void finish()
    {
        if (qobject_cast<QSslSocket *>(&m_socket)) {
            m_socket.disconnectFromHost();
            return;
        }
        m_finishing = true;
        m_socket.flush();
        endOutput();
    }

    /// Closing on unread input would reset the connection under the answer: only this side's half is closed,
    /// and input read and dropped for a moment.
    void endOutput()
    {
        if (m_socket.bytesToWrite() > 0)
            return;
        ::shutdown(static_cast<int>(m_socket.socketDescriptor()), SHUT_WR);
        m_silence.start(1s);
    }

    QTcpSocket &m_socket;
    const HttpHandler &m_handler;
    QTimer m_silence;
    QByteArray m_buffer;
    bool m_busy = false;
    bool m_finishing = false;
};

} // namespace

void serveHttp(QTcpServer &server, const HttpHandler &handler)
{
    auto *owner = new QObject(&server);
    const auto kept = std::make_shared<HttpHandler>(handler);
    QObject::connect(&server, &QTcpServer::pendingConnectionAvailable, owner, [&server, kept] {
        while (QTcpSocket *socket = server.nextPendingConnection()) {
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            if (server.findChildren<QTcpSocket *>(Qt::FindDirectChildrenOnly).size() > maxConnections)
                socket->abort();
            else
                new Connection(*socket, *kept);
        }
    });
}

} // namespace kestrune::replay
