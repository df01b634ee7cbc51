// SPDX-License-Identifier: MIT
#include "analysis/indicators.h"
#include "analysis/utczone.h"
#include "marketday.h"
#include "support/rows.h"

#include <QRegularExpression>

#include <random>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

static const QString standingNames[]{u"none"_s, u"foreign"_s, u"doubted"_s, u"old"_s, u"fresh"_s};

/// What the state says of price, zones and signals, and what it makes of them.
static QString told(const AppState &state)
{
    QStringList all{standingNames[int(state.priceStanding().standing)],
                    standingNames[int(state.zonesStanding().standing)],
                    standingNames[int(state.signalsStanding().standing)] + u" |"_s};
    if (const auto live = state.livePrice())
        all.append(QString::number(*live));
    if (state.barSignal() != BarSignal::neutral)
        all.append(u"light"_s);
    if (state.tradePlan() || state.planForEntry(state.price().value_or(1), TradeDirection::long_))
        all.append(u"plan"_s);
    if (state.trendText() != u"数据不足" || state.atrText() != u"—")
        all.append(u"trend"_s);
    if (state.rsiText() != u"—" || state.macdText() != u"—")
        all.append(u"readings"_s);
    if (state.ownZonePrice())
        all.append(u"at"_s);
    for (const auto &failure : {state.priceFailure, state.zonesFailure}) {
        if (failure)
            all.append(failure->message);
    }
    return (all << u"|"_s << state.errorMessage().value_or(u"-"_s)).join(u' ');
}

class LifeDay : public MarketDay
{
public:
    using MarketDay::MarketDay;
    /// From now on crypto prices or candles fail, or come again.
    void tickers(bool dead) { dead ? crypto.failAlways(u"/api/v4/futures/usdt/tickers"_s) : tickTo(3000); }
    void candles(bool dead)
    {
        for (const QString &line : {u"/api/v4/spot/candlesticks"_s, u"/api/v3/klines"_s})
            dead ? crypto.failAlways(line) : crypto.answerAlways(line, gateCandles(waveCandles(200, 3000)));
    }
    void select(const QString &code)
    {
        state->setCoin(code);
        drainEvents();
    }
};

/// The instruments of the model by segment, and around which price they move.
static const QStringList codes[]{
    {u"ETH"_s, u"BTC"_s}, {u"sh600519"_s, u"sz000001"_s}, {u"hk00700"_s, u"hk00005"_s}};
static const QHash<QString, double> bases{{u"ETH"_s, 3000},    {u"BTC"_s, 61000},   {u"sh600519"_s, 1500},
                                          {u"sz000001"_s, 12}, {u"hk00700"_s, 380}, {u"hk00005"_s, 60}};
static const QStringList intervals{u"1h"_s, u"4h"_s, u"1d"_s, u"day"_s, u"week"_s, u"month"_s, u"1m"_s};

/// A market that holds every request, and an independent idea of what may be believed of its answers.
class RandomDay : public AppFixture
{
public:
    explicit RandomDay(unsigned seed) : m_random(seed)
    {
        clock.setNow(Instant(std::chrono::seconds(1767664800))); // Tuesday, 10:00 in Shanghai
        for (const QString &down :
             {u"/api/v3/klines"_s, u"/api/v5/market/candles"_s, u"/fapi/v1/ticker/24hr"_s})
            crypto.failAlways(down);
        crypto.holdOthers();
        stock.holdOthers();
        create();
        drainEvents();
    }

    void step()
    {
        switch (below(15)) {
        case 0:
            state->setCoin(codes[int(state->market())].at(below(2)));
            break;
        case 1:
            if (below(4) == 0)
                state->setMarket(MarketSegment(below(3)));
            break;
        case 2:
            state->setTimeframe(state->timeframeOptions().at(below(3)));
            break;
        case 3:
        case 4:
            clock.advance(std::chrono::seconds(below(30) == 0 ? 160 : 1 + below(7)));
            break;
        default:
            releaseOne(true);
        }
        drainEvents();
    }
    /// All that is asked for three rounds of the loops is answered well.
    void settle()
    {
        for (const auto pause : {5s, 60s, 5s, 0s}) {
            while (crypto.openCount() + stock.openCount() > 0)
                releaseOne(false);
            clock.advance(pause);
        }
    }

