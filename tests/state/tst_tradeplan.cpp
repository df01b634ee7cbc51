// SPDX-License-Identifier: MIT
#include "state/positionsizing.h"
#include "state/tradeplan.h"
#include "support/testregistry.h"

#include <QTest>

#include <algorithm>
#include <limits>
#include <vector>

using namespace kestrune;
using namespace Qt::StringLiterals;

/// A plan's figures and texts, and the size of its position.
class TradePlanTest : public QObject
{
    Q_OBJECT

    static constexpr auto buy = TradeDirection::long_;
    static constexpr auto sell = TradeDirection::short_;
    static constexpr auto mixed = TrendState::mixed;
    static constexpr auto counter = TrendState::counter;
    static constexpr auto cross = MarginMode::cross;
    static constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    static constexpr double infinity = std::numeric_limits<double>::infinity();

    /// A plan's arguments, at first: buy at 100, target 104, stop 98 (2 %), no account, no leverage.
    struct Case
    {
        TradeDirection dir = buy;
        double tp = 104;
        double sl = 98;
        double slPct = 2;
        TrendState state = TrendState::aligned;
        double cost = 0.15;
        std::optional<double> waitPrice = 98;
        double account = 0;
        double riskPct = 0;
        double leverage = 1;
        MarginMode mode = MarginMode::isolated;
        MarketSegment market = MarketSegment::crypto;

        [[nodiscard]] PlanSettings settings() const
        {
            return {.market = market,
                    .decimals = 2,
                    .accountSize = account,
                    .riskPctPerTrade = riskPct,
                    .leverage = leverage,
                    .marginMode = mode,
                    .locale = QLocale(QLocale::English, QLocale::UnitedStates)};
        }
        [[nodiscard]] TradePlan plan(const std::optional<QString> &sess = {}) const
        {
            return makePlan(settings(), dir, 100, tp, sl, slPct, state, cost, sess, waitPrice);
        }
    };

private Q_SLOTS:
    void textsReadBack()
    {
        QVERIFY(rawValue(buy) == u"做多" && tradeDirectionFromRawValue(u"做空") == sell);
        QVERIFY(rawValue(counter) == u"逆势" && trendStateFromRawValue(u"单边") == TrendState::breakout);
        QVERIFY(planGradeFromRawValue(u"一般") == PlanGrade::fair && !planGradeFromRawValue(u"划算 "));
    }

    void everyFieldOfAZonePlan()
    {
        const TradePlan plan = Case{.account = 10000, .riskPct = 1}.plan(u"临近"_s);
        QCOMPARE(plan.dir, buy);
        QCOMPARE(plan.trend, TrendState::aligned);
        const double numbers[]{plan.entry, *plan.tp,       plan.sl,      plan.tpPct,
                               plan.slPct, plan.trailStep, plan.costPct, *plan.waitPrice};
        QVERIFY(std::ranges::equal(numbers, std::vector{100.0, 104.0, 98.0, 4.0, 2.0, 0.0, 0.15, 98.0}));
        QVERIFY(test::closeTo(plan.netRR, 3.85 / 2.15, 1e-15));
        QCOMPARE(plan.positionText, u"建议仓位 5,000（亏了只亏 100）"_s);
        QCOMPARE(plan.sessionText, u"临近"_s);
        QVERIFY(!Case{}.plan().sessionText && !Case{}.plan().positionText);
    }

