// SPDX-License-Identifier: MIT
#pragma once

#include "platform/completion.h"

#include <QCoroTask>

#include <QObject>
#include <QPointer>

#include <chrono>
#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>

namespace kestrune {

/// The sleepers of a clock in the order of their deadlines, equal deadlines in the order of their arrival.
/// Deadlines are durations since an epoch of the owner's choice.
class SleepQueue
{
public:
    using Deadline = std::chrono::nanoseconds;

    SleepQueue() = default;
    SleepQueue(const SleepQueue &) = delete;
    SleepQueue &operator=(const SleepQueue &) = delete;
    /// Resumes every sleeper with false.
    ~SleepQueue();

    /// True at the deadline or after a stop, false when the queue goes away.
    [[nodiscard]] QCoro::Task<bool> sleepUntil(Deadline deadline, std::stop_token stop);

    /// Called whenever the earliest deadline may have changed.
    void onChange(std::function<void()> reaction) { m_onChange = std::move(reaction); }

    [[nodiscard]] std::optional<Deadline> earliest() const;
    [[nodiscard]] std::size_t size() const { return m_sleepers.size(); }

    /// Wakes the first sleeper whose deadline is not after `now`; false when there is none.
    bool wakeOne(Deadline now);
    /// Wakes every sleeper that is due and was there before the call, so that one that at once sleeps again
    /// for no time at all cannot hold the caller.
    void wakeDue(Deadline now);

private:
    struct Place
    {
        Deadline deadline;
        std::uint64_t arrival;
        // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 finds a zero in what the compiler writes here
        friend auto operator<=>(const Place &, const Place &) = default;
    };
    using Sleeper = std::shared_ptr<Completion<bool>>;

    /// Reacts to a stop.
    struct Waker
    {
        SleepQueue *queue;
        Place place;
        void operator()() const;
    };

    void wakeStopped(Place place);
    void wake(std::map<Place, Sleeper>::iterator sleeper, bool result);

    std::map<Place, Sleeper> m_sleepers;
    std::uint64_t m_arrivals = 0;
    bool m_closing = false;
    std::function<void()> m_onChange;
    // Receives the queued wakes of stopped sleepers; those that are under way end with it.
    std::unique_ptr<QObject> m_context = std::make_unique<QObject>();
};

} // namespace kestrune
