// SPDX-License-Identifier: MIT
#include "platform/sleepqueue.h"

#include <utility>

namespace kestrune {

SleepQueue::~SleepQueue()
{
    m_closing = true;
    m_onChange = nullptr;
    m_context.reset();
    while (!m_sleepers.empty())
        wake(m_sleepers.begin(), false);
}

QCoro::Task<bool> SleepQueue::sleepUntil(Deadline deadline, std::stop_token stop)
{
    if (m_closing)
        co_return false;
    const auto sleeper = std::make_shared<Completion<bool>>();
    const Place place{deadline, m_arrivals++};
    m_sleepers.emplace(place, sleeper);
    if (m_onChange)
        m_onChange();
    // A place is never used twice, so a wake that comes after the deadline's finds nobody.
    const std::stop_callback wakeOnStop(std::move(stop), Waker{this, place});
    co_return co_await *sleeper; // on false the queue is gone
}

void SleepQueue::Waker::operator()() const
{
    if (queue->m_closing)
        return; // every sleeper is being woken anyway
    QMetaObject::invokeMethod(
        queue->m_context.get(), [waker = *this] { waker.queue->wakeStopped(waker.place); },
        Qt::QueuedConnection);
}

std::optional<SleepQueue::Deadline> SleepQueue::earliest() const
{
    if (m_sleepers.empty())
        return std::nullopt;
    return m_sleepers.begin()->first.deadline;
}

bool SleepQueue::wakeOne(Deadline now)
{
    const auto first = m_sleepers.begin();
    if (first == m_sleepers.end() || first->first.deadline > now)
        return false;
    wake(first, true);
    return true;
}

void SleepQueue::wakeDue(Deadline now)
{
    // A woken sleeper may destroy the queue's owner: the context tells.
    const QPointer<QObject> alive = m_context.get();
    const std::uint64_t newcomers = m_arrivals;
    auto next = m_sleepers.begin();
    while (next != m_sleepers.end() && next->first.deadline <= now) {
        const Place place = next->first;
        if (place.arrival < newcomers) {
            wake(next, true);
            if (!alive)
                return;
        }
        next = m_sleepers.upper_bound(place);
    }
    if (m_onChange)
        m_onChange();
}

void SleepQueue::wakeStopped(Place place)
{
    const auto sleeper = m_sleepers.find(place);
    if (sleeper == m_sleepers.end())
        return;
    const QPointer<QObject> alive = m_context.get();
    wake(sleeper, true);
    if (alive && m_onChange)
        m_onChange();
}

void SleepQueue::wake(std::map<Place, Sleeper>::iterator sleeper, bool result)
{
    const Sleeper own = std::move(sleeper->second);
    m_sleepers.erase(sleeper);
    own->complete(result);
}

} // namespace kestrune
