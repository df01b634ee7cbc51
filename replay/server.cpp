// SPDX-License-Identifier: MIT
#include "replay/server.h"

#include "replay/layouts.h"

#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>

namespace kestrune::replay {

namespace {

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The PEM key in whichever of the usual algorithms it is.
QSslKey readKey(const QByteArray &pem)
{
    for (const QSsl::KeyAlgorithm algorithm : {QSsl::Rsa, QSsl::Ec, QSsl::Dsa}) {
        QSslKey key(pem, algorithm);
        if (!key.isNull())
            return key;
    }
    return {};
}

std::variant<std::unique_ptr<QTcpServer>, QString> makeTlsServer(const Options &options)
{
    const QList<QSslCertificate> chain =
        QSslCertificate::fromData(contentsOf(options.certificate), QSsl::Pem);
    if (chain.isEmpty())
        return QStringLiteral("no certificate in \"%1\"").arg(options.certificate);
    const QSslKey key = readKey(contentsOf(options.key));
    if (key.isNull())
        return QStringLiteral("no private key in \"%1\"").arg(options.key);
    auto configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(chain);
    configuration.setPrivateKey(key);
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(configuration);
    return server;
}

HttpReply handle(const Options &options, Market &market, const HttpRequest &request)
{
    const auto target = findTarget(request.path, request.query);
    if (!target)
        return {404, "text/plain", "Not Found\n", {}, Delivery::whole, options.latency};
    Answer answer = answerRequest(market, *target);
    HttpReply reply{answer.status,   answer.contentType, std::move(answer.body), {},
                    Delivery::whole, options.latency};
    applyFault(options.faults[static_cast<std::size_t>(target->endpoint)], target->endpoint, reply);
    return reply;
}

} // namespace

std::variant<std::unique_ptr<QTcpServer>, QString> startServer(const Options &options, Market &market)
{
    std::unique_ptr<QTcpServer> server = std::make_unique<QTcpServer>();
    if (!options.certificate.isEmpty()) {
        auto made = makeTlsServer(options);
        if (std::holds_alternative<QString>(made))
            return made;
        server = std::move(std::get<std::unique_ptr<QTcpServer>>(made));
    }
    server->setListenBacklogSize(128);
    if (!server->listen(QHostAddress::LocalHost, options.port))
        return QStringLiteral("port %1: %2").arg(options.port).arg(server->errorString());
    serveHttp(*server,
              [options, &market](const HttpRequest &request) { return handle(options, market, request); });
    return server;
}

} // namespace kestrune::replay
