// SPDX-License-Identifier: MIT
#include "state/positionsizing.h"
#include "support/testregistry.h"

#include <QTest>

#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

const QLocale english(QLocale::English, QLocale::UnitedStates);

PlanSettings settings(double account, double riskPct, double leverage = 1,
                      MarginMode mode = MarginMode::isolated, MarketSegment market = MarketSegment::crypto)
{
    return {.market = market,
            .decimals = 2,
            .accountSize = account,
            .riskPctPerTrade = riskPct,
            .leverage = leverage,
            .marginMode = mode,
            .locale = english};
}

} // namespace

Q_DECLARE_METATYPE(PlanSettings)

class PositionSizingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void money_data();
    void money();
    void moneyFollowsEachLocaleInTurn();
    void text_data();
    void text();
    void noTextWithoutBudgetOrStop();
};

void PositionSizingTest::money_data()
{
    QTest::addColumn<double>("amount");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("expected");
    constexpr double infinity = std::numeric_limits<double>::infinity();

    QTest::newRow("rounded and grouped") << 12345.6 << u"en_US"_s << u"12,346"_s;
    QTest::newRow("a half goes to even, down") << 2.5 << u"en_US"_s << u"2"_s;
    QTest::newRow("a half goes to even, up") << 1234567.5 << u"en_US"_s << u"1,234,568"_s;
    QTest::newRow("below a group") << 999.4 << u"en_US"_s << u"999"_s;
    QTest::newRow("rounding makes a group") << 999.6 << u"en_US"_s << u"1,000"_s;
    QTest::newRow("negative") << -12345.6 << u"en_US"_s << u"-12,346"_s;
    QTest::newRow("nothing from below keeps its sign") << -0.4 << u"en_US"_s << u"-0"_s;
    QTest::newRow("beyond 64 bits") << 1e23 << u"en_US"_s << u"100,000,000,000,000,000,000,000"_s;
    QTest::newRow("Chinese") << 12345.6 << u"zh_CN"_s << u"12,346"_s;
    QTest::newRow("German") << 1234567.0 << u"de_DE"_s << u"1.234.567"_s;
    QTest::newRow("Indian groups") << 12345678.0 << u"en_IN"_s << u"1,23,45,678"_s;
    QTest::newRow("Spanish leaves four digits together") << 1234.0 << u"es_ES"_s << u"1234"_s;
    QTest::newRow("Spanish groups five digits") << 12345.0 << u"es_ES"_s << u"12.345"_s;
    QTest::newRow("Spanish groups seven digits wholly") << 1234567.0 << u"es_ES"_s << u"1.234.567"_s;
    QTest::newRow("Arabic digits") << 12345.0 << u"ar_EG"_s << u"١٢٬٣٤٥"_s;
    QTest::newRow("the C locale does not group") << 1234567.0 << u"C"_s << u"1234567"_s;
    QTest::newRow("infinite") << infinity << u"en_US"_s << u"inf"_s;
    QTest::newRow("infinite below") << -infinity << u"de_DE"_s << u"-inf"_s;
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << u"en_US"_s << u"nan"_s;
}

void PositionSizingTest::money()
{
    QFETCH(double, amount);
    QFETCH(QString, locale);
    QTEST(kestrune::money(amount, QLocale(locale)), "expected");
}

void PositionSizingTest::moneyFollowsEachLocaleInTurn()
{
    const QLocale german(QLocale::German, QLocale::Germany);
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(kestrune::money(1e6, english), u"1,000,000"_s);
        QCOMPARE(kestrune::money(1e6, german), u"1.000.000"_s);
    }
    QLocale ungrouped = english;
    ungrouped.setNumberOptions(QLocale::OmitGroupSeparator);
    QCOMPARE(kestrune::money(1e6, ungrouped), u"1000000"_s);
}

