// SPDX-License-Identifier: MIT
#include "statusbar/desktop/desktopattention.h"
#include "support/testregistry.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

class AlertSoundTest final : public QObject
{
    Q_OBJECT

    struct ScriptedSound final : AlertSound
    {
        Outcome outcome;
        int plays = 0;
        void play(Finished finished) override
        {
            ++plays;
            finished(outcome);
        }
    };

    /// A sound server of our own that plays into nothing, at the socket that PULSE_SERVER names.
    static bool startServer(QProcess &server)
    {
        const QString socket = qEnvironmentVariable("PULSE_SERVER").sliced(5);
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"PULSE_SERVER"_s);
        server.setProcessEnvironment(environment);
        server.start(u"pulseaudio"_s,
                     {u"-n"_s, u"--daemonize=no"_s, u"--exit-idle-time=-1"_s, u"--use-pid-file=no"_s,
                      u"--disable-shm=yes"_s, u"-L"_s, u"module-null-sink"_s, u"-L"_s,
                      u"module-native-protocol-unix auth-anonymous=1 socket="_s + socket});
        return server.waitForStarted() && QTest::qWaitFor([&] { return QFile::exists(socket); }, 10000);
    }

    static void stop(QProcess &server)
    {
        server.terminate();
        server.waitForFinished(3000);
    }

    /// What one ring reports, waiting for it in the event loop: "loaded,played".
    static QString ring(AlertSound &sound)
    {
        QString outcome;
        sound.play([&](AlertSound::Outcome now) { outcome = u"%1,%2"_s.arg(now.loaded).arg(now.played); });
        (void)QTest::qWaitFor([&] { return !outcome.isEmpty(); }, 5000);
        return outcome;
    }

private Q_SLOTS:
    void everyOutcomeHasItsLineAndBeep()
    {
        for (const AlertSound::Outcome outcome :
             {AlertSound::Outcome{true, true}, AlertSound::Outcome{true, false}, AlertSound::Outcome{}}) {
            ScriptedSound sound;
            sound.outcome = outcome;
            int asked = 0;
            int beeps = 0;
            QStringList lines;
            DesktopAttention attention({[&]() -> AlertSound * { return ++asked < 3 ? nullptr : &sound; },
                                        [&] { ++beeps; }, [&](const QString &line) { lines << line; }});
            for (int i = 0; i < 5; ++i) // a module that is missing is asked for again at the next alert
                attention.playAlertSound();
            QCOMPARE(asked, 3);
            QCOMPARE(sound.plays, 3);
            QCOMPARE(beeps, outcome.played ? 2 : 5); // a sound still playing is replaced by the beep
            QCOMPARE(lines[0], u"[Kestrune] playAlertSound: dingLoaded=false played=false"_s);
            const auto word = [](bool value) { return value ? u"true"_s : u"false"_s; };
            QCOMPARE(lines[4], u"[Kestrune] playAlertSound: dingLoaded=%1 played=%2"_s.arg(
                                   word(outcome.loaded), word(outcome.played)));
        }
        QVERIFY(!loadAlertSound({u"/nonexistent"_s}));
    }

    /// Runs in a process of its own, which knows the module and a sound server by its environment.
    void actsOfAnotherProcess()
    {
        const QString acts = qEnvironmentVariable("KESTRUNE_SOUND_ACTS");
        if (acts.isEmpty())
            return;
        AlertSound *sound = loadAlertSound({QStringLiteral(KESTRUNE_BIN_DIR)});
        QVERIFY(sound);
        QProcess server;
        for (const QString &act : acts.split(u' ')) {
            if (act == "start"_L1) {
                QVERIFY(startServer(server));
            } else if (act == "stop"_L1) {
                stop(server);
                QTest::qWait(4000); // longer than the audio library waits for it
            } else if (act == "again"_L1) {
                // A null sink may sit on its buffer for some seconds before the sound counts as over.
                QVERIFY(QTest::qWaitFor([&] { return ring(*sound).endsWith(u'1'); }, 8000));
            } else {
                QCOMPARE(ring(*sound), act);
            }
        }
        stop(server);
    }

    void ringsOnEveryKindOfSoundSystem()
    {
        const QByteArray fails = "echo no server >&2; exit 1";
        const QByteArray plays = "PATH=/usr/bin:/bin; cmp \"$1\" " KESTRUNE_SOURCE_DIR
                                 "/resources/sound/ding.wav && exec sleep 2; exit 1";
        const struct
        {
            const char *name;
            std::vector<std::pair<const char *, QByteArray>> players;
            const char *acts;
        } rows[] = {
            {"no server and no player", {}, "0,0 0,0"},
            {"all give up", {{"paplay", fails}, {"pw-play", fails}, {"aplay", fails}}, "0,0 0,0"},
            {"the second plays", {{"paplay", fails}, {"pw-play", plays}}, "1,1 0,0 again"},
            {"a sound server", {}, "start 1,1 1,0 again"},
            {"a sound server that was away", {}, "start 1,1 stop start 1,1"},
        };
        for (const auto &row : rows) {
            const bool needsServer = QByteArray(row.acts).startsWith("start");
            if (needsServer && QStandardPaths::findExecutable(u"pulseaudio"_s).isEmpty())
                QSKIP("PulseAudio is not installed");
            const QTemporaryDir folder;
            for (const auto &[name, script] : row.players) {
                QFile player(folder.filePath(QString::fromLatin1(name)));
                QVERIFY(player.open(QIODevice::WriteOnly));
                player.write("#!/bin/sh\n" + script);
                player.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
            }
            auto environment = QProcessEnvironment::systemEnvironment();
            environment.insert(u"PATH"_s, folder.path() + (needsServer ? u":/usr/bin:/bin"_s : QString()));
            environment.insert(u"XDG_RUNTIME_DIR"_s, folder.path());
            environment.insert(u"HOME"_s, folder.path());
            environment.insert(u"PULSE_SERVER"_s, u"unix:"_s + folder.filePath(u"native"_s));
            environment.insert(u"KESTRUNE_SOUND_ACTS"_s, QString::fromLatin1(row.acts));
            QProcess process;
            process.setProcessEnvironment(environment);
            process.start(QCoreApplication::applicationFilePath(),
                          {u"--class"_s, u"AlertSoundTest"_s, u"actsOfAnotherProcess"_s});
            QVERIFY2(process.waitForFinished(60000), row.name);
            const QByteArray output = process.readAllStandardOutput();
            QVERIFY2(process.exitCode() == 0 && !output.contains("\nQWARN"), row.name + ("\n" + output));
            QCOMPARE(process.readAllStandardError(), QByteArray()); // nor does a library say anything
        }
    }
};

KESTRUNE_TEST(AlertSoundTest)
#include "tst_alertsound.moc"
