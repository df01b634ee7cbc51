// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/candle.h"

#include <QByteArray>

#include <cstdint>

namespace kestrune::fuzz {

/// Takes values from the front of an input; zeros once it is used up.
class Input
{
public:
    explicit Input(QByteArrayView bytes) : m_rest(bytes) {}

    [[nodiscard]] bool isEmpty() const { return m_rest.isEmpty(); }
    [[nodiscard]] std::uint8_t byte();
    /// Any double at all: eight bytes as they stand.
    [[nodiscard]] double number();
    /// One byte: mostly a price near `base`, but also zeros, infinities, NaN, denormals and the largest
    /// numbers.
    [[nodiscard]] double numberNear(double base);

private:
    QByteArrayView m_rest;
};

/// The rest of the input as candles of arbitrary values or of values near `base`, repeated up to
/// `mostCandles`.
[[nodiscard]] CandleList takeCandles(Input &input, double base, std::size_t mostCandles);

} // namespace kestrune::fuzz
