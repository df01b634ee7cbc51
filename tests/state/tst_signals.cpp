// SPDX-License-Identifier: MIT
#include "state/barsignal.h"
#include "state/conclusion.h"
#include "state/marginmode.h"
#include "state/timeframescore.h"
#include "support/testregistry.h"

#include <QTest>

#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

using namespace kestrune;
using namespace Qt::StringLiterals;

/// The score of a timeframe, the line over three of them, and the light of the bar.
class SignalsTest : public QObject
{
    Q_OBJECT

    using enum SignalType;
    static constexpr std::array allSignals{strongBull, bull, neutral, bear, strongBear};
    static constexpr double nan = std::numeric_limits<double>::quiet_NaN();

    template <typename Close>
    static std::vector<Candle> candlesOf(int count, Close close, double volume = 1)
    {
        std::vector<Candle> candles;
        candles.reserve(std::size_t(count));
        for (int i = 0; i < count; ++i)
            candles.push_back({i * qint64(3'600'000), close(i), close(i), close(i), close(i), volume});
        return candles;
    }

    static TimeframeSignal record(const QString &label, SignalType signal)
    {
        return {label, 0, signal, u"—"_s};
    }

    static std::vector<Zone> zonesAt(const QList<double> &supports, const QList<double> &resistances)
    {
        std::vector<Zone> zones;
        const auto add = [&](double distance, const QString &type) {
            zones.push_back({1, 1, 1, {}, distance, 1, false, type});
        };
        for (const double distance : resistances)
            add(distance, u"resistance"_s);
        for (const double distance : supports)
            add(distance, u"support"_s);
        add(0, u"current"_s);
        return zones;
    }

private Q_SLOTS:
    void bandsOfTheScore()
    {
        const std::pair<double, SignalType> rows[] = {
            {2.0, strongBull}, {std::nextafter(2.0, 0), bull},
            {0.5, bull},       {std::nextafter(0.5, 0), neutral},
            {-0.5, neutral},   {std::nextafter(-0.5, -1), bear},
            {-2.0, bear},      {std::nextafter(-2.0, -3), strongBear},
            {nan, strongBear},
        };
        for (const auto &[score, signal] : rows)
            QCOMPARE(signalTypeForScore(score), signal);
    }

    void textsReadBack()
    {
        for (const SignalType signal : allSignals)
            QCOMPARE(signalTypeFromRawValue(rawValue(signal)), signal);
        QCOMPARE(signalTypeFromRawValue(u"强空"), strongBear);
        QVERIFY(!signalTypeFromRawValue(u"强") && !signalTypeFromRawValue({}));
        QCOMPARE(marginModeFromRawValue(u"全仓"), MarginMode::cross);
        QVERIFY(!marginModeFromRawValue(u"cross"));
    }

    void sumAndReason()
    {
        // EMA50, EMA200, RSI, histogram and VWAP, seen from a price of 100.
        const auto score = [](const std::array<std::optional<double>, 5> &given) {
            IndicatorReadings readings;
            readings.ema50 = given[0];
            readings.ema200 = given[1];
            readings.rsi14 = given[2];
            if (given[3])
                readings.macd = MacdResult{-*given[3], 0, *given[3]};
            readings.vwap = given[4];
            readings.ema144 = readings.ema169 = readings.atr14 = 1; // no rule looks at these
            const ScoreWithReason result = scoreReadings(readings, 100);
            return u"%1 %2"_s.arg(result.score).arg(result.reason);
        };
        constexpr auto none = std::nullopt;
        QCOMPARE(score({}), u"0 —"_s);
        QCOMPARE(score({99, 98, 61, 1e-9, 99}), u"5 均线多头"_s);
        QCOMPARE(score({101, 102, 39, -1e-9, 101}), u"-5 均线空头"_s);
        QCOMPARE(score({98, 99}), u"1 站上EMA50"_s); // above both averages in the wrong order
        QCOMPARE(score({99, 99}), u"1 站上EMA50"_s); // averages equal
        QCOMPARE(score({101, 101}), u"-1 跌破EMA50"_s);
        QCOMPARE(score({102, 101}), u"-1 跌破EMA50"_s); // below both in the bullish order
        QCOMPARE(score({99}), u"1 站上EMA50"_s);        // no long average
        QCOMPARE(score({101}), u"-1 跌破EMA50"_s);
        QCOMPARE(score({100, 90}), u"-1 跌破EMA50"_s); // price on the short average
        QCOMPARE(score({none, 90}), u"0 —"_s);         // a long average alone says nothing
        QCOMPARE(score({none, none, 60}), u"0 —"_s);
        QCOMPARE(score({none, none, 40}), u"0 —"_s);
        QCOMPARE(score({none, none, 65, none, 101}), u"0 RSI偏强"_s); // RSI speaks without averages
        QCOMPARE(score({none, none, 39.9}), u"-1 RSI偏弱"_s);
        QCOMPARE(score({none, none, none, 0}), u"-1 MACD空头"_s); // a histogram of zero is bearish
        QCOMPARE(score({none, none, 50, 1}), u"1 MACD多头"_s);
        QCOMPARE(score({none, none, none, none, 100}), u"-1 价在VWAP下"_s); // price on the VWAP is bearish
        QCOMPARE(score({none, none, none, none, 99}), u"1 价在VWAP上"_s);
    }

