// SPDX-License-Identifier: MIT
#pragma once

#include "support/appfixture.h"
#include "support/tasks.h"
#include "support/testregistry.h"

#include <QTest>

namespace kestrune::test {

/// A started state and a market that answers everything about crypto instruments and about `code`; what was
/// scripted beyond that must have been asked for in the end.
class MarketDay : public AppFixture
{
public:
    explicit MarketDay(double price = 3000, const QString &segment = QStringLiteral("加密"),
                       const QString &code = QStringLiteral("ETH"))
        : MarketDay(price, segment, code, waveCandles(200, price))
    {}
    MarketDay(double price, const QString &segment, const QString &code, const CandleList &candles)
    {
        preferences.preset(QStringLiteral("ks_market"), segment);
        preferences.preset(QStringLiteral("ks_coin"), code);
        serveCrypto(price, candles);
        serveStock(code.toLower(), price, candles);
        start();
    }
    ~MarketDay()
    {
        if (!QTest::currentTestFailed())
            QTest::qVerify(problems().isEmpty(), "problems()", qPrintable(problems()), __FILE__, __LINE__);
    }

    AppState *operator->() const { return state.get(); }
    /// Lets what a refresh began come to its end.
    static void run(const QCoro::Task<> &) { drainEvents(); }
    void priceIs(double price)
    {
        tickTo(price);
        run(state->refreshPrice());
    }
    /// The fields announced, and the settings written, each in one text.
    [[nodiscard]] QString announced() const { return announcements.join(u' '); }
    [[nodiscard]] QString written() const { return preferences.writes().join(u' '); }
    /// The requests of one kind: "tickers", "candlesticks", "interval=1m", "/q=".
    [[nodiscard]] qsizetype asked(const QString &kind) const { return lines().filter(kind).size(); }
};

} // namespace kestrune::test
