// SPDX-License-Identifier: MIT
#include "statusbar/desktop/notifieritem.h"

#include "statusbar/desktop/notifiertypes.h"
#include "statusbar/fakewatcher.h"
#include "statusbar/privatebus.h"
#include "statusbar/statusmenu.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QSignalSpy>
#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

const QString itemInterface = u"org.kde.StatusNotifierItem"_s;
const QString itemPath = u"/StatusNotifierItem"_s;
const QString menuInterface = u"com.canonical.dbusmenu"_s;

StatusItemContent contentOf(const QString &text, BarSignal signal = BarSignal::neutral)
{
    StatusItemContent content;
    content.status.text = text;
    content.status.signal = signal;
    content.title = u"ETH  "_s + text;
    content.detail = u"观望"_s;
    return content;
}

StatusItemContent alertContent(int pulse)
{
    StatusItemContent content = contentOf(u"3,001"_s, BarSignal::buy);
    content.status.alertActive = true;
    content.status.pulse = pulse;
    return content;
}

/// A bus with a bar on it and our side of the connection.
struct Desktop
{
    PrivateBus bus;
    QDBusConnection ours = bus.connection(u"ours"_s);
    QDBusConnection theirs = bus.connection(u"theirs"_s);
    FakeWatcher watcher{theirs};
    StatusMenu menu;

    [[nodiscard]] QVariant property(const QString &name) const
    {
        const QDBusMessage reply =
            PrivateBus::call(theirs, ours.baseService(), itemPath, u"org.freedesktop.DBus.Properties"_s,
                             u"Get"_s, {itemInterface, name});
        return reply.type() == QDBusMessage::ReplyMessage
                   ? reply.arguments().value(0).value<QDBusVariant>().variant()
                   : QVariant();
    }
    [[nodiscard]] QList<NotifierPixmap> pixmaps(const QString &name = u"IconPixmap"_s) const
    {
        return qdbus_cast<QList<NotifierPixmap>>(property(name).value<QDBusArgument>());
    }
    /// Everything that was sent before is here afterwards.
    [[nodiscard]] QStringList signalsSinceLast()
    {
        Q_UNUSED(property(u"Id"_s))
        drainEvents();
        return std::exchange(watcher.heardSignals, {});
    }
    [[nodiscard]] QDBusMessage callMenu(const QString &member, const QVariantList &arguments) const
    {
        return PrivateBus::call(theirs, ours.baseService(), itemPath + u"/Menu"_s, menuInterface, member,
                                arguments);
    }
};

QRgb pixelAt(const NotifierPixmap &pixmap, int x, int y)
{
    const auto *bytes =
        reinterpret_cast<const uchar *>(pixmap.pixels.constData()) + (y * pixmap.width + x) * 4;
    return qRgba(bytes[1], bytes[2], bytes[3], bytes[0]);
}

} // namespace

class TestNotifierItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void registersAndAnswersAHost();
    void tellsOnlyWhatHasChanged();
    void callsForAttention();
    void clicksArrive();
    void exportsTheMenu();
};

