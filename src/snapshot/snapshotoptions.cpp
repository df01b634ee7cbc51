// SPDX-License-Identifier: MIT
#include "snapshot/snapshotmode.h"

#include "snapshot/commandline.h"
#include "viewmodel/chartsize.h"

namespace kestrune {

using namespace Qt::StringLiterals;

std::optional<SnapshotMode::Config> SnapshotMode::parse(const QStringList &arguments)
{
    const auto dir = optionValue(arguments, u"--snapshot"_s);
    const auto chart = optionValue(arguments, u"--chart"_s);
    if (!dir && !chart)
        return std::nullopt;
    return Config{
        dir.value_or(QString()), Selection::parse(arguments), chart.value_or(QString()),
        chartSizeFrom(optionValue(arguments, u"--size"_s).value_or(QString())).value_or(usualChartSize),
        arguments.contains(u"--light"_s)};
}

} // namespace kestrune
