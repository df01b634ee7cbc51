// SPDX-License-Identifier: MIT
#pragma once

#include "replay/delivery.h"

#include <QByteArray>
#include <QObject>
#include <QTcpServer>

#include <chrono>
#include <functional>

namespace kestrune::replay {

struct HttpRequest
{
    QByteArray path;
    QByteArray query; ///< without the "?"
};

struct HttpReply
{
    int status = 200;
    QByteArray contentType = "application/json";
    QByteArray body;
    QByteArray moreHeaders; ///< whole lines, each ending in CR LF
    Delivery delivery = Delivery::whole;
    std::chrono::milliseconds latency{0};
};

using HttpHandler = std::function<HttpReply(const HttpRequest &)>;

/// Answers GET requests on every connection that `server` accepts: HTTP/1.0 and 1.1, kept-alive and
/// pipelined, one after another in the order they came. Bad requests get their status and end the
/// connection; so do minutes of silence.
void serveHttp(QTcpServer &server, const HttpHandler &handler);

} // namespace kestrune::replay
