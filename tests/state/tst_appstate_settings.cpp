// SPDX-License-Identifier: MIT
#include "marketday.h"
#include "support/rows.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class AppStateSettingsTest : public QObject
{
    Q_OBJECT

    static QJsonObject storedAlert()
    {
        return {{u"id"_s, u"A1"_s},      {u"targetPrice"_s, 105}, {u"above"_s, true},
                {u"symbol"_s, u"ETH"_s}, {u"label"_s, u"l"_s},    {u"triggered"_s, true},
                {u"lastFiredAt"_s, 5.0}};
    }

private Q_SLOTS:
    void aFreshInstallationWritesThreeSettingsAndItsFlag()
    {
        AppFixture app(AppFixture::Launch::first);
        app.serveCrypto(3000);
        app.create();
        QCOMPARE(app.preferences.writes(),
                 (QStringList{u"ks_mini=false"_s, u"ks_tf=日线"_s, u"ks_ctx_expanded=false"_s,
                              u"ks_has_launched_v2=true"_s}));
        QVERIFY(app.lines().isEmpty()); // the first refresh begins on a later turn
        app.clock.advance(799ms);
        QVERIFY(app.attention.dialogs.empty());
        app.clock.advance(1ms);
        const auto dialog = app.attention.dialogs.at(0);
        QCOMPARE(dialog.title, u"Kestrune Bar 已启动"_s);
        QCOMPARE(dialog.text, u"这是一个菜单栏应用，没有 Dock 图标。\n\n"
                              u"请查看屏幕右上角菜单栏，点击价格数字即可展开撑压面板。\n\n"
                              u"如果状态栏图标被折叠，可点击菜单栏最左侧的 ⌃ 展开。"_s);
        QCOMPARE(dialog.button, u"知道了"_s);
        app.create(); // the next run knows
        app.clock.advance(2s);
        QCOMPARE(app.attention.dialogs.size(), 1U);
    }

    void everythingStoredComesBackInItsOrderAndIsWrittenBack()
    {
        AppFixture app; // 4 per side was an earlier default and is read as today's
        const QJsonObject stored{{u"ks_coin"_s, u"hk00700"_s},
                                 {u"ks_mini"_s, true},
                                 {u"ks_market"_s, u"港股"_s},
                                 {u"ks_tf"_s, u"周线"_s},
                                 {u"ks_leverage"_s, 0.5},
                                 {u"ks_signal_threshold"_s, 1.5},
                                 {u"ks_risk_pct"_s, 2},
                                 {u"ks_disp_range"_s, 8},
                                 {u"ks_account_size"_s, 1000.5},
                                 {u"ks_disp_maxside"_s, 4},
                                 {u"ks_ctx_expanded"_s, true},
                                 {u"ks_margin_mode"_s, u"全仓"_s},
                                 {u"ks_alerts"_s, QJsonArray{storedAlert()}}};
        for (const QString &key : stored.keys())
            app.preferences.preset(key, stored.value(key));
        const AppState &state = app.create();
        QCOMPARE(app.preferences.writes().join(u' '),
                 u"ks_mini=true ks_market=港股 ks_tf=周线 ks_signal_threshold=1.5 ks_disp_range=8 "
                 u"ks_disp_maxside=5 ks_account_size=1000.5 ks_risk_pct=2 ks_leverage=0.5 "
                 u"ks_margin_mode=全仓 ks_ctx_expanded=true"_s);
        QCOMPARE(state.coinSymbol(), u"hk00700"_s);
        QCOMPARE(state.maxPerSide(), 5);
        QCOMPARE(state.marginMode(), MarginMode::cross);
        QCOMPARE(state.alerts(), (std::vector{PriceAlert{u"A1"_s, 105, true, u"ETH"_s, u"l"_s, true, 5.0}}));
        QCOMPARE(state.symbolList(), state.hkList);
        QCOMPARE(state.tick(), 0.01);
    }

    void unusableEntriesAreIgnoredOneByOne()
    {
        const struct
        {
            const char *name;
            QString key;
            QJsonValue entry;
        } rows[] = {
            {"a number for the coin", u"ks_coin"_s, 5},
            {"a text for the mini mode", u"ks_mini"_s, u"true"_s},
            {"an unknown segment", u"ks_market"_s, u"HK"_s},
            {"a text for the threshold", u"ks_signal_threshold"_s, u"2"_s},
            {"a fraction of zones per side", u"ks_disp_maxside"_s, 6.5},
            {"a leverage of nothing", u"ks_leverage"_s, 0},
            {"a negative leverage", u"ks_leverage"_s, -3.5},
            {"an unknown margin mode", u"ks_margin_mode"_s, u"cross"_s},
            {"a number for the neon mode", u"ks_bling"_s, 1},
            {"a bare text for the alerts", u"ks_alerts"_s, u"[]"_s},
            {"alerts of which one lacks its id", u"ks_alerts"_s, QJsonArray{storedAlert(), QJsonObject()}},
        };
        forEachRow(rows, [](const auto &row) {
            AppFixture app;
            app.preferences.preset(row.key, row.entry);
            app.preferences.preset(u"ks_risk_pct"_s, 3); // a good neighbour is not lost
            const AppState &state = app.create();
            QCOMPARE(app.preferences.writes().join(u' '),
                     u"ks_mini=false ks_tf=日线 ks_risk_pct=3 ks_ctx_expanded=false"_s);
            QCOMPARE(state.coinSymbol(), u"ETH"_s);
            QCOMPARE(state.leverage(), 10.0);
            QVERIFY(state.alerts().empty() && !state.blingMode());
        });
    }

    void theTimeframeMustBelongToTheSegment()
    {
        const QStringList rows[] = {{u"港股"_s, u"4H"_s, u"日线"_s},
                                    {u"A股"_s, u"月线"_s, u"月线"_s},
                                    {u"加密"_s, u"周线"_s, u"1H"_s},
                                    {u"加密"_s, u"4h"_s, u"1H"_s}};
        for (const QStringList &row : rows) {
            AppFixture app;
            app.preferences.preset(u"ks_market"_s, row[0]);
            app.preferences.preset(u"ks_tf"_s, row[1]);
            QCOMPARE(app.create().timeframe(), row[2]);
        }
    }

    void alertsStayStoredInWhateverFormUntilTheNextChange()
    {
        const QString text = QString::fromUtf8(QJsonDocument(QJsonArray{storedAlert()}).toJson());
        const QJsonValue broken = QJsonArray{QJsonObject()};
        for (const QJsonValue &stored : {QJsonValue(QJsonObject{{u"utf8"_s, text}}), broken}) {
            AppFixture app;
            app.serveCrypto(106);
            app.preferences.preset(u"ks_alerts"_s, stored);
            AppState &state = app.start();
            QCOMPARE(state.alerts().size(), stored == broken ? 0U : 1U);
            QCOMPARE(app.preferences.json(u"ks_alerts"_s), stored);
            state.removeAlert(u"unknown"_s); // changes nothing but saves
            QCOMPARE(app.preferences.json(u"ks_alerts"_s),
                     stored == broken ? QJsonArray() : QJsonArray{storedAlert()});
            QCOMPARE(app.preferences.writes().size(), 1);
        }
    }

    void settingsStoreThemselvesUnchecked()
    {
        MarketDay app;
        AppState &state = *app.state;
        state.signalThreshold = -1;
        state.displayRangePct = 20;
        state.maxPerSide = 4;
        state.accountSize = 5000;
        state.riskPctPerTrade = 0.5;
        state.leverage = 0;
        state.marginMode = MarginMode::cross;
        state.marketContextExpanded = true;
        state.miniMode = true;
        state.miniMode = true;
        state.selectedZonePrice = 5.0;
        state.coinSymbol = u"BTC"_s; // stored by the selection only
        QCOMPARE(app.preferences.writes().join(u' '),
                 u"ks_signal_threshold=-1 ks_disp_range=20 ks_disp_maxside=4 ks_account_size=5000 "
                 u"ks_risk_pct=0.5 ks_leverage=0 ks_margin_mode=全仓 ks_ctx_expanded=true ks_mini=true "
                 u"ks_mini=true"_s);
    }

    void theNeonModeAtStartUpDoublesItsActions()
    {
        AppFixture app;
        app.serveCrypto(3000);
        app.preferences.preset(u"ks_bling"_s, true);
        app.preferences.preset(u"ks_mini"_s, true);
        AppState &state = app.create();
        QCOMPARE(app.preferences.writes().join(u' '),
                 u"ks_mini=true ks_tf=日线 ks_ctx_expanded=false ks_bling=true ks_mini=false"_s);
        QCOMPARE(state.multiPrices().size(), 8U);
        QVERIFY(state.blingMode() && !state.miniMode() && app.lines().isEmpty());
        drainEvents();
        QCOMPARE(app.crypto.lines().filter(u"tickers"_s).size(), 17);
        QCOMPARE(app.crypto.lines().at(16), gateTickerLine(u"ETH"_s)); // the full refresh comes after
        QCOMPARE(app.clock.sleeperCount(), 4); // one of each loop: price, zones, neon prices, neon pulse
        app.clock.advance(4999ms);
        QCOMPARE(state.blingPulse(), 33);
    }
};

KESTRUNE_TEST(AppStateSettingsTest)
#include "tst_appstate_settings.moc"
