// SPDX-License-Identifier: MIT
#include "replay/block.h"
#include "replay/random.h"
#include "support/testregistry.h"

#include <QTest>

#include <cmath>

using namespace kestrune::replay;

/// The cutting of candles, on which the agreement of all intervals rests.
class BlockTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void piecesJoinToTheirBlock_data();
    void piecesJoinToTheirBlock();
    void hongkongPricesStepWithTheirSize();
    void limitPricesRoundHalvesUp();
    void tradingDaysSkipWeekends();
};

void BlockTest::piecesJoinToTheirBlock_data()
{
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<qint64>("length");
    QTest::addColumn<qint64>("offset");
    QTest::newRow("a coin's day becomes hours") << QByteArray("ETH") << dayMs << qint64(0);
    QTest::newRow("an afternoon from half past five keeps its odd start")
        << QByteArray("BTC") << 6 * hourMs + 30 * minuteMs << 17 * hourMs + 30 * minuteMs;
    QTest::newRow("a minute becomes seconds") << QByteArray("XRP") << minuteMs << 3 * hourMs;
    QTest::newRow("a share's day becomes trading minutes")
        << QByteArray("sh600519") << 5 * hourMs + 30 * minuteMs << hourMs + 30 * minuteMs;
}

void BlockTest::piecesJoinToTheirBlock()
{
    QFETCH(QByteArray, code);
    QFETCH(qint64, length);
    QFETCH(qint64, offset);
    constexpr qint64 monday = 1784505600000; // 2026-07-20 UTC
    const Instrument &instrument = *findInstrument(code);
    Random random(7);
    for (int i = 0; i < 400; ++i) {
        // Prices off the grid, flat candles and candles with their extremes at the ends included.
        const double o = instrument.level * (1 + 0.01 * random.normal());
        const double c = i % 5 == 0 ? o : instrument.level * (1 + 0.01 * random.normal());
        const double wick = i % 3 == 0 ? 0 : 0.02 * instrument.level * random.uniform();
        const Block block{{monday + offset, monday + offset + length},
                          o,
                          std::max(o, c) + wick,
                          std::min(o, c) - wick / 2,
                          c,
                          i % 7 == 0 ? 0 : 1000 * random.uniform()};
        const std::vector<Block> pieces = cutBlock(block, instrument, static_cast<quint64>(i));
        QVERIFY(pieces.size() > 1);
        const Block whole = joinBlocks(pieces);
        QCOMPARE(whole.span.start, block.span.start);
        QCOMPARE(whole.span.end, block.span.end);
        QVERIFY(whole.o == block.o && whole.h == block.h && whole.l == block.l && whole.c == block.c);
        QVERIFY(std::abs(whole.v - block.v) <= 1e-9 * (1 + block.v));
        for (std::size_t k = 0; k < pieces.size(); ++k) {
            const Block &piece = pieces[k];
            QVERIFY(piece.l <= std::min(piece.o, piece.c) && piece.h >= std::max(piece.o, piece.c));
            QVERIFY(piece.v >= 0);
            QVERIFY(k == 0 || (piece.o == pieces[k - 1].c && piece.span.start >= pieces[k - 1].span.end));
        }
    }
}

void BlockTest::hongkongPricesStepWithTheirSize()
{
    const Instrument &tencent = *findInstrument("hk00700");
    QCOMPARE(snapToTick(tencent, 431.09), 431.0);
    QCOMPARE(snapToTick(tencent, 158.17), 158.2);
    QCOMPARE(snapToTick(tencent, 612.7), 612.5);
    QCOMPARE(snapToTick(tencent, 8.204), 8.2);
    QCOMPARE(snapToTick(tencent, 0), 0.001);
}

void BlockTest::limitPricesRoundHalvesUp()
{
    // The limits that the exchanges published for these closes of August 2026.
    const Instrument &moutai = *findInstrument("sh600519");
    QCOMPARE(limitPrice(moutai, 1306.45, true), 1437.10);
    QCOMPARE(limitPrice(moutai, 1306.45, false), 1175.81);
    QCOMPARE(limitPrice(*findInstrument("sz000001"), 11.61, true), 12.77);
    QCOMPARE(limitPrice(*findInstrument("sz000001"), 11.61, false), 10.45);
    QCOMPARE(limitPrice(*findInstrument("sz300750"), 335.49, true), 402.59);
}

void BlockTest::tradingDaysSkipWeekends()
{
    constexpr qint64 friday = 1784851200000 - chinaOffsetMs; // 2026-07-24 in China
    QCOMPARE(chinaDate(friday), QByteArray("2026-07-24"));
    QVERIFY(isTradingDay(Venue::mainland, friday));
    QCOMPARE(chinaDate(tradingDayFrom(Venue::mainland, friday + dayMs)), QByteArray("2026-07-27"));
    const Interval week{Interval::Unit::week, 7 * dayMs, chinaOffsetMs};
    QCOMPARE(chinaDate(bucketStart(week, friday + 3 * dayMs - 1)), QByteArray("2026-07-20"));
    QCOMPARE(chinaDate(bucketStart(week, friday + 3 * dayMs)), QByteArray("2026-07-27"));
}

KESTRUNE_TEST(BlockTest)

#include "tst_block.moc"
