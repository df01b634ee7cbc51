// SPDX-License-Identifier: MIT
#include "state/marginmode.h"
#include "state/timeframescore.h"
#include "support/testregistry.h"

#include <QTest>

#include <array>
#include <cmath>
#include <functional>
#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

std::vector<Candle> candlesOf(int count, const std::function<double(int)> &close, double volume = 1)
{
    std::vector<Candle> candles;
    for (int i = 0; i < count; ++i)
        candles.push_back({i * qint64(3'600'000), close(i), close(i), close(i), close(i), volume});
    return candles;
}

/// EMA50, EMA200, RSI, histogram and VWAP; the readings that no rule looks at are filled too.
IndicatorReadings readings(const std::array<std::optional<double>, 5> &values)
{
    IndicatorReadings result;
    result.ema50 = values[0];
    result.ema200 = values[1];
    result.rsi14 = values[2];
    if (values[3])
        result.macd = MacdResult{-*values[3], 0, *values[3]};
    result.vwap = values[4];
    result.ema144 = result.ema169 = result.atr14 = 1;
    return result;
}

} // namespace

Q_DECLARE_METATYPE(IndicatorReadings)

class TimeframeScoreTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void bandsOfTheScore_data();
    void bandsOfTheScore();
    void storedTextsReadBack();
    void sumAndReason_data();
    void sumAndReason();
    void fewerThanFiftyCandlesAreNotScored();
    void aFlatMarketLeansBearish();
    void anAcceleratingRiseIsTheMaximum();
};

void TimeframeScoreTest::bandsOfTheScore_data()
{
    QTest::addColumn<double>("score");
    QTest::addColumn<SignalType>("expected");
    QTest::newRow("+2 is strong") << 2.0 << SignalType::strongBull;
    QTest::newRow("just below +2") << std::nextafter(2.0, 0) << SignalType::bull;
    QTest::newRow("+0.5") << 0.5 << SignalType::bull;
    QTest::newRow("just below +0.5") << std::nextafter(0.5, 0) << SignalType::neutral;
    QTest::newRow("-0.5") << -0.5 << SignalType::neutral;
    QTest::newRow("just below -0.5") << std::nextafter(-0.5, -1) << SignalType::bear;
    QTest::newRow("-2 is not strong") << -2.0 << SignalType::bear;
    QTest::newRow("just below -2") << std::nextafter(-2.0, -3) << SignalType::strongBear;
    QTest::newRow("no number") << std::numeric_limits<double>::quiet_NaN() << SignalType::strongBear;
}

void TimeframeScoreTest::bandsOfTheScore()
{
    QFETCH(double, score);
    QTEST(signalTypeForScore(score), "expected");
}

void TimeframeScoreTest::storedTextsReadBack()
{
    QCOMPARE(signalTypeFromRawValue(u"强多"), SignalType::strongBull);
    QCOMPARE(signalTypeFromRawValue(u"强空"), SignalType::strongBear);
    for (const SignalType signal : {SignalType::strongBull, SignalType::bull, SignalType::neutral,
                                    SignalType::bear, SignalType::strongBear})
        QCOMPARE(signalTypeFromRawValue(rawValue(signal)), signal);
    QVERIFY(!signalTypeFromRawValue(u"强"));
    QVERIFY(!signalTypeFromRawValue({}));

    QCOMPARE(marginModeFromRawValue(u"全仓"), MarginMode::cross);
    QCOMPARE(marginModeFromRawValue(rawValue(MarginMode::isolated)), MarginMode::isolated);
    QVERIFY(!marginModeFromRawValue(u"cross"));
}

