// SPDX-License-Identifier: MIT
#include "viewmodel/zonelisting.h"
#include "viewmodel/paneltexts.h"
#include "viewmodel/planbannermodel.h"

#include "panel/tones.h"
#include "viewmodel/settingsinput.h"
#include "support/testregistry.h"
#include "zonebuilder.h"

#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

TradePlan planOf(PlanGrade grade, TradeDirection dir)
{
    TradePlan plan{};
    plan.grade = grade;
    plan.dir = dir;
    return plan;
}

TimeframeSignal signalOf(SignalType type)
{
    return {u"4H"_s, 0, type, u"均线多头"_s};
}

std::vector<double> mids(const std::vector<Zone> &zones)
{
    std::vector<double> result;
    for (const Zone &zone : zones)
        result.push_back(zone.mid);
    return result;
}

} // namespace

class PanelModelTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void listedZonesAreTheBestOnesNearThePrice();
    void listedZonesKeepTheirOrderAmongEquals();
    void rowsAreMatchedByLevelThenByPlace();
    void changeKeepsItsSign();
    void updateTimeIsLocal();
    void bullishIsRedAndBearishIsGreen();
    void planLinesPutWarningsApart_data();
    void planLinesPutWarningsApart();
    void composedTexts();
    void acceptedValues_data();
    void acceptedValues();
};

void PanelModelTest::listedZonesAreTheBestOnesNearThePrice()
{
    const std::vector<Zone> zones{
        makeZone(u"resistance"_s, 101, 1, 1),  makeZone(u"resistance"_s, 102, 2, 3),
        makeZone(u"support"_s, 95, -5, 5),     makeZone(u"resistance"_s, 104, 4, 3),
        makeZone(u"resistance"_s, 103, 3, 2),  makeZone(u"current"_s, 100, 0, 9),
        makeZone(u"resistance"_s, 112, 12, 1), makeZone(u"resistance"_s, 112.1, 12.01, 9),
        makeZone(u"support"_s, 99, -1, 5),     makeZone(u"support"_s, 97, -3, 1),
    };
    // Of confirm 1, 3, 3, 2 the two threes, the farther of them on top.
    QCOMPARE(mids(listedZones(zones, u"resistance", 12, 2)), (std::vector<double>{104, 102}));
    // The range is inclusive; what lies beyond it does not count however strong it is.
    QCOMPARE(mids(listedZones(zones, u"resistance", 12, 9)), (std::vector<double>{112, 104, 103, 102, 101}));
    // Supports start at the price; the sign of the distance plays no part.
    QCOMPARE(mids(listedZones(zones, u"support", 12, 9)), (std::vector<double>{99, 97, 95}));
    QCOMPARE(mids(listedZones(zones, u"support", 12, 1)), (std::vector<double>{99}));
    QVERIFY(listedZones(zones, u"support", 12, 0).empty());
    QVERIFY(listedZones({}, u"support", 12, 5).empty());
}

void PanelModelTest::listedZonesKeepTheirOrderAmongEquals()
{
    const std::vector<Zone> zones{makeZone(u"support"_s, 1, -2, 1), makeZone(u"support"_s, 2, 2, 1),
                                  makeZone(u"support"_s, 3, -2, 1)};
    QCOMPARE(mids(listedZones(zones, u"support", 12, 2)), (std::vector<double>{1, 2}));
    QCOMPARE(mids(listedZones(zones, u"support", 12, 3)), (std::vector<double>{1, 2, 3}));
}

void PanelModelTest::rowsAreMatchedByLevelThenByPlace()
{
    using Matches = std::vector<std::optional<std::size_t>>;
    const auto zone = [](double mid, const char *type = "support") {
        return makeZone(QString::fromLatin1(type), mid);
    };
    const std::vector<Zone> shown{zone(1), zone(2), zone(3)};
    QCOMPARE(matchRows(shown, std::vector<Zone>{zone(1), zone(2), zone(3)}), (Matches{0, 1, 2}));
    QCOMPARE(matchRows(shown, std::vector<Zone>{zone(3), zone(1)}), (Matches{2, 0})); // moved and gone
    QCOMPARE(matchRows(shown, std::vector<Zone>{zone(1), zone(9), zone(3)}),
             (Matches{0, 1, 2})); // same place
    QCOMPARE(matchRows(shown, std::vector<Zone>{zone(9), zone(1), zone(2), zone(3)}),
             (Matches{std::nullopt, 0, 1, 2})); // the place is taken by its own level
    QCOMPARE(matchRows(shown, std::vector<Zone>{zone(1, "resistance")}), (Matches{std::nullopt}));
    QCOMPARE(matchRows(std::vector<Zone>{zone(1), zone(1)}, std::vector<Zone>{zone(1), zone(1)}),
             (Matches{0, 1})); // each row once
}

void PanelModelTest::changeKeepsItsSign()
{
    QCOMPARE(changeText(2.345), u"▲ 2.35%"_s); // the binary value lies above the half
    QCOMPARE(changeText(0), u"▲ 0.00%"_s);
    QCOMPARE(changeText(-0.001), u"▼ -0.00%"_s); // too small to show
    QCOMPARE(changeTone(0), Tone::green);
    QCOMPARE(changeTone(-0.001), Tone::red);
    QCOMPARE(changeTone(std::nullopt), Tone::green);
}

void PanelModelTest::updateTimeIsLocal()
{
    const QByteArray zone = qgetenv("TZ");
    qputenv("TZ", "Asia/Shanghai");
    tzset();
    const Instant instant{std::chrono::seconds(1767601805) + std::chrono::milliseconds(999)};
    const QString shanghai = updateText(instant);
    qputenv("TZ", zone);
    tzset();
    QCOMPARE(shanghai, u"更新 16:30:05"_s);
}

