// SPDX-License-Identifier: MIT
#include "state/fixedtext.h"
#include "state/marketcontext.h"
#include "state/sessionwarning.h"
#include "support/testregistry.h"

#include <QDateTime>
#include <QTest>

#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

/// What the panel says about the market beside its zones.
class MarketContextTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void trend()
    {
        const QString above = u"多头趋势（价格位于 Vegas 隧道上方）"_s;
        const QString below = u"空头趋势（价格位于 Vegas 隧道下方）"_s;
        const QString inside = u"震荡（价格位于 Vegas 隧道内）"_s;
        const QString overAverage = u"价格站上 EMA200（偏多）"_s;
        const QString underAverage = u"价格跌破 EMA200（偏空）"_s;
        const QString unknown = u"数据不足"_s;
        using enum NamedColor;
        constexpr auto none = std::nullopt;
        const auto verdict = [](const QString &text, NamedColor color) { return Verdict{text, color}; };
        QCOMPARE(trendVerdict(none, VegasTunnel{90, 80}, 1), verdict(unknown, secondary));
        QCOMPARE(trendVerdict(100, VegasTunnel{90, 95}, none), verdict(above, red));
        QCOMPARE(trendVerdict(100, VegasTunnel{110, 105}, none), verdict(below, green));
        QCOMPARE(trendVerdict(100, VegasTunnel{110, 90}, none), verdict(inside, secondary));
        QCOMPARE(trendVerdict(100, VegasTunnel{90, 110}, none),
                 verdict(inside, secondary)); // inside, lines crossed
        QCOMPARE(trendVerdict(100, VegasTunnel{100, 90}, none),
                 verdict(inside, secondary)); // touching the upper line
        QCOMPARE(trendVerdict(100, VegasTunnel{110, 100}, none),
                 verdict(inside, secondary)); // touching the lower line
        QCOMPARE(trendVerdict(100, VegasTunnel{110, 105}, 1),
                 verdict(below, green)); // the tunnel wins over the long average
        QCOMPARE(trendVerdict(100, none, 99), verdict(overAverage, red));
        QCOMPARE(trendVerdict(100, none, 100), verdict(overAverage, red)); // no tunnel, on the long average
        QCOMPARE(trendVerdict(100, none, 101), verdict(underAverage, green));
        QCOMPARE(trendVerdict(100, none, none), verdict(unknown, secondary));
    }

    void rsiAndMacd()
    {
        QCOMPARE(rsiVerdict({}), (Verdict{u"—"_s, NamedColor::secondary}));
        QCOMPARE(rsiVerdict(70.0), (Verdict{u"70.0 超买"_s, NamedColor::red}));
        QCOMPARE(rsiVerdict(69.99), (Verdict{u"70.0 中性"_s, NamedColor::secondary}));
        QCOMPARE(rsiVerdict(30.0), (Verdict{u"30.0 超卖"_s, NamedColor::green}));
        QCOMPARE(rsiVerdict(50.04), (Verdict{u"50.0 中性"_s, NamedColor::secondary}));

        QCOMPARE(macdVerdict({}), (Verdict{u"—"_s, NamedColor::secondary}));
        QCOMPARE(macdVerdict(1e-300), (Verdict{u"多头（柱为正）"_s, NamedColor::red}));
        QCOMPARE(macdVerdict(-1e-300), (Verdict{u"空头（柱为负）"_s, NamedColor::green}));
        QCOMPARE(macdVerdict(-0.0), (Verdict{u"走平"_s, NamedColor::secondary}));
    }

    void atr()
    {
        QCOMPARE(atrReadout(35.5, 3550, 2), u"35.50（1.00%）"_s);
        QCOMPARE(atrReadout(1234.5, 100000, 0), u"1,234（1.23%）"_s); // 1234.5 to even; 1.2345 % down
        QCOMPARE(atrReadout({}, 3550, 2), u"—"_s);
        QCOMPARE(atrReadout(35.5, {}, 2), u"—"_s);
    }

    void fixedTextRoundsTheBinaryValue()
    {
        // Origin: printf in the C locale.
        QCOMPARE(fixedText(0.125, 2), u"0.12"_s); // an exact half goes to even
        QCOMPARE(fixedText(0.375, 2), u"0.38"_s);
        QCOMPARE(fixedText(1.005, 2), u"1.00"_s); // lies below its half
        QCOMPARE(fixedText(2.5, 0), u"2"_s);
        QCOMPARE(fixedText(-0.001, 2), u"-0.00"_s);
        QCOMPARE(fixedText(std::numeric_limits<double>::quiet_NaN(), 2), u"nan"_s);
        QCOMPARE(fixedText(-std::numeric_limits<double>::infinity(), 2), u"-inf"_s);
        QCOMPARE(fixedText(1e23, 1), u"99999999999999991611392.0"_s);
        QCOMPARE(fixedText(std::numeric_limits<double>::lowest(), 99).size(), 1 + 309 + 1 + 17);
    }

    void sessionWarnings()
    {
        const QString none;
        const QString settlement = u"临近资金费结算，别把止损贴太近"_s;
        const QString weekend = u"周末流动性低，波动容易被放大"_s;
        const auto at = [](const QString &time) {
            const QDateTime parsed = QDateTime::fromString(time, Qt::ISODateWithMs);
            const Instant now{std::chrono::milliseconds(parsed.toMSecsSinceEpoch())};
            const bool shares =
                sessionWarning(MarketSegment::cn, now) || sessionWarning(MarketSegment::hk, now);
            return shares || !parsed.isValid()
                       ? u"?"_s
                       : sessionWarning(MarketSegment::crypto, now).value_or(QString());
        };
        // 2026-01-05 was a Monday.
        QCOMPARE(at(u"2026-01-06T07:50:59.999Z"_s), none);       // the last moment before the window
        QCOMPARE(at(u"2026-01-06T07:51:00Z"_s), settlement);     // the window opens
        QCOMPARE(at(u"2026-01-06T08:09:59.999Z"_s), settlement); // its last minute counts whole
        QCOMPARE(at(u"2026-01-06T08:10:00Z"_s), none);           // the window closes
        QCOMPARE(at(u"2026-01-06T00:00:00Z"_s), settlement);
        QCOMPARE(at(u"2026-01-06T15:51:30Z"_s), settlement);
        QCOMPARE(at(u"2026-01-06T12:00:00Z"_s), none);       // noon is no settlement
        QCOMPARE(at(u"2026-01-09T23:50:00Z"_s), none);       // Friday evening is not the weekend yet
        QCOMPARE(at(u"2026-01-10T07:55:00Z"_s), settlement); // settlement wins on Saturday
        QCOMPARE(at(u"2026-01-10T12:00:00Z"_s), weekend);
        QCOMPARE(at(u"2026-01-11T23:50:59Z"_s), weekend);
        QCOMPARE(at(u"2026-01-11T23:51:00Z"_s), settlement);
        QCOMPARE(at(u"2026-01-12T00:10:00Z"_s), none);
        QCOMPARE(at(u"1969-12-31T23:50:30Z"_s), none); // a clock before 1970 counts its minutes forward too
    }
};

KESTRUNE_TEST(MarketContextTest)

#include "tst_marketcontext.moc"
