// SPDX-License-Identifier: MIT
#pragma once

#include "platform/clock.h"
#include "platform/sleepqueue.h"

#include <QTimer>

namespace kestrune {

/// The machine's clock. All sleepers share one precise single-shot timer, so that the process wakes once
/// per deadline; a coarse one may fire 5 % early. Time spent in suspend does not count as slept.
class SystemClock final : public Clock
{
public:
    SystemClock();
    ~SystemClock() override;

    [[nodiscard]] Instant now() const override { return std::chrono::system_clock::now(); }
    [[nodiscard]] SteadyInstant steady() const override;
    [[nodiscard]] QCoro::Task<bool> sleep(std::chrono::milliseconds duration,
                                          std::stop_token stop = {}) override;

private:
    void arm();

    QTimer m_timer;
    SleepQueue m_sleepers; // goes first, while the timer is still there
};

} // namespace kestrune
