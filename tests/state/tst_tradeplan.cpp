// SPDX-License-Identifier: MIT
#include "state/tradeplan.h"
#include "support/testregistry.h"

#include <QTest>

#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

constexpr auto buy = TradeDirection::long_;
constexpr auto sell = TradeDirection::short_;

/// A plan's arguments, at first: buy at 100, target 104, stop 98 (2 %), cost 0.15, no account, no leverage.
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

const QString alignedTip = u"顺大势：可看到次级阻力，别急着下车"_s;

} // namespace

Q_DECLARE_METATYPE(Case)

class TradePlanTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void storedTextsReadBack();
    void everyFieldOfAZonePlan();
    void headlineAndGrade_data();
    void headlineAndGrade();
    void detail_data();
    void detail();
    void tipByTrend();
    void marginWarning_data();
    void marginWarning();
    void trendRun_data();
    void trendRun();
};

void TradePlanTest::storedTextsReadBack()
{
    QCOMPARE(rawValue(buy), u"做多"_s);
    QCOMPARE(tradeDirectionFromRawValue(u"做空"), sell);
    QCOMPARE(rawValue(TrendState::counter), u"逆势"_s);
    QCOMPARE(trendStateFromRawValue(u"单边"), TrendState::breakout);
    QCOMPARE(rawValue(PlanGrade::fair), u"一般"_s);
    QCOMPARE(planGradeFromRawValue(u"不划算"), PlanGrade::poor);
    QVERIFY(!tradeDirectionFromRawValue(u"long"));
    QVERIFY(!trendStateFromRawValue(u""));
    QVERIFY(!planGradeFromRawValue(u"划算 "));
}

void TradePlanTest::everyFieldOfAZonePlan()
{
    const Case given{.account = 10000, .riskPct = 1};
    const TradePlan plan = given.plan(u"临近"_s);
    QCOMPARE(plan.dir, buy);
    QCOMPARE(plan.grade, PlanGrade::good);
    QCOMPARE(plan.trend, TrendState::aligned);
    QCOMPARE(plan.entry, 100.0);
    QCOMPARE(plan.tp, std::optional(104.0));
    QCOMPARE(plan.sl, 98.0);
    QCOMPARE(plan.tpPct, 4.0);
    QCOMPARE(plan.slPct, 2.0);
    QVERIFY(test::closeTo(plan.netRR, 3.85 / 2.15, 1e-15));
    QCOMPARE(plan.trailStep, 0.0);
    QCOMPARE(plan.costPct, 0.15);
    QCOMPARE(plan.headline, u"顺大势 · 现在做多划算"_s);
    QCOMPARE(plan.tip, alignedTip);
    QCOMPARE(plan.positionText, u"建议仓位 5,000（亏了只亏 100）"_s);
    QCOMPARE(plan.sessionText, u"临近"_s);
    QCOMPARE(plan.waitPrice, std::optional(98.0));
    QVERIFY(!Case{}.plan().sessionText);
    QVERIFY(!Case{}.plan().positionText);
}

