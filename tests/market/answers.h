// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace kestrune::test {

/// A file below tests/data; fails the running test when there is none or it is empty.
[[nodiscard]] QByteArray dataFile(const QString &name);

/// Bodies of `count` plain rows in a source's layout, oldest first as the source orders them (OKX newest
/// first). The oldest candle closes at `close`, each following one a unit higher. The text "unread" stands
/// once in each at a place that no parser reads.
[[nodiscard]] QByteArray gateCandles(int count, int close = 100);
[[nodiscard]] QByteArray binanceCandles(int count, int close = 200);
[[nodiscard]] QByteArray okxCandles(int count, int close = 300);
[[nodiscard]] QByteArray stockCandles(const QString &code, const QString &key, int count, int close = 400);
[[nodiscard]] QByteArray gateTicker(double price);
[[nodiscard]] QByteArray binanceTicker(double price);

/// The "~"-separated fields of a complete Shanghai quote: price 100, previous close 98, open 99, high 101,
/// low 97, limits 107.8 and 88.2.
[[nodiscard]] QStringList quoteFields();
/// One piece of a quote answer, without its ";".
[[nodiscard]] QString quotePiece(const QString &key, const QStringList &fields);

} // namespace kestrune::test
