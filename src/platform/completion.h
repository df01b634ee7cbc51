// SPDX-License-Identifier: MIT
#pragma once

#include <optional> // before <coroutine>: moc 6.4 cannot read that as the first standard header
#include <utility>

#include <coroutine>

namespace kestrune {

/// A value that one coroutine waits for and that arrives once. Whoever owes the value must give it before
/// it goes away: a waiter that never resumes leaks its frame.
template <typename T>
class Completion
{
public:
    Completion() = default;
    Completion(const Completion &) = delete;
    Completion &operator=(const Completion &) = delete;

    [[nodiscard]] bool isComplete() const { return m_value.has_value(); }

    /// Stores the value and resumes the waiter inside this call; only the first value counts. The object may
    /// be gone when this returns.
    void complete(T value)
    {
        if (m_value)
            return;
        m_value.emplace(std::move(value));
        if (const auto waiter = std::exchange(m_waiter, {}))
            waiter.resume();
    }

    /// To be awaited by one coroutine, which keeps the completion alive meanwhile.
    [[nodiscard]] auto operator co_await() noexcept
    {
        struct Awaiter
        {
            Completion *completion;
            [[nodiscard]] bool await_ready() const noexcept { return completion->isComplete(); }
            void await_suspend(std::coroutine_handle<> waiter) const noexcept
            {
                completion->m_waiter = waiter;
            }
            [[nodiscard]] T await_resume() const { return *std::move(completion->m_value); }
        };
        return Awaiter{this};
    }

private:
    std::optional<T> m_value;
    std::coroutine_handle<> m_waiter;
};

} // namespace kestrune
