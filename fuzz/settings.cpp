// SPDX-License-Identifier: MIT
#include "fuzztarget.h"
#include "viewmodel/settingsinput.h"
#include "platform/jsonpreferences.h"
#include "snapshot/commandline.h"
#include "snapshot/snapshotmode.h"
#include "state/pricealert.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <array>
#include <cmath>

namespace kestrune::fuzz {

using namespace Qt::StringLiterals;

namespace {

void alerts(const QByteArray &bytes)
{
    const auto read = decodeAlerts(bytes);
    if (!read)
        return;
    // What could be read can be stored, and reads back the same.
    const auto stored = encodeAlerts(*read);
    KESTRUNE_REQUIRE(stored);
    const auto again = decodeAlerts(*stored);
    KESTRUNE_REQUIRE(again && again->size() == read->size());
    KESTRUNE_REQUIRE(encodeAlerts(*again) == stored);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// What is kept of a file that was no JSON object; empty when there is none.
QByteArray setAside(const QDir &folder)
{
    const QStringList names = folder.entryList({u"*.broken-*"_s}, QDir::Files);
    KESTRUNE_REQUIRE(names.size() <= 1);
    return names.isEmpty() ? QByteArray() : contentOf(folder.filePath(names.front()));
}

void preferences(const QByteArray &bytes)
{
    static const QTemporaryDir parent;
    const QString folder = parent.filePath(u"settings"_s);
    const QString path = folder + u"/preferences.json"_s;
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    {
        QFile file(path);
        KESTRUNE_REQUIRE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    JsonPreferences stored(folder);
    bool failed = false;
    stored.onFirstWriteFailure([&failed] { failed = true; });
    for (const QString &key :
         {u"ks_coin"_s, u"ks_mini"_s, u"ks_threshold"_s, u"ks_per_side"_s, u"ks_alerts"_s}) {
        static_cast<void>(stored.text(key));
        static_cast<void>(stored.boolean(key));
        const auto number = stored.number(key);
        KESTRUNE_REQUIRE(!number || std::isfinite(*number));
        const auto integer = stored.integer(key);
        KESTRUNE_REQUIRE(!integer || number == double(*integer));
        static_cast<void>(stored.data(key));
    }
    const QJsonDocument before = QJsonDocument::fromJson(bytes);
    const bool usable = before.isObject() || bytes.isEmpty();
    KESTRUNE_REQUIRE(setAside(QDir(folder)) == (usable ? QByteArray() : bytes));

    stored.setText(u"ks_written"_s, u"now"_s);
    KESTRUNE_REQUIRE(!failed);
    QJsonObject after = QJsonDocument::fromJson(contentOf(path)).object();
    KESTRUNE_REQUIRE(after.value(u"ks_written"_s) == QJsonValue(u"now"_s));
    const qsizetype others = before.object().size() - (before.object().contains(u"ks_written"_s) ? 1 : 0);
    KESTRUNE_REQUIRE(after.size() == others + 1);
    KESTRUNE_REQUIRE(JsonPreferences(folder).text(u"ks_written"_s) == u"now"_s);
}

void commandLine(const QByteArray &bytes)
{
    // The command line as the kernel hands it over: arguments with a zero byte behind each.
    QStringList arguments;
    for (const QByteArray &argument : bytes.split('\0'))
        arguments.append(QString::fromLocal8Bit(argument));
    const CommandLine line = parseCommandLine(arguments);
    KESTRUNE_REQUIRE(!line.error || !line.error->contains(u'\n'));
    KESTRUNE_REQUIRE(!line.marketServer || line.marketServer->startsWith(u"http", Qt::CaseInsensitive));
    KESTRUNE_REQUIRE(!line.marketServer || !line.marketServer->endsWith(u'/'));
    KESTRUNE_REQUIRE(!line.demo || !line.marketServer || line.error);

    const auto snapshot = SnapshotMode::parse(arguments);
    const qsizetype option = arguments.indexOf(u"--snapshot"_s);
    KESTRUNE_REQUIRE(snapshot.has_value() == (option >= 0 && option + 1 < arguments.size()));
    KESTRUNE_REQUIRE(!snapshot || snapshot->dir == arguments[option + 1]);
    KESTRUNE_REQUIRE(!snapshot || !snapshot->symbol || arguments.contains(*snapshot->symbol));
}

void settingInputs(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes);
    if (const auto value = parseDecimal(text)) {
        KESTRUNE_REQUIRE(std::isfinite(*value));
        const double threshold = clampThreshold(*value);
        KESTRUNE_REQUIRE(threshold >= 0.5 && threshold <= 20);
        KESTRUNE_REQUIRE(parseDecimal(thresholdFieldText(threshold)));
        const double range = clampRange(*value);
        KESTRUNE_REQUIRE(range >= 2 && range <= 30);
        KESTRUNE_REQUIRE(parseDecimal(rangeFieldText(range)));
    }
    if (const auto value = parseWhole(text)) {
        const int count = clampPerSide(*value);
        KESTRUNE_REQUIRE(count >= 1 && count <= 10);
        KESTRUNE_REQUIRE(parseWhole(perSideFieldText(count)) == count);
    }
    const auto risk = acceptedRisk(text);
    KESTRUNE_REQUIRE(!risk || (std::isfinite(*risk) && *risk > 0));
    const auto leverage = acceptedLeverage(text);
    KESTRUNE_REQUIRE(!leverage || (*leverage >= 1 && *leverage <= 125));
    KESTRUNE_REQUIRE(!leverage || parseDecimal(leverageFieldText(*leverage)));
    const auto target = acceptedAlertPrice(text);
    KESTRUNE_REQUIRE(!target || (std::isfinite(*target) && *target > 0));
    const double account = accountFromText(text);
    KESTRUNE_REQUIRE(std::isfinite(account));
    KESTRUNE_REQUIRE(account <= 0 || std::isfinite(accountFromText(accountFieldText(account))));
}

constexpr std::array<Target, 4> targets{{{"alerts", alerts},
                                         {"preferences", preferences},
                                         {"command-line", commandLine},
                                         {"setting-inputs", settingInputs}}};

} // namespace

std::span<const Target> settingsTargets()
{
    return targets;
}

} // namespace kestrune::fuzz
