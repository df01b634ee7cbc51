// SPDX-License-Identifier: MIT
#include "snapshot/snapshotmode.h"

#include "snapshot/commandline.h"

namespace kestrune {

using namespace Qt::StringLiterals;

std::optional<SnapshotMode::Config> SnapshotMode::parse(const QStringList &arguments)
{
    auto dir = optionValue(arguments, u"--snapshot"_s);
    if (!dir)
        return std::nullopt;
    return Config{std::move(*dir), Selection::parse(arguments)};
}

} // namespace kestrune
