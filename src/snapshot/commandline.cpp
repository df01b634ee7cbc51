// SPDX-License-Identifier: MIT
#include "snapshot/commandline.h"

#include "market/endpoints.h"
#include "viewmodel/chartsize.h"

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

const QString marketServerOption = u"--market-server"_s;

bool takesValue(const QString &argument)
{
    static const QStringList options{u"--snapshot"_s, u"--chart"_s,  u"--size"_s,
                                     u"--symbol"_s,   u"--market"_s, u"--timeframe"_s,
                                     u"--watch"_s,    u"--print"_s,  marketServerOption};
    return options.contains(argument);
}

void readMarketServer(CommandLine &line, const QString &value)
{
    QString base = value;
    while (base.endsWith(u'/'))
        base.chop(1);
    const auto url = requestUrl(base);
    if (!url || url->hasQuery() || url->hasFragment()) {
        // A line break in the value must not become one in the message.
        line.error = u"--market-server wants an http or https address with a host, not \"%1\""_s.arg(
            value.simplified());
        return;
    }
    line.marketServer = base;
}

} // namespace

std::optional<QString> optionValue(const QStringList &arguments, const QString &option)
{
    const qsizetype index = arguments.indexOf(option);
    if (index < 0 || index + 1 == arguments.size())
        return std::nullopt;
    return arguments[index + 1];
}

CommandLine parseCommandLine(const QStringList &arguments)
{
    CommandLine line;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments[i];
        if (i > 0 && takesValue(arguments[i - 1]))
            continue;
        if (argument == u"--help") {
            line.help = true;
        } else if (argument == u"--version") {
            line.version = true;
        } else if (argument == u"--demo") {
            line.demo = true;
        } else if (argument == u"--strip") {
            line.strip = true;
        } else if (argument == u"--alert-log") {
            line.alertLog = true;
        } else if (argument == u"--json") {
            line.json = true;
        }
    }
    if (const auto server = optionValue(arguments, marketServerOption))
        readMarketServer(line, *server);
    else if (arguments.contains(marketServerOption))
        line.error = u"--market-server wants an address"_s;
    if (arguments.endsWith(u"--chart"_s) && arguments.count(u"--chart"_s) == 1)
        line.error = u"--chart wants a file"_s;
    if (const auto size = optionValue(arguments, u"--size"_s); size && !chartSizeFrom(*size))
        line.error = u"--size wants width and height between 360x260 and 4096x4096, for example 720x460"_s;
    if (line.demo && line.marketServer && !line.error)
        line.error = u"--demo and --market-server exclude each other"_s;
    return line;
}

QString helpText()
{
    return uR"(Usage: kestrune-bar [options]

Live price, support and resistance in the status bar: crypto perpetuals, China A-shares, Hong Kong stocks.

  --snapshot DIR        write the analysis of one instrument into DIR and exit
  --chart FILE          draw the chart of one instrument as a PNG picture and exit
  --size WxH            its size, 720x460 without; the picture has twice as many pixels
  --light               draw it in light colours
  --watch FORMAT        print a line at every change, for a status bar: waybar, i3bar, polybar, xfce,
                        argos, tmux, plain or json; the running program's, or its own without one
  --print FORMAT        print one such line and exit: 0 with a price, 3 without, 4 with an old one
  --market SEGMENT      加密, A股 or 港股 (with --snapshot, --chart, --watch, --print)
  --symbol CODE         instrument, for example BTC, sh600519, hk00700 (likewise)
  --timeframe LABEL     1H, 4H, 日线, 周线 or 月线 (likewise)
  --demo                use a simulated market instead of live data; settings are kept apart
  --market-server URL   send every market request to this address instead of the public ones
  --strip               show the price in a small window of its own, not in the desktop's bar
  --alert-log           print the price alerts that rang, oldest first; with --json as JSON lines
  --help                print this text
  --version             print the version
)"_s;
}

} // namespace kestrune
