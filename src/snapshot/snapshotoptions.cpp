// SPDX-License-Identifier: MIT
#include "snapshot/snapshotmode.h"

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

std::optional<QString> valueOf(const QStringList &arguments, const QString &option)
{
    const qsizetype index = arguments.indexOf(option);
    if (index < 0 || index + 1 == arguments.size())
        return std::nullopt;
    return arguments[index + 1];
}

} // namespace

std::optional<SnapshotMode::Config> SnapshotMode::parse(const QStringList &arguments)
{
    auto dir = valueOf(arguments, u"--snapshot"_s);
    if (!dir)
        return std::nullopt;
    return Config{std::move(*dir), valueOf(arguments, u"--symbol"_s), valueOf(arguments, u"--market"_s),
                  valueOf(arguments, u"--timeframe"_s)};
}

} // namespace kestrune