    void headlineAndGrade()
    {
        const auto judged = [](const Case &given) {
            const TradePlan plan = given.plan();
            return rawValue(plan.grade) + u": "_s + plan.headline;
        };
        // With a stop of 100 % and no cost the ratio is the reward over 100.
        const auto ratio = [&](double wanted, TrendState state) {
            return judged({.tp = 100 + 100 * wanted, .slPct = 100, .state = state, .cost = 0});
        };
        // 3.85 / 2.15 = 1.79.
        QCOMPARE(judged({}), u"划算: 顺大势 · 现在做多划算"_s);
        QCOMPARE(judged({.state = counter}), u"划算: 逆势 · 现在做多划算"_s);
        QCOMPARE(judged({.state = mixed}), u"划算: 现在做多划算"_s); // no tag without a trend
        QCOMPARE(judged({.dir = sell, .tp = 96, .sl = 102}), u"划算: 顺大势 · 现在做空划算"_s);
        // 2.15 / 2.15 = 1: between 0.85 and 1.15.
        QCOMPARE(judged({.tp = 102.3}), u"一般: 顺大势 · 现在做多一般，小仓位试"_s);
        // 1.5 + 0.15 and 1.2 - 0.15 are met exactly, 1.2 + 0.15 is not.
        QCOMPARE(ratio(1.65, counter), u"划算: 逆势 · 现在做多划算"_s);
        QCOMPARE(ratio(1.6499, counter), u"一般: 逆势 · 现在做多一般，小仓位试"_s);
        QCOMPARE(ratio(1.3499, mixed), u"一般: 现在做多一般，小仓位试"_s);
        QCOMPARE(ratio(1.05, mixed), u"一般: 现在做多一般，小仓位试"_s);
        QCOMPARE(ratio(1.0499, TrendState::breakout), u"不划算: 做多不划算，等回落到 98.00 附近再进"_s);
        // 0.85 / 2.15 = 0.4. A poor short waits for a rise, without the tag.
        QCOMPARE(judged({.dir = sell, .tp = 99, .state = counter, .waitPrice = 1234.5}),
                 u"不划算: 做空不划算，等涨到 1,234.50 附近再进"_s);
        QCOMPARE(judged({.tp = 101, .waitPrice = 0}), u"不划算: 做多不划算，先别动手"_s);
        QCOMPARE(judged({.dir = sell, .tp = 99, .waitPrice = {}}), u"不划算: 做空不划算，先别动手"_s);
    }

    void detail()
    {
        const auto detail = [](const Case &given) { return given.plan().detail; };
        const QString plain = u"100.00 进 · 止盈 104.00（+4.00%） · 止损 98.00（−2.00%） · 净盈亏比 1.79"_s;
        QCOMPARE(detail({}), plain);
        QCOMPARE(detail({.account = 10000}), plain); // without a risk no money
        // 4.85 / 1.65 = 2.939.
        QCOMPARE(detail({.dir = sell, .tp = 95, .sl = 101.5, .slPct = 1.5}),
                 u"100.00 进 · 止盈 95.00（−5.00%） · 止损 101.50（+1.50%） · 净盈亏比 2.94"_s);
        // 100 at risk, 5 000 in position, 4 % of it 200.
        QCOMPARE(detail({.account = 10000, .riskPct = 1}),
                 u"100.00 进 · 止盈 104.00（+4.00% +200） · 止损 98.00（−2.00% −100） · 净盈亏比 1.79"_s);
        // 1 500 / 1.5 % = 100 000, 5 % of it 5 000.
        QCOMPARE(detail({.dir = sell, .tp = 95, .sl = 101.5, .slPct = 1.5, .account = 50000, .riskPct = 3}),
                 u"100.00 进 · 止盈 95.00（−5.00% +5,000） · 止损 101.50（+1.50% −1,500） · 净盈亏比 2.94"_s);
        // A target nearer than the costs: (0.125 - 0.15) / 2.15 = -0.0116; an exact half goes to even.
        QCOMPARE(detail({.tp = 100.125}),
                 u"100.00 进 · 止盈 100.12（+0.12%） · 止损 98.00（−2.00%） · 净盈亏比 -0.01"_s);
    }

