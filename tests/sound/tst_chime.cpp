// SPDX-License-Identifier: MIT
#include "statusbar/desktop/chime.h"
#include "support/testregistry.h"

#include <QFile>
#include <QTest>
#include <QtEndian>

#include <algorithm>
#include <cstdlib>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

class ScriptedSound final : public AlertSound
{
public:
    void play(Finished finished) override
    {
        ++plays;
        finished(outcome);
    }

    Outcome outcome;
    int plays = 0;
};

qint16 sampleAt(const QByteArray &wav, qsizetype index)
{
    return qFromLittleEndian<qint16>(wav.constData() + 44 + 2 * index);
}

} // namespace

class ChimeTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyOutcomeHasItsLineAndBeep()
    {
        for (const AlertSound::Outcome outcome :
             {AlertSound::Outcome{true, true}, AlertSound::Outcome{true, false},
              AlertSound::Outcome{false, false}}) {
            ScriptedSound sound;
            sound.outcome = outcome;
            QStringList lines;
            int beeps = 0;
            Chime chime([&] { return &sound; }, [&] { ++beeps; },
                        [&](const QString &line) { lines << line; });
            chime.ring();
            const auto word = [](bool value) { return value ? u"true"_s : u"false"_s; };
            QCOMPARE(lines, QStringList{u"[Kestrune] playAlertSound: dingLoaded=%1 played=%2"_s.arg(
                                word(outcome.loaded), word(outcome.played))});
            QCOMPARE(beeps, outcome.played ? 0 : 1); // one still playing is replaced by the beep
        }
    }

    void missingModuleIsAskedForAgainAtTheNextAlert()
    {
        ScriptedSound sound;
        sound.outcome = {.loaded = true, .played = true};
        int asked = 0;
        int beeps = 0;
        QStringList lines;
        Chime chime([&]() -> AlertSound * { return ++asked < 3 ? nullptr : &sound; }, [&] { ++beeps; },
                    [&](const QString &line) { lines << line; });
        for (int i = 0; i < 5; ++i)
            chime.ring();
        QCOMPARE(asked, 3);
        QCOMPARE(beeps, 2);
        QCOMPARE(sound.plays, 3);
        QCOMPARE(lines.first(), u"[Kestrune] playAlertSound: dingLoaded=false played=false"_s);
        QCOMPARE(Chime::loadModule(u"/nonexistent/kestrune-sound.so"_s), nullptr);
    }

    void soundFileIsShortSoftAndFades()
    {
        QFile file(QStringLiteral(KESTRUNE_SOURCE_DIR "/resources/sound/ding.wav"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray wav = file.readAll();
        QVERIFY(wav.size() < 60 * 1024);
        QCOMPARE(wav.sliced(0, 4), QByteArray("RIFF"));
        QCOMPARE(qFromLittleEndian<quint16>(wav.constData() + 20), quint16(1)); // PCM
        QCOMPARE(qFromLittleEndian<quint32>(wav.constData() + 24), quint32(44100));
        QCOMPARE(qFromLittleEndian<quint16>(wav.constData() + 34), quint16(16));
        const qsizetype count = (wav.size() - 44) / 2;
        int peak = 0;
        for (qsizetype i = 0; i < count; ++i)
            peak = std::max(peak, std::abs(int(sampleAt(wav, i))));
        QVERIFY2(peak > 8000 && peak < 29000, qPrintable(QString::number(peak))); // audible, never clipped
        QVERIFY(std::abs(int(sampleAt(wav, 0))) < 50);
        for (qsizetype i = count - 40; i < count; ++i)
            QVERIFY(std::abs(int(sampleAt(wav, i))) < 50); // no click at the end
    }
};

KESTRUNE_TEST(ChimeTest)
#include "tst_chime.moc"
