// SPDX-License-Identifier: MIT
#pragma once

#include "market/serviceerror.h"
#include "platform/clock.h"

#include <QString>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <utility>

namespace kestrune {

/// The hosts that serve us. Each refuses for all that it serves.
enum class Source { gate, binanceSpot, binanceFutures, okx, tencentQuotes, tencentCandles, tencentSearch };

/// What is asked for, as far as it fails together.
struct SourceTopic
{
    Source source = Source::gate;
    QString subject; ///< kind and symbol: where nothing comes, nothing of it will
    QString detail;  ///< the same with the timeframe, which is what an unusable answer speaks for
};

/// Which sources are better left alone for the moment: those that failed, while others answer, and those
/// that refuse, in any case. Services share one; the clock outlives it.
class SourceHealth
{
public:
    static constexpr std::chrono::seconds firstRest{5}, longestRest{60}; ///< doubled by each failure
    static constexpr std::chrono::seconds usualRefusal{60}; ///< where the source does not say how long
    static constexpr std::chrono::minutes longestRefusal{15};

    /// `first` for what is asked less often than every few seconds.
    explicit SourceHealth(const Clock &clock, std::chrono::seconds first = firstRest);

    [[nodiscard]] bool rests(const SourceTopic &topic) const;
    /// The refusal that still holds.
    [[nodiscard]] std::optional<Refusal> refusal(Source source) const;

    /// Takes the refusal that an answer may be, and returns it.
    std::optional<Refusal> noteRefusal(Source source, const HttpAnswer &answer);
    /// A failed transfer. During a rest nothing is counted: it belongs to what began it.
    void noteSilence(const SourceTopic &topic) { noteFailure({topic.source, topic.subject}); }
    /// An answer that says nothing usable.
    void noteUnusable(const SourceTopic &topic) { noteFailure({topic.source, topic.detail}); }
    void noteSuccess(const SourceTopic &topic);

    /// Ends every rest: what failed may have been our own network.
    void forgetFailures() { m_rests.clear(); }
    /// For when another address asks from now on.
    void forgetRefusals() { m_refusals.clear(); }

private:
    using Key = std::pair<Source, QString>;
    struct Rest
    {
        int failures = 0; ///< in a row
        SteadyInstant until;
    };
    struct Held
    {
        Refusal refusal;
        SteadyInstant until;
    };

    [[nodiscard]] bool isResting(const Key &key) const;
    void noteFailure(const Key &key);

    const Clock *m_clock;
    std::chrono::seconds m_first;
    std::minstd_rand m_random;
    std::map<Key, Rest> m_rests;
    std::map<Source, Held> m_refusals;
};

/// Held by what may go on after its service.
using SharedSourceHealth = std::shared_ptr<SourceHealth>;

} // namespace kestrune
