// SPDX-License-Identifier: MIT
#include "line/barclient.h"
#include "line/clickinput.h"
#include "line/lineoutput.h"
#include "line/lines.h"
#include "line/watchmode.h"
#include "statusbar/desktop/barservice.h"
#include "statusbar/privatebus.h"
#include "support/appfixture.h"
#include "support/testregistry.h"

#include <QDBusArgument>
#include <QSignalSpy>
#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class BarServiceTest : public QObject
{
    Q_OBJECT
    /// The running program, as far as it is on the bus.
    struct Bar : AppFixture
    {
        explicit Bar(const QDBusConnection &bus) : connection(bus)
        {
            serveCrypto(3000);
            start();
            connection.registerService(u"org.kestrune.bar"_s);
            service = std::make_unique<BarService>(
                connection, state, QString(),
                BarService::Panel{[this](const QPoint &position) { opened = position; },
                                  [this] { opened = {}; }});
        }
        ~Bar() { connection.unregisterService(u"org.kestrune.bar"_s); }
        QDBusConnection connection;
        std::unique_ptr<BarService> service;
        QPoint opened;
    };
    static QDBusMessage call(const QDBusConnection &from, const QString &member,
                             const QVariantList &arguments = {},
                             const QString &interface = u"org.kestrune.Bar1"_s)
    {
        return PrivateBus::call(from, u"org.kestrune.bar"_s, u"/org/kestrune/Bar1"_s, interface, member,
                                arguments);
    }

private Q_SLOTS:
    void othersReadAndSteerTheBar()
    {
        PrivateBus bus;
        Bar bar(bus.connection(u"ours"_s));
        bar.serveStock(u"sh600519"_s, 1500);
        const QDBusConnection other = bus.connection(u"other"_s);
        const QSignalSpy changed(bar.service.get(), &BarService::Changed);
        const QString properties = u"org.freedesktop.DBus.Properties"_s;
        bar.state->price = 3001;
        drainEvents();
        QCOMPARE(changed.size(), 0); // nobody has asked
        const auto all = qdbus_cast<QVariantMap>(
            call(other, u"GetAll"_s, {u"org.kestrune.Bar1"_s}, properties).arguments().value(0));
        QCOMPARE(all.size(), 5);
        QVERIFY(all[u"Title"_s] == u"ETH  3,001"_s && all[u"Price"_s] == 3001.0 && all[u"Fresh"_s] == true);
        QCOMPARE(all[u"Json"_s].toString(), QString::fromUtf8(barRecord(*bar.state, {}).json));
        QCOMPARE(all[u"Signal"_s], barRecord(*bar.state, {}).states.first());
        bar.state->price = 3002;
        QVERIFY(waitFor([&] { return changed.size() == 1; }));

        const struct
        {
            QString method;
            QVariantList arguments;
            QString selected; ///< empty: an error
        } rows[] = {
            {u"Select"_s, {u"doge"_s}, u"DOGE"_s},
            {u"Next"_s, {}, u"ADA"_s},
            {u"Previous"_s, {}, u"DOGE"_s},
            {u"Select"_s, {u"NOPE"_s}, {}},
            {u"Select"_s, {u"\u0001\n😀<&%s"_s + QString(100'000, QChar(u'x'))}, {}},
            {u"Select"_s, {1}, {}},
            {u"Select"_s, {}, {}},
            {u"Open"_s, {u"x"_s, 1}, {}},
            {u"deleteLater"_s, {}, {}},
            {u"Open"_s, {-2147483647, 2147483647}, u"DOGE"_s},
            {u"Select"_s, {u"sh600519"_s}, u"sh600519"_s},
        };
        for (const auto &row : rows) {
            const QString before = bar.state->coinSymbol();
            const bool good = call(other, row.method, row.arguments).type() == QDBusMessage::ReplyMessage;
            QVERIFY2(good != row.selected.isEmpty(), qPrintable(row.method));
            QCOMPARE(bar.state->coinSymbol(), good ? row.selected : before);
        }
        QVERIFY(waitFor([&] { return bar.opened == QPoint(-2147483647, 2147483647); }));
        const QString described = call(other, u"Introspect"_s, {}, u"org.freedesktop.DBus.Introspectable"_s)
                                      .arguments()[0]
                                      .toString();
        const QMetaObject &meta = BarService::staticMetaObject; // what is described by hand is what is there
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            QVERIFY(described.contains(u" name=\"%1\""_s.arg(QLatin1String(meta.method(i).name()))));
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
            QVERIFY(described.contains(u" name=\"%1\" type"_s.arg(QLatin1String(meta.property(i).name()))));
    }

    void aLineFollowsTheBarAndGoesOnWithoutIt()
    {
        PrivateBus bus;
        QDBusConnection theirs = bus.connection(u"theirs"_s);
        AppFixture own;
        own.serveCrypto(2000);
        Pipe pipe;
        LineOutput output(pipe.ends[1]);
        const auto client = new BarClient(bus.connection(u"ours"_s), {300ms, 100ms});
        const auto makeState = [&] { return own.create().shared_from_this(); };
        WatchMode watch({LineFormat::plain, false, {}}, own.clock, makeState, {}, output,
                        std::unique_ptr<BarClient>(client));
        QString line;
        const auto reads = [&](const QString &start) {
            return waitFor([&] {
                line += QString::fromUtf8(pipe.read());
                return line.section(u'\n', -2, -2).startsWith(start);
            });
        };
        QDBusConnection stranger = bus.connection(u"stranger"_s);
        QVERIFY(stranger.registerService(u"org.kestrune.bar"_s)); // and no bar
        const QSignalSpy gone(client, &BarClient::gone);
        watch.run();
        QVERIFY(waitFor([&] { return gone.size() == 1 && own.state; }) && reads(u"等待 ETH"_s));
        QVERIFY(stranger.unregisterService(u"org.kestrune.bar"_s));
        own.state.reset();
        {
            auto bar = std::make_unique<Bar>(theirs);
            QVERIFY(reads(u"ETH  3,000"_s));
            own.clearLogs();
            own.clock.advance(60s);
            QVERIFY(own.lines().isEmpty() && !own.state); // the bar's line costs no request
            bar->state->price = 3100;
            QVERIFY(reads(u"ETH  3,100"_s));
            watch.click({3, {}});
            QVERIFY(waitFor([&] { return bar->state->coinSymbol() == u"BTC"_s; }));
            watch.click({1, {7, 8}});
            QVERIFY(waitFor([&] { return bar->opened == QPoint(7, 8); }));
            bar->state->setCoin(u"ETH"_s);
            QVERIFY(reads(u"ETH"_s));
        }
        QVERIFY(waitFor([&] { return !client->isFollowing() && own.state; }));
        line.clear();
        own.clock.advance(1s);
        QVERIFY(reads(u"ETH  2,000"_s) && !line.contains(u"等待"_s)); // the last line stayed till then
        const std::weak_ptr<AppState> before = std::exchange(own.state, {});

        const Bar bar(theirs); // comes back
        QVERIFY(reads(u"ETH  3,000"_s));
        QVERIFY(before.expired());
        bar.service->blockSignals(true); // says nothing, but answers
        QTest::qWait(300);
        QVERIFY(client->isFollowing() && !own.state);
        theirs.unregisterObject(u"/org/kestrune/Bar1"_s); // says nothing and answers nothing
        QVERIFY(waitFor([&] { return own.state != nullptr; }));
        own.crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s);
        own.clock.advance(19s);
        QVERIFY(line.section(u'\n', -2, -2).startsWith(u"ETH  3,000"_s)); // it stays for a while
        own.clock.advance(1s);
        QVERIFY(reads(u"等待 ETH"_s));
    }
};

KESTRUNE_TEST(BarServiceTest)
#include "tst_barservice.moc"