    void tipAndMarginWarning()
    {
        const auto tip = [](const Case &given) { return given.plan().tip; };
        const QString aligned = u"顺大势：可看到次级阻力，别急着下车"_s;
        QCOMPARE(tip({}), aligned);
        QCOMPARE(tip({.state = mixed}), u"震荡市：区间打法，到了就落袋"_s);
        for (const TrendState state : {counter, TrendState::breakout})
            QCOMPARE(tip({.state = state}), u"逆势单：到目标就走，别贪"_s);

        // 1/20 - 0.005 = 4.5 %: closed at 95.5. 1 / (0.06 + 0.005) = 15.4. The multiple is cut, not rounded.
        const QString isolated = u"⚠️ 逐仓 20x 杠杆会先被强平，建议降到 15x"_s;
        QCOMPARE(tip({.sl = 94, .slPct = 6, .leverage = 20}), isolated);
        QCOMPARE(tip({.dir = sell, .tp = 80, .sl = 106, .slPct = 6, .leverage = 20.9}), isolated);
        QCOMPARE(tip({.sl = 95.6, .slPct = 4.4, .leverage = 20}), aligned);
        QCOMPARE(tip({.sl = 94, .slPct = 6, .leverage = 20, .market = MarketSegment::hk}), aligned);
        // 1/10 - 0.005 = 9.5 %: the stop lies right there, which is not beyond.
        QCOMPARE(tip({.sl = 90.5, .slPct = 9.5, .leverage = 10}), aligned);
        QCOMPARE(tip({.dir = sell, .tp = 80, .sl = 109.5, .slPct = 9.5, .leverage = 10}), aligned);
        // The suggestion is at most 125 and at least 1.
        QCOMPARE(tip({.sl = 99, .slPct = 0.05, .leverage = 150}),
                 u"⚠️ 逐仓 150x 杠杆会先被强平，建议降到 125x"_s);
        QCOMPARE(tip({.sl = -100, .slPct = 200, .leverage = 2}),
                 u"⚠️ 逐仓 2x 杠杆会先被强平，建议降到 1x"_s);
        QCOMPARE(tip({.sl = -50, .slPct = 150, .leverage = 1}), aligned);

        const auto crossed = [&](double account, double riskPct, double leverage, double slPct,
                                 TradeDirection dir = buy) {
            const double sl = dir == buy ? 100 - slPct : 100 + slPct;
            return tip({.dir = dir,
                        .sl = sl,
                        .slPct = slPct,
                        .account = account,
                        .riskPct = riskPct,
                        .leverage = leverage,
                        .mode = cross});
        };
        const QString noBudget = u"⚠️ 全仓模式需设置账户总额与单笔风险%"_s;
        QCOMPARE(crossed(0, 0, 5, 2), noBudget);
        QCOMPARE(crossed(1000, 0, 5, 2), noBudget);
        QCOMPARE(crossed(1000, 10, 5, 2), aligned); // 100 / 2 % = 5 000: five times the account
        // 500 / 0.4 % = 125 000.
        QCOMPARE(crossed(10000, 5, 10, 0.4), u"⚠️ 全仓仓位超过 10x 上限，建议减小风险%"_s);
        // 1 000 / 5 % = 20 000: closed 4.5 % away.
        for (const TradeDirection dir : {buy, sell})
            QCOMPARE(crossed(1000, 100, 100, 5, dir),
                     u"⚠️ 全仓仓位过大，会先被强平，建议减小风险%"_s);

        // A warned good plan becomes fair and keeps its headline; lower grades stay.
        const TradePlan warned = Case{.tp = 120, .sl = 94, .slPct = 6, .leverage = 20}.plan();
        QCOMPARE(warned.grade, PlanGrade::fair);
        QCOMPARE(warned.headline, u"顺大势 · 现在做多划算"_s);
        QCOMPARE((Case{.tp = 100.1, .sl = 94, .slPct = 6, .leverage = 20}.plan().grade), PlanGrade::poor);
    }