void PositionSizingTest::text_data()
{
    QTest::addColumn<PlanSettings>("settings");
    QTest::addColumn<double>("slPct");
    QTest::addColumn<QString>("expected");
    constexpr auto isolated = MarginMode::isolated;
    constexpr auto cross = MarginMode::cross;

    // 10 000 x 1 % = 100 at risk; 100 / 2 % = 5 000.
    const QString plain = u"建议仓位 5,000（亏了只亏 100）"_s;
    QTest::newRow("A-share") << settings(10000, 1, 10, isolated, MarketSegment::cn) << 2.0 << plain;
    QTest::newRow("Hong Kong share") << settings(10000, 1, 10, cross, MarketSegment::hk) << 2.0 << plain;
    QTest::newRow("a multiple of exactly 1") << settings(10000, 1, 1) << 2.0 << plain;
    QTest::newRow("a multiple below 1") << settings(10000, 1, 0.5, cross) << 2.0 << plain;

    // Distance 1/10 - 0.005 = 9.5 %, above 2 %.
    QTest::newRow("isolated") << settings(10000, 1, 10) << 2.0
                              << u"建议仓位 5,000 · 逐仓 10x 保证金 500（亏了只亏 100）"_s;
    // 100 / 10 % = 1 000; 9.5 <= 10.
    QTest::newRow("isolated, liquidated before the stop")
        << settings(10000, 1, 10) << 10.0
        << u"建议仓位 1,000 · 逐仓 10x 保证金 100（亏了只亏 100） · ⚠️ 杠杆偏高（强平距离 < 止损距离）"_s;
    // 100 / 9.5 % = 1052.63, a tenth of it 105.26.
    QTest::newRow("isolated, liquidated right at the stop")
        << settings(10000, 1, 10) << 9.5
        << u"建议仓位 1,053 · 逐仓 10x 保证金 105（亏了只亏 100） · ⚠️ 杠杆偏高（强平距离 < 止损距离）"_s;
    // 5 000 / 20.9 = 239.23; 1/20.9 - 0.005 = 4.28 %.
    QTest::newRow("the multiple is cut, not rounded, and divides as it is")
        << settings(10000, 1, 20.9) << 2.0 << u"建议仓位 5,000 · 逐仓 20x 保证金 239（亏了只亏 100）"_s;
    // 1/250 - 0.005 is negative: distance 0.
    QTest::newRow("a multiple without any distance")
        << settings(10000, 1, 250) << 0.05
        << u"建议仓位 200,000 · 逐仓 250x 保证金 800（亏了只亏 100） · ⚠️ 杠杆偏高（强平距离 < 止损距离）"_s;

    // The position is half the account: distance 1.995.
    QTest::newRow("cross") << settings(10000, 1, 10, cross) << 2.0
                           << u"建议仓位 5,000 · 全仓 保证金 10,000（亏了只亏 100）"_s;
    // 500 / 0.4 % = 125 000, 12.5 times the account.
    QTest::newRow("cross, more than the multiple allows")
        << settings(10000, 5, 10, cross) << 0.4
        << u"建议仓位 125,000 · 全仓 保证金 10,000（亏了只亏 500） · ⚠️ 仓位超过 10x 上限"_s;
    // 500 / 0.5 % = 100 000, exactly 10 times; distance 0.1 - 0.005 = 9.5 %.
    QTest::newRow("cross, exactly the multiple")
        << settings(10000, 5, 10, cross) << 0.5 << u"建议仓位 100,000 · 全仓 保证金 10,000（亏了只亏 500）"_s;
    // All of 1 000 at risk: 1 000 / 5 % = 20 000; distance 0.05 - 0.005 = 4.5 %, below 5 %.
    QTest::newRow("cross, liquidated before the stop")
        << settings(1000, 100, 100, cross) << 5.0
        << u"建议仓位 20,000 · 全仓 保证金 1,000（亏了只亏 1,000） · ⚠️ 仓位过大（强平距离 < 止损距离）"_s;
}

void PositionSizingTest::text()
{
    QFETCH(PlanSettings, settings);
    QFETCH(double, slPct);
    QFETCH(QString, expected);
    QCOMPARE(positionText(settings, slPct), expected);
}

void PositionSizingTest::noTextWithoutBudgetOrStop()
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double nothing : {0.0, -1.0, nan}) {
        QVERIFY(!positionText(settings(nothing, 1), 2));
        QVERIFY(!positionText(settings(10000, nothing), 2));
        QVERIFY(!positionText(settings(10000, 1), nothing));
    }
    // Settings out of all proportion still give a text.
    QVERIFY(positionText(settings(1e308, 100, 1e308), 5e-324));
    QVERIFY(positionText(settings(1e308, 100, std::numeric_limits<double>::infinity(), MarginMode::cross),
                         1e308));
}

KESTRUNE_TEST(PositionSizingTest)

#include "tst_positionsizing.moc"