void TestNotifierItem::registersAndAnswersAHost()
{
    Desktop desktop;
    QVERIFY(desktop.bus.isRunning());
    desktop.watcher.start();
    auto item = std::make_unique<NotifierItem>(desktop.ours, NotifierHost::label, desktop.menu.entries());
    item->show(contentOf(u"3,000"_s, BarSignal::buy));
    QVERIFY(waitFor([&] { return desktop.watcher.items.size() == 1; }));
    QCOMPARE(desktop.watcher.items[0],
             u"org.kde.StatusNotifierItem-%1-1"_s.arg(QCoreApplication::applicationPid()));

    QCOMPARE(desktop.property(u"XAyatanaLabel"_s).toString(), u"3,000"_s);
    QCOMPARE(desktop.property(u"Status"_s).toString(), u"Active"_s);
    QVERIFY(desktop.property(u"Title"_s).toString().contains(u"观望"_s));
    QCOMPARE(desktop.property(u"WindowId"_s).metaType(), QMetaType::fromType<int>());
    const auto toolTip = qdbus_cast<NotifierToolTip>(desktop.property(u"ToolTip"_s).value<QDBusArgument>());
    QCOMPARE(toolTip.title, u"ETH  3,000"_s);
    QCOMPARE(toolTip.text, u"观望"_s);
    const auto pixmaps = desktop.pixmaps();
    QCOMPARE(pixmaps.size(), 2);
    QCOMPARE(pixmaps[1].width, 44);
    QCOMPARE(pixmaps[1].pixels.size(), 44 * 44 * 4);
    QCOMPARE(QColor::fromRgba(pixelAt(pixmaps[1], 22, 22)),
             statusDotColor(contentOf({}, BarSignal::buy).status));
    QVERIFY(!desktop.property(u"Nonsense"_s).isValid());

    item->registerWith(NotifierHost::wide); // a new watcher, which alone keeps the wide picture
    QVERIFY(waitFor([&] { return desktop.watcher.items.size() == 2; }));
    const auto wide = desktop.pixmaps();
    QCOMPARE(wide.size(), 1);
    const QImage picture = pictureOf(contentOf(u"3,000"_s, BarSignal::buy)).image;
    QCOMPARE(QSize(wide[0].width, wide[0].height), picture.size());
    QCOMPARE(wide[0].pixels, toNotifierPixmap(picture).pixels);

    item.reset(); // goes without a trace
    QVERIFY(!desktop.property(u"Id"_s).isValid());
    item = std::make_unique<NotifierItem>(desktop.ours, NotifierHost::dot, desktop.menu.entries());
    item->show(contentOf(u"3,000"_s));
    QVERIFY(desktop.property(u"Id"_s).isValid());
}

void TestNotifierItem::tellsOnlyWhatHasChanged()
{
    Desktop desktop;
    desktop.watcher.start();
    NotifierItem item(desktop.ours, NotifierHost::dot, desktop.menu.entries());
    item.show(contentOf(u"3,000"_s));
    Q_UNUSED(desktop.signalsSinceLast())
    item.show(contentOf(u"3,000"_s));
    QCOMPARE(desktop.signalsSinceLast(), QStringList());
    item.show(contentOf(u"3,001"_s)); // the dot stays, and this host shows no label
    QCOMPARE(desktop.signalsSinceLast(), (QStringList{u"NewTitle"_s, u"NewToolTip"_s}));
    item.show(contentOf(u"3,001"_s, BarSignal::sell));
    QCOMPARE(desktop.signalsSinceLast(), (QStringList{u"NewIcon"_s}));
    item.registerWith(NotifierHost::label);
    item.show(contentOf(u"3,002"_s, BarSignal::sell));
    QCOMPARE(desktop.signalsSinceLast(),
             (QStringList{u"NewTitle"_s, u"NewToolTip"_s, u"XAyatanaNewLabel"_s}));
    item.registerWith(NotifierHost::wide);
    item.show(contentOf(u"3,003"_s, BarSignal::sell));
    QCOMPARE(desktop.signalsSinceLast(), (QStringList{u"NewIcon"_s, u"NewTitle"_s, u"NewToolTip"_s}));
}

void TestNotifierItem::callsForAttention()
{
    Desktop desktop;
    desktop.watcher.start();
    NotifierItem item(desktop.ours, NotifierHost::dot, desktop.menu.entries());
    item.show(contentOf(u"3,001"_s, BarSignal::buy));
    Q_UNUSED(desktop.signalsSinceLast())
    item.show(alertContent(0));
    QCOMPARE(desktop.signalsSinceLast(), (QStringList{u"NewStatus"_s, u"NewIcon"_s, u"NewAttentionIcon"_s}));
    QCOMPARE(desktop.property(u"Status"_s).toString(), u"NeedsAttention"_s);
    const QRgb even = pixelAt(desktop.pixmaps(u"AttentionIconPixmap"_s)[0], 11, 11);
    item.show(alertContent(1));
    const QRgb odd = pixelAt(desktop.pixmaps(u"AttentionIconPixmap"_s)[0], 11, 11);
    QCOMPARE(QColor::fromRgba(even), statusTextColor(alertContent(0).status)); // orange
    QCOMPARE(QColor::fromRgba(odd), statusDotColor(alertContent(1).status));
    QVERIFY(even != odd);
    item.show(contentOf(u"3,001"_s, BarSignal::buy));
    QCOMPARE(desktop.property(u"Status"_s).toString(), u"Active"_s);
}

