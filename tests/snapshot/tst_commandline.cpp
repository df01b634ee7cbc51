// SPDX-License-Identifier: MIT
#include "snapshot/commandline.h"
#include "snapshot/snapshotmode.h"
#include "support/rows.h"
#include "support/testregistry.h"

using namespace Qt::StringLiterals;

class CommandLineTest : public QObject
{
    Q_OBJECT
    /// What is read, in one line: the snapshot's directory, symbol, segment and timeframe in brackets, "-"
    /// for what is absent, and the other options.
    static QString read(const QStringList &arguments)
    {
        QStringList parts;
        if (const auto config = kestrune::SnapshotMode::parse(arguments)) {
            const auto part = [](const std::optional<QString> &value) { return value.value_or(QChar(u'-')); };
            const auto &[symbol, market, timeframe] = config->selection;
            parts << u'[' + config->dir + u' ' + part(symbol) + u' ' + part(market) + u' ' + part(timeframe) +
                         u']';
            if (!config->chart.isEmpty())
                parts << u"%1 %2x%3%4"_s.arg(config->chart)
                             .arg(config->chartSize.width())
                             .arg(config->chartSize.height())
                             .arg(config->lightChart ? u" light"_s : QString());
        }
        const auto line = kestrune::parseCommandLine(arguments);
        const std::pair<bool, const char *> options[] = {{line.help, "help"},
                                                         {line.version, "version"},
                                                         {line.demo, "demo"},
                                                         {line.strip, "strip"},
                                                         {line.alertLog, "log"},
                                                         {line.json, "json"},
                                                         {line.error.has_value(), "error"}};
        for (const auto &[given, name] : options) {
            if (given)
                parts << QString::fromLatin1(name);
        }
        if (line.marketServer)
            parts << *line.marketServer;
        return parts.join(u' ');
    }

private Q_SLOTS:
    void everyOption()
    {
        const struct
        {
            const char *name, *arguments, *read;
        } rows[] = {
            {"nothing", "", ""},
            {"no directory after it", "--symbol BTC --snapshot", ""},
            {"any order", "--timeframe 4H --snapshot out --market 港股 --symbol x", "[out x 港股 4H]"},
            {"the first of each counts", "--snapshot a --snapshot b --symbol X --symbol Y", "[a X - -]"},
            {"one at the end hides nothing", "--snapshot a --symbol", "[a - - -]"},
            {"an option as directory is found again", "--snapshot --symbol BTC", "[--symbol BTC - -]"},
            {"options as values", "--symbol --market --snapshot out", "[out --market --snapshot -]"},
            {"a switch as a value", "--symbol --snapshot --demo", "[--demo --snapshot - -]"},
            {"unknown words", "-x --snapshots y --snapshot out z --Symbol B --symbol=B", "[out - - -]"},
            {"help and version", "--version x --help", "help version"},
            {"help as a directory is no help", "--snapshot --help --strip", "[--help - - -] strip"},
            {"the log of alerts", "--alert-log --json --demo", "demo log json"},
            {"an option after a value counts again", "--symbol BTC --demo", "demo"},
            {"an option at the end takes no value", "--demo --symbol", "demo"},
            {"slashes at the end", "--market-server https://a.example:80/x/y//", "https://a.example:80/x/y"},
            {"the first server counts", "--market-server http://a --market-server http://b", "http://a"},
            {"without a value", "--market-server", "error"},
            {"without a scheme", "--market-server 127.0.0.1:8080", "error"},
            {"slashes only", "--market-server //", "error"},
            {"an impossible port", "--market-server http://a:99999", "error"},
            {"with a query", "--market-server http://a/?x=1", "error"},
            {"another option in its place", "--market-server --snapshot out", "[out - - -] error"},
            {"together with the demo", "--demo --market-server http://a", "demo error http://a"},
            {"a chart", "--chart a.png --symbol BTC", "[ BTC - -] a.png 720x460"},
            {"its look", "--size 800x500 --light --chart a.png --snapshot out",
             "[out - - -] a.png 800x500 light"},
            {"no file for it", "--chart", "error"},
            {"a size of no use", "--chart a.png --size 10x10", "[ - - -] a.png 720x460 error"},
            {"no size at all", "--chart a.png --size x460", "[ - - -] a.png 720x460 error"},
            {"the server as a symbol", "--symbol --market-server http://a", "http://a"},
        };
        kestrune::test::forEachRow(rows, [](const auto &row) {
            const QStringList arguments = QString::fromUtf8(row.arguments).split(u' ', Qt::SkipEmptyParts);
            QCOMPARE(read(arguments), QString::fromUtf8(row.read));
        });
        const QString broken = QStringLiteral("ftp://a\nb");
        const auto line = kestrune::parseCommandLine({QStringLiteral("--market-server"), broken});
        QVERIFY(line.error && line.error->contains(u"ftp://a") && !line.error->contains(u'\n'));
    }
};

KESTRUNE_TEST(CommandLineTest)
#include "tst_commandline.moc"
