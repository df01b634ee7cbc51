// SPDX-License-Identifier: MIT
#include "soak/wholebar.h"

#include "support/bytesinuse.h"
#include "support/eventloop.h"

#include <QApplication>
#include <QDir>
#include <QScopeGuard>
#include <QTest>

using namespace std::chrono_literals;

namespace kestrune::test {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 simulatedDay = 1440; // market seconds in a real one: a day in a minute

QStringList warningsHeard;

void hear(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    // What the platform of the tests cannot do is no fault.
    if (type != QtDebugMsg && !text.startsWith(u"This plugin does not support"))
        warningsHeard.append(text);
}

qint64 objectsBelow(const QObject &object)
{
    return object.findChildren<QObject *>().size();
}

int entries(const QString &folder)
{
    return static_cast<int>(
        QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
}

} // namespace

QCoro::Task<std::optional<QByteArray>> CountingHttp::get(QUrl url, std::vector<HttpHeader> headers)
{
    const QString path = url.path();
    m_tally.tickers += path.contains(u"tickers") || path.contains(u"ticker/24hr") ? 1 : 0;
    m_tally.candles += path.contains(u"candle") || path.contains(u"kline") ? 1 : 0;
    m_tally.quotes += path.startsWith(u"/q=") ? 1 : 0;
    ++m_open;
    const auto closed = qScopeGuard([this] { --m_open; });
    auto body = co_await m_client.get(std::move(url), std::move(headers));
    co_return body;
}

WholeBar::WholeBar()
{
    qInstallMessageHandler(hear);
    qputenv("XDG_CONFIG_HOME", m_folder.path().toLocal8Bit());
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toLatin1());
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address().toLatin1());
    m_theirs.registerService(u"org.freedesktop.login1"_s);
    m_watcher.start();
    startMarket();
    m_preferences.setBoolean(u"ks_has_launched_v2"_s, true);
    const AppState::Dependencies dependencies{
        m_crypto,      m_stock,     m_clock,
        m_preferences, m_attention, Endpoints::via(u"http://127.0.0.1:%1"_s.arg(m_port))};
    const auto dropConnections = [this] {
        m_crypto.client().dropConnections();
        m_stock.client().dropConnections();
    };
    m_delegate = std::make_unique<AppDelegate>(
        AppDelegate::Launch{dependencies, u"soak"_s, dropConnections, false}, nullptr);
    m_delegate->applicationDidFinishLaunching();
    QTest::qWait(1200); // the bar listens for wake-ups from a second after its start
}

WholeBar::~WholeBar()
{
    m_delegate.reset();
    qInstallMessageHandler(nullptr);
}

const QStringList &WholeBar::warnings() const
{
    return warningsHeard;
}

void WholeBar::startMarket()
{
    const auto now = std::chrono::duration_cast<std::chrono::seconds>(m_clock.now().time_since_epoch());
    const QString time = QDateTime::fromSecsSinceEpoch(now.count(), Qt::UTC).toString(Qt::ISODate);
    m_market = std::make_unique<ReplayServer>(QStringList{u"--port"_s, QString::number(m_port), u"--clock"_s,
                                                          time, u"--speed"_s, QString::number(simulatedDay)});
    m_port = m_market->port();
}

bool WholeBar::settle()
{
    drainEvents();
    return waitFor([this] { return m_crypto.openCount() + m_stock.openCount() == 0; }, 20s);
}

Tally WholeBar::live(std::chrono::seconds duration)
{
    static_cast<void>(m_crypto.takeTally());
    static_cast<void>(m_stock.takeTally());
    const Instant end = m_clock.now() + duration;
    bool settled = settle();
    while (settled && m_clock.now() < end) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - m_clock.now());
        const auto next = m_clock.untilNextWake();
        m_clock.advance(next ? std::min(left, std::chrono::ceil<std::chrono::milliseconds>(*next)) : left);
        settled = settle();
    }
    const Tally crypto = m_crypto.takeTally();
    const Tally stock = m_stock.takeTally();
    if (!settled)
        return {-1, -1, -1};
    return {crypto.tickers + stock.tickers, crypto.candles + stock.candles, crypto.quotes + stock.quotes};
}

bool WholeBar::click()
{
    const bool before = popover().isVisible();
    if (!waitFor([this] { return !popover().hasJustClosed(); }))
        return false;
    const QDBusMessage answer =
        PrivateBus::call(m_theirs, m_watcher.items.isEmpty() ? QString() : m_watcher.items.back(),
                         u"/StatusNotifierItem"_s, u"org.kde.StatusNotifierItem"_s, u"Activate"_s, {600, 10});
    return answer.type() == QDBusMessage::ReplyMessage &&
           waitFor([&] { return popover().isVisible() != before; });
}

void WholeBar::suspend(std::chrono::seconds duration)
{
    const auto announce = [this](bool begins) {
        QDBusMessage signal = QDBusMessage::createSignal(
            u"/org/freedesktop/login1"_s, u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s);
        signal.setArguments({begins});
        m_theirs.send(signal);
    };
    announce(true);
    m_clock.setNow(m_clock.now() + duration);
    announce(false);
}

Inventory WholeBar::inventory()
{
    drainEvents();
    m_watcher.heardSignals.clear();
    m_attention.dialogs.clear();
    Inventory found;
    found.objects = objectsBelow(*qApp) + objectsBelow(state()) + objectsBelow(*m_delegate);
    for (const QWidget *window : QApplication::topLevelWidgets())
        found.objects += 1 + objectsBelow(*window);
    found.threads = entries(u"/proc/self/task"_s);
    found.files = entries(u"/proc/self/fd"_s);
    found.sleepers = m_clock.sleeperCount();
    found.bytesInUse = test::bytesInUse();
    return found;
}

} // namespace kestrune::test
