// SPDX-License-Identifier: MIT
#include "replay/delivery.h"

#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>

#include <sys/socket.h>

namespace kestrune::replay {

namespace {

using namespace std::chrono_literals;

constexpr auto dripPause = 200ms;
constexpr qint64 floodSize = 50LL * 1024 * 1024;
constexpr qsizetype floodPiece = 256LL * 1024;

/// Ends a connection so that the peer sees a reset instead of an end.
void resetConnection(QTcpSocket &socket)
{
    const linger immediately{1, 0};
    ::setsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &immediately,
                 sizeof immediately);
    socket.abort();
}

void resetSoon(QTcpSocket &socket)
{
    // A reset throws away what the peer has not read yet, so it gets a moment to read.
    QTimer::singleShot(50ms, &socket, [&socket] { resetConnection(socket); });
}

void drip(QTcpSocket &socket, const QByteArray &body)
{
    auto *timer = new QTimer(&socket);
    QObject::connect(timer, &QTimer::timeout, &socket, [&socket, timer, body, sent = qsizetype(0)]() mutable {
        if (sent < body.size())
            socket.write(body.constData() + sent++, 1);
        else
            timer->stop();
    });
    timer->start(dripPause);
}

/// `size` bytes of `letters` over and over, then a normal close.
void flood(QTcpSocket &socket, const QByteArray &letters, qint64 size = std::numeric_limits<qint64>::max())
{
    const auto left = std::make_shared<qint64>(size);
    const auto more = [&socket, left, piece = letters.repeated(floodPiece / letters.size())] {
        if (socket.bytesToWrite() >= floodPiece)
            return;
        if (*left <= 0) {
            socket.disconnectFromHost();
            return;
        }
        *left -= socket.write(piece.constData(), std::min(*left, qint64{piece.size()}));
    };
    QObject::connect(&socket, &QTcpSocket::bytesWritten, &socket, more);
    more();
}

} // namespace

QByteArray lengthHeader(Delivery delivery, qsizetype bodySize)
{
    if (delivery == Delivery::flood)
        return {};
    if (delivery == Delivery::floodChunk || delivery == Delivery::floodExtension)
        return "Transfer-Encoding: chunked\r\n";
    const qsizetype told = delivery == Delivery::wrongLength ? bodySize / 2 : bodySize;
    return "Content-Length: " + QByteArray::number(told) + "\r\n";
}

void deliver(QTcpSocket &socket, Delivery delivery, const QByteArray &head, const QByteArray &body,
             const std::function<void()> &done)
{
    const QByteArray half = head + body.left(body.size() / 2);
    switch (delivery) {
    case Delivery::whole:
    case Delivery::wrongLength:
        socket.write(head + body);
        done();
        break;
    case Delivery::stall:
        break;
    case Delivery::stallBody:
        socket.write(half);
        break;
    case Delivery::reset:
        resetConnection(socket);
        break;
    case Delivery::resetBody:
        socket.write(half);
        resetSoon(socket);
        break;
    case Delivery::truncate:
        socket.write(half);
        socket.disconnectFromHost();
        break;
    case Delivery::drip:
        socket.write(head);
        drip(socket, body);
        break;
    case Delivery::flood:
        socket.write(head + body);
        flood(socket, " ", floodSize);
        break;
    case Delivery::floodChunk:
        socket.write(head + "7fffffffffffffff\r\n" + body);
        flood(socket, " ");
        break;
    case Delivery::floodExtension:
        socket.write(head + "1;");
        flood(socket, "x");
        break;
    case Delivery::floodHead:
        socket.write(head.chopped(2));
        flood(socket, "X-More: and more\r\n");
        break;
    }
}

} // namespace kestrune::replay
