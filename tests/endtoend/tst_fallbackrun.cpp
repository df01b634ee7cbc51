#include "endtoend/barprocess.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QJsonArray>
#include <QTest>

#include <memory>
#include <vector>

using namespace kestrune::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A market whose first sources fail in one way, and a run of the program against it.
struct FaultyRun
{
    explicit FaultyRun(QString faultKind) : kind(std::move(faultKind))
    {
        QStringList arguments{u"--port"_s, u"0"_s, u"--exit-with-stdin"_s};
        for (const QString &endpoint : {u"gate.candles"_s, u"binance.candles"_s, u"gate.ticker"_s})
            arguments += {u"--fault"_s, endpoint + u'=' + kind};
        market.start(QStringLiteral(KESTRUNE_BIN_DIR "/kestrune-replay"), arguments);
    }
    ~FaultyRun()
    {
        market.closeWriteChannel();
        market.waitForFinished(3000);
    }
    FaultyRun(const FaultyRun &) = delete;
    FaultyRun &operator=(const FaultyRun &) = delete;

    QString kind;
    QProcess market;
    BarProcess bar;
};

} // namespace

class FallbackRunTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void whateverTheFirstSourcesDoTheLastOnesServe();
};

void FallbackRunTest::whateverTheFirstSourcesDoTheLastOnesServe()
{
    std::vector<std::unique_ptr<FaultyRun>> runs;
    for (const QString &kind :
         {u"status:500"_s, u"empty"_s, u"html"_s, u"gzip-bomb"_s, u"reset"_s, u"reset-body"_s, u"truncate"_s,
          u"wrong-length"_s, u"flood"_s, u"redirect:http://127.0.0.1:1/"_s})
        runs.push_back(std::make_unique<FaultyRun>(kind));
    for (const auto &run : runs) {
        QVERIFY2(waitFor([&] { return run->market.canReadLine(); }), qPrintable(run->kind));
        run->bar.begin({u"--snapshot"_s, u"out"_s, u"--market-server"_s,
                        QString::fromLatin1(run->market.readLine()).trimmed(), u"--symbol"_s, u"BTC"_s});
    }
    for (const auto &run : runs) {
        const QByteArray kind = run->kind.toLatin1();
        QVERIFY2(waitFor([&] { return run->bar.state() == QProcess::NotRunning; }, 30s), kind.constData());
        const QByteArray error = run->bar.readAllStandardError();
        QVERIFY2(error.isEmpty(), (kind + ": " + error).constData());
        QCOMPARE(run->bar.exitCode(), 0);
        const QJsonObject summary = run->bar.summary();
        QVERIFY2(summary.value(u"price"_s).toDouble() > 0, kind.constData());
        QVERIFY2(summary.value(u"signals"_s).toArray().size() == 3, kind.constData());
        QVERIFY2(!summary.value(u"support"_s).toArray().isEmpty(), kind.constData());
    }
}

KESTRUNE_TEST(FallbackRunTest)
#include "tst_fallbackrun.moc"
