// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <array>
#include <memory>

namespace kestrune {

/// Turns SIGTERM, SIGINT and SIGHUP into a Qt signal on the event loop. One object at a time.
class QuitSignals : public QObject
{
    Q_OBJECT
public:
    QuitSignals();
    ~QuitSignals() override;

Q_SIGNALS:
    void received();

private:
    void drain();

    std::array<int, 2> m_pipe{-1, -1};
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace kestrune