    /// What the state says against the model; empty when nothing.
    [[nodiscard]] QString fault() const
    {
        const auto live = believedPrice();
        if (state->livePrice() != live)
            return u"live price"_s;
        const auto id = state->lastSRCandles.empty() ? -1 : int(state->lastSRCandles.front().v);
        const QString wanted =
            state->isStock() ? stockPeriod(state->timeframe()) : cryptoInterval(state->timeframe());
        const Answer *answer = id < 0 ? nullptr : &m_answers[std::size_t(id)];
        const bool own = answer && answer->symbol == state->coinSymbol() && answer->interval == wanted &&
                         !answer->old && clock.steady() - answer->at <= 150s;
        const double entry = state->price().value_or(1);
        if ((!own || !live) && (state->tradePlan() || state->planForEntry(entry, TradeDirection::long_)))
            return u"plan"_s;
        if ((!own || (state->price() && !live)) && state->barSignal() != BarSignal::neutral)
            return u"light"_s;
        IndicatorReadings readings;
        if (own)
            readings = readIndicators(candlesOf(answer->symbol, wanted, false));
        std::optional<VegasTunnel> tunnel;
        if (readings.ema144 && readings.ema169)
            tunnel = VegasTunnel{*readings.ema144, *readings.ema169};
        const auto histogram = readings.macd ? std::optional(readings.macd->hist) : std::nullopt;
        const auto said = [](const QString &text, const QString &expected, const QString &nothing) {
            return text == expected || text == nothing;
        };
        if (!said(state->trendText(), trendVerdict(live, tunnel, readings.ema200).text, u"数据不足"_s) ||
            !said(state->rsiText(), rsiVerdict(readings.rsi14).text, u"—"_s) ||
            !said(state->macdText(), macdVerdict(histogram).text, u"—"_s) ||
            !said(state->atrText(), atrReadout(readings.atr14, live, state->decimals()), u"—"_s))
            return u"verdict "_s + state->trendText() + state->rsiText();
        const auto scored = m_scored.constFind(state->coinSymbol());
        if (state->signalsStanding().fresh() &&
            (scored == m_scored.cend() || clock.steady() - *scored > 150s))
            return u"signals"_s;
        return {};
    }

private:
    struct Answer
    {
        QString symbol, interval;
        SteadyInstant at;
        bool old;
    };
    struct Price
    {
        QString symbol;
        double value, believed;
        SteadyInstant stamp;
    };
    [[nodiscard]] int below(int limit) { return int(m_random() % unsigned(limit)); }
    [[nodiscard]] std::optional<double> believedPrice() const
    {
        const bool believed = m_shown && m_shown->symbol == state->coinSymbol() &&
                              m_shown->value == m_shown->believed && clock.steady() - m_shown->stamp <= 20s;
        return believed ? std::optional(m_shown->value) : std::nullopt;
    }
    [[nodiscard]] CandleList candlesOf(const QString &symbol, const QString &interval, bool old) const
    {
        const auto kind = std::size_t(intervals.indexOf(interval));
        // Each of its own length, so that no two have the same readings; some too short for a tunnel.
        CandleList candles =
            waveCandles((kind % 3 == 1 ? 60 : 200) + 3 * kind + std::size_t(symbol.back().digitValue() & 3),
                        bases.value(symbol) * (1 + 0.01 * double(kind)));
        const qint64 shift = 1767664800'000 - candles.back().ts - (old ? 100 * 86'400'000LL : 0);
        for (Candle &candle : candles)
            candle.ts += shift;
        return candles;
    }
    [[nodiscard]] QByteArray candleBody(const QString &symbol, const QString &interval, bool old)
    {
        QByteArray &body = m_bodies[symbol + interval + (old ? u"old"_s : QString())];
        if (body.isEmpty()) {
            CandleList candles = candlesOf(symbol, interval, old);
            candles.front().v = 424242; // gives way to the number of the answer
            body = symbol.front().isLower() ? stockCandles(symbol, interval, candles) : gateCandles(candles);
        }
        if (interval != u"1m") {
            m_answers.push_back({symbol, interval, clock.steady(), old});
            m_scored[symbol] = clock.steady();
        }
        return QByteArray(body).replace("424242", QByteArray::number(qint64(m_answers.size()) - 1));
    }

