// SPDX-License-Identifier: MIT
#pragma once

#include <QTcpServer>
#include <QUrl>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <vector>

class QTcpSocket;

namespace kestrune::test {

/// A small HTTP/1.1 server on 127.0.0.1 that answers as it was told to, faults included. It lives in the
/// thread of the test, so it answers whenever the test's event loop runs.
class LoopbackServer final : public QObject
{
    Q_OBJECT
public:
    enum class Fault {
        none,
        stall,           // the request is read, nothing is ever sent
        stallInBody,     // headers and the first half of the body, then silence
        stallInHeaders,  // half a header line, then silence
        reset,           // connection reset instead of an answer
        resetInBody,     // connection reset after half of the body
        truncate,        // connection closed in order after half of the body
        truncateChunked, // the same in chunks without the last one
        lengthNonsense,  // Content-Length is no number
        drip,            // one byte of the body per interval
        endless,         // a body without end, as fast as it is taken
        endlessHeaders,  // header lines without end
        garbage,         // bytes that are no HTTP
        closeAtOnce,     // connection closed in order instead of an answer
    };

    struct Answer
    {
        QByteArray body = {};
        int status = 200;
        QByteArrayList headers = {}; // whole lines without the line end
        Fault fault = Fault::none;
        std::chrono::milliseconds delay{0};     // before the first byte
        std::chrono::milliseconds interval{20}; // of a drip
    };

    struct Request
    {
        QByteArray line;    // "GET /path?query HTTP/1.1"
        QByteArray headers; // as sent, without the request line
        int connection;     // the number of the connection, from 0
        [[nodiscard]] QByteArray header(const QByteArray &name) const;
    };

    /// PEM files; the key is one of an elliptic curve.
    struct Certificate
    {
        QString certificate, key;
    };
    /// Over TLS where a certificate is given.
    explicit LoopbackServer(const std::optional<Certificate> &certificate = std::nullopt);

    /// An address of this server, for example url("/v1/kline?symbol=BTC").
    [[nodiscard]] QUrl url(const QString &pathAndQuery) const;

    /// Answers every request for the path (a query does not matter) so, until it is told otherwise; 404 for
    /// paths that nobody named.
    void serve(const QString &path, Answer answer) { m_answers[path] = std::move(answer); }

    [[nodiscard]] const std::vector<Request> &requests() const { return m_requests; }
    [[nodiscard]] qint64 bytesSent() const { return m_bytesSent; }

    /// An answer that was compressed with gzip and says so.
    [[nodiscard]] static Answer gzipped(const QByteArray &body);
    [[nodiscard]] static Answer redirect(const QByteArray &location)
    {
        return {.status = 302, .headers = {"Location: " + location}};
    }

private:
    void accept();
    void read(QTcpSocket *socket, int connection);
    void answer(QTcpSocket *socket, const Answer &answer);
    void send(QTcpSocket *socket, const QByteArray &bytes);
    void drip(QTcpSocket *socket, const QByteArray &bytes, std::chrono::milliseconds interval);
    void sendEndlessly(QTcpSocket *socket, const QByteArray &piece);
    static void reset(QTcpSocket *socket);

    QString m_scheme;
    std::map<QString, Answer> m_answers;
    std::map<QTcpSocket *, QByteArray> m_pending;
    std::vector<Request> m_requests;
    int m_connections = 0;
    qint64 m_bytesSent = 0;
    std::unique_ptr<QTcpServer> m_server; // goes first: its sockets still report that they close
};

} // namespace kestrune::test