void TradePlanTest::headlineAndGrade_data()
{
    QTest::addColumn<Case>("given");
    QTest::addColumn<PlanGrade>("grade");
    QTest::addColumn<QString>("headline");
    constexpr auto mixed = TrendState::mixed;
    constexpr auto counter = TrendState::counter;

    // 3.85 / 2.15 = 1.79.
    QTest::newRow("good against the trend (1.65 needed)")
        << Case{.state = counter} << PlanGrade::good << u"逆势 · 现在做多划算"_s;
    QTest::newRow("good without a trend has no tag")
        << Case{.state = mixed} << PlanGrade::good << u"现在做多划算"_s;
    QTest::newRow("good short") << Case{.dir = sell, .tp = 96, .sl = 102} << PlanGrade::good
                                << u"顺大势 · 现在做空划算"_s;
    // 2.15 / 2.15 = 1: between 0.85 and 1.15.
    QTest::newRow("fair") << Case{.tp = 102.3} << PlanGrade::fair << u"顺大势 · 现在做多一般，小仓位试"_s;
    // With a stop of 100 % and no cost the ratio is the reward over 100: 1.5 + 0.15 and 1.2 - 0.15 are met
    // exactly, 1.2 + 0.15 is not.
    QTest::newRow("the upper edge is good") << Case{.tp = 265, .slPct = 100, .state = counter, .cost = 0}
                                            << PlanGrade::good << u"逆势 · 现在做多划算"_s;
    QTest::newRow("below it against the trend")
        << Case{.tp = 264.99, .slPct = 100, .state = counter, .cost = 0} << PlanGrade::fair
        << u"逆势 · 现在做多一般，小仓位试"_s;
    QTest::newRow("below the upper edge") << Case{.tp = 234.99, .slPct = 100, .state = mixed, .cost = 0}
                                          << PlanGrade::fair << u"现在做多一般，小仓位试"_s;
    QTest::newRow("the lower edge is fair") << Case{.tp = 205, .slPct = 100, .state = mixed, .cost = 0}
                                            << PlanGrade::fair << u"现在做多一般，小仓位试"_s;
    QTest::newRow("below the lower edge")
        << Case{.tp = 204.99, .slPct = 100, .state = TrendState::breakout, .cost = 0, .waitPrice = 95}
        << PlanGrade::poor << u"做多不划算，等回落到 95.00 附近再进"_s;
    // 0.85 / 2.65 = 0.32.
    QTest::newRow("poor short waits for a rise, without the tag")
        << Case{.dir = sell, .tp = 99, .sl = 102.5, .slPct = 2.5, .state = counter, .waitPrice = 1234.5}
        << PlanGrade::poor << u"做空不划算，等涨到 1,234.50 附近再进"_s;
    QTest::newRow("poor with a waiting price of zero")
        << Case{.tp = 101, .slPct = 2.5, .waitPrice = 0} << PlanGrade::poor << u"做多不划算，先别动手"_s;
    QTest::newRow("poor without a waiting price")
        << Case{.dir = sell, .tp = 99, .slPct = 2.5, .waitPrice = {}} << PlanGrade::poor
        << u"做空不划算，先别动手"_s;
}

void TradePlanTest::headlineAndGrade()
{
    QFETCH(Case, given);
    const TradePlan plan = given.plan();
    QTEST(plan.grade, "grade");
    QTEST(plan.headline, "headline");
}

void TradePlanTest::detail_data()
{
    QTest::addColumn<Case>("given");
    QTest::addColumn<QString>("detail");
    QTest::newRow("long") << Case{}
                          << u"100.00 进 · 止盈 104.00（+4.00%） · 止损 98.00（−2.00%） · 净盈亏比 1.79"_s;
    // 4.85 / 1.65 = 2.939.
    QTest::newRow("short") << Case{.dir = sell, .tp = 95, .sl = 101.5, .slPct = 1.5}
                           << u"100.00 进 · 止盈 95.00（−5.00%） · 止损 101.50（+1.50%） · 净盈亏比 2.94"_s;
    // 100 at risk, 5 000 in position, 4 % of it 200.
    QTest::newRow("long with money")
        << Case{.account = 10000, .riskPct = 1}
        << u"100.00 进 · 止盈 104.00（+4.00% +200） · 止损 98.00（−2.00% −100） · 净盈亏比 1.79"_s;
    // 1 500 / 1.5 % = 100 000, 5 % of it 5 000.
    QTest::newRow("short with money")
        << Case{.dir = sell, .tp = 95, .sl = 101.5, .slPct = 1.5, .account = 50000, .riskPct = 3}
        << u"100.00 进 · 止盈 95.00（−5.00% +5,000） · 止损 101.50（+1.50% −1,500） · 净盈亏比 2.94"_s;
    QTest::newRow("an account without a risk shows no money")
        << Case{.account = 10000}
        << u"100.00 进 · 止盈 104.00（+4.00%） · 止损 98.00（−2.00%） · 净盈亏比 1.79"_s;
    // (0.125 - 0.15) / 2.15 = -0.0116; an exact half goes to even.
    QTest::newRow("a target nearer than the costs")
        << Case{.tp = 100.125}
        << u"100.00 进 · 止盈 100.12（+0.12%） · 止损 98.00（−2.00%） · 净盈亏比 -0.01"_s;
}

