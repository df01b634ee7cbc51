// SPDX-License-Identifier: MIT
#include "statusbar/desktop/statusitemchooser.h"

#include "statusbar/fakewatcher.h"
#include "statusbar/privatebus.h"
#include "statusbar/statusmenu.h"
#include "support/eventloop.h"
#include "support/memorypreferences.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct Desktop
{
    PrivateBus bus;
    QDBusConnection ours = bus.connection(u"ours"_s);
    FakeWatcher watcher{bus.connection(u"theirs"_s)};
    MemoryPreferences preferences;
    StatusMenu menu;

    [[nodiscard]] std::unique_ptr<StatusItemChooser> chooser(const StatusItemChooser::Options &options)
    {
        auto item = std::make_unique<StatusItemChooser>(ours, preferences, menu.entries(), options);
        item->show(content(false));
        return item;
    }
    [[nodiscard]] static StatusItemContent content(bool bling)
    {
        StatusItemContent content;
        content.bling = bling;
        content.status.text = u"ETH  3,000"_s;
        return content;
    }
};

constexpr Presentation nothing;
constexpr Presentation stripOnly{.strip = true};
constexpr Presentation dot{.notifier = true};
constexpr Presentation dotAndStrip{.notifier = true, .strip = true};

} // namespace

/// Without X11, so hosts on the bus and the strip are all there is.
class TestStatusItemChooser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void givesHostsTheirTimeBeforeTheStripShows();
    void takesAHostThatComesLater();
    void registersOnceWithEveryNewWatcher();
    void survivesARestartOfTheHostWithoutFlicker();
    void worksWithoutABus();
};

void TestStatusItemChooser::givesHostsTheirTimeBeforeTheStripShows()
{
    Desktop desktop;
    const auto item = desktop.chooser({.hostWait = 400ms});
    QCOMPARE(item->presentation(), nothing);
    QVERIFY(!item->place());
    QVERIFY(!waitFor([&] { return item->presentation() != nothing; }, 200ms));
    QVERIFY(waitFor([&] { return item->presentation() == stripOnly; }, 1s));
    QVERIFY(item->place());
}

void TestStatusItemChooser::takesAHostThatComesLater()
{
    Desktop desktop;
    const auto item = desktop.chooser({.hostWait = 300ms});
    desktop.watcher.start();
    QVERIFY(waitFor([&] { return item->presentation() == dot; }, 250ms));
    // This host shows a dot only, so the text gets a strip when the wait is over.
    QVERIFY(waitFor([&] { return item->presentation() == dotAndStrip; }, 1s));
    QVERIFY(waitFor([&] { return desktop.watcher.items.size() == 1; }));
    desktop.watcher.setHost(false);
    QVERIFY(waitFor([&] { return item->presentation() == stripOnly; }));
    desktop.watcher.setHost(true);
    QVERIFY(waitFor([&] { return item->presentation() == dotAndStrip; }));
}

void TestStatusItemChooser::registersOnceWithEveryNewWatcher()
{
    Desktop desktop;
    desktop.watcher.start();
    const auto item = desktop.chooser({.hostWait = 10ms});
    QVERIFY(waitFor([&] { return desktop.watcher.items.size() == 1; }));
    item->show(Desktop::content(true));
    item->show(Desktop::content(false));
    for (int restart = 0; restart < 3; ++restart) {
        desktop.watcher.stop();
        drainEvents();
        desktop.watcher.items.clear();
        desktop.watcher.start();
        QVERIFY(waitFor([&] { return desktop.watcher.items.size() == 1; }));
        QVERIFY(!waitFor([&] { return desktop.watcher.items.size() != 1; }, 50ms));
    }
}

void TestStatusItemChooser::survivesARestartOfTheHostWithoutFlicker()
{
    Desktop desktop;
    desktop.watcher.start();
    const auto item = desktop.chooser({.hostWait = 10s});
    QVERIFY(waitFor([&] { return item->presentation() == dot; }));
    desktop.watcher.stop();
    QVERIFY(waitFor([&] { return item->presentation() == nothing; }));
    desktop.watcher.start();
    QVERIFY(waitFor([&] { return item->presentation() == dot; }));
}

void TestStatusItemChooser::worksWithoutABus()
{
    MemoryPreferences preferences;
    StatusMenu menu;
    StatusItemChooser item(QDBusConnection(u"nobody knows this connection"_s), preferences, menu.entries(),
                           {.hostWait = 10ms});
    item.show(Desktop::content(false));
    QVERIFY(waitFor([&] { return item.presentation() == stripOnly; }));

    Desktop desktop;
    desktop.watcher.start();
    const auto onABus = desktop.chooser({.hostWait = 10ms});
    QVERIFY(waitFor([&] { return onABus->presentation() == dotAndStrip; }));
    desktop.bus.stop(); // says nothing of the names that go with it
    QVERIFY(waitFor([&] { return onABus->presentation() == stripOnly; }));
}

KESTRUNE_TEST(TestStatusItemChooser)
#include "tst_statusitemchooser.moc"