    void trendRun()
    {
        const auto run = [](const Case &given, double atr) {
            return makeTrendRunPlan(given.settings(), given.dir, 200, given.sl, atr, 0.15, u"周末"_s);
        };
        TradePlan plan = run({.sl = 193}, 0); // without ATR it trails by a percent
        QCOMPARE(plan.detail, u"200.00 进 · 止损 193.00（−3.50%） · 每盈利 2.00 上移一次止损"_s);
        QCOMPARE(plan.grade, PlanGrade::fair);
        QCOMPARE(plan.dir, buy);
        QCOMPARE(plan.trend, TrendState::breakout);
        QVERIFY(!plan.tp && !plan.waitPrice && !plan.positionText);
        const double numbers[]{plan.tpPct, plan.netRR, plan.trailStep, plan.costPct};
        QVERIFY(std::ranges::equal(numbers, std::vector{0.0, 99.0, 2.0, 0.15}));
        QCOMPARE(plan.headline, u"趋势单 · 让利润奔跑"_s);
        QCOMPARE(plan.tip, u"单边行情：先上移止损保本，再跟着吃利润"_s);
        QCOMPARE(plan.sessionText, u"周末"_s);

        // 3 % is still good. 200 / 3 % = 6 666.67; leverage 50 would be closed 1.5 % away, which only the
        // position text says.
        plan = run({.dir = sell, .sl = 206, .account = 10000, .riskPct = 2, .leverage = 50}, 1.5);
        QCOMPARE(plan.detail, u"200.00 进 · 止损 206.00（+3.00% −200） · 每盈利 1.50 上移一次止损"_s);
        QCOMPARE(plan.grade, PlanGrade::good);
        QCOMPARE(plan.tip, u"单边行情：先上移止损保本，再跟着吃利润"_s);
        QCOMPARE(
            plan.positionText,
            u"建议仓位 6,667 · 逐仓 50x 保证金 133（亏了只亏 200） · ⚠️ 杠杆偏高（强平距离 < 止损距离）"_s);
        QCOMPARE(run({.sl = 198}, nan).trailStep, 2.0); // no number, so none
    }

