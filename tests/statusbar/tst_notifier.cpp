// SPDX-License-Identifier: MIT
#include "statusbar/desktop/notifieritem.h"
#include "statusbar/desktop/notifiertypes.h"
#include "statusbar/desktop/statusitemchooser.h"
#include "statusbar/fakewatcher.h"
#include "statusbar/privatebus.h"
#include "statusbar/statusmenu.h"
#include "support/eventloop.h"
#include "support/memorypreferences.h"
#include "support/testregistry.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The item on a bus with a bar on it; without X11, so that and the strip are all there is to choose from.
class TestNotifier : public QObject
{
    Q_OBJECT

    inline static const QString itemInterface = u"org.kde.StatusNotifierItem"_s;
    static constexpr Presentation nothing{};
    static constexpr Presentation stripOnly{.strip = true};
    static constexpr Presentation dotAndStrip{.notifier = true, .strip = true};

    /// A picture; with a pulse it is that of an alert.
    static StatusItemContent content(const QString &text, BarSignal signal, int pulse = -1)
    {
        const StatusContent status{.text = text, .signal = signal, .alertActive = pulse >= 0, .pulse = pulse};
        return {false, status, {}, 0, u"ETH  "_s + text, u"观望"_s};
    }
    inline static const StatusItemContent first = content(u"3,000"_s, BarSignal::buy, -1);

    struct Desktop
    {
        PrivateBus bus;
        QDBusConnection ours = bus.connection(u"ours"_s);
        QDBusConnection theirs = bus.connection(u"theirs"_s);
        FakeWatcher watcher{theirs};
        MemoryPreferences preferences;
        StatusMenu menu;

        [[nodiscard]] auto item(NotifierHost host) const
        {
            auto made = std::make_unique<NotifierItem>(ours, host, menu.entries());
            made->show(first);
            return made;
        }
        [[nodiscard]] auto chooser(std::chrono::milliseconds hostWait)
        {
            const StatusItemChooser::Options options{.hostWait = hostWait, .lookAfter = 30ms};
            auto made = std::make_unique<StatusItemChooser>(ours, preferences, menu.entries(), options);
            made->show(first);
            return made;
        }
        [[nodiscard]] bool hasItems(qsizetype count) const
        {
            return waitFor([&] { return watcher.items.size() == count; });
        }
        [[nodiscard]] QDBusMessage call(const QString &interface, const QString &member,
                                        const QVariantList &arguments, const QString &path = {}) const
        {
            return PrivateBus::call(theirs, ours.baseService(), u"/StatusNotifierItem"_s + path, interface,
                                    member, arguments);
        }
        [[nodiscard]] QVariantList callMenu(const QString &member, const QVariantList &arguments) const
        {
            return call(u"com.canonical.dbusmenu"_s, member, arguments, u"/Menu"_s).arguments();
        }
        [[nodiscard]] QVariant property(const QString &name) const
        {
            const QVariantList reply =
                call(u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {itemInterface, name}).arguments();
            return reply.value(0).value<QDBusVariant>().variant();
        }
        template <typename T>
        [[nodiscard]] T structure(const QString &name) const
        {
            return qdbus_cast<T>(property(name).value<QDBusArgument>());
        }
        /// Everything that was sent before is here afterwards.
        [[nodiscard]] QString signalsSinceLast()
        {
            Q_UNUSED(property(u"Id"_s))
            drainEvents();
            return std::exchange(watcher.heardSignals, {}).join(u' ');
        }
    };
    using Pixmaps = QList<NotifierPixmap>;

    static QColor middleOf(const NotifierPixmap &pixmap)
    {
        const qsizetype pixel = (pixmap.height / 2 * pixmap.width + pixmap.width / 2) * qsizetype{4};
        const auto *bytes = reinterpret_cast<const uchar *>(pixmap.pixels.constData()) + pixel;
        return QColor(bytes[1], bytes[2], bytes[3], bytes[0]);
    }

private Q_SLOTS:
    void answersAHost()
    {
        Desktop desktop;
        desktop.watcher.start();
        auto item = desktop.item(NotifierHost::label);
        QVERIFY(desktop.hasItems(1));
        const qint64 pid = QCoreApplication::applicationPid();
        QCOMPARE(desktop.watcher.items[0], u"org.kde.StatusNotifierItem-%1-1"_s.arg(pid));
        QCOMPARE(desktop.property(u"XAyatanaLabel"_s), u"3,000"_s);
        QCOMPARE(desktop.property(u"Title"_s), u"ETH  3,000 · 观望"_s);
        QCOMPARE(desktop.property(u"WindowId"_s).metaType(), QMetaType::fromType<int>());
        const auto tip = desktop.structure<NotifierToolTip>(u"ToolTip"_s);
        QCOMPARE(tip.title + u'/' + tip.text, u"ETH  3,000/观望"_s);
        const auto pixmaps = desktop.structure<Pixmaps>(u"IconPixmap"_s);
        QVERIFY(pixmaps.size() == 2 && pixmaps[0].width == 22 && pixmaps[1].pixels.size() == 44 * 44 * 4);
        QCOMPARE(middleOf(pixmaps[1]), statusDotColor(first.status));

        item->registerWith(NotifierHost::wide); // a new watcher, which alone keeps the wide picture
        QVERIFY(desktop.hasItems(2));
        const auto wide = desktop.structure<Pixmaps>(u"IconPixmap"_s);
        const NotifierPixmap whole = toNotifierPixmap(pictureOf(first).image);
        QVERIFY(wide.size() == 1 && wide[0].width == whole.width && wide[0].pixels == whole.pixels);

        item.reset(); // goes without a trace
        QVERIFY(!desktop.property(u"Id"_s).isValid());
        item = desktop.item(NotifierHost::dot);
        QVERIFY(desktop.property(u"Id"_s).isValid());
    }