    void scoreOfCandles()
    {
        const auto rising = [](int i) { return 100 + 0.01 * i * i; };
        const auto flat = [](int) { return 64.0; }; // a power of two, so that the averages are exact
        const auto score = [](const std::vector<Candle> &candles, double price) {
            const TimeframeSignal result = scoreTimeframe(u"4H"_s, candles, price);
            return u"%1 %2 %3 %4"_s.arg(result.label)
                .arg(result.score)
                .arg(rawValue(result.signal), result.reason);
        };
        QCOMPARE(score({}, 1000), u"4H 0 中性 数据不足"_s);
        QCOMPARE(score(candlesOf(49, rising), 1000), u"4H 0 中性 数据不足"_s);
        // On EMA50 -1, RSI of a flat series 100 so +1, histogram 0 so -1, on the VWAP -1.
        QCOMPARE(score(candlesOf(50, flat), 64), u"4H -2 偏空 跌破EMA50"_s);
        QCOMPARE(score(candlesOf(50, flat, 0), 64), u"4H -1 偏空 跌破EMA50"_s); // no volume, no VWAP
        QCOMPARE(score(candlesOf(50, flat), 65), u"4H 2 强多 站上EMA50"_s);     // +1 +1 -1 +1
        QCOMPARE(score(candlesOf(200, rising), rising(199)), u"4H 5 强多 均线多头"_s);
    }

    void conclusionOfEveryCombination()
    {
        const std::map<char, QString> texts{
            {'R', u"多周期共振看涨 · 偏多格局延续"_s}, {'r', u"多周期共振看跌 · 偏空格局延续"_s},
            {'S', u"多周期同步偏多 · 短中长一致"_s},   {'s', u"多周期同步偏空 · 短中长一致"_s},
            {'P', u"日线偏多 · 短线有回调压力"_s},     {'B', u"日线偏空 · 短线有反弹"_s},
            {'^', u"短线反弹 · 日线方向不明"_s},       {'v', u"短线回落 · 日线方向不明"_s},
            {'?', u"日线方向不明 · 建议观望"_s},       {'.', u"多空拉锯 · 方向待确认"_s},
        };
        // By the long signal, then the short and the middle one (each bull, neutral, bear).
        const std::array<std::array<const char *, 3>, 5> answers{{
            {"R.P", "..P", "PPP"}, // strong bull
            {"S.P", "..P", "PPP"}, // bull
            {"^^^", "???", "vvv"}, // neutral
            {"BBB", "B..", "B.s"}, // bear
            {"BBB", "B..", "B.r"}, // strong bear
        }};
        const auto lean = [](SignalType signal) { return isBull(signal) ? 0U : isBear(signal) ? 2U : 1U; };
        for (std::size_t third = 0; third < allSignals.size(); ++third) {
            for (const SignalType first : allSignals) {
                for (const SignalType second : allSignals) {
                    const std::array records{record(u"1H"_s, first), record(u"4H"_s, second),
                                             record(u"日线"_s, allSignals[third])};
                    QCOMPARE(buildConclusion(records), texts.at(answers[third][lean(first)][lean(second)]));
                }
            }
        }
    }

    void conclusionNeedsThreeRecords()
    {
        std::vector<TimeframeSignal> records;
        for (const bool three : {false, false, false, true, false}) {
            QCOMPARE(buildConclusion(records), three ? u"月线方向不明 · 建议观望"_s : u"数据加载中…"_s);
            records.push_back(record(u"月线"_s, neutral));
        }
        const std::array mostlyBullish{record({}, strongBull), record({}, bull), record({}, neutral),
                                       record({}, strongBear)};
        QCOMPARE(bullishBalance(mostlyBullish), 1);
    }

    void light()
    {
        const auto light = [](const QList<double> &supports, const QList<double> &resistances,
                              double threshold) {
            const std::vector<Zone> zones = zonesAt(supports, resistances);
            const auto distance = [&](QStringView type) {
                const auto nearest = nearestDistPct(zones, type);
                return nearest ? std::optional(std::abs(*nearest)) : std::nullopt;
            };
            return barSignal(distance(u"support"), distance(u"resistance"), threshold);
        };
        QCOMPARE(light({-3.1, -1.2}, {0.8, 4.0}, 2.5), BarSignal::sell); // the nearer side wins
        QCOMPARE(light({-1.0}, {1.0}, 2.5), BarSignal::buy);             // a tie goes to support
        QCOMPARE(light({-2.5}, {}, 2.5), BarSignal::buy);                // the threshold itself is near
        QCOMPARE(light({}, {3.0}, 3.0), BarSignal::sell);
        QCOMPARE(light({-9}, {3.0}, 2.5), BarSignal::neutral);
        QCOMPARE(light({}, {}, 1e308), BarSignal::neutral);
        QCOMPARE(light({nan}, {nan, 1}, 2.5), BarSignal::sell); // what is no number hides nothing

        // The nearest keeps its sign, and the earliest of equally near ones wins.
        const std::vector<Zone> zones = zonesAt({-3.1, -1.5, 1.5}, {});
        QCOMPARE(nearestDistPct(zones, u"support"), std::optional(-1.5));
        QCOMPARE(nearestDistPct(zones, u"resistance"), std::nullopt);
    }

    void textsOfEachLight()
    {
        const auto look = [](BarSignal signal) { return statusSymbol(signal) + u' ' + statusText(signal); };
        QCOMPARE(look(BarSignal::buy), u"chevron.down.circle.fill 接近支撑区 · 偏买入"_s);
        QCOMPARE(look(BarSignal::sell), u"chevron.up.circle.fill 接近阻力区 · 偏卖出"_s);
        QCOMPARE(look(BarSignal::neutral), u"circle.fill 中间区域 · 观望"_s);
        QCOMPARE(statusColor(BarSignal::buy), NamedColor::green);
        QCOMPARE(statusColor(BarSignal::sell), NamedColor::red);
        QCOMPARE(statusColor(BarSignal::neutral), NamedColor::secondary);
    }
};

KESTRUNE_TEST(SignalsTest)

#include "tst_signals.moc"
