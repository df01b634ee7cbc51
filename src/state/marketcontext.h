// SPDX-License-Identifier: MIT
#pragma once

#include "state/namedcolor.h"

#include <QString>

#include <optional>

namespace kestrune {

/// Vegas tunnel: `up` is EMA 144, `down` is EMA 169; `up` need not be the higher one.
struct VegasTunnel
{
    double up = 0;
    double down = 0;

    [[nodiscard]] bool operator==(const VegasTunnel &) const = default;
};

struct Verdict
{
    QString text;
    NamedColor color = NamedColor::secondary;

    [[nodiscard]] bool operator==(const Verdict &) const = default;
};

/// Red is bullish and green bearish here, as everywhere in the readings.
[[nodiscard]] Verdict trendVerdict(std::optional<double> price, std::optional<VegasTunnel> vegas,
                                   std::optional<double> ema200);
[[nodiscard]] Verdict rsiVerdict(std::optional<double> rsi);
[[nodiscard]] Verdict macdVerdict(std::optional<double> histogram);
/// Price units and percent of the price, for example "35.50（1.00%）"; "—" when something is missing.
[[nodiscard]] QString atrReadout(std::optional<double> atr, std::optional<double> price, int decimals);

} // namespace kestrune
