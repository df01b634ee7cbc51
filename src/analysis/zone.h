// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUuid>

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <utility>

namespace kestrune {

/// A short immutable list of texts whose storage is shared: copying a zone list on a price tick copies no
/// text, and all lists of one zone build live in one allocation.
class TextList
{
public:
    TextList() = default;
    TextList(std::initializer_list<QString> texts);
    /// A window of `count` texts from `first` on; the block lives as long as any window into it.
    TextList(std::shared_ptr<const QString[]> block, std::size_t first, std::size_t count)
        : m_block(std::move(block)), m_first(first), m_count(count)
    {}

    [[nodiscard]] const QString *begin() const { return m_block.get() + m_first; }
    [[nodiscard]] const QString *end() const { return begin() + m_count; }
    [[nodiscard]] std::size_t size() const { return m_count; }
    [[nodiscard]] bool empty() const { return m_count == 0; }
    [[nodiscard]] const QString &operator[](std::size_t index) const { return begin()[index]; }
    [[nodiscard]] bool operator==(const TextList &other) const;

private:
    std::shared_ptr<const QString[]> m_block;
    std::size_t m_first = 0;
    std::size_t m_count = 0;
};

/// A random version-4 UUID from a fast per-thread generator that is seeded once from the system.
[[nodiscard]] QUuid fastUuid();

/// A price band that acts as support or resistance.
struct Zone
{
    Zone(double zoneLo, double zoneHi, double zoneMid, TextList zoneNames, double zoneDistPct = 0,
         int zoneConfirm = 0, bool zoneIsGolden = false, QString zoneType = {}, QString zoneStrength = {},
         TextList zoneSources = {})
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

    QUuid id = fastUuid(); ///< fresh for every constructed zone; never matched across rebuilds
    double lo;             ///< lower edge, price
    double hi;             ///< upper edge, price
    double mid;            ///< centre of the band
    TextList names;        ///< labels of the merged levels ("R1", "Fib 0.618", "前高", "量能POC")
    double distPct;        ///< signed distance of `mid` from the price in percent, positive above it
    int confirm;           ///< number of contributing levels
    bool isGolden;         ///< some label contains "0.618"
    QString type;          ///< "support", "resistance" or "current"
    QString strength;      ///< distance tier, for example "强阻力"
    TextList sources;      ///< tags "pivot", "fib", "swing", "vol", one per level in merge order
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
