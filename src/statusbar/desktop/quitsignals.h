// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <array>
#include <initializer_list>
#include <memory>
#include <vector>

namespace kestrune {

/// Turns SIGTERM, SIGINT, SIGHUP and those that are named besides into a Qt signal on the event loop. One
/// object at a time.
class QuitSignals : public QObject
{
    Q_OBJECT
public:
    explicit QuitSignals(std::initializer_list<int> more = {});
    ~QuitSignals() override;

Q_SIGNALS:
    void received();

private:
    void handle(void (*handler)(int)) const;
    void drain();

    std::vector<int> m_signals;

    std::array<int, 2> m_pipe{-1, -1};
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace kestrune
