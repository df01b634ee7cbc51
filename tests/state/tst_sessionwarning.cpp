// SPDX-License-Identifier: MIT
#include "state/sessionwarning.h"
#include "support/testregistry.h"

#include <QDateTime>
#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

class SessionWarningTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void warning_data();
    void warning();
    void everyMinuteOfAWorkday();
};

void SessionWarningTest::warning_data()
{
    QTest::addColumn<QString>("time");
    QTest::addColumn<QString>("expected"); // for crypto
    const QString none;
    const QString settlement = u"临近资金费结算，别把止损贴太近"_s;
    const QString weekend = u"周末流动性低，波动容易被放大"_s;

    // 2026-01-05 was a Monday.
    QTest::newRow("the last moment before the window") << u"2026-01-06T07:50:59.999Z"_s << none;
    QTest::newRow("the window opens") << u"2026-01-06T07:51:00Z"_s << settlement;
    QTest::newRow("its last minute counts whole") << u"2026-01-06T08:09:59.999Z"_s << settlement;
    QTest::newRow("the window closes") << u"2026-01-06T08:10:00Z"_s << none;
    QTest::newRow("midnight") << u"2026-01-06T00:00:00Z"_s << settlement;
    QTest::newRow("afternoon") << u"2026-01-06T15:51:30Z"_s << settlement;
    QTest::newRow("Friday evening is not the weekend yet") << u"2026-01-09T23:50:00Z"_s << none;
    QTest::newRow("settlement wins on Saturday") << u"2026-01-10T07:55:00Z"_s << settlement;
    QTest::newRow("Saturday noon") << u"2026-01-10T12:00:00Z"_s << weekend;
    QTest::newRow("Sunday night") << u"2026-01-11T23:50:59Z"_s << weekend;
    QTest::newRow("Sunday before midnight") << u"2026-01-11T23:51:00Z"_s << settlement;
    QTest::newRow("Monday has begun") << u"2026-01-12T00:10:00Z"_s << none;
    QTest::newRow("a clock before 1970 counts its minutes forward too") << u"1969-12-31T23:50:30Z"_s << none;
}

void SessionWarningTest::warning()
{
    QFETCH(QString, time);
    QFETCH(QString, expected);
    const QDateTime parsed = QDateTime::fromString(time, Qt::ISODateWithMs);
    QVERIFY(parsed.isValid());
    const Instant now{std::chrono::milliseconds(parsed.toMSecsSinceEpoch())};
    QCOMPARE(sessionWarning(MarketSegment::crypto, now),
             expected.isEmpty() ? std::nullopt : std::optional(expected));
    QVERIFY(!sessionWarning(MarketSegment::cn, now));
    QVERIFY(!sessionWarning(MarketSegment::hk, now));
}

void SessionWarningTest::everyMinuteOfAWorkday()
{
    const Instant monday{std::chrono::seconds(1767571200)};
    int warned = 0;
    for (int minute = 0; minute < 24 * 60; ++minute)
        warned += sessionWarning(MarketSegment::crypto, monday + std::chrono::minutes(minute)) ? 1 : 0;
    QCOMPARE(warned, 3 * 19); // nine minutes on either side and the one of the settlement
}

KESTRUNE_TEST(SessionWarningTest)

#include "tst_sessionwarning.moc"
