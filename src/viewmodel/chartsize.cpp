// SPDX-License-Identifier: MIT
#include "viewmodel/chartsize.h"

#include <QList>

namespace kestrune {

std::optional<QSize> chartSizeFrom(QStringView text)
{
    constexpr int most = 4096;
    const auto parts = text.split(u'x');
    if (parts.size() != 2)
        return std::nullopt;
    const QSize size(parts[0].toInt(), parts[1].toInt());
    const bool fits = size.expandedTo(leastChartSize) == size && size.boundedTo({most, most}) == size;
    return fits ? std::optional(size) : std::nullopt;
}

} // namespace kestrune