    void releaseOne(bool mayFail)
    {
        const int count = crypto.openCount() + stock.openCount();
        if (count == 0)
            return;
        const int chosen = below(count);
        FakeHttpClient &http = chosen < crypto.openCount() ? crypto : stock;
        const QString line = (crypto.heldLines() + stock.heldLines()).at(chosen);
        static const QRegularExpression asked(
            u"(?|contract=(\\w+)_USDT|pair=(\\w+)_USDT&interval=(\\w+)|q=(\\w+)$|param=(\\w+),(\\w+))"_s);
        const auto match = asked.match(line);
        const QString symbol = match.captured(1), interval = match.captured(2);
        const int fate = mayFail ? below(12) : 11;
        if (fate < 2) {
            const auto awaited = m_scored.find(symbol);
            if (awaited != m_scored.end() && !interval.isEmpty()) // the last of three answers counts
                *awaited = clock.steady();
            return http.releaseFailure(line);
        }
        if (!interval.isEmpty())
            return http.release(line, candleBody(symbol, interval, fate == 2));
        static const double strange[]{std::nan(""), 0, -5, 20, 0.05};
        const double factor = fate > 4 ? 0.98 + 0.01 * below(5) : fate == 4 ? 1 : strange[below(5)];
        const double price = factor * (std::isfinite(factor) && factor > 0 ? bases.value(symbol) : 1);
        const bool late = fate == 4 && symbol.startsWith(u's');
        const Instant stamp = clock.now() - (late ? 60s : 0s);
        const auto body =
            &http == &crypto
                ? gateTicker(price)
                : stockQuotes({{symbol.toLatin1(), "", price, 0,
                                QDateTime::fromSecsSinceEpoch(qint64(epochSeconds(stamp)) + 8 * 3600, utcZone)
                                    .toString(u"yyyyMMddHHmmss")
                                    .toLatin1()}});
        if (price > 0) {
            Price next{symbol, price, price, clock.steady() - (late ? 60s : 0s)};
            const auto &last = m_own;
            if (last && last->symbol == symbol &&
                (price > last->believed * 8 || price < last->believed / 8)) {
                const bool again = last->value != last->believed && std::abs(price / last->value - 1) <= 0.2;
                next.believed = again ? price : last->believed;
            }
            m_shown = next;
            if (symbol == state->coinSymbol())
                m_own = next;
        }
        http.release(line, body);
    }

    std::mt19937 m_random;
    std::vector<Answer> m_answers;
    std::optional<Price> m_shown, m_own; // whatever came last, and of what was selected then
    QHash<QString, SteadyInstant> m_scored;
    QHash<QString, QByteArray> m_bodies;
};

