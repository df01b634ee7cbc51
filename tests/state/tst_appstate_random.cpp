// SPDX-License-Identifier: MIT
#include "support/appfixture.h"
#include "support/tasks.h"
#include "support/testregistry.h"

#include <QTest>

#include <cmath>
#include <map>
#include <random>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int codesPerSegment = 3;
const QStringList stockCodes{u"sh600519"_s, u"sz300750"_s, u"sh601318"_s,
                             u"hk00700"_s,  u"hk09988"_s,  u"hk03690"_s};
const QString cnSigns = u"sh600519,sz000001,sz000858,sh601318,sz000651,sh600036,sz000333,sh600276"_s;
const QString hkSigns = u"hk00700,hk09988,hk03690,hk01810,hk00005,hk00939,hk01299,hk09618"_s;

/// A market whose answers may fail or be garbage, and a user who does anything at any time. The books kept
/// beside the state say which alerts there must be.
class RandomRun : public AppFixture
{
public:
    explicit RandomRun(unsigned seed) : m_random(seed)
    {
        serveGoodMarket(100);
        create();
    }

    void step()
    {
        static constexpr std::array<void (RandomRun::*)(), 12> operations{
            &RandomRun::select,  &RandomRun::moveTheMarket, &RandomRun::toggle,     &RandomRun::addOne,
            &RandomRun::addOne,  &RandomRun::removeOne,     &RandomRun::dismissOne, &RandomRun::refresh,
            &RandomRun::restart, &RandomRun::passTime,      &RandomRun::passTime,   &RandomRun::passTime};
        (this->*operations[std::size_t(pick(int(operations.size())))])();
        if (pick(3) == 0)
            drainEvents();
    }

    /// Empty when every invariant holds.
    [[nodiscard]] QString faults()
    {
        drainEvents();
        QString faults = problems();
        if (books(state->alerts()) != m_books || state->alerts().size() != m_books.size())
            faults += u"alerts lost, doubled or booked elsewhere; "_s;
        const auto stored = decodeAlerts(preferences.data(u"ks_alerts"_s).value_or("[]"));
        if (!stored || books(*stored) != m_books)
            faults += u"stored alerts differ; "_s;
        const int loops = 2 + (state->blingMode() ? 2 : 0) + (state->alertPulseTask ? 1 : 0);
        if (clock.sleeperCount() != loops)
            faults += u"%1 sleepers instead of %2; "_s.arg(clock.sleeperCount()).arg(loops);
        if (state->alertActive() && !state->alertPulseTask)
            faults += u"a triggered alert does not pulse; "_s;
        if (!state->timeframeOptions().contains(state->timeframe()))
            faults += u"timeframe of another segment; "_s;
        if (state->isLoading())
            faults += u"still loading; "_s;
        announcements.clear();
        drainEvents();
        if (!announcements.isEmpty())
            faults += u"announced without a cause: "_s + announcements.join(u' ');
        return faults;
    }

    void serveGoodMarket(double price)
    {
        const CandleList candles = someCandles(price);
        serveCrypto(price, candles);
        for (const QString &code : stockCodes)
            serveStock(code, price, candles);
        stock.answerAlways(quoteLine(cnSigns), stockQuotes({{"sh600519", "A", price, 0}}));
        stock.answerAlways(quoteLine(hkSigns), "no quotes");
    }

private:
    using Books = std::map<QString, std::pair<double, QString>>;

    [[nodiscard]] static Books books(const std::vector<PriceAlert> &alerts)
    {
        Books books;
        for (const PriceAlert &alert : alerts)
            books[alert.id] = {alert.targetPrice, alert.symbol};
        return books;
    }

    CandleList someCandles(double price) { return waveCandles(std::size_t(40 + 40 * pick(3)), price); }

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }

    void select()
    {
        if (const int what = pick(3); what == 0)
            state->setCoin(state->symbolList().at(pick(codesPerSegment)));
        else if (what == 1)
            state->setMarket(allMarketSegments[std::size_t(pick(3))]);
        else
            state->setTimeframe(state->timeframeOptions().at(pick(3)));
    }

    void moveTheMarket()
    {
        const double price = std::round(100 * std::exp(0.02 * (pick(21) - 10)));
        serveCrypto(price, someCandles(price));
        serveStock(stockCodes.at(pick(6)), price, someCandles(price));
        if (pick(4) == 0)
            crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s);
        if (pick(4) == 0)
            crypto.answerAlways(u"/api/v4/spot/candlesticks"_s, "<html>");
        if (pick(4) == 0)
            stock.failAlways(stockCandleLine(stockCodes.at(pick(6)), u"day"_s));
    }

    void toggle()
    {
        if (pick(4) == 0)
            state->startTimers();
        else
            state->toggleBlingMode();
    }

    void addOne()
    {
        const double target = 85 + pick(31);
        state->addAlert(target);
        m_books[state->alerts().back().id] = {target, state->coinSymbol()};
    }

    void removeOne()
    {
        if (m_books.empty())
            return;
        const auto victim = std::next(m_books.begin(), pick(int(m_books.size())));
        state->removeAlert(victim->first);
        m_books.erase(victim);
    }

    void dismissOne()
    {
        if (!m_books.empty())
            state->dismissAlert(std::next(m_books.begin(), pick(int(m_books.size())))->first);
    }

    void refresh() { begin(pick(2) == 0 ? state->refreshSR() : state->refreshPrice()); }

    void restart()
    {
        if (pick(5) != 0)
            return;
        state.reset();
        create();
    }

    void passTime() { clock.advance(std::chrono::milliseconds(pick(9000))); }

    std::mt19937 m_random;
    Books m_books;
};

} // namespace

class AppStateRandomTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void anythingMayHappenAtAnyTime_data();
    void anythingMayHappenAtAnyTime();
};

void AppStateRandomTest::anythingMayHappenAtAnyTime_data()
{
    QTest::addColumn<unsigned>("seed");
    for (const unsigned seed : {1U, 20260105U, 77U})
        QTest::addRow("seed %u", seed) << seed;
}

void AppStateRandomTest::anythingMayHappenAtAnyTime()
{
    QFETCH(unsigned, seed);
    RandomRun run(seed);
    for (int i = 0; i < 1000; ++i) {
        run.step();
        if (i % 5 == 0) {
            const QString faults = run.faults();
            QVERIFY2(faults.isEmpty(), qPrintable(u"step %1: %2"_s.arg(i).arg(faults)));
        }
    }
    // Whatever happened, a good market brings everything back within a minute.
    run.serveGoodMarket(100);
    run.clock.advance(61s);
    QCOMPARE(run.faults(), QString());
    QVERIFY(!run.state->errorMessage());
    QCOMPARE(run.state->price(), 100.0);
    QCOMPARE(run.state->snapshot().size(), std::size_t(3));
}

KESTRUNE_TEST(AppStateRandomTest)
#include "tst_appstate_random.moc"
