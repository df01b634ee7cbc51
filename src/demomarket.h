// SPDX-License-Identifier: MIT
#pragma once

#include <QProcess>
#include <QString>

#include <tl/expected.hpp>

#include <memory>

namespace kestrune {

/// A simulated market in a process of its own: kestrune-replay from beside this program, on a free
/// loopback port. It ends with this object, and by itself when this process dies.
class DemoMarket
{
public:
    /// Blocks until the server listens (a few milliseconds, at most five seconds); the error is one line.
    [[nodiscard]] static tl::expected<std::unique_ptr<DemoMarket>, QString> start(const QString &program);
    DemoMarket(const DemoMarket &) = delete;
    DemoMarket &operator=(const DemoMarket &) = delete;
    ~DemoMarket();

    [[nodiscard]] const QString &address() const { return m_address; } ///< base address, no trailing slash

private:
    DemoMarket() = default;

    QProcess m_process;
    QString m_address;
};

} // namespace kestrune