void TimeframeScoreTest::sumAndReason_data()
{
    QTest::addColumn<IndicatorReadings>("given");
    QTest::addColumn<double>("score"); // seen from a price of 100
    QTest::addColumn<QString>("reason");
    constexpr auto none = std::nullopt;

    QTest::newRow("nothing to go by") << readings({}) << 0.0 << u"—"_s;
    QTest::newRow("everything bullish") << readings({99, 98, 61, 1e-9, 99}) << 5.0 << u"均线多头"_s;
    QTest::newRow("everything bearish") << readings({101, 102, 39, -1e-9, 101}) << -5.0 << u"均线空头"_s;
    QTest::newRow("above both averages in the wrong order") << readings({98, 99}) << 1.0 << u"站上EMA50"_s;
    QTest::newRow("averages equal, price above") << readings({99, 99}) << 1.0 << u"站上EMA50"_s;
    QTest::newRow("averages equal, price below") << readings({101, 101}) << -1.0 << u"跌破EMA50"_s;
    QTest::newRow("below both in the bullish order") << readings({102, 101}) << -1.0 << u"跌破EMA50"_s;
    QTest::newRow("no long average, above") << readings({99}) << 1.0 << u"站上EMA50"_s;
    QTest::newRow("no long average, below") << readings({101}) << -1.0 << u"跌破EMA50"_s;
    QTest::newRow("price on the short average") << readings({100, 90}) << -1.0 << u"跌破EMA50"_s;
    QTest::newRow("a long average alone says nothing") << readings({none, 90}) << 0.0 << u"—"_s;
    QTest::newRow("RSI of 60 adds nothing") << readings({none, none, 60}) << 0.0 << u"—"_s;
    QTest::newRow("RSI of 40 adds nothing") << readings({none, none, 40}) << 0.0 << u"—"_s;
    QTest::newRow("RSI speaks without averages")
        << readings({none, none, 65, none, 101}) << 0.0 << u"RSI偏强"_s;
    QTest::newRow("weak RSI") << readings({none, none, 39.9}) << -1.0 << u"RSI偏弱"_s;
    QTest::newRow("a histogram of zero is bearish")
        << readings({none, none, none, 0}) << -1.0 << u"MACD空头"_s;
    QTest::newRow("rising histogram") << readings({none, none, 50, 1}) << 1.0 << u"MACD多头"_s;
    QTest::newRow("price on the VWAP is bearish")
        << readings({none, none, none, none, 100}) << -1.0 << u"价在VWAP下"_s;
    QTest::newRow("price above the VWAP") << readings({none, none, none, none, 99}) << 1.0 << u"价在VWAP上"_s;
}

void TimeframeScoreTest::sumAndReason()
{
    QFETCH(IndicatorReadings, given);
    const ScoreWithReason result = scoreReadings(given, 100);
    QTEST(result.score, "score");
    QTEST(result.reason, "reason");
}

void TimeframeScoreTest::fewerThanFiftyCandlesAreNotScored()
{
    const TimeframeSignal record =
        scoreTimeframe(u"4H"_s, candlesOf(49, [](int i) { return 100.0 + i; }), 1000);
    QCOMPARE(record.label, u"4H"_s);
    QCOMPARE(record.score, 0.0);
    QCOMPARE(record.signal, SignalType::neutral);
    QCOMPARE(record.reason, u"数据不足"_s);
    QCOMPARE(scoreTimeframe(u"4H"_s, {}, 1000).reason, u"数据不足"_s);
}

void TimeframeScoreTest::aFlatMarketLeansBearish()
{
    // At 64, a power of two, the averages are exact. Price on EMA50 -1, RSI of a flat series 100 so +1,
    // histogram 0 so -1, price on the VWAP -1.
    const auto flat = candlesOf(50, [](int) { return 64.0; });
    const TimeframeSignal record = scoreTimeframe(u"1H"_s, flat, 64);
    QCOMPARE(record.score, -2.0);
    QCOMPARE(record.signal, SignalType::bear);
    QCOMPARE(record.reason, u"跌破EMA50"_s);
    // Without volume there is no VWAP.
    QCOMPARE(scoreTimeframe(u"1H"_s,
                            candlesOf(
                                50, [](int) { return 64.0; }, 0),
                            64)
                 .score,
             -1.0);
    // From above: +1 +1 -1 +1.
    QCOMPARE(scoreTimeframe(u"1H"_s, flat, 65).score, 2.0);
}

void TimeframeScoreTest::anAcceleratingRiseIsTheMaximum()
{
    const auto rise = candlesOf(200, [](int i) { return 100 + 0.01 * i * i; });
    const TimeframeSignal record = scoreTimeframe(u"日线"_s, rise, rise.back().c);
    QCOMPARE(record.score, 5.0);
    QCOMPARE(record.signal, SignalType::strongBull);
    QCOMPARE(record.reason, u"均线多头"_s);
}

KESTRUNE_TEST(TimeframeScoreTest)

#include "tst_timeframescore.moc"
