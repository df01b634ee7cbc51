// SPDX-License-Identifier: MIT
#include "faults/certificates.h"
#include "faults/faultrun.h"
#include "support/loopbackserver.h"
#include "support/testregistry.h"

#include <QTest>

#include <algorithm>
#include <cstdio>
#include <memory>

using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

/// A market over TLS whose certificate nobody should take.
class TlsMarket
{
public:
    explicit TlsMarket(const Certificate &files)
    {
        m_process.start(
            QStringLiteral(KESTRUNE_BIN_DIR "/kestrune-replay"),
            {u"--port"_s, u"0"_s, u"--exit-with-stdin"_s, u"--tls"_s, files.certificate, files.key});
        if (m_process.waitForReadyRead(20'000))
            m_address = QString::fromLatin1(m_process.readLine()).trimmed();
    }
    TlsMarket(const TlsMarket &) = delete;
    TlsMarket &operator=(const TlsMarket &) = delete;
    ~TlsMarket()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished(5000);
    }
    [[nodiscard]] QString address() const { return m_address; }

private:
    QProcess m_process;
    QString m_address;
};

struct Figures
{
    int runs = 0;
    qint64 longestMs = 0;
    long peakMiB = 0;
    QStringList failures;

    void add(const FaultRun &run)
    {
        ++runs;
        longestMs = std::max(longestMs, run.elapsedMs());
        peakMiB = std::max(peakMiB, run.peakMiB());
        const QString verdict = run.verdict();
        if (!verdict.isEmpty())
            failures += run.faultCase().name + u": "_s + verdict;
    }
};

/// Runs all cases, so many at once: they mostly wait.
Figures runAll(const std::vector<FaultCase> &cases, std::size_t atOnce)
{
    Figures figures;
    std::vector<std::unique_ptr<FaultRun>> running;
    auto next = cases.begin();
    while (next != cases.end() || !running.empty()) {
        while (next != cases.end() && running.size() < atOnce)
            running.push_back(std::make_unique<FaultRun>(*next++));
        QTest::qWait(20);
        std::erase_if(running, [&](const auto &run) {
            if (!run->advance())
                return false;
            figures.add(*run);
            return true;
        });
    }
    return figures;
}

} // namespace

/// The program itself against markets that fail: the documented fallback each time, in time and in bounds.
/// All cases take minutes and run with KESTRUNE_FAULTS=all; otherwise two dozen that end at once.
class FaultMatrixTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyFaultEndsInTheDocumentedFallback();
};

void FaultMatrixTest::everyFaultEndsInTheDocumentedFallback()
{
    Certificates certificates;
    const auto untrusted = certificates.untrusted();
    const auto expired = certificates.expired();
    QVERIFY2(untrusted && expired, "openssl makes no certificates");
    const TlsMarket untrustedMarket(*untrusted);
    const TlsMarket expiredMarket(*expired);
    QVERIFY(!untrustedMarket.address().isEmpty() && !expiredMarket.address().isEmpty());
    LoopbackServer serverFault;
    LoopbackServer::Answer page;
    page.status = 501;
    page.headers = {"Content-Type: text/html"};
    page.body = "<html><body><h1>Not implemented</h1></body></html>";
    serverFault.serve(u"/"_s, page);
    const BrokenHosts hosts{untrustedMarket.address(), expiredMarket.address(),
                            serverFault.url(u"/"_s).toString()};

    const bool all = qEnvironmentVariable("KESTRUNE_FAULTS") == u"all";
    const auto cases = all ? allFaultCases(hosts) : quickFaultCases(hosts);
    const Figures figures = runAll(cases, all ? 24 : 8);
    std::printf("%d runs, the longest %.1f s, at most %ld MiB resident, %lld not as they must be\n",
                figures.runs, double(figures.longestMs) / 1000, figures.peakMiB,
                static_cast<long long>(figures.failures.size()));
    for (const QString &failure : figures.failures) // Qt Test cuts long texts off
        std::printf("  %s\n", qPrintable(failure));
    std::fflush(stdout);
    QVERIFY2(figures.failures.isEmpty(), qPrintable(figures.failures.join(u'\n')));
    QVERIFY(figures.runs > 20);
}

KESTRUNE_TEST(FaultMatrixTest)
#include "tst_faultmatrix.moc"