// Deliberately the other way round than the change of the price, whose rise is green.
void PanelModelTest::bullishIsRedAndBearishIsGreen()
{
    const std::vector<std::pair<SignalType, Tone>> tones{{SignalType::strongBull, Tone::red},
                                                         {SignalType::neutral, Tone::orange},
                                                         {SignalType::bear, Tone::green}};
    for (const auto &[signal, tone] : tones) {
        // The last signal alone decides about the conclusion.
        const std::vector<TimeframeSignal> snapshot{signalOf(SignalType::bull), signalOf(SignalType::bear),
                                                    signalOf(signal)};
        QCOMPARE(conclusionTone(snapshot), tone);
    }
    QCOMPARE(conclusionTone({}), Tone::secondary);
    QCOMPARE(planTone(planOf(PlanGrade::good, TradeDirection::long_)), Tone::red);
    QCOMPARE(planTone(planOf(PlanGrade::good, TradeDirection::short_)), Tone::green);
    QCOMPARE(planTone(planOf(PlanGrade::fair, TradeDirection::long_)), Tone::orange);
}

void PanelModelTest::planLinesPutWarningsApart_data()
{
    QTest::addColumn<QStringList>("texts"); // position, tip, session; null for none
    QTest::addColumn<QStringList>("lines"); // warnings behind a "!"
    QTest::newRow("position, tip and session in this order")
        << QStringList{u"建议仓位 5,000"_s, u"顺大势"_s, u"周末流动性低"_s}
        << QStringList{u"建议仓位 5,000"_s, u"顺大势"_s, u"!周末流动性低"_s};
    QTest::newRow("a tip that is a warning")
        << QStringList{{}, u"⚠️ 逐仓 20x 杠杆会先被强平，建议降到 15x"_s, {}}
        << QStringList{u"!逐仓 20x 杠杆会先被强平，建议降到 15x"_s};
    QTest::newRow("a warning behind the position")
        << QStringList{u"建议仓位 5,000 · 逐仓 50x 保证金 100（亏了只亏 100） · ⚠️ 杠杆偏高"_s,
                       u"顺大势"_s,
                       {}}
        << QStringList{u"建议仓位 5,000 · 逐仓 50x 保证金 100（亏了只亏 100）"_s, u"!杠杆偏高"_s,
                       u"顺大势"_s};
}

void PanelModelTest::planLinesPutWarningsApart()
{
    QFETCH(QStringList, texts);
    QFETCH(QStringList, lines);
    const auto given = [&](qsizetype i) {
        return texts[i].isNull() ? std::nullopt : std::optional(texts[i]);
    };
    TradePlan plan = planOf(PlanGrade::good, TradeDirection::long_);
    plan.positionText = given(0);
    plan.tip = texts[1];
    plan.sessionText = given(2);
    QStringList shown;
    for (const PlanLine &line : planLines(plan))
        shown.append((line.isWarning ? u"!"_s : QString()) + line.text);
    QCOMPARE(shown, lines);
}

void PanelModelTest::composedTexts()
{
    QCOMPARE(pickedZoneTitle(1234.5, u"support", 1), u"支撑 1,234.5 · 做多"_s);
    QCOMPARE(signalTip(signalOf(SignalType::bull)), u"4H：均线多头"_s);
    QCOMPARE(distancesText(1.2, std::nullopt), u"暂无撑压数据"_s);
    QCOMPARE(marketNotice(true, std::nullopt), u"演示行情"_s);
    QCOMPARE(marketNotice(false, u"http://127.0.0.1:8080/prefix"_s), u"行情服务器 127.0.0.1"_s);
    QVERIFY(marketNotice(false, std::nullopt).isEmpty());
}

void PanelModelTest::acceptedValues_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("risk");     // -1 where rejected
    QTest::addColumn<double>("leverage"); // -1 where rejected
    QTest::addColumn<double>("account");
    QTest::addColumn<double>("alert"); // -1 where rejected
    QTest::newRow("exactly one") << u"1"_s << 1.0 << 1.0 << 1.0 << 1.0;
    QTest::newRow("more than the highest leverage") << u"200"_s << 200.0 << 125.0 << 200.0 << 200.0;
    QTest::newRow("zero") << u"0"_s << -1.0 << -1.0 << 0.0 << -1.0;
    QTest::newRow("negative") << u"-5"_s << -1.0 << -1.0 << -5.0 << -1.0;
    QTest::newRow("grouped") << u"12,000"_s << -1.0 << -1.0 << 12000.0 << -1.0;
    QTest::newRow("an exponent") << u"1e2"_s << 100.0 << 100.0 << 100.0 << 100.0;
    QTest::newRow("another base") << u"0x10"_s << -1.0 << -1.0 << 0.0 << -1.0;
    QTest::newRow("beyond all doubles") << u"1e999"_s << -1.0 << -1.0 << 0.0 << -1.0;
    QTest::newRow("infinite") << u"inf"_s << -1.0 << -1.0 << 0.0 << -1.0;
}

void PanelModelTest::acceptedValues()
{
    QFETCH(QString, text);
    QTEST(acceptedRisk(text).value_or(-1), "risk");
    QTEST(acceptedLeverage(text).value_or(-1), "leverage");
    QTEST(accountFromText(text), "account");
    QTEST(acceptedAlertPrice(text).value_or(-1), "alert");
}

KESTRUNE_TEST(PanelModelTest)
#include "tst_panelmodel.moc"