// Whose the values are and how old, and that nothing comes of another's or of old ones.
class AppStateStandingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lateDeadAndOldAnswers()
    {
        const QString ticker = gateTickerLine(u"ETH"_s), days = gateCandleLine(u"ETH"_s, u"1d"_s);
        const QString hours = gateCandleLine(u"ETH"_s, u"1h"_s);
        const QString minutes = gateCandleLine(u"ETH"_s, u"1m"_s, 160);
        const QString stockDead = u"行情获取失败 撑压数据获取失败"_s;
        const auto nothing = [](LifeDay &) {};
        using Refresh = QCoro::Task<> (AppState::*)();
        const struct
        {
            const char *name;
            Refresh asks; // with an answer that comes after the script
            QString late;
            std::function<void(LifeDay &)> script;
            QString expected;
        } rows[] = {
            {"all is well",
             nullptr,
             {},
             nothing,
             u"fresh fresh fresh | 3000 light plan trend readings at | -"_s},
            {"late price of another instrument, own source dead", &AppState::refreshPrice, ticker,
             [&](LifeDay &day) {
                 day.tickers(true);
                 day.select(u"BTC"_s);
                 day->addAlert(10000, {}, false);
             },
             u"foreign fresh fresh | readings at 价格获取失败 | -"_s},
            {"late price of another segment, own sources dead", &AppState::refreshPrice, ticker,
             [&](LifeDay &day) {
                 day.stock.failAlways(u"/appstock/app/fqkline/get"_s);
                 day.stock.failAlways(quoteLine(u"sh600519"_s));
                 day->setMarket(MarketSegment::cn);
                 drainEvents();
             },
             u"foreign none none | "_s + stockDead + u" | -"_s},
            {"late zones of another instrument, own source dead", &AppState::refreshSR, days,
             [&](LifeDay &day) {
                 day.candles(true);
                 day.select(u"BTC"_s);
             },
             u"fresh foreign none | 3000 撑压数据获取失败 | 撑压数据获取失败"_s},
            {"late zones of another timeframe, own source dead", &AppState::refreshSR, days,
             [&](LifeDay &day) {
                 day.candles(true);
                 day->setTimeframe(u"4H"_s);
                 drainEvents();
             },
             u"fresh foreign fresh | 3000 at 撑压数据获取失败 | 撑压数据获取失败"_s},
            {"late zones of another timeframe are followed by the own", &AppState::refreshSR, days,
             [&](LifeDay &day) {
                 day->setTimeframe(u"4H"_s);
                 drainEvents();
             },
             u"fresh fresh fresh | 3000 light plan trend readings at | -"_s},
            {"readings of another timeframe while the minutes are awaited",
             nullptr,
             {},
             [&](LifeDay &day) {
                 day.crypto.hold(minutes);
                 day->setTimeframe(u"1H"_s);
                 drainEvents();
             },
             u"fresh fresh fresh | 3000 light plan at | -"_s},
            {"late readings of another instrument, own source dead", &AppState::refreshSR, minutes,
             [&](LifeDay &day) {
                 day.select(u"BTC"_s);
                 day.candles(true);
             },
             u"fresh fresh fresh | 3000 light plan 撑压数据获取失败 | 撑压数据获取失败"_s},
            {"a tunnel of the timeframe before",
             nullptr,
             {},
             [&](LifeDay &day) {
                 day.crypto.answerAlways(hours, gateCandles(waveCandles(60, 3000)));
                 day->setTimeframe(u"1H"_s);
                 drainEvents();
                 QVERIFY(day->ctxVegas() && day->trendText() == u"数据不足");
             },
             u"fresh fresh fresh | 3000 light plan trend readings at | -"_s},
            {"late signals of another instrument, the own ones awaited", &AppState::refreshSnapshot, hours,
             [&](LifeDay &day) {
                 day.crypto.hold(gateCandleLine(u"BTC"_s, u"1h"_s));
                 day.select(u"BTC"_s);
             },
             u"fresh fresh foreign | 3000 light plan trend readings at | -"_s},
            {"late signals of another segment are followed by the own", &AppState::refreshSnapshot, hours,
             [&](LifeDay &day) {
                 day.serveStock(u"sh600519"_s, 1500);
                 day->setMarket(MarketSegment::cn);
                 drainEvents();
             },
             u"fresh fresh fresh | 1500 light plan trend readings at | -"_s},
            {"signals of which one timeframe is old",
             nullptr,
             {},
             [&](LifeDay &day) {
                 CandleList candles = waveCandles(200, 3000);
                 candles.resize(190);
                 day.crypto.answer(hours, gateCandles(candles));
                 day.run(day->refreshSnapshot());
             },
             u"fresh fresh old | 3000 light plan trend readings at | -"_s},
            {"price source dead",
             nullptr,
             {},
             [&](LifeDay &day) {
                 day.tickers(true);
                 day.clock.advance(21s);
                 QCOMPARE(day->priceFailure->since, day.clock.now() - 16s);
             },
             u"old fresh fresh | readings at 价格获取失败 | 价格获取失败"_s},
            {"candle sources dead",
             nullptr,
             {},
             [&](LifeDay &day) {
                 day.candles(true);
                 day.clock.advance(151s);
                 QCOMPARE(day->zonesFailure->since, day.clock.now() - 91s);
             },
             u"fresh old none | 3000 at 撑压数据获取失败 | -"_s},
            {"both dead",
             nullptr,
             {},
             [&](LifeDay &day) {
                 day.tickers(true);
                 day.candles(true);
                 day.clock.advance(200s);
             },
             u"old old old | at 价格获取失败 撑压数据获取失败 | 价格获取失败"_s},
            {"candles whose last bar does not move",
             nullptr,
             {},
             [&](LifeDay &day) { day.clock.advance(49h); },
             u"fresh old old | 3000 at | -"_s},
            {"a leap that grows old",
             nullptr,
             {},
             [](LifeDay &day) {
                 day.priceIs(24001);
                 day.tickers(true);
                 day.clock.advance(30s);
                 day->addAlert(4000); // its direction is that from the zones, not from the leap
                 QVERIFY(day->alerts().back().above);
             },
             u"doubted fresh fresh | readings at 价格获取失败 | 价格获取失败"_s},
            {"a leap around another's late price",
             nullptr,
             {},
             [&](LifeDay &day) {
                 day.crypto.hold(ticker);
                 begin(day->refreshPrice());
                 day.select(u"BTC"_s);
                 day.crypto.release(ticker, gateTicker(3100));
                 day.priceIs(24001);
             },
             u"doubted fresh fresh | readings at | -"_s},
            {"a price that cannot be",
             nullptr,
             {},
             [&](LifeDay &day) {
                 for (const char *price : {"nan", "0", "-1", "inf"}) {
                     day.crypto.answer(ticker, "[{\"last\":\"" + QByteArray(price) + "\"}]");
                     day.run(day->refreshPrice());
                     QCOMPARE(day->price(), 3000.0);
                 }
             },
             u"fresh fresh fresh | 3000 light plan trend readings at 价格获取失败 | 价格获取失败"_s},
        };
        forEachRow(rows, [](const auto &row) {
            LifeDay day(3000);
            day->signalThreshold = 50;
            if (row.asks) {
                day.crypto.hold(row.late);
                day.run((day.state.get()->*row.asks)());
            }
            row.script(day);
            if (QTest::currentTestFailed())
                return;
            if (row.asks)
                day.crypto.release(row.late, row.late.contains(u"tickers")
                                                 ? gateTicker(3100)
                                                 : gateCandles(waveCandles(200, 3000)));
            QCOMPARE(told(*day.state), row.expected);
            QCOMPARE(day.attention.soundCount, 0);
        });
    }

    void aQuoteThatStandsStillInTradingHours()
    {
        MarketDay day(1500, u"A股"_s, u"sh600519"_s);
        day.clock.setNow(Instant(std::chrono::seconds(1767664800))); // Tuesday, 10:00 in Shanghai
        day->addAlert(1600);
        const auto quote = [&](double price, const char *stamp) {
            day.stock.answerAlways(quoteLine(u"sh600519"_s),
                                   stockQuotes({{"sh600519", "Name", price, 0, stamp}}));
            day.clock.advance(5s);
        };
        quote(1700, "20260106095900");
        QVERIFY(!day->livePrice() && day.attention.soundCount == 0);
        quote(1700, "20260106100010");
        QVERIFY(day->livePrice() && day.attention.soundCount == 1);
        const int seen = day->agesPassed();
        day.clock.advance(
            21s); // the same answer all the time; time is told once it is old, and by the minute
        QVERIFY(day->priceStanding().standing == Standing::old && !day->tradePlan() && !day->priceFailure);
        QCOMPARE(day->agesPassed(), seen + 1);
    }

    void anAlertFindsItsDirectionWithTheFirstOwnPrice()
    {
        LifeDay day(3000);
        day.tickers(true);
        day.candles(true);
        day.select(u"BTC"_s);
        day->addAlert(3500);
        QVERIFY(day->alerts().back().undirected);
        day.start(); // stored so
        QVERIFY(day->alerts().back().undirected);
        day.crypto.answerAlways(gateTickerLine(u"BTC"_s), gateTicker(3400));
        day.select(u"BTC"_s);
        QVERIFY(day->alerts().back().above && !day->alerts().back().undirected);
        QCOMPARE(*decodeAlerts(day.preferences.json(u"ks_alerts"_s)), day->alerts());
        QCOMPARE(day.attention.soundCount, 0);
    }

    void whateverComesInWhateverOrder()
    {
        for (unsigned seed = 1; seed <= 40; ++seed) {
            RandomDay day(seed);
            for (int step = 1; step <= 250; ++step) {
                step % 50 == 0 ? day.settle() : day.step();
                QString fault = day.fault();
                const AppState &state = *day.state;
                if (step % 50 == 0 && fault.isEmpty() &&
                    (!state.livePrice() || !state.zonesStanding().fresh() ||
                     !state.signalsStanding().fresh() || day.clock.sleeperCount() > 4 ||
                     day.crypto.openCount() + day.stock.openCount() > 0))
                    fault = u"not settled: "_s + told(state);
                QVERIFY2(fault.isEmpty(),
                         qPrintable(u"seed %1, step %2: %3"_s.arg(seed).arg(step).arg(fault)));
            }
        }
    }
};

KESTRUNE_TEST(AppStateStandingsTest)
#include "tst_appstate_standings.moc"
