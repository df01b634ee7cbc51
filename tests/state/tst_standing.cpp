// SPDX-License-Identifier: MIT
#include "state/standing.h"

#include "market/quoteparser.h"
#include "market/shanghaitime.h"
#include "support/fakeclock.h"
#include "support/marketbodies.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <limits>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class StandingTest : public QObject
{
    Q_OBJECT

    static Instant at(const char *shanghai) { return *shanghaiInstant(QString::fromLatin1(shanghai)); }
    static Subject subjectOf(const QByteArray &code)
    {
        const MarketSegment market = code.startsWith("hk") ? MarketSegment::hk : MarketSegment::cn;
        return {code == "ETH" ? MarketSegment::crypto : market, QString::fromLatin1(code), {}};
    }
    static void pass(FakeClock &clock, std::chrono::seconds time)
    {
        clock.setNow(clock.now() + time);
        clock.passSteady(time);
    }
    static PriceOrigin answer(const QByteArray &code, const QByteArray &stamp, bool suspended,
                              const std::optional<PriceOrigin> &before, const Clock &clock)
    {
        const QByteArray body = stockQuotes({{code, "Name", 100, 0, stamp, suspended}});
        const StockQuotes quotes = parseQuotes(QString::fromLatin1(body), clock.now());
        const auto quote = quotes.constFind(QString::fromLatin1(code));
        const bool isStock = code != "ETH";
        return originOfPrice(subjectOf(code), 100, isStock ? &*quote : nullptr, before, clock);
    }

private Q_SLOTS:
    void pricesGrowOld()
    {
        const auto fresh = Standing::fresh, old = Standing::old;
        const struct
        {
            const char *name;
            QByteArray code;
            const char *arrives;
            QByteArray stamp;
            int again, later; // seconds to a second answer with the same stamp, and to the judgement
            Standing expected;
            bool suspended = false;
        } rows[] = {
            {"crypto", "ETH", "20260110030000", "", 0, 20, fresh},
            {"crypto too long", "ETH", "20260110030000", "", 0, 21, old},
            {"by the own time", "sh600519", "20260106100020", "20260106100010", 0, 10, fresh},
            {"by the own time too long", "sh600519", "20260106100020", "20260106100010", 0, 11, old},
            {"own time ahead of the clock", "sh600519", "20260106100000", "20260106100500", 0, 21, old},
            {"a time that stands", "sh600519", "20260106100000", "20260106100000", 15, 5, fresh},
            {"a time that stands too long", "sh600519", "20260106100000", "20260106100000", 15, 6, old},
            {"Hong Kong's delay", "hk00700", "20260106101500", "2026/01/06 10:00:00", 0, 20, fresh},
            {"delayed and standing", "hk00700", "20260106101500", "2026/01/06 10:00:00", 15, 6, old},
            {"longest delay", "hk00700", "20260106102001", "2026/01/06 10:00:00", 0, 19, fresh},
            {"beyond the longest delay", "hk00700", "20260106102001", "2026/01/06 10:00:00", 0, 20, old},
            {"first quote awaited", "sh600519", "20260106092950", "20260106091500", 20, 10, fresh},
            {"first quote missing", "sh600519", "20260106092950", "20260106091500", 20, 11, old},
            {"silent over the opening", "sh600519", "20260105140000", "20260105140000", 0, 70205, old},
            {"first delayed quote awaited", "hk00700", "20260106094450", "2026/01/05 16:08:00", 0, 10, fresh},
            {"first delayed quote missing", "hk00700", "20260106095015", "2026/01/05 16:08:00", 0, 10, old},
            {"noon, last quote of the morning", "sh600519", "20260106113030", "20260106113000", 0, 120,
             fresh},
            {"noon, an earlier one", "sh600519", "20260106113030", "20260106112959", 0, 120, old},
            {"noon, answered since", "sh600519", "20260106120000", "20260106093100", 0, 3000, fresh},
            {"weekend, asked on Friday", "sh600519", "20260109140000", "20260109140000", 0, 158400, old},
            {"weekend, asked on Saturday", "sh600519", "20260110090000", "20260109150003", 0, 86400, fresh},
            {"suspended", "sh600519", "20260106100000", "20260105150000", 60, 20, fresh, true},
            {"suspended, source silent", "sh600519", "20260106100000", "20260105150000", 60, 21, old, true},
            {"without a time", "sh600519", "20260106100000", "0", 15, 20, fresh},
            {"a time beyond all clocks", "sh600519", "20260106100000", "99991231235959", 15, 20, fresh},
        };
        forEachRow(rows, [](const auto &row) {
            FakeClock clock;
            clock.setNow(at(row.arrives));
            PriceOrigin origin = answer(row.code, row.stamp, row.suspended, {}, clock);
            if (row.again > 0) {
                pass(clock, std::chrono::seconds(row.again));
                origin = answer(row.code, row.stamp, row.suspended, origin, clock);
            }
            pass(clock, std::chrono::seconds(row.later));
            const auto judged = [&] {
                return judgePrice(origin, subjectOf(row.code), clock.steady(), clock.now());
            };
            QCOMPARE(int(judged().standing), int(row.expected));
            if (const auto next = judged().changesIn; next && judged().fresh()) {
                clock.setNow(clock.now() + std::chrono::duration_cast<Instant::duration>(*next));
                clock.passSteady(*next);
                QVERIFY(judged().standing == Standing::old); // not a moment late
            }
        });
    }

    void clocksThatStepAndValuesOfOthers()
    {
        FakeClock clock;
        const Subject eth = subjectOf("ETH");
        PriceOrigin price = originOfPrice(eth, 100, nullptr, {}, clock);
        Origin zones{{MarketSegment::crypto, u"ETH"_s, u"4H"_s}, clock.steady()};
        const auto of = [&](const Subject &selected) {
            return judgePrice(price, selected, clock.steady(), clock.now()).standing;
        };
        const auto analysis = [&] {
            return judgeAnalysis(zones, {MarketSegment::crypto, u"ETH"_s, u"4H"_s}, clock.steady()).standing;
        };
        for (const auto step : {24h, -48h}) {
            clock.setNow(clock.now() + step);
            QVERIFY(of(eth) == Standing::fresh && analysis() == Standing::fresh);
        }
        QVERIFY(of({MarketSegment::crypto, u"BTC"_s, {}}) == Standing::foreign);
        QVERIFY(of({MarketSegment::cn, u"ETH"_s, {}}) == Standing::foreign);
        clock.passSteady(150s); // a suspend
        QVERIFY(of(eth) == Standing::old && analysis() == Standing::fresh);
        clock.passSteady(1ms);
        QVERIFY(analysis() == Standing::old);
        zones = {zones.subject, clock.steady(), true};
        QVERIFY(analysis() == Standing::old);
        zones.subject.timeframe = u"1H"_s;
        QVERIFY(analysis() == Standing::foreign);
        price.believed = 10;
        QVERIFY(of(eth) == Standing::doubted); // age makes nothing believable
    }

    void leapsAreBelievedTheSecondTime()
    {
        const struct
        {
            const char *name;
            std::vector<double> values;
            double believed;
        } rows[] = {
            {"eight times", {100, 800}, 800},       {"more", {100, 801}, 100},
            {"an eighth", {100, 12.5}, 12.5},       {"less", {100, 12.4}, 100},
            {"said again", {100, 801, 961}, 961},   {"said otherwise", {100, 801, 962}, 100},
            {"back to normal", {100, 801, 90}, 90}, {"normal in between", {100, 801, 101, 809}, 101},
            {"down and up", {100, 801, 12}, 100},   {"repeated after that", {100, 801, 12, 12}, 12},
        };
        FakeClock clock;
        forEachRow(rows, [&](const auto &row) {
            std::optional<PriceOrigin> origin;
            for (const double value : row.values)
                origin = originOfPrice(subjectOf("ETH"), value, nullptr, origin, clock);
            QCOMPARE(origin->believed, row.believed);
            QVERIFY(!isPrice(-row.believed) && !isPrice(0) && isPrice(origin->value));
            // What another instrument costs says nothing.
            QCOMPARE(originOfPrice(subjectOf("sh600519"), 9999, nullptr, origin, clock).believed, 9999.0);
        });
    }

    void theDelayIsTold()
    {
        FakeClock clock;
        const auto delay = [&](const QByteArray &code, const char *now, const QByteArray &stamp) {
            clock.setNow(at(now));
            return int(quoteDelay(answer(code, stamp, false, {}, clock), clock.now()).value_or(0min).count());
        };
        QCOMPARE(delay("hk00700", "20260106101510", "2026/01/06 10:00:00"), 15);
        QCOMPARE(delay("hk00700", "20260106100059", "2026/01/06 10:00:00"), 0);
        QCOMPARE(delay("hk00700", "20260106102001", "2026/01/06 10:00:00"), 0); // old, not delayed
        QCOMPARE(delay("hk00700", "20260106123000", "2026/01/06 12:15:00"), 0);
        QCOMPARE(delay("sh600519", "20260106101500", "20260106100000"), 0);
    }

    void sessions()
    {
        const struct
        {
            const char *name;
            StockMarket market;
            const char *now;
            bool open, noon;
            std::chrono::seconds since;
        } rows[] = {
            {"before", StockMarket::sh, "20260106092959", false, false, 18h + 28min + 59s},
            {"opening", StockMarket::sz, "20260106093000", true, false, 0s},
            {"last minute", StockMarket::sh, "20260106113059", true, false, 2h + 59s},
            {"noon", StockMarket::sh, "20260106113100", false, true, 0s},
            {"noon there only", StockMarket::hk, "20260106113100", true, false, 2h + 1min},
            {"noon, its end", StockMarket::hk, "20260106125959", false, true, 58min + 59s},
            {"closing", StockMarket::sh, "20260106150100", false, false, 0s},
            {"Sunday", StockMarket::hk, "20260111120000", false, false, 43h + 59min},
            {"Monday's first hour", StockMarket::sh, "20260112000000", false, false, 56h + 59min},
        };
        forEachRow(rows, [](const auto &row) {
            const MarketSession session = marketSession(row.market, at(row.now));
            QVERIFY(session.open == row.open && session.noonBreak == row.noon);
            QVERIFY(session.since == row.since);
        });
    }

    void candlesByTheirLastBar()
    {
        const auto crypto = MarketSegment::crypto, stock = MarketSegment::hk;
        const struct
        {
            const char *name;
            MarketSegment market;
            QString timeframe;
            const char *last;
            const char *lastMoment; ///< at which it is not old yet; it is a second later
        } rows[] = {
            {"hour", crypto, u"1H"_s, "20260109100000", "20260109120500"},
            {"four hours", crypto, u"4H"_s, "20260109080000", "20260109160500"},
            {"day", crypto, u"日线"_s, "20260109080000", "20260111080500"},
            {"a stock's day", stock, u"日线"_s, "20260102000000", "20260106235959"},
            {"week", stock, u"周线"_s, "20260102000000", "20260118235959"},
            {"month", stock, u"月线"_s, "20260102000000", "20260309235959"},
        };
        const auto ms = [](Instant instant) {
            return std::chrono::duration_cast<std::chrono::milliseconds>(instant.time_since_epoch()).count();
        };
        forEachRow(rows, [&](const auto &row) {
            const Instant moment = at(row.lastMoment);
            QVERIFY(!candlesAreOld(row.market, row.timeframe, ms(at(row.last)), moment));
            QVERIFY(candlesAreOld(row.market, row.timeframe, ms(at(row.last)), moment + 1s));
            using Limits = std::numeric_limits<qint64>;
            QVERIFY(candlesAreOld(row.market, row.timeframe, Limits::min(), moment));
            QVERIFY(!candlesAreOld(row.market, row.timeframe, Limits::max(), moment));
        });
    }
};

KESTRUNE_TEST(StandingTest)
#include "tst_standing.moc"
