// SPDX-License-Identifier: MIT
#pragma once

#include "market/marketsegment.h"

#include <QHash>
#include <QObject>

#include <array>
#include <optional>

namespace kestrune {

class Preferences;

/// The instruments of each segment in the trader's order, and the names of stocks. Every change is stored;
/// a list that is the default is not, so that another version's default reaches the trader.
class InstrumentBook : public QObject
{
    Q_OBJECT

public:
    static constexpr qsizetype mostPerSegment = 200;

    /// Takes over what is stored; a damaged list gives way to the default. The preferences outlive it.
    explicit InstrumentBook(Preferences &preferences);

    /// Never empty, and no code twice.
    [[nodiscard]] const QStringList &list(MarketSegment segment) const { return m_lists[at(segment)]; }
    /// Empty when unknown.
    [[nodiscard]] QString name(const QString &symbol) const { return m_names.value(symbol); }
    [[nodiscard]] bool contains(const QString &symbol) const;
    [[nodiscard]] bool isDefault(MarketSegment segment) const;

    /// At the end. False for a full list, for what is no code of the segment or is there already.
    bool add(MarketSegment segment, const QString &symbol, const QString &name);
    /// The position it had; absent, and nothing is done, for the last one of its segment and for unknown
    /// ones.
    std::optional<int> remove(const QString &symbol);
    /// Puts back what was removed, or moves what is there, at the nearest position that there is.
    void insert(const QString &symbol, int position);
    void move(const QString &symbol, int position);
    /// Another list as a whole, such as an earlier one.
    void replace(MarketSegment segment, const QStringList &list);
    void resetToDefault(MarketSegment segment);
    /// What a source calls a listed instrument.
    void noteName(const QString &symbol, const QString &name);

    /// The segments whose stored list could not be read, until the trader has taken note of it. Their entries
    /// are left alone until then, or until the list is changed.
    [[nodiscard]] const QList<MarketSegment> &damaged() const { return m_damaged; }
    void acknowledgeDamage();

Q_SIGNALS:
    /// A list or a name.
    void changed();
    void listChanged(kestrune::MarketSegment segment);
    /// It stood at `position` of its list, which is without it already.
    void removed(const QString &symbol, int position);

private:
    [[nodiscard]] static std::size_t at(MarketSegment segment) { return static_cast<std::size_t>(segment); }
    void change(MarketSegment segment, QStringList list);
    void storeNames();

    Preferences &m_preferences;
    std::array<QStringList, allMarketSegments.size()> m_lists;
    QHash<QString, QString> m_names; ///< also of removed ones, which may come back
    QList<MarketSegment> m_damaged;
};

} // namespace kestrune
