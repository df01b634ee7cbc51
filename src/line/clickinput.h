// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QPoint>
#include <QSocketNotifier>

#include <optional>

namespace kestrune {

/// A click on the line, as i3bar tells it.
struct BarClick
{
    int button = 0;  ///< as X counts them: 1 left, 2 middle, 3 right, 4 and 5 the wheel up and down
    QPoint position; ///< on the screen, in its own pixels

    [[nodiscard]] bool operator==(const BarClick &) const = default;
};

/// Reads one line of the endless JSON array of clicks; absent for what is no click.
[[nodiscard]] std::optional<BarClick> readClick(QByteArray line);

/// The clicks that arrive through a file descriptor, which stays open.
class ClickInput final : public QObject
{
    Q_OBJECT
public:
    explicit ClickInput(int fd);

Q_SIGNALS:
    void clicked(const kestrune::BarClick &click);

private:
    void readSome();

    QSocketNotifier m_notifier;
    QByteArray m_begun; ///< of the line that has not ended yet
};

} // namespace kestrune
