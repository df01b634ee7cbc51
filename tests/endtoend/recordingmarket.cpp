// SPDX-License-Identifier: MIT
#include "endtoend/recordingmarket.h"

#include "support/marketbodies.h"

#include <QTcpSocket>
#include <QUrl>
#include <QUrlQuery>

namespace kestrune::test {

namespace {

const QByteArray &cryptoCandles()
{
    static const QByteArray body = gateCandles(waveCandles(200, 60000));
    return body;
}

QByteArray quotesFor(const QString &codes)
{
    std::vector<QuoteLine> quotes;
    for (const QString &code : codes.split(u','))
        quotes.push_back({code.toLatin1(), "\xb9\xf3\xd6\xdd\xc3\xa9\xcc\xa8", 1500, 1.25}); // 贵州茅台
    return stockQuotes(quotes);
}

QByteArray stockCandlesFor(const QString &parameter)
{
    const QStringList parts = parameter.split(u',');
    return stockCandles(parts.value(0), parts.value(1), waveCandles(320, 1500));
}

} // namespace

RecordingMarket::RecordingMarket(QString prefix) : m_prefix(std::move(prefix))
{
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
    listen(QHostAddress::LocalHost);
}

QString RecordingMarket::address() const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(serverPort()).arg(m_prefix);
}

void RecordingMarket::serve(QTcpSocket *socket)
{
    // What belongs to a head that is not there yet stays in the socket's buffer.
    for (qsizetype end = 0; (end = socket->peek(64 * 1024).indexOf("\r\n\r\n")) >= 0;) {
        const QByteArray head = socket->read(end + 4);
        const QString target = QString::fromLatin1(head.split(' ').value(1));
        m_heads.append(head);
        m_lines.append(target);
        const QByteArray body = answer(target);
        if (body.isEmpty())
            m_unknown.append(target);
        socket->write((body.isEmpty() ? "HTTP/1.1 404 Not Found" : "HTTP/1.1 200 OK") +
                      QByteArray("\r\nContent-Length: ") + QByteArray::number(body.size()) + "\r\n\r\n" +
                      body);
    }
}

QByteArray RecordingMarket::answer(const QString &target)
{
    if (!target.startsWith(m_prefix))
        return {};
    const QUrl url(target.mid(m_prefix.size()));
    const QString path = url.path();
    if (path.startsWith(QLatin1String("/q=")))
        return quotesFor(path.mid(3));
    if (path == QLatin1String("/appstock/app/fqkline/get"))
        return stockCandlesFor(QUrlQuery(url).queryItemValue(QStringLiteral("param")));
    if (path == QLatin1String("/api/v4/futures/usdt/tickers"))
        return gateTicker(61234.5, -2.25);
    if (path == QLatin1String("/api/v4/spot/candlesticks"))
        return cryptoCandles();
    if (path == QLatin1String("/api/v3/klines"))
        return "[]"; // answers, but has no history
    return {};
}

} // namespace kestrune::test