    void announcesOnlyWhatTheHostShows()
    {
        using enum NotifierHost;
        constexpr auto sell = BarSignal::sell;
        Desktop desktop;
        const auto item = desktop.item(dot);
        Q_UNUSED(desktop.signalsSinceLast())
        const struct
        {
            NotifierHost host;
            StatusItemContent shown;
            const char *expected;
        } steps[] = {
            {dot, first, ""},
            {dot, content(u"3,001"_s, BarSignal::buy), "NewTitle NewToolTip"},
            {dot, content(u"3,001"_s, sell), "NewIcon"},
            {label, content(u"3,002"_s, sell), "NewTitle NewToolTip XAyatanaNewLabel"},
            {wide, content(u"3,003"_s, sell), "NewIcon NewTitle NewToolTip"},
            {dot, content(u"3,003"_s, sell, 0), "NewStatus NewIcon NewAttentionIcon"},
            {dot, content(u"3,003"_s, sell, 1), "NewIcon NewAttentionIcon"},
            {dot, content(u"3,003"_s, sell), "NewStatus NewIcon"},
        };
        for (const auto &[host, shown, expected] : steps) {
            item->registerWith(host);
            item->show(shown);
            QCOMPARE(desktop.signalsSinceLast(), QString::fromLatin1(expected));
            const bool alert = shown.status.alertActive;
            QCOMPARE(desktop.property(u"Status"_s), alert ? u"NeedsAttention"_s : u"Active"_s);
            const auto pixmaps = desktop.structure<Pixmaps>(u"AttentionIconPixmap"_s);
            if (alert) // orange and the signal's colour in turn, like the text
                QCOMPARE(middleOf(pixmaps[0]), statusTextColor(shown.status));
        }
    }

    void clicksArrive()
    {
        Desktop desktop;
        const auto item = desktop.item(NotifierHost::dot);
        const QSignalSpy activated(item.get(), &StatusItem::activated);
        const QSignalSpy menu(item.get(), &StatusItem::contextMenuRequested);
        const auto answers = [&](const QString &member, const QVariantList &arguments) {
            return desktop.call(itemInterface, member, arguments).type() == QDBusMessage::ReplyMessage;
        };
        QVERIFY(answers(u"Activate"_s, {5000, 5000}));
        QVERIFY(answers(u"ContextMenu"_s, {10, 10}));
        QVERIFY(answers(u"Scroll"_s, {1, u"vertical"_s}));
        QVERIFY(answers(u"SecondaryActivate"_s, {1, 1}));
        QVERIFY(answers(u"ProvideXdgActivationToken"_s, {u"token"_s}));
        QVERIFY(!answers(u"Activate"_s, {u"text"_s, 1}));
        QVERIFY(!answers(u"Unheard"_s, {}));
        QVERIFY(menu.size() == 1 && activated.size() == 1);
        QVERIFY(!activated[0][0].toRect().isValid()); // coordinates on no screen are not passed on
    }

    void exportsTheMenu()
    {
        Desktop desktop;
        const auto item = desktop.item(NotifierHost::dot);
        const QSignalSpy aboutToShow(item.get(), &NotifierItem::menuAboutToShow);
        const QSignalSpy quit(&desktop.menu, &StatusMenu::quitRequested);
        const QSignalSpy autostart(&desktop.menu, &StatusMenu::autostartToggled);
        const QVariantList before = desktop.callMenu(u"GetLayout"_s, {0, -1, QStringList()});
        const auto root = qdbus_cast<MenuNode>(before.value(1).value<QDBusArgument>());
        QStringList labels;
        for (const MenuNode &child : root.children)
            labels.append(child.properties.value(u"label"_s, child.properties.value(u"type"_s)).toString());
        QCOMPARE(labels, (QStringList{u"显示面板"_s, u"刷新数据"_s, u"开机自动启动"_s, u"separator"_s,
                                      u"退出 Kestrune Bar"_s}));
        QCOMPARE(root.children[2].properties.value(u"toggle-state"_s), 0);

        QVERIFY(desktop.callMenu(u"AboutToShow"_s, {0}).value(0) == false && aboutToShow.size() == 1);
        for (const int id : {3, 99, -1, 5})
            Q_UNUSED(desktop.callMenu(u"Event"_s,
                                      {id, u"clicked"_s, QVariant::fromValue(QDBusVariant(0)), QVariant(0U)}))
        QVERIFY(waitFor([&] { return quit.size() == 1; }));
        QCOMPARE(autostart.value(0).value(0), true);
        const QVariantList reply = desktop.callMenu(
            u"GetGroupProperties"_s, {QVariant::fromValue(QList<int>{3, 99, 3}), QStringList()});
        const auto after = qdbus_cast<QList<MenuProperties>>(reply.value(0).value<QDBusArgument>());
        QCOMPARE(after.size(), 1);
        QCOMPARE(after[0].properties.value(u"toggle-state"_s), 1);
        QVERIFY(desktop.watcher.heardSignals.contains(u"LayoutUpdated"_s));
        QVERIFY(desktop.callMenu(u"GetLayout"_s, {0, -1, QStringList()}).value(0).toUInt() >
                before[0].toUInt());
    }