void TradePlanTest::detail()
{
    QFETCH(Case, given);
    QTEST(given.plan().detail, "detail");
}

void TradePlanTest::tipByTrend()
{
    QCOMPARE(Case{}.plan().tip, alignedTip);
    QCOMPARE(Case{.state = TrendState::mixed}.plan().tip, u"震荡市：区间打法，到了就落袋"_s);
    QCOMPARE(Case{.state = TrendState::counter}.plan().tip, u"逆势单：到目标就走，别贪"_s);
    QCOMPARE(Case{.state = TrendState::breakout}.plan().tip, u"逆势单：到目标就走，别贪"_s);
}

void TradePlanTest::marginWarning_data()
{
    QTest::addColumn<Case>("given");      // all good before the check
    QTest::addColumn<QString>("warning"); // empty: the tip and the grade stay
    constexpr auto cross = MarginMode::cross;
    const QString none;

    // 1/20 - 0.005 = 4.5 %: closed at 95.5. 1 / (0.06 + 0.005) = 15.4.
    QTest::newRow("isolated long") << Case{.tp = 120, .sl = 94, .slPct = 6, .leverage = 20}
                                   << u"⚠️ 逐仓 20x 杠杆会先被强平，建议降到 15x"_s;
    QTest::newRow("isolated short, multiple cut")
        << Case{.dir = sell, .tp = 80, .sl = 106, .slPct = 6, .leverage = 20.9}
        << u"⚠️ 逐仓 20x 杠杆会先被强平，建议降到 15x"_s;
    QTest::newRow("isolated, stop before the liquidation")
        << Case{.tp = 120, .sl = 95.6, .slPct = 4.4, .leverage = 20} << none;
    // 1/10 - 0.005 = 9.5 %: the stop lies right there, which is not beyond.
    QTest::newRow("isolated, stop right at the liquidation")
        << Case{.tp = 120, .sl = 90.5, .slPct = 9.5, .leverage = 10} << none;
    QTest::newRow("isolated short, stop right at the liquidation")
        << Case{.dir = sell, .tp = 80, .sl = 109.5, .slPct = 9.5, .leverage = 10} << none;
    QTest::newRow("suggestion capped at 125")
        << Case{.sl = 99, .slPct = 0.05, .leverage = 150}
        << u"⚠️ 逐仓 150x 杠杆会先被强平，建议降到 125x"_s;
    QTest::newRow("suggestion never below 1")
        << Case{.tp = 1000, .sl = -100, .slPct = 200, .leverage = 2}
        << u"⚠️ 逐仓 2x 杠杆会先被强平，建议降到 1x"_s;
    QTest::newRow("a multiple of exactly 1") << Case{.tp = 1000, .sl = -50, .slPct = 150} << none;
    QTest::newRow("shares have no margin")
        << Case{.tp = 120, .sl = 94, .slPct = 6, .leverage = 20, .market = MarketSegment::hk} << none;

    QTest::newRow("cross without an account")
        << Case{.leverage = 5, .mode = cross}
        << u"⚠️ 全仓模式需设置账户总额与单笔风险%"_s;
    QTest::newRow("cross without a risk") << Case{.account = 1000, .leverage = 5, .mode = cross}
                                          << u"⚠️ 全仓模式需设置账户总额与单笔风险%"_s;
    // 100 / 2 % = 5 000: five times the account.
    QTest::newRow("cross, as much as the multiple allows")
        << Case{.account = 1000, .riskPct = 10, .leverage = 5, .mode = cross} << none;
    // 500 / 0.4 % = 125 000.
    QTest::newRow("cross, more than the multiple allows")
        << Case{.sl = 99.6, .slPct = 0.4, .account = 10000, .riskPct = 5, .leverage = 10, .mode = cross}
        << u"⚠️ 全仓仓位超过 10x 上限，建议减小风险%"_s;
    // 1 000 / 5 % = 20 000: closed 4.5 % away, at 95.5.
    QTest::newRow("cross, liquidated before the stop")
        << Case{.tp = 120,
                .sl = 95,
                .slPct = 5,
                .account = 1000,
                .riskPct = 100,
                .leverage = 100,
                .mode = cross}
        << u"⚠️ 全仓仓位过大，会先被强平，建议减小风险%"_s;
    QTest::newRow("cross short, liquidated before the stop")
        << Case{.dir = sell,
                .tp = 80,
                .sl = 105,
                .slPct = 5,
                .account = 1000,
                .riskPct = 100,
                .leverage = 100,
                .mode = cross}
        << u"⚠️ 全仓仓位过大，会先被强平，建议减小风险%"_s;
}

