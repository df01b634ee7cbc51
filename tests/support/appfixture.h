// SPDX-License-Identifier: MIT
#pragma once

#include "state/appstate.h"
#include "support/eventloop.h"
#include "support/fakeclock.h"
#include "support/fakehttpclient.h"
#include "support/marketbodies.h"
#include "support/memorypreferences.h"
#include "support/recordingattention.h"

#include <memory>

namespace kestrune::test {

// Request lines, to be completed with the coin or code.
[[nodiscard]] QString gateCandleLine(const QString &coin, const QString &interval, int limit = 200);
[[nodiscard]] QString binanceCandleLine(const QString &coin, const QString &interval, int limit = 200);
[[nodiscard]] QString okxCandleLine(const QString &coin, const QString &bar, int limit = 200);
[[nodiscard]] QString gateTickerLine(const QString &coin);
[[nodiscard]] QString binanceTickerLine(const QString &coin);
[[nodiscard]] QString stockCandleLine(const QString &code, const QString &period);
[[nodiscard]] QString quoteLine(const QString &codes);

/// Name of a published field as it is declared.
[[nodiscard]] QString fieldName(const AppState &state, const PublishedField *field);

/// The zones' identities are fresh each time; everything else must agree.
[[nodiscard]] bool sameZones(const std::vector<Zone> &a, const std::vector<Zone> &b);

/// A state with everything it depends on. Settings go into `preferences` and answers into the two clients
/// before the state is made. Members end in the opposite order, as in the program.
class AppFixture
{
public:
    enum class Launch { first, later };
    explicit AppFixture(Launch launch = Launch::later);

    /// Makes the state; nothing of what it started has run yet.
    AppState &create();
    /// Makes the state, lets the first refresh end, and forgets what was logged so far.
    AppState &start();
    /// Standing answers for every crypto instrument: a Gate.io ticker, daily waves for every interval,
    /// fewer of them from Binance, and no answer from the other sources.
    void serveCrypto(double price, const CandleList &candles = waveCandles(200, 3000));
    /// Standing answers for one stock: its quote and all three candle periods.
    void serveStock(const QString &code, double price, const CandleList &candles = waveCandles(320, 1500));

    /// What the test has put into the state counts as the selected instrument's and come now.
    void own() const;

    /// The next price refresh of a crypto instrument brings this price.
    void tickTo(double price);

    void clearLogs();
    /// Lines asked so far from both services.
    [[nodiscard]] QStringList lines() const { return crypto.lines() + stock.lines(); }
    [[nodiscard]] QString problems() const;

    QStringList announcements; ///< names of the fields announced since the state was made
    RecordingAttention attention;
    MemoryPreferences preferences;
    FakeClock clock;
    FakeHttpClient crypto;
    FakeHttpClient stock;
    std::shared_ptr<AppState> state;
};

} // namespace kestrune::test

#define KESTRUNE_VERIFY_APP(fixture)                                                                         \
    QVERIFY2((fixture).problems().isEmpty(), qPrintable((fixture).problems()))
