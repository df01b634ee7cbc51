// SPDX-License-Identifier: MIT
#include "panelfixture.h"

#include "panel/addview.h"
#include "state/instruments.h"
#include "support/eventloop.h"
#include "support/testregistry.h"
#include "ui/chip.h"
#include "ui/inputfield.h"

using namespace kestrune;
using namespace kestrune::test;

/// The chips and the sheet that adds to them.
class PanelInstrumentsTest : public QObject
{
    Q_OBJECT

    inline static const QString tickers = u"/api/v4/futures/usdt/tickers"_s;
    inline static const QString searching = u"/s3/"_s;

    struct Instruments : Shown
    {
        Instruments()
        {
            for (const QString &code : {u"sh601988"_s, u"hk00388"_s})
                stock.failAlways(u"/q="_s + code);
        }
        [[nodiscard]] QString list() const { return state->symbolList().join(u' '); }
        [[nodiscard]] AddView *sheet() const { return view->findChild<AddView *>(); }
        [[nodiscard]] bool isOpen() const { return sheet() && sheet()->isVisible(); }
        void open()
        {
            QTest::keyClick(find(u"1H"_s) ? find(u"1H"_s) : find(u"日线"_s), Qt::Key_Slash);
            QVERIFY(isOpen());
        }
        void type(const QString &text)
        {
            field(u"查找标的"_s)->clear();
            QTest::keyClicks(field(u"查找标的"_s), text);
        }
        void keyInSheet(Qt::Key key)
        {
            QTest::keyClick(field(u"查找标的"_s), key);
            drainEvents();
        }
        void searchIn(const QString &market) const
        {
            for (Chip *chip : sheet()->findChildren<Chip *>()) {
                if (chip->text() == market)
                    chip->click();
            }
            drainEvents();
        }
    };

private Q_SLOTS:
    void keysGoThroughTheChips()
    {
        Instruments panel;
        const auto selected = [&](Qt::Key key, const QString &from) {
            panel.find(from)->setFocus(Qt::TabFocusReason);
            panel.key(key);
            return panel.state->coinSymbol();
        };
        QCOMPARE(selected(Qt::Key_3, u"BTC"_s), u"SOL"_s);
        QCOMPARE(selected(Qt::Key_PageUp, u"BTC"_s), u"BTC"_s); // the area would scroll
        QCOMPARE(selected(Qt::Key_PageUp, u"1H"_s), u"ETH"_s);
        QCOMPARE(selected(Qt::Key_PageUp, u"1H"_s), u"ETH"_s); // no further
        QCOMPARE(selected(Qt::Key_PageDown, u"1H"_s), u"BTC"_s);
        QCOMPARE(selected(Qt::Key_3, u"目标价"_s), u"BTC"_s); // a field's own
        QCOMPARE(selected(Qt::Key_PageDown, u"目标价"_s), u"BTC"_s);
        QCOMPARE(panel.field(u"目标价"_s)->text(), u"3"_s);
    }

    void chipsCarryNamesAndTheSwitchIsInStep()
    {
        Instruments panel;
        panel.state->instruments().noteName(u"sh600519"_s, u"贵州茅台"_s);
        panel.press(u"A股"_s);
        QVERIFY(panel.find(u"贵州茅台 sh600519"_s) &&
                panel.find(u"贵州茅台 sh600519"_s)->toolTip() == u"sh600519");
        QVERIFY(panel.isChecked(u"贵州茅台 sh600519"_s) && panel.isChecked(u"A股"_s));
        QCOMPARE(panel.state->leverage(), 1.0);
    }