    void positions()
    {
        const auto isolated = [](double slPct, double leverage) {
            return positionText(Case{.account = 10000, .riskPct = 1, .leverage = leverage}.settings(), slPct);
        };
        const auto crossed = [](double slPct, double leverage, double account = 10000, double riskPct = 1) {
            const Case given{.account = account, .riskPct = riskPct, .leverage = leverage, .mode = cross};
            return positionText(given.settings(), slPct);
        };
        // 10 000 x 1 % = 100 at risk; 100 / 2 % = 5 000.
        const QString plain = u"建议仓位 5,000（亏了只亏 100）"_s;
        QCOMPARE(isolated(2, 1), plain);
        QCOMPARE(crossed(2, 0.5), plain);
        for (const MarketSegment market : {MarketSegment::cn, MarketSegment::hk}) {
            const Case share{.account = 10000, .riskPct = 1, .leverage = 10, .mode = cross, .market = market};
            QCOMPARE(positionText(share.settings(), 2), plain);
        }

        const QString tooHigh = u" · ⚠️ 杠杆偏高（强平距离 < 止损距离）"_s;
        // Distance 1/10 - 0.005 = 9.5 %: above the stop's 2 %, below its 10 %, and right there.
        QCOMPARE(isolated(2, 10), u"建议仓位 5,000 · 逐仓 10x 保证金 500（亏了只亏 100）"_s);
        QCOMPARE(isolated(10, 10), u"建议仓位 1,000 · 逐仓 10x 保证金 100（亏了只亏 100）"_s + tooHigh);
        QCOMPARE(isolated(9.5, 10), u"建议仓位 1,053 · 逐仓 10x 保证金 105（亏了只亏 100）"_s + tooHigh);
        // The multiple is cut, not rounded, and divides as it is: 5 000 / 20.9 = 239.23.
        QCOMPARE(isolated(2, 20.9), u"建议仓位 5,000 · 逐仓 20x 保证金 239（亏了只亏 100）"_s);
        // 1/250 - 0.005 is negative: distance 0.
        QCOMPARE(isolated(0.05, 250), u"建议仓位 200,000 · 逐仓 250x 保证金 800（亏了只亏 100）"_s + tooHigh);

        // The position is half the account: distance 1.995.
        QCOMPARE(crossed(2, 10), u"建议仓位 5,000 · 全仓 保证金 10,000（亏了只亏 100）"_s);
        // 500 / 0.4 % = 125 000, 12.5 times the account; 500 / 0.5 % exactly 10 times, 9.5 % away.
        QCOMPARE(
            crossed(0.4, 10, 10000, 5),
            u"建议仓位 125,000 · 全仓 保证金 10,000（亏了只亏 500） · ⚠️ 仓位超过 10x 上限"_s);
        QCOMPARE(crossed(0.5, 10, 10000, 5), u"建议仓位 100,000 · 全仓 保证金 10,000（亏了只亏 500）"_s);
        // All of 1 000 at risk: 1 000 / 5 % = 20 000; distance 0.05 - 0.005 = 4.5 %, below 5 %.
        QCOMPARE(crossed(5, 100, 1000, 100),
                 u"建议仓位 20,000 · 全仓 保证金 1,000（亏了只亏 1,000） · ⚠️ "
                 u"仓位过大（强平距离 < 止损距离）"_s);

        for (const double none : {0.0, -1.0, nan})
            QVERIFY(!crossed(2, 1, none) && !crossed(2, 1, 10000, none) && !crossed(none, 1));
        // Settings out of all proportion still give a text.
        QVERIFY(crossed(5e-324, 1e308, 1e308, 100) && crossed(1e308, infinity, 1e308, 100));
    }

    void amountsOfMoney()
    {
        const auto in = [](const QString &locale, double amount) { return money(amount, QLocale(locale)); };
        QCOMPARE(in(u"en_US"_s, 2.5), u"2"_s); // a half goes to even
        QCOMPARE(in(u"en_US"_s, 1234567.5), u"1,234,568"_s);
        QCOMPARE(in(u"en_US"_s, 999.4), u"999"_s);
        QCOMPARE(in(u"en_US"_s, 999.6), u"1,000"_s);
        QCOMPARE(in(u"en_US"_s, -0.4), u"-0"_s); // nothing from below keeps its sign
        QCOMPARE(in(u"en_US"_s, 1e23), u"100,000,000,000,000,000,000,000"_s);
        QCOMPARE(in(u"zh_CN"_s, 12345.6), u"12,346"_s);
        QCOMPARE(in(u"de_DE"_s, 1234567), u"1.234.567"_s);
        QCOMPARE(in(u"en_IN"_s, 12345678), u"1,23,45,678"_s);
        QCOMPARE(in(u"es_ES"_s, 1234), u"1234"_s); // four digits stay together
        QCOMPARE(in(u"es_ES"_s, 1234567), u"1.234.567"_s);
        QCOMPARE(in(u"ar_EG"_s, 12345), u"١٢٬٣٤٥"_s);
        QCOMPARE(in(u"sv_SE"_s, -12345), u"\u221212\u00a0345"_s);
        QCOMPARE(in(u"C"_s, 1234567), u"1234567"_s);
        QCOMPARE(in(u"de_DE"_s, -infinity), u"-inf"_s);
        QCOMPARE(in(u"en_US"_s, nan), u"nan"_s);
        QLocale ungrouped(u"en_US"_s);
        ungrouped.setNumberOptions(QLocale::OmitGroupSeparator);
        QCOMPARE(money(1e6, ungrouped), u"1000000"_s);
    }
};

KESTRUNE_TEST(TradePlanTest)

#include "tst_tradeplan.moc"
