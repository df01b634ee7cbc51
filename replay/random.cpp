// SPDX-License-Identifier: MIT
#include "replay/random.h"

#include <cmath>
#include <numbers>

namespace kestrune::replay {

namespace {

// SplitMix64 (Steele, Lea, Flood 2014): passes the usual batteries and starts well from any seed.
quint64 scramble(quint64 value)
{
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9ULL;
    value = (value ^ (value >> 27)) * 0x94d049bb133111ebULL;
    return value ^ (value >> 31);
}

constexpr quint64 goldenGamma = 0x9e3779b97f4a7c15ULL;

} // namespace

quint64 mixSeed(quint64 first, quint64 second)
{
    return scramble(scramble(first + goldenGamma) ^ (second * goldenGamma + 1));
}

quint64 Random::next()
{
    m_state += goldenGamma;
    return scramble(m_state);
}

double Random::uniform()
{
    return static_cast<double>(next() >> 11) * 0x1p-53;
}

int Random::index(int count)
{
    return static_cast<int>(uniform() * count);
}

double Random::normal()
{
    if (m_hasSpare) {
        m_hasSpare = false;
        return m_spare;
    }
    const double radius = std::sqrt(-2 * std::log(1 - uniform()));
    const double angle = 2 * std::numbers::pi * uniform();
    m_spare = radius * std::sin(angle);
    m_hasSpare = true;
    return radius * std::cos(angle);
}

} // namespace kestrune::replay
