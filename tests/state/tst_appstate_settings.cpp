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

    static QJsonObject object(const char *json) { return QJsonDocument::fromJson(json).object(); }
    /// As an earlier run would have left them.
    static void preset(AppFixture &app, const QJsonObject &settings)
    {
        for (const QString &key : settings.keys())
            app.preferences.preset(key, settings.value(key));
    }
    static QJsonObject storedAlert()
    {
        return object(R"({"id":"A1","targetPrice":105,"above":true,"symbol":"ETH","label":"l",
                          "triggered":true,"lastFiredAt":5})");
    }

private Q_SLOTS:
    void aFreshInstallationWritesThreeSettingsAndItsFlag()
    {
        AppFixture app(AppFixture::Launch::first);
        app.serveCrypto(3000);
        app.create();
        QCOMPARE(app.preferences.writes().join(u' '),
                 u"ks_mini=false ks_tf=日线 ks_ctx_expanded=false ks_has_launched_v2=true"_s);
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
        preset(app, object(R"({"ks_coin":"hk00700","ks_mini":true,"ks_market":"港股","ks_tf":"周线",
            "ks_signal_threshold":1.5,"ks_disp_range":8,"ks_disp_maxside":4,"ks_account_size":1000.5,
            "ks_risk_pct":2,"ks_leverage":0.5,"ks_margin_mode":"全仓","ks_ctx_expanded":true})"));
        app.preferences.preset(u"ks_alerts"_s, QJsonArray{storedAlert()});
        const AppState &state = app.create();
        QCOMPARE(app.preferences.writes().join(u' '),
                 u"ks_mini=true ks_market=港股 ks_tf=周线 ks_signal_threshold=1.5 ks_disp_range=8 "
                 u"ks_disp_maxside=5 ks_account_size=1000.5 ks_risk_pct=2 ks_leverage=0.5 "
                 u"ks_margin_mode=全仓 ks_ctx_expanded=true"_s);
        QCOMPARE(state.coinSymbol(), u"hk00700"_s);
        QCOMPARE(state.maxPerSide(), 5);
        QCOMPARE(state.marginMode(), MarginMode::cross);
        QCOMPARE(state.alerts(), (std::vector{PriceAlert{u"A1"_s, 105, true, u"ETH"_s, u"l"_s, true, 5.0}}));
    }

    void unusableEntriesAreIgnoredOneByOne()
    {
        const struct
        {
            const char *name, *settings;
        } rows[] = {
            {"a number for the coin", R"({"ks_coin":5})"},
            {"a text for the mini mode", R"({"ks_mini":"true"})"},
            {"an unknown segment", R"({"ks_market":"HK"})"},
            {"a text for the threshold", R"({"ks_signal_threshold":"2"})"},
            {"a fraction of zones per side", R"({"ks_disp_maxside":6.5})"},
            {"a leverage of nothing", R"({"ks_leverage":0})"},
            {"a negative leverage", R"({"ks_leverage":-3.5})"},
            {"an unknown margin mode", R"({"ks_margin_mode":"cross"})"},
            {"a number for the neon mode", R"({"ks_bling":1})"},
            {"a bare text for the alerts", R"({"ks_alerts":"[]"})"},
            {"alerts of which one lacks everything", R"({"ks_alerts":[{}]})"},
        };
        forEachRow(rows, [](const auto &row) {
            AppFixture app;
            preset(app, object(row.settings));
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
        const std::pair<const char *, QString> rows[] = {{R"({"ks_market":"港股","ks_tf":"4H"})", u"日线"_s},
                                                         {R"({"ks_market":"A股","ks_tf":"月线"})", u"月线"_s},
                                                         {R"({"ks_market":"加密","ks_tf":"周线"})", u"1H"_s},
                                                         {R"({"ks_tf":"4h"})", u"1H"_s}};
        for (const auto &[settings, restored] : rows) {
            AppFixture app;
            preset(app, object(settings));
            QCOMPARE(app.create().timeframe(), restored);
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
        app->signalThreshold = -1;
        app->maxPerSide = 4;
        app->leverage = 0;
        app->miniMode = true;
        app->miniMode = true;
        app->coinSymbol = u"BTC"_s; // stored by the selection only
        QCOMPARE(app.written(),
                 u"ks_signal_threshold=-1 ks_disp_maxside=4 ks_leverage=0 ks_mini=true ks_mini=true"_s);
    }

    void proxiesAreAppliedAtTheStartAndAtOnce()
    {
        AppFixture app;
        app.serveCrypto(3000);
        app.preferences.preset(u"ks_proxy_crypto"_s, u"socks5://[::1]:1080"_s);
        app.preferences.preset(u"ks_proxy_stock"_s, u"nonsense"_s);
        AppState &state = app.start();
        QCOMPARE(app.crypto.proxy.port(), 1080);
        QCOMPARE(app.stock.proxy, QNetworkProxy(QNetworkProxy::DefaultProxy));
        QVERIFY(state.proxyStock().isEmpty());
        app.crypto.answer(gateTickerLine(u"ETH"_s), "{}", 451);
        MarketDay::run(state.refreshPrice());
        QVERIFY(state.priceFailure.has_value());
        app.clearLogs();
        QVERIFY(!state.chooseProxy(&AppState::proxyCrypto, u"socks5://a"_s));
        QVERIFY(state.chooseProxy(&AppState::proxyCrypto, u" socks5://[::1]:1080 "_s)); // as it was
        drainEvents();
        QVERIFY(app.preferences.writes().isEmpty() && app.lines().isEmpty());
        QVERIFY(state.chooseProxy(&AppState::proxyCrypto, u"直连"_s));
        QCOMPARE(app.preferences.writes().join(u' '), u"ks_proxy_crypto=直连"_s);
        QCOMPARE(app.crypto.proxy, QNetworkProxy(QNetworkProxy::NoProxy));
        drainEvents(); // by another address the source is asked again
        QVERIFY(app.lines().contains(gateTickerLine(u"ETH"_s)) && !state.priceFailure);
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
        QCOMPARE(app.clock.sleeperCount(), 5); // one of each loop: price, zones, ages, neon prices and pulse
        app.clock.advance(4999ms);
        QCOMPARE(state.blingPulse(), 33);
    }
};

KESTRUNE_TEST(AppStateSettingsTest)
#include "tst_appstate_settings.moc"
