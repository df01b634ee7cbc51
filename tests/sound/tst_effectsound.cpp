#include "platform/chime.h"
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

/// Standard error of this very test program run again with one function and another environment.
QByteArray runAgain(const char *function, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(),
                  {u"--class"_s, u"EffectSoundTest"_s, QString::fromLatin1(function)});
    if (!process.waitForFinished(20000) || process.exitCode() != 0)
        return "failed: " + process.readAllStandardOutput() + process.readAllStandardError();
    return process.readAllStandardError();
}

} // namespace

class EffectSoundTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // The two inner functions run in processes of their own, with a sound server or without one.
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
        const auto playsAgain = [&] {
            outcome = ringOnce(*sound);
            return outcome && outcome->played;
        };
        QVERIFY(QTest::qWaitFor(playsAgain, 8000));
    }

    void withoutDeviceNothingClaimsToPlayAndNothingIsSaid()
    {
        QTemporaryDir runtime;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"KESTRUNE_SOUND_INNER"_s, u"1"_s);
        environment.insert(u"XDG_RUNTIME_DIR"_s, runtime.path());
        environment.insert(u"PULSE_SERVER"_s, u"unix:"_s + runtime.filePath(u"none"_s));
        QCOMPARE(runAgain("innerWithoutServer", environment), QByteArray());
    }

    void playsOnASoundServer()
    {
        const QString server = QStandardPaths::findExecutable(u"pulseaudio"_s);
        if (server.isEmpty())
            QSKIP("PulseAudio is not installed");
        QTemporaryDir runtime;
        auto environment = QProcessEnvironment::systemEnvironment();
        const QString socket = runtime.filePath(u"native"_s);
        environment.insert(u"KESTRUNE_SOUND_INNER"_s, u"1"_s);
        environment.insert(u"XDG_RUNTIME_DIR"_s, runtime.path());
        environment.insert(u"HOME"_s, runtime.path());
        environment.insert(u"PULSE_SERVER"_s, u"unix:"_s + socket);
        QProcess daemon;
        auto daemonEnvironment = environment;
        daemonEnvironment.remove(u"PULSE_SERVER"_s);
        daemon.setProcessEnvironment(daemonEnvironment);
        daemon.start(server, {u"-n"_s, u"--daemonize=no"_s, u"--exit-idle-time=-1"_s, u"--use-pid-file=no"_s,
                              u"--disable-shm=yes"_s, u"-L"_s, u"module-null-sink"_s, u"-L"_s,
                              u"module-native-protocol-unix auth-anonymous=1 socket="_s + socket});
        QVERIFY(daemon.waitForStarted());
        QVERIFY(QTest::qWaitFor([&] { return QFile::exists(socket); }, 5000));
        const QByteArray said = runAgain("innerWithServer", environment);
        daemon.terminate();
        daemon.waitForFinished(3000);
        QVERIFY2(said.isEmpty(), said.constData());
    }
};

KESTRUNE_TEST(EffectSoundTest)
#include "tst_effectsound.moc"