    void followsHostsThatComeAndGo()
    {
        Desktop desktop;
        QElapsedTimer elapsed;
        elapsed.start();
        const auto item = desktop.chooser(100ms);
        QVERIFY(item->presentation() == nothing && !item->place()); // hosts have their time first
        const auto becomes = [&](const Presentation &expected) {
            return waitFor([&] { return item->presentation() == expected; });
        };
        QVERIFY(becomes(stripOnly) && elapsed.elapsed() >= 100 && item->place());
        desktop.watcher.start();
        QVERIFY(becomes(dotAndStrip) && desktop.hasItems(1)); // this host shows a dot only
        desktop.watcher.setHost(false);
        QVERIFY(becomes(stripOnly));
        desktop.watcher.setHost(true);
        QVERIFY(becomes(dotAndStrip) && desktop.hasItems(2));
        for (int count = 3; count <= 5; ++count) {
            desktop.watcher.stop();
            drainEvents();
            desktop.watcher.start();
            QVERIFY(desktop.hasItems(count));
            item->show(content(u"3,001"_s, count % 2 == 0 ? BarSignal::sell : BarSignal::buy));
            QVERIFY(!waitFor([&] { return desktop.watcher.items.size() > count; }, 50ms));
        }
        desktop.bus.stop(); // says nothing of the names that go with it
        QVERIFY(becomes(stripOnly));
    }

    void aPartOfTheShellShowsTheItemInstead()
    {
        const QString name = u"org.example.Shell"_s;
        Desktop desktop;
        desktop.watcher.start();
        StatusItemChooser item(desktop.ours, desktop.preferences, desktop.menu.entries(),
                               {.yieldsTo = name, .hostWait = 10ms, .lookAfter = 30ms});
        item.show(first);
        const auto becomes = [&](const Presentation &expected) {
            return waitFor([&] { return item.presentation() == expected; });
        };
        QVERIFY(becomes(dotAndStrip));
        for (int i = 0; i < 2; ++i) { // it may be switched off and on
            QVERIFY(desktop.theirs.registerService(name));
            QVERIFY(becomes(nothing) && !item.place());
            QVERIFY(!desktop.property(u"Id"_s).isValid());
            QVERIFY(desktop.theirs.unregisterService(name));
            QVERIFY(becomes(dotAndStrip));
        }
    }

    void hostsThatDropTheItemAreAskedAgain()
    {
        for (const NotifierHost host : {NotifierHost::label, NotifierHost::shell}) {
            Desktop desktop;
            desktop.watcher.start();
            desktop.watcher.drops = 1;
            NotifierItem item(desktop.ours, host, desktop.menu.entries(), 20ms);
            const QSignalSpy listed(&item, &NotifierItem::listedChanged);
            item.show(first);
            QVERIFY(desktop.hasItems(2) && !waitFor([&] { return !listed.empty(); }, 80ms));
            // Followed by its name, the shell's extension drops an item that it has just read in part.
            QCOMPARE(desktop.watcher.items[1] == u"/StatusNotifierItem"_s, host == NotifierHost::shell);
            desktop.watcher.listed = QStringList(desktop.ours.baseService() + u"0/StatusNotifierItem"_s);
            desktop.watcher.drops = 5;
            Q_EMIT desktop.watcher.StatusNotifierItemUnregistered(u"it"_s);
            QVERIFY(waitFor([&] { return listed.size() == 1; }) && desktop.watcher.items.size() == 3);
            desktop.watcher.listed = QStringList(desktop.ours.baseService() + u"/StatusNotifierItem"_s);
            if (host == NotifierHost::label)
                desktop.watcher.listed = desktop.watcher.items;
            Q_EMIT desktop.watcher.StatusNotifierItemRegistered(u"it"_s); // after all
            QVERIFY(waitFor([&] { return listed.size() == 2; }));
            QVERIFY(listed[0][0] == false && listed[1][0] == true);
        }
    }
};

KESTRUNE_TEST(TestNotifier)
#include "tst_notifier.moc"
