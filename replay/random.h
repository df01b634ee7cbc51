// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

namespace kestrune::replay {

/// Folds values into one well-mixed seed; the same values always give the same seed.
[[nodiscard]] quint64 mixSeed(quint64 first, quint64 second);

/// A small generator whose numbers depend on the seed alone, not on the standard library in use.
class Random
{
public:
    explicit Random(quint64 seed) : m_state(seed) {}

    [[nodiscard]] quint64 next();
    /// Evenly spread in [0, 1).
    [[nodiscard]] double uniform();
    /// An index in [0, count); `count` is at least 1.
    [[nodiscard]] int index(int count);
    /// Normally distributed with mean 0 and deviation 1.
    [[nodiscard]] double normal();

private:
    quint64 m_state;
    double m_spare = 0;
    bool m_hasSpare = false;
};

} // namespace kestrune::replay
