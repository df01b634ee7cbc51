// SPDX-License-Identifier: MIT
#include "market/shanghaitime.h"
#include "support/testregistry.h"

#include <QDate>
#include <QDateTime>
#include <QTest>
#include <QTimeZone>

using namespace kestrune;

class ShanghaiTimeTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyMidnightIsTheZoneDatabases();
    void otherTextIsNoDate_data();
    void otherTextIsNoDate();
};

// Covers local mean time before 1901, the summer times of the 1940s and of 1986 to 1991, and today.
void ShanghaiTimeTest::everyMidnightIsTheZoneDatabases()
{
    const QTimeZone zone("Asia/Shanghai");
    QVERIFY(zone.isValid());
    for (QDate date(1899, 12, 1); date < QDate(2030, 1, 1); date = date.addDays(1)) {
        const QByteArray text = date.toString(Qt::ISODate).toLatin1();
        const auto midnight = shanghaiMidnight(text.toStdString());
        QVERIFY2(midnight, text.constData());
        QVERIFY2(*midnight == date.startOfDay(zone).toMSecsSinceEpoch(), text.constData());

        const Instant noon{std::chrono::milliseconds{*midnight} + std::chrono::hours{12}};
        const QDateTime local = QDateTime::fromMSecsSinceEpoch(*midnight + 12 * 3'600'000LL, zone);
        const ShanghaiTime time = shanghaiTime(noon);
        QVERIFY2(time.weekday == local.date().dayOfWeek() % 7, text.constData());
        QVERIFY2(time.minuteOfDay == local.time().hour() * 60 + local.time().minute(), text.constData());
    }
}

void ShanghaiTimeTest::otherTextIsNoDate_data()
{
    QTest::addColumn<QByteArray>("text");
    for (const char *text : {"", "2026-9-11", "2026-09-11 ", " 2026-09-11", "2026/09/11", "20260911",
                             "26-09-11", "2026-02-29", "2026-13-01", "2026-00-10", "2026-04-31", "2026-01-00",
                             "0000-01-01", "+026-01-01", "2026-+1-01", "2026-09-1a", "2026-09-11T00",
                             "\xd9\xa2"
                             "026-09-1"})
        QTest::newRow(text) << QByteArray(text);
}

void ShanghaiTimeTest::otherTextIsNoDate()
{
    QFETCH(QByteArray, text);
    QVERIFY(!shanghaiMidnight(text.toStdString()));
}

KESTRUNE_TEST(ShanghaiTimeTest)

#include "tst_shanghaitime.moc"
