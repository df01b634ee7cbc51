// SPDX-License-Identifier: MIT
#include "platform/async.h"
#include "platform/systemclock.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QTest>

#include <memory>

using namespace kestrune;
using namespace kestrune::test;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

class ClockTest : public QObject
{
    Q_OBJECT

    /// Puts its name into the log when it wakes, with a question mark where the clock went away.
    static QCoro::Task<> note(QCoro::Task<bool> sleep, QString name, QStringList *log)
    {
        const bool passed = co_await sleep;
        log->append(passed ? name : name + u'?');
    }
    static QCoro::Task<> measure(Clock *clock, std::chrono::milliseconds duration, QStringList *log)
    {
        const auto start = clock->steady();
        const bool passed = co_await clock->sleep(duration);
        const bool early = !passed || clock->steady() - start < duration;
        log->append(QString::number(duration.count()) + (early ? u" early"_s : QString()));
    }
    static QCoro::Task<> tick(Clock *clock, int *turns)
    {
        for (;;) {
            const bool awake = co_await clock->sleep(0ms);
            if (!awake)
                co_return;
            ++*turns;
        }
    }
    static QCoro::Task<> sleepAgain(SleepQueue *queue, int *turns)
    {
        for (bool passed = true; passed && *turns < 3; *turns += passed ? 1 : 0)
            passed = co_await queue->sleepUntil(0ns, {});
    }
    /// Ends its own clock, as a quitting program may.
    static QCoro::Task<> destroy(std::unique_ptr<SystemClock> *clock, QStringList *log)
    {
        co_await (*clock)->sleep(5ms);
        clock->reset();
        log->append(u"destroyer"_s);
    }

private Q_SLOTS:
    void equalDeadlinesWakeInTheOrderOfTheirArrival()
    {
        QStringList log;
        SleepQueue queue;
        for (const auto &[deadline, name] :
             {std::pair(3s, u"third"_s), {1s, u"first"_s}, {2s, u"second"_s}, {2s, u"second too"_s}})
            note(queue.sleepUntil(deadline, {}), name, &log);
        for (const bool woken : {true, true, true, false})
            QCOMPARE(queue.wakeOne(2s), woken);
        QCOMPARE(log, (QStringList{u"first"_s, u"second"_s, u"second too"_s}));
        QVERIFY(queue.earliest() == 3s && queue.size() == 1);

        int turns = 0;
        sleepAgain(&queue, &turns);
        queue.wakeDue(1s);
        QCOMPARE(turns, 1); // who sleeps again at once waits for the next call
    }

    void nobodyWakesEarlyAndOrderIsKept()
    {
        QStringList log;
        SystemClock clock;
        for (const auto duration : {60ms, 20ms, 150ms, std::chrono::milliseconds::max()})
            measure(&clock, duration, &log);
        note(clock.sleep(std::chrono::milliseconds::min()), u"long ago"_s, &log);
        QVERIFY(waitFor([&] { return log.size() == 4; }));
        QCOMPARE(log, (QStringList{u"long ago"_s, u"20"_s, u"60"_s, u"150"_s}));
    }

    void aStoppedSleeperWakesThroughTheEventLoop()
    {
        QStringList log;
        SystemClock clock;
        std::stop_source stop;
        note(clock.sleep(1h, stop.get_token()), u"stopped"_s, &log);
        note(clock.sleep(200ms), u"other"_s, &log);
        stop.request_stop();
        note(clock.sleep(1h, stop.get_token()), u"stopped before"_s, &log);
        QCOMPARE(log, QStringList());
        drainEvents();
        QCOMPARE(log.mid(0, 2), (QStringList{u"stopped"_s, u"stopped before"_s}));
        QVERIFY(waitFor([&] { return log.size() == 3; })); // the timer was for the other all along
    }

    void noSleepAtAllStillYieldsToTheEventLoop()
    {
        int turns = 0;
        QStringList log;
        SystemClock clock;
        tick(&clock, &turns);
        note(clock.sleep(-5ms), u"negative"_s, &log);
        note(clock.sleep(20ms), u"real"_s, &log);
        QCOMPARE(turns, 0);
        QVERIFY(waitFor([&] { return log.size() == 2; })); // not starved by the one that sleeps for no time
        QVERIFY(turns > 1);
    }

    void goingAwayWakesEverySleeperWithFalse()
    {
        QStringList log;
        std::stop_source stop;
        {
            SystemClock clock;
            note(clock.sleep(1h), u"b"_s, &log);
            note(clock.sleep(1min), u"a"_s, &log);
            note(clock.sleep(2h, stop.get_token()), u"stopped"_s, &log);
            stop.request_stop(); // its queued wake must not reach a clock that is gone
        }
        drainEvents();
        QCOMPARE(log, (QStringList{u"a?"_s, u"b?"_s, u"stopped?"_s}));
    }

    void aSleeperMayEndTheClock()
    {
        QStringList log;
        auto clock = std::make_unique<SystemClock>();
        destroy(&clock, &log);
        note(clock->sleep(5ms), u"beside"_s, &log);
        note(clock->sleep(1h), u"later"_s, &log);
        QVERIFY(waitFor([&] { return log.size() == 3; }));
        QCOMPARE(log, (QStringList{u"beside?"_s, u"later?"_s, u"destroyer"_s}));
    }

    void aBackgroundTaskStartsOnALaterTurnAndRunsToItsEnd()
    {
        QStringList log;
        SystemClock clock;
        auto context = std::make_unique<QObject>();
        const auto captured = std::make_shared<int>(7);
        // A coroutine lambda with captures: it lives as long as its task, so reading them at the end is safe.
        const auto task = [&log, &clock, captured]() -> QCoro::Task<> {
            log.append(u"begun"_s);
            co_await clock.sleep(1ms);
            log.append(QString::number(*captured));
        };
        startInBackground(context.get(), task);
        log.append(u"returned"_s);
        QVERIFY(waitFor([&] { return log.size() == 3; }));
        QCOMPARE(log, (QStringList{u"returned"_s, u"begun"_s, u"7"_s}));
        QCOMPARE(captured.use_count(), 2L); // this one and the lambda's
        startInBackground(context.get(), task);
        context.reset();
        drainEvents();
        QCOMPARE(log.size(), 3); // nothing runs when the context is gone
    }
};

KESTRUNE_TEST(ClockTest)
#include "tst_clock.moc"