void TestNotifierItem::clicksArrive()
{
    Desktop desktop;
    NotifierItem item(desktop.ours, NotifierHost::dot, desktop.menu.entries());
    item.show(contentOf(u"3,000"_s));
    const QSignalSpy activated(&item, &StatusItem::activated);
    const QSignalSpy menu(&item, &StatusItem::contextMenuRequested);
    const auto call = [&](const QString &member, const QVariantList &arguments) {
        return PrivateBus::call(desktop.theirs, desktop.ours.baseService(), itemPath, itemInterface, member,
                                arguments)
            .type();
    };
    QCOMPARE(call(u"Activate"_s, {5000, 5000}), QDBusMessage::ReplyMessage);
    QVERIFY(waitFor([&] { return activated.size() == 1; }));
    QVERIFY(!activated[0][0].toRect().isValid()); // coordinates on no screen are not passed on
    QCOMPARE(call(u"ContextMenu"_s, {10, 10}), QDBusMessage::ReplyMessage);
    QVERIFY(waitFor([&] { return menu.size() == 1; }));
    QCOMPARE(call(u"Scroll"_s, {1, u"vertical"_s}), QDBusMessage::ReplyMessage);
    QCOMPARE(call(u"SecondaryActivate"_s, {1, 1}), QDBusMessage::ReplyMessage);
    QCOMPARE(call(u"Activate"_s, {u"text"_s, 1}), QDBusMessage::ErrorMessage);
    QCOMPARE(call(u"Unheard"_s, {}), QDBusMessage::ErrorMessage);
    QCOMPARE(activated.size(), 1);
}

void TestNotifierItem::exportsTheMenu()
{
    Desktop desktop;
    NotifierItem item(desktop.ours, NotifierHost::dot, desktop.menu.entries());
    const QSignalSpy aboutToShow(&item, &NotifierItem::menuAboutToShow);
    const QSignalSpy quit(&desktop.menu, &StatusMenu::quitRequested);
    const QSignalSpy autostart(&desktop.menu, &StatusMenu::autostartToggled);
    const QDBusMessage layout = desktop.callMenu(u"GetLayout"_s, {0, -1, QStringList()});
    QCOMPARE(layout.signature(), u"u(ia{sv}av)"_s);
    const auto root = qdbus_cast<MenuNode>(layout.arguments()[1].value<QDBusArgument>());
    QStringList labels;
    for (const MenuNode &child : root.children)
        labels.append(child.properties.value(u"label"_s, child.properties.value(u"type"_s)).toString());
    QCOMPARE(labels, (QStringList{u"显示面板"_s, u"刷新数据"_s, u"开机自动启动"_s, u"separator"_s,
                                  u"退出 Kestrune Bar"_s}));
    QCOMPARE(root.children[2].properties.value(u"toggle-state"_s).toInt(), 0);

    QCOMPARE(desktop.callMenu(u"AboutToShow"_s, {0}).arguments().value(0).toBool(), false);
    QCOMPARE(aboutToShow.size(), 1);
    const QVariant none = QVariant::fromValue(QDBusVariant(0));
    const auto event = [&](int id) {
        return desktop.callMenu(u"Event"_s, {id, u"clicked"_s, none, QVariant::fromValue(0U)}).type();
    };
    QCOMPARE(event(3), QDBusMessage::ReplyMessage);
    QVERIFY(waitFor([&] { return autostart.size() == 1; }));
    QCOMPARE(autostart[0][0].toBool(), true);
    const auto after = qdbus_cast<QList<MenuProperties>>(
        desktop.callMenu(u"GetGroupProperties"_s, {QVariant::fromValue(QList<int>{3, 99}), QStringList()})
            .arguments()[0]
            .value<QDBusArgument>());
    QCOMPARE(after.size(), 1);
    QCOMPARE(after[0].properties.value(u"toggle-state"_s).toInt(), 1);
    QVERIFY(waitFor([&] { return desktop.watcher.heardSignals.contains(u"LayoutUpdated"_s); }));
    QCOMPARE(event(99), QDBusMessage::ReplyMessage);
    QCOMPARE(event(-1), QDBusMessage::ReplyMessage);
    QCOMPARE(event(5), QDBusMessage::ReplyMessage);
    QVERIFY(waitFor([&] { return quit.size() == 1; }));
}

KESTRUNE_TEST(TestNotifierItem)
#include "tst_notifieritem.moc"
