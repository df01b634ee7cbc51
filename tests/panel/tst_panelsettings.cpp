// SPDX-License-Identifier: MIT
#include "ui/chip.h"
#include "ui/inputfield.h"
#include "ui/textlabel.h"
#include "panelfixture.h"
#include "support/testregistry.h"

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

/// A shown panel with its settings unfolded.
class Settings : public Shown
{
public:
    Settings()
    {
        view->hide();
        view->setSettingsExpanded(true); // unseen: at once
        view->show();
        settle();
    }

    /// Types into a field, submits, and gives what it shows then.
    QString enter(const QString &name, const QString &text)
    {
        InputField *input = field(name);
        if (!input)
            return u"no such field"_s;
        input->selectAll();
        QTest::keyClick(input, Qt::Key_Backspace);
        QTest::keyClicks(input, text);
        QTest::keyClick(input, Qt::Key_Return);
        settle();
        return input->text();
    }
};

const QString threshold = u"买卖预警阈值 (%)"_s;
const QString range = u"显示范围 ±(%)"_s;
const QString perSide = u"每侧最多(个)"_s;
const QString account = u"账户总额"_s;
const QString risk = u"单笔最多亏 (%)"_s;
const QString leverage = u"开单杠杆 (x)"_s;

} // namespace

class PanelSettingsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void fieldsTakeNumbersAndSpellThemBack_data();
    void fieldsTakeNumbersAndSpellThemBack();
    void steppersStayWithinTheLimits_data();
    void steppersStayWithinTheLimits();
    void fieldsAreFilledWhenTheyAppear();
    void segmentsChangeEverythingThatDependsOnThem();
    void stocksHaveNoLeverageAndNoMargin();
    void fieldsStayInPlaceWhileThePlanGrows();
    void theMarketContextUnfoldsAndRemembers();
};

void PanelSettingsTest::fieldsTakeNumbersAndSpellThemBack_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<double>("stored");
    QTest::newRow("a threshold above the limit") << threshold << u"25"_s << u"20.0"_s << 20.0;
    QTest::newRow("a threshold keeps its decimals inside") << threshold << u"3.26"_s << u"3.3"_s << 3.26;
    QTest::newRow("an endless range") << range << u"inf"_s << u"12"_s << 12.0;
    QTest::newRow("a fraction of a zone") << perSide << u"3.5"_s << u"5"_s << 5.0;
    QTest::newRow("a huge count") << perSide << u"99999999999"_s << u"10"_s << 10.0;
    QTest::newRow("an account that is no number") << account << u"x"_s << u"x"_s << 0.0;
    QTest::newRow("a risk without limit") << risk << u"150"_s << u"150"_s << 150.0;
    QTest::newRow("a leverage below one") << leverage << u"0.5"_s << u"10"_s << 10.0;
    QTest::newRow("a leverage above the limit stays as typed") << leverage << u"200"_s << u"200"_s << 125.0;
}

void PanelSettingsTest::fieldsTakeNumbersAndSpellThemBack()
{
    QFETCH(QString, name);
    QFETCH(QString, typed);
    QFETCH(QString, shown);
    QFETCH(double, stored);
    Settings fixture;
    fixture.state->accountSize = 77;
    QCOMPARE(fixture.enter(name, typed), shown);
    const AppState &state = *fixture.state;
    const std::map<QString, double> values{
        {threshold, state.signalThreshold()}, {range, state.displayRangePct()}, {perSide, state.maxPerSide()},
        {account, state.accountSize()},       {risk, state.riskPctPerTrade()},  {leverage, state.leverage()},
    };
    QCOMPARE(values.at(name), stored);
}

void PanelSettingsTest::steppersStayWithinTheLimits_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("down");
    QTest::addColumn<QString>("up");
    QTest::newRow("threshold at its lowest") << threshold << u"0.5"_s << u"0.5"_s << u"1.0"_s;
    QTest::newRow("range at its lowest") << range << u"2"_s << u"2"_s << u"3"_s;
    QTest::newRow("range at its highest") << range << u"30"_s << u"29"_s << u"30"_s;
    QTest::newRow("count at its lowest") << perSide << u"1"_s << u"1"_s << u"2"_s;
}

void PanelSettingsTest::steppersStayWithinTheLimits()
{
    QFETCH(QString, name);
    QFETCH(QString, start);
    QFETCH(QString, down);
    QFETCH(QString, up);
    Settings fixture;
    QCOMPARE(fixture.enter(name, start), start);
    fixture.click(name + u" 减小"_s);
    QCOMPARE(fixture.field(name)->text(), down);
    fixture.enter(name, start);
    fixture.field(name)->setText(u"half typed"_s); // a step counts from what is set
    fixture.click(name + u" 增大"_s);
    QCOMPARE(fixture.field(name)->text(), up);
}