    void removingIsUndoneAndSaysWhatStays()
    {
        Instruments panel;
        panel.state->addAlert(4000);
        panel.state->addAlert(4100);
        const QString before = panel.list();
        QTest::keyClick(panel.find(u"ETH"_s), Qt::Key_Delete);
        drainEvents();
        QVERIFY(panel.state->coinSymbol() != u"ETH" && !panel.list().contains(u"ETH"));
        QVERIFY(waitFor([&] { return panel.find(u"撤销"_s); }));
        QVERIFY(panel.find(u"已移除 ETH，仍有 2 条提醒"_s));
        panel.press(u"撤销"_s);
        QVERIFY(panel.list() == before && panel.state->coinSymbol() == u"ETH");
        QTest::keyClick(panel.find(u"BTC"_s), Qt::Key_Left, Qt::AltModifier);
        drainEvents();
        QVERIFY(panel.list().startsWith(u"BTC ETH SOL"));
        for (qsizetype left = panel.state->symbolList().size(); left > 0; --left) {
            QTest::keyClick(panel.find(panel.state->symbolList().constLast()), Qt::Key_Delete);
            drainEvents();
        }
        QVERIFY(panel.list() == u"BTC" && panel.find(u"每个市场至少保留一个标的"_s));
    }

    void theSheetFindsAddsAndSelects()
    {
        Instruments panel;
        panel.crypto.answerAlways(tickers, R"([{"contract":"BTC_USDT","last":"90000","volume_24h_quote":"99"},
            {"contract":"PEPE_USDT","last":"0.00001","volume_24h_quote":"9"},
            {"contract":"PEPE2_USDT","last":"0.00001","volume_24h_quote":"8"}])");
        panel.open();
        panel.type(u"pepe"_s);
        panel.keyInSheet(Qt::Key_Return); // at once: it waits for the results of this text
        QVERIFY(waitFor([&] { return panel.state->coinSymbol() == u"PEPE"_s; }));
        QVERIFY(panel.list().endsWith(u" PEPE") && !panel.isOpen());
        panel.open();
        panel.type(u"pe"_s);
        QVERIFY(waitFor([&] { return panel.find(u"PEPE，已添加"_s); }));
        QVERIFY(panel.isChecked(u"PEPE，已添加"_s) && !panel.find(u"BTC，已添加"_s));
        panel.keyInSheet(Qt::Key_Down);
        QCOMPARE(panel.field(u"查找标的"_s)->accessibleDescription(), u"PEPE2"_s);
        panel.keyInSheet(Qt::Key_Escape);
        QVERIFY(!panel.isOpen() && panel.view->isVisible());
        KESTRUNE_VERIFY_APP(panel);
    }

    void overtakenAnswersAreDroppedAndCodesAreTaken()
    {
        Instruments panel;
        panel.crypto.failAlways(tickers);
        panel.open();
        panel.searchIn(u"A股"_s);
        panel.stock.hold(searching);
        panel.type(u"zg"_s);
        QVERIFY(waitFor([&] { return panel.stock.openCount() == 1; }));
        panel.stock.answer(searching, "v_hint=\"sh~601988~\\u4e2d\\u56fd\\u94f6\\u884c~zgyh~GP-A\";");
        panel.type(u"zgyh"_s);
        QVERIFY(waitFor([&] { return panel.find(u"中国银行 sh601988"_s); }));
        panel.stock.release(searching, "v_hint=\"N\";");
        drainEvents();
        panel.press(u"中国银行 sh601988"_s);
        QVERIFY(panel.state->market() == MarketSegment::cn && panel.state->coinSymbol() == u"sh601988");
        QVERIFY(panel.find(u"中国银行 sh601988"_s)); // the chip

        panel.open();
        panel.searchIn(u"港股"_s);
        panel.stock.failAlways(searching);
        panel.type(u"388"_s);
        QVERIFY(waitFor([&] { return panel.find(u"搜索失败，可直接输入代码"_s); }));
        panel.type(u"00388"_s);
        panel.stock.answer(u"/q=hk00388"_s, stockQuotes({{"hk00388", "X", 50}}));
        panel.keyInSheet(Qt::Key_Return);
        QVERIFY(waitFor([&] { return panel.state->coinSymbol() == u"hk00388"_s; }));
        QVERIFY(panel.state->market() == MarketSegment::hk && panel.list().endsWith(u" hk00388"));
    }
};

KESTRUNE_TEST(PanelInstrumentsTest)
#include "tst_panelinstruments.moc"
