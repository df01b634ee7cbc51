// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <array>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace kestrune::test {

/// A pipe as a bar opens it.
struct Pipe
{
    Pipe() { [[maybe_unused]] const int made = ::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK); }
    ~Pipe()
    {
        hangUp();
        ::close(ends[1]);
    }
    void hangUp()
    {
        if (ends[0] >= 0)
            ::close(std::exchange(ends[0], -1));
    }
    /// What has been written since the last call.
    [[nodiscard]] QByteArray read() const
    {
        QByteArray all(1 << 20, Qt::Uninitialized);
        const auto count = ::read(ends[0], all.data(), static_cast<std::size_t>(all.size()));
        return all.left(std::max<qsizetype>(count, 0));
    }
    [[nodiscard]] QString text() const { return QString::fromUtf8(read()); }

    std::array<int, 2> ends{-1, -1};
};

} // namespace kestrune::test
