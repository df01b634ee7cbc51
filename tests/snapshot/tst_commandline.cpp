// SPDX-License-Identifier: MIT
#include "snapshot/commandline.h"
#include "snapshot/snapshotmode.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

/// "dir symbol market timeframe", "-" for what is absent.
QString spelled(const std::optional<SnapshotMode::Config> &config)
{
    if (!config)
        return u"interactive"_s;
    const QString absent = u"-"_s;
    return QStringList{config->dir, config->symbol.value_or(absent), config->market.value_or(absent),
                       config->timeframe.value_or(absent)}
        .join(u'|');
}

QString spelled(const CommandLine &line)
{
    QStringList parts;
    if (line.help)
        parts.append(u"help"_s);
    if (line.version)
        parts.append(u"version"_s);
    if (line.demo)
        parts.append(u"demo"_s);
    if (line.strip)
        parts.append(u"strip"_s);
    if (line.marketServer)
        parts.append(*line.marketServer);
    if (line.error)
        parts.append(u"error"_s);
    return parts.join(u' ');
}

} // namespace

class CommandLineTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void snapshotOptions_data();
    void snapshotOptions();
    void otherOptions_data();
    void otherOptions();
    void anErrorIsOneLineThatNamesTheValue();
};

void CommandLineTest::snapshotOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("config");
    const auto row = [](const char *name, const QString &arguments, const QString &config) {
        QTest::newRow(name) << arguments.split(u' ', Qt::SkipEmptyParts) << config;
    };
    row("nothing", {}, u"interactive"_s);
    row("no directory after it", u"--symbol BTC --snapshot"_s, u"interactive"_s);
    row("the directory alone", u"--snapshot out"_s, u"out|-|-|-"_s);
    row("options in any order and before it",
        u"--timeframe 4H --snapshot out --market 港股 --symbol hk00005"_s, u"out|hk00005|港股|4H"_s);
    row("the first of each counts", u"--snapshot a --snapshot b --symbol X --symbol Y"_s, u"a|X|-|-"_s);
    row("a first one at the end hides nothing", u"--snapshot a --symbol"_s, u"a|-|-|-"_s);
    row("an option as directory is found again as itself", u"--snapshot --symbol BTC"_s,
        u"--symbol|BTC|-|-"_s);
    row("an option as value", u"--symbol --market --snapshot out"_s, u"out|--market|--snapshot|-"_s);
    row("unknown words are ignored", u"-x --snapshots y --snapshot out z --Symbol BTC --symbol=BTC"_s,
        u"out|-|-|-"_s);
}

void CommandLineTest::snapshotOptions()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, config);
    QCOMPARE(spelled(SnapshotMode::parse(arguments)), config);
}

void CommandLineTest::otherOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("line");
    const auto row = [](const char *name, const QString &arguments, const QString &line) {
        QTest::newRow(name) << arguments.split(u' ', Qt::SkipEmptyParts) << line;
    };
    row("nothing", {}, {});
    row("help and version", u"--version x --help"_s, u"help version"_s);
    row("help as a directory is no help", u"--snapshot --help"_s, {});
    row("an option after a value counts again", u"--symbol BTC --demo"_s, u"demo"_s);
    row("an option at the end takes no value", u"--demo --symbol"_s, u"demo"_s);
    row("a server", u"--market-server http://127.0.0.1:8080"_s, u"http://127.0.0.1:8080"_s);
    row("a prefix path without its slashes", u"--market-server https://a.example/x/y//"_s,
        u"https://a.example/x/y"_s);
    row("the first server counts", u"--market-server http://a --market-server http://b"_s, u"http://a"_s);
    row("without a value", u"--market-server"_s, u"error"_s);
    row("without a scheme", u"--market-server 127.0.0.1:8080"_s, u"error"_s);
    row("slashes only", u"--market-server //"_s, u"error"_s);
    row("an impossible port", u"--market-server http://a:99999"_s, u"error"_s);
    row("with a query", u"--market-server http://a/?x=1"_s, u"error"_s);
    row("another option in its place", u"--market-server --snapshot out"_s, u"error"_s);
    row("together with the demo", u"--demo --market-server http://a"_s, u"demo http://a error"_s);
    row("the server as a symbol", u"--symbol --market-server http://a"_s, {});
}

void CommandLineTest::otherOptions()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, line);
    QCOMPARE(spelled(parseCommandLine(arguments)), line);
}

void CommandLineTest::anErrorIsOneLineThatNamesTheValue()
{
    const auto line = parseCommandLine({u"--market-server"_s, u"ftp://a\nb"_s});
    QVERIFY(line.error && line.error->contains(u"ftp://a"));
    QVERIFY(!line.error->contains(u'\n'));
}

KESTRUNE_TEST(CommandLineTest)
#include "tst_commandline.moc"
