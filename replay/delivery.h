// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <functional>

class QTcpSocket;

namespace kestrune::replay {

/// How an answer goes over the wire.
enum class Delivery {
    whole,
    stall,       ///< nothing is ever sent
    stallBody,   ///< the head and half of the body, then silence
    reset,       ///< the connection is reset at once
    resetBody,   ///< the head and half of the body, then a reset
    truncate,    ///< the head and half of the body, then a normal close
    wrongLength, ///< the whole body, but Content-Length tells half of it
    drip,        ///< the head, then one byte of the body at a time, for ever slower than anyone waits
    flood,       ///< the head without a length, then the body and 50 MiB of blanks
    // These go on without end.
    floodChunk,     ///< one chunk that is told to be 2^63 - 1 bytes long
    floodExtension, ///< the extension of the first chunk
    floodHead,      ///< header lines
};

[[nodiscard]] inline bool isFlood(Delivery delivery)
{
    return delivery >= Delivery::flood;
}

/// The Content-Length header line for a body, empty where none is sent.
[[nodiscard]] QByteArray lengthHeader(Delivery delivery, qsizetype bodySize);

/// Sends an answer. Calls `done` when the connection may go on with the next request, and never when it
/// may not. Everything it starts dies with the socket.
void deliver(QTcpSocket &socket, Delivery delivery, const QByteArray &head, const QByteArray &body,
             const std::function<void()> &done);

} // namespace kestrune::replay
