// SPDX-License-Identifier: MIT
#include "demomarket.h"

#include <QElapsedTimer>
#include <QUrl>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int startLimitMs = 5000;
constexpr int stopLimitMs = 1000;

QString failureOf(const QProcess &process)
{
    if (process.error() == QProcess::FailedToStart)
        return process.errorString();
    return process.state() == QProcess::Running ? u"does not answer"_s : u"has ended at once"_s;
}

} // namespace

tl::expected<std::unique_ptr<DemoMarket>, QString> DemoMarket::start(const QString &program)
{
    std::unique_ptr<DemoMarket> market(new DemoMarket);
    QProcess &process = market->m_process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // Its standard input is a pipe that closes with this process, even by kill -9: then it ends too.
    process.start(program, {u"--port"_s, u"0"_s, u"--exit-with-stdin"_s});
    QElapsedTimer elapsed;
    elapsed.start();
    while (!process.canReadLine()) {
        const auto left = startLimitMs - elapsed.elapsed();
        if (left <= 0 || !process.waitForReadyRead(int(left))) {
            return tl::unexpected(u"cannot start the demo market: %1: %2"_s.arg(program, failureOf(process)));
        }
    }
    const QString address = QString::fromUtf8(process.readLine()).trimmed();
    if (!QUrl(address, QUrl::StrictMode).isValid() || !address.startsWith(u"http://"))
        return tl::unexpected(u"cannot start the demo market: unexpected answer \"%1\""_s.arg(address));
    market->m_address = address;
    return market;
}

DemoMarket::~DemoMarket()
{
    m_process.closeWriteChannel();
    m_process.terminate();
    if (!m_process.waitForFinished(stopLimitMs)) {
        m_process.kill();
        m_process.waitForFinished(stopLimitMs);
    }
}

} // namespace kestrune
