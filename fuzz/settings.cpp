// SPDX-License-Identifier: MIT
#include "state/settings.h"
#include "fuzztarget.h"
#include "platform/jsonpreferences.h"
#include "snapshot/commandline.h"
#include "snapshot/snapshotmode.h"
#include "viewmodel/settingsinput.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <array>
#include <cmath>

namespace kestrune::fuzz {

using namespace Qt::StringLiterals;

namespace {

void alerts(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const auto read = decodeAlerts(document.isArray() ? QJsonValue(document.array()) : document.object());
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
    for (const QString &key : {settings::coin.key, settings::miniMode.key, settings::signalThreshold.key,
                               settings::maxPerSide.key, settings::alerts.key}) {
        static_cast<void>(stored.text(key));
        static_cast<void>(stored.boolean(key));
        const auto number = stored.number(key);
        KESTRUNE_REQUIRE(!number || std::isfinite(*number));
        const auto integer = stored.integer(key);
        KESTRUNE_REQUIRE(!integer || number == double(*integer));
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
    for (const NumberField *number : {&field::threshold, &field::range, &field::perSide, &field::risk,
                                      &field::leverage, &field::account, &field::alertPrice}) {
        const auto value = number->accepted(text);
        if (!value)
            continue;
        KESTRUNE_REQUIRE(std::isfinite(*value) && *value >= number->lowest && *value <= number->highest);
        KESTRUNE_REQUIRE(number->accepted(number->spelled(std::max(*value, 1.0))));
    }
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
