// SPDX-License-Identifier: MIT
#include "panelfixture.h"

#include "analysis/priceformat.h"
#include "ui/textlabel.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace kestrune::test {

std::vector<Zone> zonesAround(double base, double price)
{
    struct Level
    {
        double factor;
        int confirm;
        bool golden;
        QStringView type;
        QStringList sources;
    };
    const std::vector<Level> levels{
        {1.0832, 1, false, u"resistance", {u"swing"_s}},
        {1.0536, 2, false, u"resistance", {u"pivot"_s, u"swing"_s}},
        {1.0207, 3, true, u"resistance", {u"fib"_s, u"pivot"_s, u"fib"_s}},
        {1.0, 1, false, u"current", {u"vol"_s}},
        {0.9888, 2, false, u"support", {u"vol"_s, u"pivot"_s}},
        {0.9563, 1, false, u"support", {u"swing"_s}},
        {0.9312, 4, true, u"support", {u"fib"_s, u"vol"_s, u"pivot"_s, u"swing"_s}},
    };
    std::vector<Zone> zones;
    for (const Level &level : levels) {
        const double mid = base * level.factor;
        zones.emplace_back(mid * 0.999, mid * 1.001, mid, QStringList{u"R1"_s}, (mid - price) / price * 100,
                           level.confirm, level.golden, level.type.toString(), u"强阻力"_s, level.sources);
    }
    return zones;
}

PanelFixture::PanelFixture(const QString &marketNotice)
{
    for (const QString &path :
         {u"/api/v4/spot/candlesticks"_s, u"/api/v3/klines"_s, u"/api/v5/market/candles"_s,
          u"/api/v4/futures/usdt/tickers"_s, u"/fapi/v1/ticker/24hr"_s})
        crypto.failAlways(path);
    for (const QString &path :
         {u"/appstock/app/fqkline/get"_s, u"/q=sh600519"_s, u"/q=sz000001"_s, u"/q=hk00700"_s})
        stock.failAlways(path);
    start();
    view = std::make_unique<PopoverView>(
        state, PopoverView::Options{marketNotice, [this](const QUrl &url) { opened.append(url); }});
}

PanelFixture::~PanelFixture() = default;

void PanelFixture::fillMarket(double base)
{
    state->errorMessage = std::nullopt;
    state->changePct = 2.35;
    state->decimals = getDecimals(base);
    tick(base);
    std::vector<double> closes;
    for (int i = 0; i < 160; ++i)
        closes.push_back(base * (1 + 0.03 * std::sin(i / 9.0) + 0.0002 * i));
    state->sparkline = closes;
    state->snapshot = {{u"1H"_s, 1.2, SignalType::bull, u"均线多头、动量偏强"_s},
                       {u"4H"_s, 3.1, SignalType::strongBull, u"价格站上 EMA200"_s},
                       {u"日线"_s, 0.1, SignalType::neutral, u"信号不明"_s}};
    state->snapshotConclusion = u"多周期同步偏多 · 短中长一致"_s;
    state->ctxEMA200 = base * 0.97;
    state->ctxVegas = VegasTunnel{base * 0.96, base * 0.95};
    state->ctxRSI = 61.24;
    state->ctxMACDHist = base * 0.001;
    state->ctxATR = base * 0.0103;
    state->ctxVWAP = base * 0.9921;
    settle();
}

void PanelFixture::tick(double price)
{
    const double base = state->zones().empty() ? price : state->zones()[3].mid;
    state->price = price;
    state->lastUpdated = clock.now();
    state->zones = zonesAround(base, price);
    state->zonePrice = price;
}

QAbstractButton *PanelFixture::button(const QString &name) const
{
    for (QAbstractButton *found : shown<QAbstractButton>()) {
        if (found->accessibleName() == name || found->text() == name)
            return found;
    }
    return nullptr;
}

void PanelFixture::click(const QString &name)
{
    QAbstractButton *found = button(name);
    QVERIFY2(found, qPrintable(u"no button \"%1\""_s.arg(name)));
    QTest::mouseClick(found, Qt::LeftButton);
    settle();
}

QStringList PanelFixture::texts() const
{
    QStringList texts;
    for (const TextLabel *label : shown<TextLabel>())
        texts.append(label->text());
    return texts;
}

} // namespace kestrune::test
