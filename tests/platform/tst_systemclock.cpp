// SPDX-License-Identifier: MIT
#include "platform/systemclock.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QTest>

#include <memory>

using namespace kestrune;
using namespace kestrune::test;
using namespace std::chrono_literals;

namespace {

using Steady = std::chrono::steady_clock;

struct Awakening
{
    QString name;
    bool passed;
    Steady::duration after;
};
using Log = std::vector<Awakening>;

QCoro::Task<> sleeper(Clock *clock, std::chrono::milliseconds duration, QString name, Log *log,
                      std::stop_token stop = {})
{
    const auto start = Steady::now();
    const bool passed = co_await clock->sleep(duration, stop);
    log->push_back({name, passed, Steady::now() - start});
}

QCoro::Task<> restless(Clock *clock, int *turns)
{
    for (;;) {
        const bool awake = co_await clock->sleep(0ms);
        if (!awake)
            co_return;
        ++*turns;
    }
}

// Ends its own clock, as a quitting program may.
QCoro::Task<> destroyer(std::unique_ptr<SystemClock> *clock, Log *log)
{
    const bool passed = co_await (*clock)->sleep(5ms);
    clock->reset();
    log->push_back({QStringLiteral("destroyer"), passed, {}});
}

QStringList names(const Log &log)
{
    QStringList list;
    for (const Awakening &entry : log)
        list.append(entry.name);
    return list;
}

} // namespace

class SystemClockTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void nobodyWakesEarlyAndOrderIsKept();
    void aStoppedSleeperWakesThroughTheEventLoop();
    void noSleepAtAllStillYieldsToTheEventLoop();
    void goingAwayWakesEverySleeperWithFalse();
    void aSleeperMayEndTheClock();
    void absurdDurationsAreHeld();
};

void SystemClockTest::nobodyWakesEarlyAndOrderIsKept()
{
    Log log;
    SystemClock clock;
    sleeper(&clock, 60ms, QStringLiteral("60"), &log);
    sleeper(&clock, 20ms, QStringLiteral("20"), &log);
    sleeper(&clock, 150ms, QStringLiteral("150"), &log);
    QVERIFY(waitFor([&] { return log.size() == 3; }));
    QCOMPARE(names(log), QStringList({QStringLiteral("20"), QStringLiteral("60"), QStringLiteral("150")}));
    for (const Awakening &entry : log) {
        QVERIFY(entry.passed);
        const auto asked = std::chrono::milliseconds(entry.name.toInt());
        QVERIFY2(entry.after >= asked, qPrintable(entry.name));
        QVERIFY2(entry.after < asked + 1s, qPrintable(entry.name)); // a busy machine
    }
}

void SystemClockTest::aStoppedSleeperWakesThroughTheEventLoop()
{
    Log log;
    SystemClock clock;
    std::stop_source stop;
    sleeper(&clock, 1h, QStringLiteral("stopped"), &log, stop.get_token());
    sleeper(&clock, 40ms, QStringLiteral("other"), &log);
    stop.request_stop();
    QVERIFY(log.empty());
    drainEvents();
    QCOMPARE(names(log), QStringList(QStringLiteral("stopped")));
    QVERIFY(log.front().passed);
    QVERIFY(waitFor([&] { return log.size() == 2; })); // the timer was for the other all along
}

void SystemClockTest::noSleepAtAllStillYieldsToTheEventLoop()
{
    int turns = 0;
    Log log;
    SystemClock clock;
    restless(&clock, &turns);
    sleeper(&clock, -5ms, QStringLiteral("negative"), &log);
    sleeper(&clock, 20ms, QStringLiteral("real"), &log);
    QCOMPARE(turns, 0);
    QVERIFY(waitFor([&] { return log.size() == 2; })); // not starved by the restless one
    QVERIFY(turns > 1);
}

void SystemClockTest::goingAwayWakesEverySleeperWithFalse()
{
    Log log;
    std::stop_source stop;
    {
        SystemClock clock;
        sleeper(&clock, 1h, QStringLiteral("b"), &log);
        sleeper(&clock, 1min, QStringLiteral("a"), &log);
        sleeper(&clock, 2h, QStringLiteral("stopped"), &log, stop.get_token());
        stop.request_stop();
    }
    QCOMPARE(names(log), QStringList({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("stopped")}));
    for (const Awakening &entry : log)
        QVERIFY(!entry.passed);
    drainEvents();
    QCOMPARE(log.size(), std::size_t(3));
}

void SystemClockTest::aSleeperMayEndTheClock()
{
    Log log;
    auto clock = std::make_unique<SystemClock>();
    destroyer(&clock, &log);
    sleeper(clock.get(), 5ms, QStringLiteral("beside"), &log);
    sleeper(clock.get(), 1h, QStringLiteral("later"), &log);
    QVERIFY(waitFor([&] { return log.size() == 3; }));
    QCOMPARE(names(log),
             QStringList({QStringLiteral("beside"), QStringLiteral("later"), QStringLiteral("destroyer")}));
    QVERIFY(!log.at(0).passed && !log.at(1).passed && log.at(2).passed);
}

void SystemClockTest::absurdDurationsAreHeld()
{
    Log log;
    SystemClock clock;
    sleeper(&clock, std::chrono::milliseconds::max(), QStringLiteral("for ever"), &log);
    sleeper(&clock, std::chrono::milliseconds::min(), QStringLiteral("long ago"), &log);
    QVERIFY(waitFor([&] { return !log.empty(); }));
    drainEvents();
    QCOMPARE(names(log), QStringList(QStringLiteral("long ago")));
}

KESTRUNE_TEST(SystemClockTest)
#include "tst_systemclock.moc"
