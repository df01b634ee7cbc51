// SPDX-License-Identifier: MIT
#pragma once

#include <QRandomGenerator>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <array>
#include <bit>
#include <utility>

namespace kestrune {

/// A random version-4 UUID. QUuid::createUuid() asks the kernel for each one, which for a list of zones takes
/// several times as long as building it.
[[nodiscard]] inline QUuid randomId()
{
    std::array<quint32, 4> bits;
    QRandomGenerator::global()->fillRange(bits.data(), bits.size());
    auto id = std::bit_cast<QUuid>(bits);
    id.data3 = (id.data3 & 0x0fff) | 0x4000;   // version 4: random
    id.data4[0] = (id.data4[0] & 0x3f) | 0x80; // the layout of RFC 4122
    return id;
}

/// A price band that acts as support or resistance.
struct Zone
{
    Zone(double zoneLo, double zoneHi, double zoneMid, QStringList zoneNames, double zoneDistPct = 0,
         int zoneConfirm = 0, bool zoneIsGolden = false, QString zoneType = {}, QString zoneStrength = {},
         QStringList zoneSources = {})
        : lo(zoneLo)
        , hi(zoneHi)
        , mid(zoneMid)
        , names(std::move(zoneNames))
        , distPct(zoneDistPct)
        , confirm(zoneConfirm)
        , isGolden(zoneIsGolden)
        , type(std::move(zoneType))
        , strength(std::move(zoneStrength))
        , sources(std::move(zoneSources))
    {}

    QUuid id = randomId(); ///< fresh for every constructed zone; never matched across rebuilds
    double lo;             ///< lower edge, price
    double hi;             ///< upper edge, price
    double mid;            ///< centre of the band
    QStringList names;     ///< labels of the merged levels ("R1", "Fib 0.618", "前高", "量能POC")
    double distPct;        ///< signed distance of `mid` from the price in percent, positive above it
    int confirm;           ///< number of contributing levels
    bool isGolden;         ///< some label contains "0.618"
    QString type;          ///< "support", "resistance" or "current"
    QString strength;      ///< distance tier, for example "强阻力"
    QStringList sources;   ///< tags "pivot", "fib", "swing", "vol", one per level in merge order
};

/// The seven classic floor-pivot levels of one completed bar, prices.
struct Pivot
{
    double r3, r2, r1, pp, s1, s2, s3;
};

/// A candidate price level before merging.
struct RawLevel
{
    double price;
    QString name;   ///< becomes an entry of Zone::names
    QString source; ///< becomes an entry of Zone::sources
};

} // namespace kestrune
