// SPDX-License-Identifier: MIT
#include "line/watchmode.h"

#include "snapshot/commandline.h"

namespace kestrune {

using namespace Qt::StringLiterals;

tl::expected<std::optional<WatchMode::Config>, QString> WatchMode::parse(const QStringList &arguments)
{
    std::optional<Config> config;
    for (const QString &option : {u"--watch"_s, u"--print"_s}) {
        if (!arguments.contains(option) || optionValue(arguments, u"--snapshot"_s) == option)
            continue;
        const auto format = lineFormat(optionValue(arguments, option).value_or(QString()));
        if (!format)
            return tl::unexpected(option + u" wants one of "_s + lineFormatNames());
        if (config || optionValue(arguments, u"--snapshot"_s))
            return tl::unexpected(u"--watch, --print and --snapshot exclude each other"_s);
        config = Config{*format, option == u"--print", Selection::parse(arguments)};
    }
    return config;
}

} // namespace kestrune
