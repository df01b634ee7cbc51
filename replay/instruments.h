// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QtGlobal>

#include <span>

namespace kestrune::replay {

enum class Venue { crypto, mainland, hongkong };

/// What the simulation and the layouts know about one instrument.
struct Instrument
{
    Venue venue;
    const char *code;        ///< base asset ("BTC") or exchange prefix and number ("sh600519")
    const char *name;        ///< as the quote source spells it, UTF-8
    const char *englishName; ///< Hong Kong quotes only
    double level;            ///< where the simulated price lives around `anchorTime`
    double volatility;       ///< a year's standard deviation of returns, 0.3 for 30 %
    double growth;           ///< a year's drift before `anchorTime`, as a logarithm
    double dailyTurnover;    ///< in the quote currency
    int firstYear;           ///< when the simulated history starts: year, month, day
    int firstMonth;
    int firstDay;
    double ticksPerUnit;        ///< price steps in one unit; 0 where the exchange's step table rules
    double contractSize;        ///< base units of one perpetual contract; crypto only
    double shares;              ///< issued shares; stocks only
    int lotSize;                ///< shares of one board lot; stocks only
    double earningsRatio;       ///< price by earnings, as the quotes show it
    double bookRatio;           ///< price by book value
    const char *pinyin = "";    ///< initials of the name; stocks only
    const char *type = nullptr; ///< of what is no share, in the words of the search
};

/// The instant (2026-06-30 UTC) at which `Instrument::level` applies.
inline constexpr qint64 anchorTime = 1782777600000;

[[nodiscard]] std::span<const Instrument> allInstruments();

/// The instrument with this very code (base assets in upper case, stock codes in lower case), or null.
[[nodiscard]] const Instrument *findInstrument(QByteArrayView code);

/// The largest daily move against the previous close, 0.1 for 10 %; infinite where there is no limit.
[[nodiscard]] double dailyLimit(const Instrument &instrument);

/// What the search calls the kind of a stock, a fund or an index.
[[nodiscard]] const char *searchType(const Instrument &instrument);

/// The price on the instrument's grid that is nearest to `price`, never below one step.
[[nodiscard]] double snapToTick(const Instrument &instrument, double price);

/// A-shares: the daily limit price above (`up`) or below the previous close, half rounded away from zero.
[[nodiscard]] double limitPrice(const Instrument &instrument, double previousClose, bool up);

} // namespace kestrune::replay
