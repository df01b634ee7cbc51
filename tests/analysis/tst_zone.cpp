// SPDX-License-Identifier: MIT
#include "analysis/zone.h"
#include "support/testregistry.h"

#include <QSet>
#include <QTest>

#include <array>
#include <thread>

using namespace kestrune;
using namespace Qt::StringLiterals;

class ZoneTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aNewZoneHasItsOwnIdentity();
    void textListsShareTheirBlock();
    void identitiesAreRandomVersion4();
    void threadsDrawDifferentIdentities();
};

void ZoneTest::aNewZoneHasItsOwnIdentity()
{
    const Zone zone(1, 3, 2, {u"R1"_s, u"Fib 0.618"_s});
    QVERIFY(Zone(1, 3, 2, {}).id != Zone(1, 3, 2, {}).id);
    const Zone copy = zone;
    QCOMPARE(copy.id, zone.id);
}

void ZoneTest::textListsShareTheirBlock()
{
    auto block = std::make_shared<QString[]>(3);
    block[0] = u"a"_s;
    block[1] = u"b"_s;
    block[2] = u"c"_s;
    const std::weak_ptr<QString[]> watch = block;
    TextList tail(block, 1, 2);
    block.reset();
    const TextList copy = tail;
    QVERIFY(copy.begin() == tail.begin());
    QVERIFY(copy == TextList({u"b"_s, u"c"_s}));
    QVERIFY(!(copy == TextList({u"b"_s})) && !(copy == TextList({u"b"_s, u"d"_s})));
    tail = {};
    QVERIFY(tail == TextList() && tail.begin() == tail.end());
    QVERIFY(!watch.expired());
}

void ZoneTest::identitiesAreRandomVersion4()
{
    constexpr int draws = 20'000;
    QSet<QUuid> seen;
    std::array<int, 128> ones{};
    for (int i = 0; i < draws; ++i) {
        const QUuid id = fastUuid();
        QCOMPARE(id.version(), QUuid::Random);
        QCOMPARE(id.variant(), QUuid::DCE);
        seen.insert(id);
        const QByteArray bytes = id.toRfc4122();
        for (std::size_t bit = 0; bit < ones.size(); ++bit)
            ones[bit] += bytes[static_cast<qsizetype>(bit / 8)] >> (7 - bit % 8) & 1;
    }
    QCOMPARE(seen.size(), draws);
    for (std::size_t bit = 0; bit < ones.size(); ++bit) {
        const bool fixed = (bit >= 48 && bit < 52) || bit == 64 || bit == 65;
        // Seven standard deviations: a bit that is stuck or copied from a biased source is far outside.
        QVERIFY2(fixed || std::abs(ones[bit] - draws / 2) < 500, qPrintable(u"bit %1"_s.arg(bit)));
    }
}

void ZoneTest::threadsDrawDifferentIdentities()
{
    std::array<QUuid, 2> first;
    std::thread one([&first] { first[0] = fastUuid(); });
    std::thread two([&first] { first[1] = fastUuid(); });
    one.join();
    two.join();
    QVERIFY(first[0] != first[1]);
}

KESTRUNE_TEST(ZoneTest)
#include "tst_zone.moc"
