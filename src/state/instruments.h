// SPDX-License-Identifier: MIT
#pragma once
#include "market/marketsegment.h"
#include <QHash>
#include <QObject>
#include <array>
#include <optional>
namespace kestrune {
class InstrumentBook : public QObject
{
    Q_OBJECT
public:
    InstrumentBook();
    const QStringList &list(MarketSegment s) const { return m_lists[std::size_t(s)]; }
    QString name(const QString &symbol) const { return m_names.value(symbol); }
    bool contains(const QString &symbol) const;
    bool add(MarketSegment, const QString &symbol, const QString &name);
    std::optional<int> remove(const QString &symbol);
    void insert(const QString &symbol, int position);
    void move(const QString &symbol, int position);
    void resetToDefault(MarketSegment);
    bool isDefault(MarketSegment) const;
    void noteName(const QString &symbol, const QString &name);
Q_SIGNALS:
    void changed();

private:
    QStringList &of(const QString &symbol);
    std::array<QStringList, 3> m_lists;
    QHash<QString, QString> m_names;
};
} // namespace kestrune
