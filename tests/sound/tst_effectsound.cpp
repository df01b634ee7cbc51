// SPDX-License-Identifier: MIT
#include "statusbar/desktop/chime.h"
#include "support/testregistry.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

QString moduleFile()
{
    return QStringLiteral(KESTRUNE_BIN_DIR "/kestrune-sound.so");
}

/// What one ring reports, waiting for it in the event loop.
std::optional<AlertSound::Outcome> ringOnce(AlertSound &sound)
{
    std::optional<AlertSound::Outcome> outcome;
    sound.play([&](AlertSound::Outcome value) { outcome = value; });
    (void)QTest::qWaitFor([&] { return outcome.has_value(); }, 3000);
    return outcome;
}

/// A sound server of our own that plays into nothing.
class SoundServer
{
public:
    explicit SoundServer(QString socket) : m_socket(std::move(socket)) {}
    ~SoundServer() { stop(); }

    [[nodiscard]] static bool isInstalled()
    {
        return !QStandardPaths::findExecutable(u"pulseaudio"_s).isEmpty();
    }
    bool start()
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        const QString folder = QFileInfo(m_socket).path();
        environment.remove(u"PULSE_SERVER"_s);
        environment.insert(u"XDG_RUNTIME_DIR"_s, folder);
        environment.insert(u"HOME"_s, folder);
        m_process.setProcessEnvironment(environment);
        m_process.start(u"pulseaudio"_s,
                        {u"-n"_s, u"--daemonize=no"_s, u"--exit-idle-time=-1"_s, u"--use-pid-file=no"_s,
                         u"--disable-shm=yes"_s, u"-L"_s, u"module-null-sink"_s, u"-L"_s,
                         u"module-native-protocol-unix auth-anonymous=1 socket="_s + m_socket});
        return m_process.waitForStarted() && QTest::qWaitFor([&] { return QFile::exists(m_socket); }, 5000);
    }
    void stop()
    {
        m_process.terminate();
        m_process.waitForFinished(3000);
    }

private:
    QString m_socket;
    QProcess m_process;
};

bool playsAgainWithin(AlertSound &sound, int milliseconds)
{
    const auto plays = [&] {
        const auto outcome = ringOnce(sound);
        return outcome && outcome->played;
    };
    return QTest::qWaitFor(plays, milliseconds);
}

/// For a process that finds this sound server, and no other.
QProcessEnvironment soundEnvironment(const QTemporaryDir &folder)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"KESTRUNE_SOUND_INNER"_s, u"1"_s);
    environment.insert(u"XDG_RUNTIME_DIR"_s, folder.path());
    environment.insert(u"HOME"_s, folder.path());
    environment.insert(u"KESTRUNE_SOUND_SOCKET"_s, folder.filePath(u"native"_s));
    environment.insert(u"PULSE_SERVER"_s, u"unix:"_s + folder.filePath(u"native"_s));
    return environment;
}

void writePlayer(const QTemporaryDir &folder, const QString &name, const QByteArray &script)
{
    QFile file(folder.filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\n" + script);
    file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
}

/// What this very test program says on standard error and to Qt's messages when it is run again with one
/// function and another environment.
QByteArray runAgain(const char *function, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(),
                  {u"--class"_s, u"EffectSoundTest"_s, QString::fromLatin1(function)});
    const bool ended = process.waitForFinished(20000);
    const QByteArray output = process.readAllStandardOutput();
    QByteArray said = process.readAllStandardError();
    if (!ended || process.exitCode() != 0 || output.contains("\nQWARN"))
        said += "failed: " + output;
    return said;
}

} // namespace

class EffectSoundTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // The inner functions run in processes of their own, with a sound server or without one.
    void innerWithoutServer()
    {
        if (!qEnvironmentVariableIsSet("KESTRUNE_SOUND_INNER"))
            return;
        AlertSound *sound = Chime::loadModule(moduleFile());
        QVERIFY(sound);
        for (int i = 0; i < 2; ++i) {
            const auto outcome = ringOnce(*sound);
            QVERIFY(outcome);
            QCOMPARE(outcome->played, false);
            QCOMPARE(outcome->loaded, false);
        }
    }

    void innerWithServer()
    {
        if (!qEnvironmentVariableIsSet("KESTRUNE_SOUND_INNER"))
            return;
        AlertSound *sound = Chime::loadModule(moduleFile());
        QVERIFY(sound);
        QElapsedTimer elapsed;
        elapsed.start();
        auto outcome = ringOnce(*sound);
        QVERIFY(elapsed.elapsed() < 2000);
        QVERIFY(outcome && outcome->loaded);
        QCOMPARE(outcome->played, true);
        outcome = ringOnce(*sound); // the chime lasts longer than this takes
        QVERIFY(outcome && outcome->loaded);
        QCOMPARE(outcome->played, false);
        // A null sink may sit on its buffer for some seconds before the sound counts as over.
        QVERIFY(playsAgainWithin(*sound, 8000));
    }

    void innerThroughARestart()
    {
        if (!qEnvironmentVariableIsSet("KESTRUNE_SOUND_INNER"))
            return;
        SoundServer server(qEnvironmentVariable("KESTRUNE_SOUND_SOCKET"));
        QVERIFY(server.start());
        AlertSound *sound = Chime::loadModule(moduleFile());
        QVERIFY(sound);
        auto outcome = ringOnce(*sound);
        QVERIFY(outcome && outcome->played);
        server.stop(); // while the sound plays
        QTest::qWait(4000);
        QVERIFY(server.start());
        outcome = ringOnce(*sound);
        QVERIFY(outcome && outcome->loaded);
        QCOMPARE(outcome->played, true);
    }

    void innerThroughPlayers()
    {
        if (!qEnvironmentVariableIsSet("KESTRUNE_SOUND_INNER"))
            return;
        AlertSound *sound = Chime::loadModule(moduleFile());
        QVERIFY(sound);
        auto outcome = ringOnce(*sound);
        QVERIFY(outcome && outcome->loaded);
        QCOMPARE(outcome->played, true);
        outcome = ringOnce(*sound);
        QVERIFY(outcome);
        QCOMPARE(outcome->played, false); // the player is still at it
        QVERIFY(playsAgainWithin(*sound, 5000));
    }

    void withoutDeviceNothingClaimsToPlayAndNothingIsSaid()
    {
        QTemporaryDir folder;
        auto environment = soundEnvironment(folder);
        environment.insert(u"PATH"_s, folder.path()); // no players
        QCOMPARE(runAgain("innerWithoutServer", environment), QByteArray());
        for (const QString &name : {u"paplay"_s, u"pw-play"_s, u"aplay"_s})
            writePlayer(folder, name, "echo no server >&2; exit 1");
        QCOMPARE(runAgain("innerWithoutServer", environment), QByteArray());
    }

    void playersAreTriedInTurn()
    {
        QTemporaryDir folder;
        auto environment = soundEnvironment(folder);
        environment.insert(u"PATH"_s, folder.path() + u":/usr/bin:/bin"_s);
        writePlayer(folder, u"paplay"_s, "exit 1");
        writePlayer(folder, u"pw-play"_s, "cp \"$1\" \"${0%/*}/heard.wav\"; exec sleep 2");
        QCOMPARE(runAgain("innerThroughPlayers", environment), QByteArray());
        QFile heard(folder.filePath(u"heard.wav"_s));
        QFile sound(QStringLiteral(KESTRUNE_SOURCE_DIR "/resources/sound/ding.wav"));
        QVERIFY(heard.open(QIODevice::ReadOnly) && sound.open(QIODevice::ReadOnly));
        QCOMPARE(heard.readAll(), sound.readAll());
    }

    void playsOnASoundServer()
    {
        if (!SoundServer::isInstalled())
            QSKIP("PulseAudio is not installed");
        QTemporaryDir folder;
        const auto environment = soundEnvironment(folder);
        SoundServer server(folder.filePath(u"native"_s));
        QVERIFY(server.start());
        QCOMPARE(runAgain("innerWithServer", environment), QByteArray());
    }

    void playsAfterTheSoundServerWasAway()
    {
        if (!SoundServer::isInstalled() || QStandardPaths::findExecutable(u"paplay"_s).isEmpty())
            QSKIP("PulseAudio is not installed");
        QTemporaryDir folder;
        QCOMPARE(runAgain("innerThroughARestart", soundEnvironment(folder)), QByteArray());
    }
};

KESTRUNE_TEST(EffectSoundTest)
#include "tst_effectsound.moc"
