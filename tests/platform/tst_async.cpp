// SPDX-License-Identifier: MIT
#include "platform/async.h"
#include "support/eventloop.h"
#include "support/fakeclock.h"
#include "support/testregistry.h"

#include <QTest>

#include <memory>

using namespace kestrune;
using namespace kestrune::test;
using namespace std::chrono_literals;

class AsyncTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void startsOnALaterTurnAndRunsToItsEnd();
    void nothingRunsWhenTheContextIsGone();
};

void AsyncTest::startsOnALaterTurnAndRunsToItsEnd()
{
    QStringList log;
    FakeClock clock;
    QObject context;
    const auto captured = std::make_shared<int>(7);
    // A coroutine lambda with captures: it lives as long as its task, so reading them at the end is safe.
    startInBackground(&context, [&log, &clock, captured]() -> QCoro::Task<> {
        log.append(QStringLiteral("begun"));
        co_await clock.sleep(1s);
        log.append(QString::number(*captured));
    });
    log.append(QStringLiteral("returned"));
    drainEvents();
    QCOMPARE(captured.use_count(), 2L);
    clock.advance(1s);
    QCOMPARE(log, QStringList({QStringLiteral("returned"), QStringLiteral("begun"), QStringLiteral("7")}));
    QCOMPARE(captured.use_count(), 1L);
}

void AsyncTest::nothingRunsWhenTheContextIsGone()
{
    bool run = false;
    auto context = std::make_unique<QObject>();
    startInBackground(context.get(), [&run]() -> QCoro::Task<> {
        run = true;
        co_return;
    });
    context.reset();
    drainEvents();
    QVERIFY(!run);
}

KESTRUNE_TEST(AsyncTest)
#include "tst_async.moc"
