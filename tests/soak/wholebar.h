// SPDX-License-Identifier: MIT
#pragma once

#include "platform/jsonpreferences.h"
#include "platform/qthttpclient.h"
#include "statusbar/desktop/appdelegate.h"
#include "statusbar/fakewatcher.h"
#include "statusbar/privatebus.h"
#include "support/fakeclock.h"
#include "support/program.h"
#include "support/recordingattention.h"

#include <QTemporaryDir>

#include <memory>

namespace kestrune::test {

/// Requests by what they ask for.
struct Tally
{
    int tickers = 0;
    int candles = 0;
    int quotes = 0;
};

/// The real client, and a look at what is under way.
class CountingHttp final : public HttpClient
{
public:
    [[nodiscard]] QCoro::Task<std::optional<QByteArray>> get(QUrl url,
                                                             std::vector<HttpHeader> headers) override;
    [[nodiscard]] int openCount() const { return m_open; }
    [[nodiscard]] QtHttpClient &client() { return m_client; }
    /// Since the last call.
    [[nodiscard]] Tally takeTally() { return std::exchange(m_tally, {}); }

private:
    int m_open = 0;
    Tally m_tally;
    QtHttpClient m_client; // ends first: its waiters still count
};

/// What must not pile up.
struct Inventory
{
    qint64 bytesInUse = 0;
    qint64 objects = 0; ///< QObjects below the application, the state and every window
    int threads = 0;
    int files = 0;
    int sleepers = 0;
};

/// The whole interactive program but for its main function: a bar on a bus of its own, with the market in a
/// process of its own, on a clock that moves only while no request is under way.
class WholeBar
{
public:
    WholeBar();
    ~WholeBar();

    [[nodiscard]] AppState &state() { return m_delegate->state(); }
    [[nodiscard]] Popover &popover() { return m_delegate->controller().popover(); }
    [[nodiscard]] RecordingAttention &attention() { return m_attention; }
    [[nodiscard]] FakeWatcher &watcher() { return m_watcher; }
    [[nodiscard]] FakeClock &clock() { return m_clock; }
    [[nodiscard]] const QStringList &warnings() const;

    /// Lets time pass; what was asked meanwhile.
    Tally live(std::chrono::seconds duration);
    /// A left click on the item, as the bar's host passes it on; whether it opened or closed the panel.
    [[nodiscard]] bool click();
    void stopMarket() { m_market.reset(); }
    void startMarket();
    /// The machine sleeps and wakes.
    void suspend(std::chrono::seconds duration);
    [[nodiscard]] Inventory inventory();

private:
    [[nodiscard]] bool settle();

    QTemporaryDir m_folder;
    PrivateBus m_bus;
    QDBusConnection m_theirs = m_bus.connection(QStringLiteral("theirs"));
    FakeWatcher m_watcher{m_theirs};
    std::unique_ptr<ReplayServer> m_market;
    quint16 m_port = 0;
    JsonPreferences m_preferences{m_folder.path()};
    RecordingAttention m_attention;
    FakeClock m_clock;
    CountingHttp m_crypto;
    CountingHttp m_stock;
    std::unique_ptr<AppDelegate> m_delegate;
};

} // namespace kestrune::test
