// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QStringList>

#include <span>
#include <vector>

namespace kestrune::test {

/// A candle as a reader of the answers sees it; `key` is its time as the source writes it.
struct Bar
{
    QString key;
    qint64 ts = 0; ///< milliseconds; stocks: the day's midnight, UTC
    double o = 0;
    double h = 0;
    double l = 0;
    double c = 0;
    double v = 0;
};

// Each reads one source's layout, oldest first; empty when the layout is not what the source sends.
[[nodiscard]] std::vector<Bar> gateBars(const QByteArray &body);
[[nodiscard]] std::vector<Bar> binanceBars(const QByteArray &body);
[[nodiscard]] std::vector<Bar> okxBars(const QByteArray &body);
[[nodiscard]] std::vector<Bar> tencentBars(const QByteArray &body, const QString &code, const QString &key);

/// The fields of one code in a quote answer; empty when it is not there.
[[nodiscard]] QStringList quoteFields(const QByteArray &body, const QString &code);

/// The candle that several make together.
[[nodiscard]] Bar joined(std::span<const Bar> bars);
/// Same open, high, low and close, and volumes but for rounding.
[[nodiscard]] bool sameTrading(const Bar &a, const Bar &b);
/// 0 < low <= open, close <= high, and times that ascend.
[[nodiscard]] bool soundBars(std::span<const Bar> bars);

} // namespace kestrune::test