void TradePlanTest::marginWarning()
{
    QFETCH(Case, given);
    QFETCH(QString, warning);
    const TradePlan plan = given.plan();
    QCOMPARE(plan.tip, warning.isEmpty() ? alignedTip : warning);
    QCOMPARE(plan.grade, warning.isEmpty() ? PlanGrade::good : PlanGrade::fair);
    QVERIFY2(plan.headline.endsWith(u"划算"_s), "the headline keeps the good wording");

    // Lower grades stay where they are.
    given.tp = given.dir == buy ? 100.1 : 99.9;
    QCOMPARE(given.plan().grade, PlanGrade::poor);
}

void TradePlanTest::trendRun_data()
{
    QTest::addColumn<Case>("given"); // direction, stop and money; the entry is 200
    QTest::addColumn<double>("atr");
    QTest::addColumn<PlanGrade>("grade");
    QTest::addColumn<double>("trailStep");
    QTest::addColumn<QString>("detail");
    QTest::addColumn<QString>("position");

    QTest::newRow("long without ATR trails by a percent")
        << Case{.sl = 193} << 0.0 << PlanGrade::fair << 2.0
        << u"200.00 进 · 止损 193.00（−3.50%） · 每盈利 2.00 上移一次止损"_s << QString();
    // 200 / 3 % = 6 666.67; leverage 50 would be closed 1.5 % away, which only the position text says.
    QTest::newRow("short with money, 3 % is still good")
        << Case{.dir = sell, .sl = 206, .account = 10000, .riskPct = 2, .leverage = 50} << 1.5
        << PlanGrade::good << 1.5 << u"200.00 进 · 止损 206.00（+3.00% −200） · 每盈利 1.50 上移一次止损"_s
        << u"建议仓位 6,667 · 逐仓 50x 保证金 133（亏了只亏 200） · ⚠️ 杠杆偏高（强平距离 < 止损距离）"_s;
    QTest::newRow("an ATR that is no number counts as none")
        << Case{.sl = 198} << std::numeric_limits<double>::quiet_NaN() << PlanGrade::good << 2.0
        << u"200.00 进 · 止损 198.00（−1.00%） · 每盈利 2.00 上移一次止损"_s << QString();
}

void TradePlanTest::trendRun()
{
    QFETCH(Case, given);
    QFETCH(double, atr);
    QFETCH(QString, position);
    const TradePlan plan = makeTrendRunPlan(given.settings(), given.dir, 200, given.sl, atr, 0.15, u"周末"_s);
    QTEST(plan.grade, "grade");
    QTEST(plan.trailStep, "trailStep");
    QTEST(plan.detail, "detail");
    QCOMPARE(plan.positionText, position.isEmpty() ? std::nullopt : std::optional(position));
    QCOMPARE(plan.dir, given.dir);
    QCOMPARE(plan.trend, TrendState::breakout);
    QVERIFY(!plan.tp && !plan.waitPrice);
    QCOMPARE(plan.tpPct, 0.0);
    QCOMPARE(plan.netRR, 99.0);
    QCOMPARE(plan.costPct, 0.15);
    QCOMPARE(plan.headline, u"趋势单 · 让利润奔跑"_s);
    QCOMPARE(plan.tip, u"单边行情：先上移止损保本，再跟着吃利润"_s);
    QCOMPARE(plan.sessionText, u"周末"_s);
}

KESTRUNE_TEST(TradePlanTest)

#include "tst_tradeplan.moc"
