// SPDX-License-Identifier: MIT
#include "support/eventloop.h"
#include "support/fakeclock.h"
#include "support/testregistry.h"

#include <QTest>

#include <memory>

using namespace kestrune;
using namespace kestrune::test;
using namespace std::chrono_literals;

namespace {

using Log = QStringList;

QCoro::Task<> sleeper(Clock *clock, std::chrono::milliseconds duration, QString name, Log *log,
                      std::stop_token stop = {})
{
    const bool passed = co_await clock->sleep(duration, stop);
    log->append(passed ? name : name + QStringLiteral(" closed"));
}

QCoro::Task<> ticker(Clock *clock, std::chrono::milliseconds period, QString name, Log *log)
{
    for (int i = 1;; ++i) {
        if (!co_await clock->sleep(period))
            co_return;
        const auto ms =
            std::chrono::duration_cast<std::chrono::milliseconds>(clock->now().time_since_epoch());
        log->append(QStringLiteral("%1%2@%3").arg(name).arg(i).arg(ms.count() % 100'000));
    }
}

} // namespace

class FakeClockTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void startsAtItsFixedInstant();
    void wakesInOrderOfDeadlines();
    void drainsTheQueueBetweenTwoSleepers();
    void aSleeperThatSleepsAgainIsWokenWithinTheSameAdvance();
    void aStoppedSleeperWakesThroughTheEventLoop();
    void goingAwayWakesEverySleeperWithFalse();
    void steppingTheWallClockMovesNoDeadline();
};

void FakeClockTest::startsAtItsFixedInstant()
{
    FakeClock clock;
    QCOMPARE(epochSeconds(clock.now()), 1767601800.0); // date -u -d 2026-01-05T08:30:00Z +%s
    clock.advance(1500ms);
    QCOMPARE(epochSeconds(clock.now()), 1767601801.5);
}

void FakeClockTest::wakesInOrderOfDeadlines()
{
    Log log;
    FakeClock clock;
    sleeper(&clock, 3s, QStringLiteral("third"), &log);
    sleeper(&clock, 1s, QStringLiteral("first"), &log);
    sleeper(&clock, 2s, QStringLiteral("second"), &log);
    sleeper(&clock, 2s, QStringLiteral("second too"), &log);
    sleeper(&clock, 3001ms, QStringLiteral("late"), &log);
    QCOMPARE(clock.sleeperCount(), 5);
    clock.advance(3s);
    QCOMPARE(log, Log({QStringLiteral("first"), QStringLiteral("second"), QStringLiteral("second too"),
                       QStringLiteral("third")}));
    QCOMPARE(clock.sleeperCount(), 1);
}

void FakeClockTest::drainsTheQueueBetweenTwoSleepers()
{
    Log log;
    QObject context;
    FakeClock clock;
    const auto sleepThenPost = [&](std::chrono::milliseconds duration, const QString &name) {
        clock.sleep(duration).then([&, name](bool) {
            log.append(name);
            QMetaObject::invokeMethod(
                &context, [&, name] { log.append(name + u'\''); }, Qt::QueuedConnection);
        });
    };
    sleepThenPost(1s, QStringLiteral("a"));
    sleepThenPost(1s, QStringLiteral("b"));
    clock.advance(1s);
    QCOMPARE(log,
             Log({QStringLiteral("a"), QStringLiteral("a'"), QStringLiteral("b"), QStringLiteral("b'")}));
}

void FakeClockTest::aSleeperThatSleepsAgainIsWokenWithinTheSameAdvance()
{
    Log log;
    {
        FakeClock clock; // starts at a whole 100 s
        ticker(&clock, 400ms, QStringLiteral("p"), &log);
        ticker(&clock, 1s, QStringLiteral("q"), &log);
        clock.advance(2s);
    }
    QCOMPARE(log, Log({QStringLiteral("p1@400"), QStringLiteral("p2@800"), QStringLiteral("q1@1000"),
                       QStringLiteral("p3@1200"), QStringLiteral("p4@1600"), QStringLiteral("q2@2000"),
                       QStringLiteral("p5@2000")}));
}

void FakeClockTest::aStoppedSleeperWakesThroughTheEventLoop()
{
    Log log;
    FakeClock clock;
    std::stop_source stop;
    sleeper(&clock, 1h, QStringLiteral("stopped"), &log, stop.get_token());
    stop.request_stop();
    QCOMPARE(log, Log()); // never inside request_stop()
    drainEvents();
    QCOMPARE(log, Log({QStringLiteral("stopped")}));

    sleeper(&clock, 1h, QStringLiteral("stopped before"), &log, stop.get_token());
    QCOMPARE(log.size(), 1);
    drainEvents();
    QCOMPARE(log.size(), 2);
    QCOMPARE(clock.sleeperCount(), 0);
}

void FakeClockTest::goingAwayWakesEverySleeperWithFalse()
{
    Log log;
    std::stop_source stop;
    {
        FakeClock clock;
        sleeper(&clock, 2s, QStringLiteral("b"), &log);
        sleeper(&clock, 1s, QStringLiteral("a"), &log);
        sleeper(&clock, 3s, QStringLiteral("c"), &log, stop.get_token());
        stop.request_stop(); // its queued wake must not reach a clock that is gone
    }
    QCOMPARE(log, Log({QStringLiteral("a closed"), QStringLiteral("b closed"), QStringLiteral("c closed")}));
    drainEvents();
    QCOMPARE(log.size(), 3);
}

void FakeClockTest::steppingTheWallClockMovesNoDeadline()
{
    Log log;
    FakeClock clock;
    sleeper(&clock, 5s, QStringLiteral("done"), &log);
    clock.advance(3s);
    clock.setNow(clock.now() - 24h);
    const Instant stepped = clock.now();
    clock.advance(1s);
    QVERIFY(log.isEmpty());
    clock.advance(1s);
    QCOMPARE(log.size(), 1);
    QVERIFY(clock.now() == stepped + 2s);
}

KESTRUNE_TEST(FakeClockTest)
#include "tst_fakeclock.moc"
