// SPDX-License-Identifier: MIT
#include "market/sourcehealth.h"

#include <algorithm>

namespace kestrune {

namespace {

constexpr std::size_t mostRests = 256; // far more than one session's instruments

} // namespace

// The moment of the start is chance enough.
SourceHealth::SourceHealth(const Clock &clock, std::chrono::seconds first)
    : m_clock(&clock)
    , m_first(first)
    , m_random(std::minstd_rand::result_type(clock.now().time_since_epoch().count()))
{}

bool SourceHealth::rests(const SourceTopic &topic) const
{
    return isResting({topic.source, topic.subject}) || isResting({topic.source, topic.detail});
}

bool SourceHealth::isResting(const Key &key) const
{
    const auto found = m_rests.find(key);
    return found != m_rests.end() && m_clock->steady() < found->second.until;
}

std::optional<Refusal> SourceHealth::refusal(Source source) const
{
    const auto found = m_refusals.find(source);
    if (found == m_refusals.end() || m_clock->steady() >= found->second.until)
        return std::nullopt;
    return found->second.refusal;
}

std::optional<Refusal> SourceHealth::noteRefusal(Source source, const HttpAnswer &answer)
{
    const auto refused = refusalIn(answer);
    if (refused) {
        const std::chrono::seconds wait = refused->retryAfter.value_or(usualRefusal);
        m_refusals[source] = {*refused,
                              m_clock->steady() + std::min<std::chrono::seconds>(wait, longestRefusal)};
    }
    return refused;
}

void SourceHealth::noteSuccess(const SourceTopic &topic)
{
    m_rests.erase({topic.source, topic.subject});
    m_rests.erase({topic.source, topic.detail});
}

void SourceHealth::noteFailure(const Key &key)
{
    if (isResting(key))
        return;
    if (m_rests.size() >= mostRests && !m_rests.contains(key))
        m_rests.erase(std::ranges::min_element(m_rests, {}, [](const auto &entry) {
            return entry.second.until; // the one that is over the longest
        }));
    Rest &rest = m_rests[key];
    std::chrono::duration<double> length = m_first;
    for (int i = 0; i < rest.failures && length < longestRest; ++i)
        length *= 2;
    ++rest.failures;
    // Spread, so that not all bars of a desk come back in the same second.
    length =
        std::min<std::chrono::duration<double>>(std::min<std::chrono::duration<double>>(length, longestRest) *
                                                    std::uniform_real_distribution(0.8, 1.2)(m_random),
                                                longestRest);
    rest.until = m_clock->steady() + std::chrono::duration_cast<std::chrono::nanoseconds>(length);
}

} // namespace kestrune
