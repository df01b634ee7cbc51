// SPDX-License-Identifier: MIT
#include "state/zonenotice.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QStringList>

using namespace kestrune;
using namespace Qt::StringLiterals;

class ZoneNoticeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyATurnThatIsNewIsTold()
    {
        // A step is a distance, "s" to the support or "r" to the resistance, with a threshold of 2; "!" when
        // the zones have just come, "+" lets 15 minutes pass before it, "@" another selection, "^" another
        // threshold.
        const struct
        {
            const char *name, *steps, *told;
        } rows[] = {
            {"a turn from grey", "s3! s1 s1 s3 s1", "s1"},
            {"what is seen first is where it begins", "s1! s3 s1 s3 s1", ""},
            {"the other side is its own", "s3! s1 s3 r1", "s1 r1"},
            {"from one side to the other", "r3! s1 r1 r1", "s1"},
            {"away from one refresh to the next", "s3! s1 s2.6! s2.6! +s1", "s1 s1"},
            {"not far enough away", "s3! s1 s2.5! s2.5! +s1", "s1"},
            {"away at one refresh only", "s3! s1 s2.6! s2.6 +s1", "s1"},
            {"near in between", "s3! s1 s2.6! s2.4 s2.6! +s1", "s1"},
            {"twice in a quarter of an hour", "s3! s1 s3! s3! s1 s3 +s1", "s1 s1"},
            {"another selection begins anew", "s3! @s1 s3 @s1 s3! s3! s1", "s1"},
            {"the user's turning is none", "s3! ^s1 s1", ""},
        };
        test::forEachRow(rows, [](const auto &row) {
            ZoneNotices notices;
            LightSeen seen;
            seen.selection = {MarketSegment::crypto, u"ETH"_s, u"4H"_s};
            seen.thresholdPct = 2;
            SteadyInstant now{};
            QStringList told;
            for (QString step : QString::fromLatin1(row.steps).split(u' ')) {
                seen.refreshed = step.endsWith(u'!');
                step.remove(u'!');
                now += step.startsWith(u'+') ? std::chrono::minutes(15) : std::chrono::minutes(0);
                if (step.startsWith(u'@'))
                    seen.selection.symbol = seen.selection.symbol == u"ETH" ? u"BTC"_s : u"ETH"_s;
                seen.thresholdPct += step.startsWith(u'^') ? 0.1 : 0;
                step.remove(QChar(u'+')).remove(QChar(u'@')).remove(QChar(u'^'));
                const double distance = step.mid(1).toDouble();
                seen.supportPct = step.startsWith(u's') ? std::optional(distance) : std::nullopt;
                seen.resistancePct = step.startsWith(u'r') ? std::optional(distance) : std::nullopt;
                seen.light = barSignal(seen.supportPct, seen.resistancePct, seen.thresholdPct);
                const auto side = notices.observe(seen, now);
                if (side)
                    told.append((*side == BarSignal::buy ? u's' : u'r') + step.mid(1));
            }
            QCOMPARE(told.join(u' '), QString::fromLatin1(row.told));
        });
        const Notice notice = zoneNotice(BarSignal::sell, u"ETH"_s, u"3,410"_s, 1.2);
        QCOMPARE(notice, (Notice{u"zone-resistance"_s, u"ETH 接近阻力 3,410 · 距 1.20 %"_s, {}, false}));
    }
};

KESTRUNE_TEST(ZoneNoticeTest)
#include "tst_zonenotice.moc"