void PanelSettingsTest::fieldsAreFilledWhenTheyAppear()
{
    Settings fixture;
    QVERIFY(fixture.texts().contains(u"距买点 1.12% · 距卖点 2.07%"_s));
    QCOMPARE(fixture.field(threshold)->text(), u"2.5"_s);
    QVERIFY(fixture.field(account)->text().isEmpty());
    QCOMPARE(fixture.field(account)->placeholderText(), u"未设置"_s);
    fixture.field(risk)->setText(u"half typed"_s);
    fixture.tick(3500);
    fixture.settle();
    QCOMPARE(fixture.field(risk)->text(), u"half typed"_s); // a tick takes nothing away
    fixture.state->accountSize = 5000;
    fixture.view->hide();
    fixture.view->show();
    QCOMPARE(fixture.field(risk)->text(), u"1.0"_s);
    QCOMPARE(fixture.field(account)->text(), u"5000"_s);
    fixture.click(u"设置"_s);
    QTRY_VERIFY(!fixture.field(account));
    fixture.state->accountSize = 0;
    fixture.click(u"设置"_s);
    QVERIFY(fixture.field(account)->text().isEmpty());
}

void PanelSettingsTest::segmentsChangeEverythingThatDependsOnThem()
{
    Settings fixture;
    fixture.state->selectedZonePrice = 3418;
    fixture.state->selectedZoneType = u"support"_s;
    fixture.settle();
    fixture.announcements.clear();
    fixture.click(u"A股"_s);
    QCOMPARE(fixture.announcements.mid(0, 3),
             (QStringList{u"selectedZonePrice"_s, u"selectedZoneType"_s, u"market"_s}));
    QCOMPARE(fixture.state->market(), MarketSegment::cn);
    QVERIFY(!fixture.state->selectedZonePrice());
    QCOMPARE(fixture.state->leverage(), 1.0);
    QVERIFY(fixture.button(u"A股"_s)->isChecked() && fixture.button(u"周线"_s));
    QCOMPARE(fixture.texts().value(0), u"600519 · A股"_s);
    fixture.click(u"加密"_s);
    QCOMPARE(fixture.field(leverage)->text(), u"1"_s); // switching back restores nothing
}

void PanelSettingsTest::stocksHaveNoLeverageAndNoMargin()
{
    Settings fixture;
    QVERIFY(fixture.field(leverage));
    fixture.click(u"全仓"_s);
    QCOMPARE(fixture.state->marginMode(), MarginMode::cross);
    QVERIFY(fixture.button(u"全仓"_s)->isChecked() && !fixture.button(u"逐仓"_s)->isChecked());
    fixture.click(u"极简模式（状态栏只显示价格数字）"_s);
    QVERIFY(fixture.state->miniMode());
    fixture.state->market = MarketSegment::hk;
    fixture.settle();
    QVERIFY(!fixture.field(leverage) && !fixture.button(u"全仓"_s));
    const auto labels = fixture.shown<TextLabel>();
    for (const QString &text : {u"股票市场不能做空，固定 1x（现货）"_s, u"股票现货无保证金模式"_s}) {
        const auto note = std::ranges::find(labels, text, &TextLabel::text);
        QVERIFY(note != labels.end());
        QCOMPARE((*note)->geometry().center().y(), (*note)->parentWidget()->rect().center().y());
    }
    QVERIFY(
        fixture.texts().contains(u"股票市场固定 1x（现货）。填了账户额，开单助手按止损距离算出建议仓位。"_s));
}

// The banner above grows by the suggested position and shrinks again.
void PanelSettingsTest::fieldsStayInPlaceWhileThePlanGrows()
{
    Settings fixture;
    fixture.scrollBar()->setValue(fixture.scrollBar()->maximum());
    const int banner = fixture.banner()->height();
    const auto place = [&] { return fixture.field(account)->mapTo(fixture.view.get(), QPoint(0, 0)).y(); };
    const int before = place();
    fixture.enter(account, u"10000"_s);
    QVERIFY(fixture.banner()->height() > banner);
    QCOMPARE(place(), before);
    fixture.enter(account, u""_s);
    QCOMPARE(fixture.banner()->height(), banner);
    QCOMPARE(place(), before);
}

void PanelSettingsTest::theMarketContextUnfoldsAndRemembers()
{
    Settings fixture;
    QVERIFY(!fixture.texts().contains(u"RSI(14)"_s));
    fixture.click(u"市场背景"_s);
    QVERIFY(fixture.state->marketContextExpanded());
    QTRY_VERIFY(fixture.texts().contains(u"VWAP"_s));
    const QStringList texts = fixture.texts();
    for (const QString &text : {u"趋势"_s, u"61.2 中性"_s, u"多头（柱为正）"_s, u"ATR(14) 止损参考"_s,
                                fixture.state->atrText(), u"VWAP"_s, u"3,429"_s})
        QVERIFY2(texts.contains(text), qPrintable(text));
    fixture.state->ctxVWAP = std::nullopt;
    fixture.settle();
    QVERIFY(!fixture.texts().contains(u"VWAP"_s));
}

KESTRUNE_TEST(PanelSettingsTest)
#include "tst_panelsettings.moc"
