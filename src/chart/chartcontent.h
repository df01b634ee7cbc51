// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"

#include <QString>
#include <QTimeZone>

#include <optional>
#include <span>
#include <vector>

namespace kestrune {

// What a chart is drawn from, as plain records; prices in the quote currency, percentages in percent units.

enum class ChartLineKind { ema50, ema200, vegasUp, vegasDown, vwap };

/// An indicator along the candles; its last value belongs to the last candle.
struct ChartLine
{
    ChartLineKind kind;
    std::vector<double> values;
};

/// An indicator that can be switched on: its word in the setting and on its chip.
struct ChartLineChoice
{
    QString key;
    QString label;
};
[[nodiscard]] std::span<const ChartLineChoice> chartLineChoices();
[[nodiscard]] bool isChosen(const QString &chosen, const QString &key);
/// The setting's text after a press on the chip of `key`.
[[nodiscard]] QString withToggled(const QString &chosen, const QString &key);
/// The lines of the choices that `chosen` names, as far as there are candles enough.
[[nodiscard]] std::vector<ChartLine> chartLines(std::span<const Candle> candles, const QString &chosen);

struct ChartZone
{
    double lo;
    double hi;
    double mid;
    QString type;
    QString tags;      ///< in one line, may be empty
    QString note;      ///< the same in short, for the label
    double weight = 1; ///< opacity by strength, 0 to 1
    bool golden = false;
    bool picked = false;

    [[nodiscard]] bool isResistance() const { return type == u"resistance"; }
    [[nodiscard]] bool operator==(const ChartZone &) const = default;
};

struct ChartPrice
{
    double value;
    bool live; ///< else it is old or another's
};

struct ChartPlan
{
    double entry;
    double stop;
    std::optional<double> target; ///< none where the stop is trailed
    QString targetText;           ///< distance from the entry, "+3.21%"
    QString stopText;
    QString ratioText; ///< net reward to risk
};

struct ChartBell
{
    QString id;
    double price;
    bool fired;
};

struct ChartContent
{
    QString title;      ///< instrument and timeframe
    QString message;    ///< in place of the candles, where there are none to draw
    CandleList candles; ///< of the selected instrument and timeframe only
    std::vector<ChartZone> zones;
    QString zonesCaveat; ///< how old they are; empty for fresh ones
    std::optional<ChartPrice> price;
    std::optional<ChartPlan> plan;
    std::vector<ChartBell> bells;
    std::vector<ChartLine> lines;
    int decimals = 2;
    QTimeZone timeZone;    ///< of the market
    bool intraday = false; ///< whether candles have a time of day
};

/// Index of the first candle that reached into the band; absent without one.
[[nodiscard]] std::optional<std::size_t> firstTouch(std::span<const Candle> candles, double lo, double hi);
/// How often the price came to the band: candles in it one after another count once.
[[nodiscard]] int touches(std::span<const Candle> candles, double lo, double hi);

} // namespace kestrune
