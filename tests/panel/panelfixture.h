// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/priceformat.h"
#include "panel/popoverview.h"
#include "support/appfixture.h"
#include "ui/textlabel.h"

#include <QAccessible>
#include <QLineEdit>
#include <QRegularExpression>
#include <QTest>

#include <cmath>

namespace kestrune::test {

using namespace Qt::StringLiterals;

/// A zone with the fields that a row or the sparkline looks at.
[[nodiscard]] inline Zone makeZone(const QString &type, double mid, double distPct = 1, int confirm = 1,
                                   const decltype(Zone::sources) &sources = {}, bool isGolden = false)
{
    return Zone(mid, mid, mid, {}, distPct, confirm, isGolden, type, {}, sources);
}

/// A panel over a state whose market never answers: the test fills the state itself, and reads and presses
/// the panel as a screen reader does.
class PanelFixture : public AppFixture
{
public:
    explicit PanelFixture(const QString &marketNotice = {})
    {
        for (const char *path : {"/api/v4/spot/candlesticks", "/api/v3/klines", "/api/v5/market/candles",
                                 "/api/v4/futures/usdt/tickers", "/fapi/v1/ticker/24hr"})
            crypto.failAlways(QString::fromLatin1(path));
        for (const char *path : {"/appstock/app/fqkline/get", "/q=sh600519", "/q=sz000001", "/q=hk00700"})
            stock.failAlways(QString::fromLatin1(path));
        start();
        const auto open = [this](const QUrl &url) { onOpened(url); };
        view = std::make_unique<PopoverView>(state, PopoverView::Options{marketNotice, open});
    }

    /// Price, three zones on either side and one "current", signals, readings and a sparkline around `base`.
    void fillMarket(double base = 3456.78)
    {
        state->errorMessage = std::nullopt;
        state->changePct = 2.35;
        state->decimals = getDecimals(base);
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
        tick(base);
    }

    /// A price tick as the refresh brings it: price, time and zones at their new distances.
    void tick(double price)
    {
        const double base = state->zones().empty() ? price : state->zones()[3].mid;
        std::vector<Zone> zones;
        const auto add = [&](const QString &type, double factor, int confirm,
                             const decltype(Zone::sources) &sources) {
            const double mid = base * factor;
            zones.push_back(makeZone(type, mid, (mid - price) / price * 100, confirm, sources, confirm > 2));
        };
        add(u"resistance"_s, 1.0832, 1, {u"swing"_s});
        add(u"resistance"_s, 1.0536, 2, {u"pivot"_s, u"swing"_s});
        add(u"resistance"_s, 1.0207, 3, {u"fib"_s, u"pivot"_s, u"fib"_s});
        add(u"current"_s, 1, 1, {u"vol"_s});
        add(u"support"_s, 0.9888, 2, {u"vol"_s, u"pivot"_s});
        add(u"support"_s, 0.9563, 1, {u"swing"_s});
        add(u"support"_s, 0.9312, 4, {u"fib"_s, u"vol"_s, u"pivot"_s, u"swing"_s});
        const Subject selected = state->selection();
        const Subject instrument{selected.market, selected.symbol, {}};
        state->priceOrigin = originOfPrice(instrument, price, nullptr, std::nullopt, clock);
        state->zonesOrigin = Origin{selected, clock.steady()};
        state->signalsOrigin = Origin{instrument, clock.steady()};
        state->price = price;
        own();
        state->zones = zones;
        state->zonePrice = price;
        drainEvents();
    }

    /// Picks a zone, none without a type.
    void pick(std::optional<double> mid, std::optional<QString> type)
    {
        state->selectedZonePrice = mid;
        state->selectedZoneType = std::move(type);
        drainEvents();
    }

    static QAccessibleInterface *readerOf(QObject *object)
    {
        return QAccessible::queryAccessibleInterface(object);
    }
    static QString nameOf(QObject *object) { return readerOf(object)->text(QAccessible::Name); }
    /// Everything that shows and has a name, in reading order.
    [[nodiscard]] QList<QWidget *> readable() const
    {
        QList<QWidget *> found = view->findChildren<QWidget *>();
        found.removeIf([](QWidget *widget) { return !widget->isVisible() || nameOf(widget).isEmpty(); });
        std::ranges::stable_sort(found, {}, [](QWidget *widget) {
            const QPoint center = widget->mapToGlobal(widget->rect().center());
            return std::pair(center.y() / 8, center.x()); // one line, give or take a pixel
        });
        return found;
    }
    /// Names of all labels and tags, or of what has another role.
    [[nodiscard]] QStringList texts(QAccessible::Role role = QAccessible::StaticText) const
    {
        QStringList texts;
        for (QWidget *widget : readable()) {
            if (readerOf(widget)->role() == role)
                texts.append(nameOf(widget));
        }
        return texts;
    }
    [[nodiscard]] bool shows(const QString &text) const { return texts().contains(text); }
    /// The prices of the zone rows.
    [[nodiscard]] QString rowPrices() const
    {
        const QRegularExpression around(u"^[^ ]+ | [^ ]+$"_s);
        return texts(QAccessible::CheckBox).filter(u"%"_s).replaceInStrings(around, {}).join(u' ');
    }
    /// What shows under this name: a button or a field rather than a label, of several the one at `index`;
    /// nullptr when there is none.
    [[nodiscard]] QWidget *find(const QString &name, qsizetype index = 0) const
    {
        QList<QWidget *> named = readable();
        named.removeIf([&](QWidget *widget) { return nameOf(widget) != name; });
        std::ranges::stable_sort(
            named, {}, [](QWidget *widget) { return readerOf(widget)->role() == QAccessible::StaticText; });
        return named.value(index);
    }
    [[nodiscard]] QLineEdit *field(const QString &name) const
    {
        return qobject_cast<QLineEdit *>(find(name));
    }
    [[nodiscard]] bool isChecked(const QString &name) const { return readerOf(find(name))->state().checked; }
    [[nodiscard]] Tone tone(const QString &text) const
    {
        return qobject_cast<TextLabel *>(find(text))->tone();
    }
    /// Distance from the panel's top.
    [[nodiscard]] int top(const QString &name) const { return find(name)->mapTo(view.get(), QPoint()).y(); }
    /// Does what pressing it through a screen reader does.
    void press(const QString &name, qsizetype index = 0)
    {
        QWidget *widget = find(name, index);
        QVERIFY2(widget, qPrintable(name));
        auto *actions = readerOf(widget)->actionInterface();
        actions->doAction(actions->actionNames().constFirst());
        drainEvents();
    }
    /// Presses a key and gives the name of what has the focus then.
    QString key(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(view->focusWidget(), key, modifiers);
        drainEvents();
        return nameOf(view->focusWidget());
    }
    /// Types into a field, submits, and gives what it shows then.
    QString enter(const QString &name, const QString &text)
    {
        field(name)->setText(text);
        QTest::keyClick(field(name), Qt::Key_Return);
        drainEvents();
        return field(name)->text();
    }

    std::function<void(const QUrl &)> onOpened; ///< an address that the panel wants shown
    std::unique_ptr<PopoverView> view;
};

/// A shown panel with a filled market.
class Shown : public PanelFixture
{
public:
    explicit Shown(bool withSettings = false, const QString &notice = {}) : PanelFixture(notice)
    {
        fillMarket();
        view->setSettingsExpanded(withSettings); // unseen: at once
        view->show();
        drainEvents();
        announcements.clear();
    }
};

} // namespace kestrune::test
