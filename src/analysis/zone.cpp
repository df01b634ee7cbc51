// SPDX-License-Identifier: MIT
#include "analysis/zone.h"

#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <bit>

namespace kestrune {

namespace {

/// xoshiro256++ by Blackman and Vigna (public domain): identities need to be distinct, not secret.
class RandomBits
{
public:
    RandomBits()
    {
        std::array<quint32, 8> seed{};
        QRandomGenerator::system()->fillRange(seed.data(), static_cast<qsizetype>(seed.size()));
        for (std::size_t i = 0; i < m_state.size(); ++i)
            m_state[i] = quint64{seed[2 * i]} << 32 | seed[2 * i + 1];
        m_state[0] |= 1; // the all-zero state would only ever give zeros
    }

    quint64 next()
    {
        const quint64 result = std::rotl(m_state[0] + m_state[3], 23) + m_state[0];
        const quint64 shifted = m_state[1] << 17;
        m_state[2] ^= m_state[0];
        m_state[3] ^= m_state[1];
        m_state[1] ^= m_state[2];
        m_state[0] ^= m_state[3];
        m_state[2] ^= shifted;
        m_state[3] = std::rotl(m_state[3], 45);
        return result;
    }

private:
    std::array<quint64, 4> m_state{};
};

} // namespace

TextList::TextList(std::initializer_list<QString> texts) : m_count(texts.size())
{
    const auto block = std::make_shared<QString[]>(texts.size());
    std::copy(texts.begin(), texts.end(), block.get());
    m_block = block;
}

bool TextList::operator==(const TextList &other) const
{
    return std::equal(begin(), end(), other.begin(), other.end());
}

QUuid fastUuid()
{
    thread_local RandomBits bits;
    const quint64 a = bits.next();
    const quint64 b = bits.next();
    const auto byteOf = [b](int index) { return static_cast<uchar>(b >> (8 * index)); };
    constexpr uint versionBits = 0x4000; // version 4: random
    constexpr uint variantBits = 0x80;   // the RFC 4122 layout
    return QUuid(static_cast<uint>(a >> 32), static_cast<ushort>(a >> 16),
                 static_cast<ushort>((a & 0x0fff) | versionBits),
                 static_cast<uchar>((byteOf(7) & 0x3f) | variantBits), byteOf(6), byteOf(5), byteOf(4),
                 byteOf(3), byteOf(2), byteOf(1), byteOf(0));
}

} // namespace kestrune
