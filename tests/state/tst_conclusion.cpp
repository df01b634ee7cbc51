// SPDX-License-Identifier: MIT
#include "state/conclusion.h"
#include "support/testregistry.h"

#include <QTest>

#include <array>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

constexpr std::array allSignals{SignalType::strongBull, SignalType::bull, SignalType::neutral,
                                SignalType::bear, SignalType::strongBear};

TimeframeSignal record(const QString &label, SignalType signal)
{
    return {label, 0, signal, u"—"_s};
}

std::size_t lean(SignalType signal)
{
    return isBull(signal) ? 0 : isBear(signal) ? 2 : 1;
}

/// Answers written out by hand, one letter each: by long signal, then short signal (bull, neutral, bear) and
/// middle signal (bull, neutral, bear).
constexpr std::array<std::array<const char *, 3>, 5> answers{{
    {"R.P", "..P", "PPP"}, // strong bull
    {"S.P", "..P", "PPP"}, // bull
    {"^^^", "???", "vvv"}, // neutral
    {"BBB", "B..", "B.s"}, // bear
    {"BBB", "B..", "B.r"}, // strong bear
}};

QString text(char letter)
{
    switch (letter) {
    case 'R':
        return u"多周期共振看涨 · 偏多格局延续"_s;
    case 'r':
        return u"多周期共振看跌 · 偏空格局延续"_s;
    case 'S':
        return u"多周期同步偏多 · 短中长一致"_s;
    case 's':
        return u"多周期同步偏空 · 短中长一致"_s;
    case 'P':
        return u"日线偏多 · 短线有回调压力"_s;
    case 'B':
        return u"日线偏空 · 短线有反弹"_s;
    case '^':
        return u"短线反弹 · 日线方向不明"_s;
    case 'v':
        return u"短线回落 · 日线方向不明"_s;
    case '?':
        return u"日线方向不明 · 建议观望"_s;
    case '.':
        return u"多空拉锯 · 方向待确认"_s;
    default:
        qFatal("unknown letter");
    }
}

} // namespace

class ConclusionTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyCombinationOfThreeSignals();
    void needsExactlyThreeRecords();
    void balanceOfBullsAndBears();
};

void ConclusionTest::everyCombinationOfThreeSignals()
{
    for (std::size_t third = 0; third < allSignals.size(); ++third) {
        for (const SignalType first : allSignals) {
            for (const SignalType second : allSignals) {
                const std::array records{record(u"1H"_s, first), record(u"4H"_s, second),
                                         record(u"日线"_s, allSignals[third])};
                QCOMPARE(buildConclusion(records), text(answers[third][lean(first)][lean(second)]));
            }
        }
    }
}

void ConclusionTest::needsExactlyThreeRecords()
{
    std::vector<TimeframeSignal> records;
    for (int count = 0; count <= 4; ++count) {
        QCOMPARE(buildConclusion(records) == u"数据加载中…"_s, count != 3);
        records.push_back(record(u"月线"_s, SignalType::neutral));
    }
    records.pop_back();
    records.pop_back();
    QCOMPARE(buildConclusion(records), u"月线方向不明 · 建议观望"_s);
}

void ConclusionTest::balanceOfBullsAndBears()
{
    const std::array records{record({}, SignalType::strongBull), record({}, SignalType::bull),
                             record({}, SignalType::neutral), record({}, SignalType::strongBear)};
    QCOMPARE(bullishBalance(records), 1);
    QCOMPARE(bullishBalance({}), 0);
}

KESTRUNE_TEST(ConclusionTest)

#include "tst_conclusion.moc"
