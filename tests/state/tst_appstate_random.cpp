// SPDX-License-Identifier: MIT
#include "marketday.h"
#include "state/instrumentlists.h"

#include <map>
#include <random>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class AppStateRandomTest : public QObject
{
    Q_OBJECT

    using Books = std::multimap<QString, QString>; // instruments by the id of their alerts
    static Books books(const std::vector<PriceAlert> &alerts)
    {
        Books books;
        for (const PriceAlert &alert : alerts)
            books.emplace(alert.id, alert.symbol);
        return books;
    }
    static void serveEverything(AppFixture &app, double price)
    {
        app.serveCrypto(price);
        for (const MarketSegment segment : {MarketSegment::cn, MarketSegment::hk}) {
            for (int i = 0; i < 3; ++i)
                app.serveStock(pickerSymbols(segment).at(i), price);
            app.stock.answerAlways(quoteLine(blingSymbols(segment).join(u',')), "no quotes");
        }
    }

private Q_SLOTS:
    // A market that may fail, and a user who does anything at any time.
    void anythingMayHappenAtAnyTime()
    {
        MarketDay app(100);
        std::mt19937 random(20260105);
        const auto pick = [&](int count) { return std::uniform_int_distribution<int>(0, count - 1)(random); };
        Books expected;
        serveEverything(app, 100);
        const std::function<void(AppState &)> acts[] = {
            [&](AppState &state) { state.setCoin(state.symbolList().at(pick(3))); },
            [&](AppState &state) { state.setMarket(allMarketSegments[std::size_t(pick(3))]); },
            [&](AppState &state) { state.setTimeframe(state.timeframeOptions().at(pick(3))); },
            [&](AppState &) { serveEverything(app, 90 + pick(21)); },
            [&](AppState &) { app.crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s); },
            [&](AppState &) { app.crypto.answerAlways(u"/api/v4/spot/candlesticks"_s, "<html>"); },
            [&](AppState &state) { pick(4) == 0 ? state.startTimers() : state.toggleBlingMode(); },
            [&](AppState &state) {
                state.addAlert(85 + pick(31));
                expected.emplace(state.alerts().back().id, state.coinSymbol());
            },
            [&](AppState &state) {
                if (const std::size_t count = state.alerts().size(); count > 0) {
                    const QString id = state.alerts()[std::size_t(pick(int(count)))].id;
                    if (pick(2) == 0)
                        return state.dismissAlert(id);
                    state.removeAlert(id);
                    expected.erase(id);
                }
            },
            [&](AppState &state) { begin(pick(2) == 0 ? state.refreshSR() : state.refreshPrice()); },
            [&](AppState &) { pick(5) == 0 ? static_cast<void>(app.create()) : drainEvents(); },
            [&](AppState &) { app.clock.advance(std::chrono::milliseconds(pick(9000))); },
            [&](AppState &) { app.clock.advance(std::chrono::milliseconds(pick(9000))); },
        };
        for (int i = 0; i < 800; ++i) {
            acts[std::size_t(pick(int(std::size(acts))))](*app.state);
            if (i % 5 != 0)
                continue;
            drainEvents();
            AppState &state = *app.state;
            QCOMPARE(books(state.alerts()), expected);
            QCOMPARE(app.clock.sleeperCount(),
                     2 + (state.blingMode() ? 2 : 0) + (state.alertPulseTask ? 1 : 0));
            QVERIFY(!state.alertActive() || state.alertPulseTask);
            QVERIFY(state.timeframeOptions().contains(state.timeframe()) && !state.isLoading());
        }
        // Whatever happened, a good market brings everything back within a minute.
        serveEverything(app, 100);
        app.clock.advance(61s);
        QVERIFY(!app.state->errorMessage());
        QCOMPARE(app.state->price(), 100.0);
        QCOMPARE(app.state->snapshot().size(), 3U);
    }
};

KESTRUNE_TEST(AppStateRandomTest)
#include "tst_appstate_random.moc"
