// SPDX-License-Identifier: MIT
#include "state/fixedtext.h"
#include "state/marketcontext.h"
#include "support/testregistry.h"

#include <QTest>

#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

using Number = std::optional<double>;
using Tunnel = std::optional<VegasTunnel>;
Q_DECLARE_METATYPE(Number)
Q_DECLARE_METATYPE(Tunnel)

class MarketContextTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void trend_data();
    void trend();
    void rsiAndMacd();
    void atr();
    void fixedTextRoundsTheBinaryValue_data();
    void fixedTextRoundsTheBinaryValue();
};

void MarketContextTest::trend_data()
{
    QTest::addColumn<Number>("price");
    QTest::addColumn<Tunnel>("vegas");
    QTest::addColumn<Number>("ema200");
    QTest::addColumn<QString>("text");
    QTest::addColumn<NamedColor>("color");
    const Tunnel none;
    const QString above = u"多头趋势（价格位于 Vegas 隧道上方）"_s;
    const QString below = u"空头趋势（价格位于 Vegas 隧道下方）"_s;
    const QString inside = u"震荡（价格位于 Vegas 隧道内）"_s;
    const QString unknown = u"数据不足"_s;
    constexpr auto red = NamedColor::red;
    constexpr auto green = NamedColor::green;
    constexpr auto secondary = NamedColor::secondary;

    QTest::newRow("no price") << Number{} << Tunnel{{90, 80}} << Number{1} << unknown << secondary;
    QTest::newRow("above the tunnel") << Number{100} << Tunnel{{90, 95}} << Number{} << above << red;
    QTest::newRow("below the tunnel") << Number{100} << Tunnel{{110, 105}} << Number{} << below << green;
    QTest::newRow("inside") << Number{100} << Tunnel{{110, 90}} << Number{} << inside << secondary;
    QTest::newRow("inside, lines crossed")
        << Number{100} << Tunnel{{90, 110}} << Number{} << inside << secondary;
    QTest::newRow("touching the upper line")
        << Number{100} << Tunnel{{100, 90}} << Number{} << inside << secondary;
    QTest::newRow("touching the lower line")
        << Number{100} << Tunnel{{110, 100}} << Number{} << inside << secondary;
    QTest::newRow("the tunnel wins over the long average")
        << Number{100} << Tunnel{{110, 105}} << Number{1} << below << green;
    QTest::newRow("no tunnel, above the long average")
        << Number{100} << none << Number{99} << u"价格站上 EMA200（偏多）"_s << red;
    QTest::newRow("no tunnel, on the long average")
        << Number{100} << none << Number{100} << u"价格站上 EMA200（偏多）"_s << red;
    QTest::newRow("no tunnel, below the long average")
        << Number{100} << none << Number{101} << u"价格跌破 EMA200（偏空）"_s << green;
    QTest::newRow("nothing to go by") << Number{100} << none << Number{} << unknown << secondary;
}

void MarketContextTest::trend()
{
    QFETCH(Number, price);
    QFETCH(Tunnel, vegas);
    QFETCH(Number, ema200);
    const Verdict verdict = trendVerdict(price, vegas, ema200);
    QTEST(verdict.text, "text");
    QTEST(verdict.color, "color");
}

void MarketContextTest::rsiAndMacd()
{
    QCOMPARE(rsiVerdict({}), (Verdict{u"—"_s, NamedColor::secondary}));
    QCOMPARE(rsiVerdict(70.0), (Verdict{u"70.0 超买"_s, NamedColor::red}));
    QCOMPARE(rsiVerdict(69.99), (Verdict{u"70.0 中性"_s, NamedColor::secondary}));
    QCOMPARE(rsiVerdict(30.0), (Verdict{u"30.0 超卖"_s, NamedColor::green}));
    QCOMPARE(rsiVerdict(50.04), (Verdict{u"50.0 中性"_s, NamedColor::secondary}));
    QCOMPARE(rsiVerdict(100.0), (Verdict{u"100.0 超买"_s, NamedColor::red}));

    QCOMPARE(macdVerdict({}), (Verdict{u"—"_s, NamedColor::secondary}));
    QCOMPARE(macdVerdict(1e-300), (Verdict{u"多头（柱为正）"_s, NamedColor::red}));
    QCOMPARE(macdVerdict(-1e-300), (Verdict{u"空头（柱为负）"_s, NamedColor::green}));
    QCOMPARE(macdVerdict(-0.0), (Verdict{u"走平"_s, NamedColor::secondary}));
}

void MarketContextTest::atr()
{
    QCOMPARE(atrReadout(35.5, 3550, 2), u"35.50（1.00%）"_s);
    QCOMPARE(atrReadout(1234.5, 100000, 0), u"1,234（1.23%）"_s); // 1234.5 to even; 1.2345 % down
    QCOMPARE(atrReadout({}, 3550, 2), u"—"_s);
    QCOMPARE(atrReadout(35.5, {}, 2), u"—"_s);
}

void MarketContextTest::fixedTextRoundsTheBinaryValue_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QString>("expected");
    // Origin: printf in the C locale.
    QTest::newRow("an exact half goes to even, down") << 0.125 << 2 << u"0.12"_s;
    QTest::newRow("an exact half goes to even, up") << 0.375 << 2 << u"0.38"_s;
    QTest::newRow("1.005 lies below its half") << 1.005 << 2 << u"1.00"_s;
    QTest::newRow("1.015 lies below its half") << 1.015 << 2 << u"1.01"_s;
    QTest::newRow("no decimals") << 2.5 << 0 << u"2"_s;
    QTest::newRow("negative zero keeps its sign") << -0.001 << 2 << u"-0.00"_s;
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << 2 << u"nan"_s;
    QTest::newRow("infinite") << -std::numeric_limits<double>::infinity() << 2 << u"-inf"_s;
    QTest::newRow("every digit of a large value") << 1e23 << 1 << u"99999999999999991611392.0"_s;
}

void MarketContextTest::fixedTextRoundsTheBinaryValue()
{
    QFETCH(double, value);
    QFETCH(int, decimals);
    QTEST(fixedText(value, decimals), "expected");
    QCOMPARE(fixedText(std::numeric_limits<double>::lowest(), 99).size(), 1 + 309 + 1 + 17);
}

KESTRUNE_TEST(MarketContextTest)

#include "tst_marketcontext.moc"
