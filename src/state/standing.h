// SPDX-License-Identifier: MIT
#pragma once

#include "market/marketsegment.h"
#include "platform/clock.h"

#include <QString>

#include <chrono>
#include <optional>

namespace kestrune {

struct StockQuote;

/// What is selected, and with that whose a value is: the selection that it was asked for.
struct Subject
{
    MarketSegment market = MarketSegment::crypto;
    QString symbol;
    QString timeframe; ///< empty for what does not depend on it

    [[nodiscard]] bool operator==(const Subject &) const = default;
    [[nodiscard]] bool sameInstrument(const Subject &other) const
    {
        return market == other.market && symbol == other.symbol;
    }
};

/// Whose zones or signals are and when they came.
struct Origin
{
    Subject subject;
    SteadyInstant receivedAt;
    bool stale = false; ///< their candles were old when they came
};

/// The same of a price, and whether it can be believed.
struct PriceOrigin
{
    Subject subject;
    SteadyInstant receivedAt; ///< of the last answer
    Instant time;             ///< for the reader: the quote's own time, else that of the answer
    double value = 0;
    double believed = 0; ///< the last value that was no sudden leap; differs from a doubted one
    std::optional<Instant> quotedAt = {}; ///< the quote's own time
    SteadyInstant advancedAt = {};        ///< of the first answer with this quotedAt
    std::chrono::nanoseconds lag{0};      ///< age of the quote by then
    bool suspended = false;               ///< a stock that is not traded
};

/// What a refresh has been failing with.
struct Failure
{
    QString message; ///< user-facing
    Instant since;   ///< of the first failure in a row

    [[nodiscard]] bool operator==(const Failure &) const = default;
};

enum class Standing {
    none,    ///< there is no value
    foreign, ///< of another instrument, segment or timeframe
    doubted, ///< the instrument's own, of whatever age, but not believed yet
    old,     ///< the instrument's own, of an earlier hour
    fresh,
};

/// The judgement of a value at a moment.
struct Judgement
{
    Standing standing = Standing::none;
    std::chrono::nanoseconds age{0};
    /// Until time alone changes the standing, or a minute of the shown age; absent when it does not.
    std::optional<std::chrono::nanoseconds> changesIn = {};

    [[nodiscard]] bool fresh() const { return standing == Standing::fresh; }
    [[nodiscard]] bool own() const { return standing >= Standing::doubted; }
    /// Own and not doubted, of whatever age.
    [[nodiscard]] bool believed() const { return standing >= Standing::old; }
};

inline constexpr std::chrono::seconds priceFreshFor{20};
inline constexpr std::chrono::seconds analysisFreshFor{150}; ///< zones and signals

/// The exchange whose hours a stock keeps; absent for crypto.
[[nodiscard]] std::optional<StockMarket> exchangeOf(const Subject &subject);

/// How far the free quotes of an exchange are behind at most.
[[nodiscard]] std::chrono::nanoseconds toleratedLag(StockMarket exchange);

/// Origin of a price that has come now, with its quote for a stock; `before` that of the selected one's last.
/// A leap to more than eight times or less than an eighth of the last believed price of the same instrument
/// is doubted until a second answer says the same, give or take a fifth.
[[nodiscard]] PriceOrigin originOfPrice(Subject subject, double value, const StockQuote *quote,
                                        const std::optional<PriceOrigin> &before, const Clock &clock);

/// Judges zones or signals: those of `selected` are fresh for `analysisFreshFor` unless stale on arrival.
[[nodiscard]] Judgement judgeAnalysis(const std::optional<Origin> &origin, const Subject &selected,
                                      SteadyInstant now);
/// Judges a price. Crypto is fresh for `priceFreshFor` after its arrival. A stock in trading hours is by the
/// quote's own time, or since that has stood still; what the delayed quotes of Hong Kong are behind does not
/// count, and neither does the time before the session as long as answers come. Outside the hours it is fresh
/// when an answer, or the quote itself, is of after the last session.
[[nodiscard]] Judgement judgePrice(const std::optional<PriceOrigin> &origin, const Subject &selected,
                                   SteadyInstant now, Instant wallTime);

/// The usual delay of the quotes in whole minutes, when they come a minute late or more in trading hours;
/// absent for what is later than that, which is old.
[[nodiscard]] std::optional<std::chrono::minutes> quoteDelay(const PriceOrigin &origin, Instant wallTime);

/// Whether a price may be one: finite and above 0.
[[nodiscard]] bool isPrice(double value);

} // namespace kestrune
