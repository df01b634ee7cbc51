// SPDX-License-Identifier: MIT
#include "sound/effectsound.h"

#include "sound/outsideplayer.h"

#include <QAudioDevice>
#include <QCoreApplication>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QThread>
#include <QUrl>

#include <array>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr auto soundFile = ":/kestrune/ding.wav"_L1;
constexpr int loadLimitMs = 1000;
// The sound lasts under a second, and a server may sit on its buffer for some more. An effect that claims to
// play for longer has lost its server.
constexpr qint64 stuckMs = 15'000;

// Qt's engine leaves the sound server without locking its own thread out. While that thread still receives
// news of the stream that ended with the effect, the program can abort at its very end (Qt 6.4); so it is
// given the time to receive them all.
constexpr unsigned long serverNewsMs = 150;

// Where the message goes that is not dropped; set before the filter is installed.
QtMessageHandler nextHandler = nullptr;

void handleMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    static const std::array beginnings{
        "PulseAudio"_L1, "QPulse"_L1,       "pa_"_L1,  "Stream error"_L1, "Failed to get sink"_L1,
        "QAudio"_L1,     "QSoundEffect"_L1, "ALSA"_L1, "QAlsa"_L1};
    const QLatin1StringView category(context.category);
    if (type == QtInfoMsg && category.startsWith("qt.multimedia"_L1))
        return; // presents itself
    const bool uncategorised = category.isEmpty() || category == "default"_L1;
    const QStringView said = QStringView(text).sliced(text.startsWith(u'"') ? 1 : 0);
    for (const QLatin1StringView beginning : beginnings) {
        if (uncategorised && said.startsWith(beginning))
            return;
    }
    if (nextHandler)
        nextHandler(type, context, text);
}

} // namespace

/// Drops the messages of the audio library itself in the default category, also those between the sounds,
/// when the server goes away: the one diagnostic line gives the outcome. Messages of others pass.
class EffectSound::ChatterFilter
{
public:
    ChatterFilter()
    {
        nextHandler = qInstallMessageHandler(nullptr);
        qInstallMessageHandler(handleMessage);
    }
    ~ChatterFilter() { qInstallMessageHandler(nextHandler); }
    ChatterFilter(const ChatterFilter &) = delete;
    ChatterFilter &operator=(const ChatterFilter &) = delete;
};

EffectSound::EffectSound()
{
    s_instance = this;
    // The module's root object outlives the application object, and by then the audio library has torn down
    // what an effect's destructor needs.
    qAddPostRoutine([] {
        if (s_instance)
            s_instance->release();
    });
    m_loadLimit.setSingleShot(true);
    m_loadLimit.setInterval(loadLimitMs);
    connect(&m_loadLimit, &QTimer::timeout, this, &EffectSound::loadingFailed);
}

EffectSound::~EffectSound()
{
    s_instance = nullptr;
}

void EffectSound::release()
{
    m_waiting = nullptr;
    m_loadLimit.stop();
    m_player.reset();
    if (m_effect) {
        m_effect.reset();
        QThread::msleep(serverNewsMs); // no event loop is left to wait on
    }
    m_filter.reset();
}

void EffectSound::play(Finished finished)
{
    if (!m_filter) {
        m_filter = std::make_unique<ChatterFilter>();
        // A list without names: Qt's engine would else try every kind of video hardware, aloud.
        for (const char *devices :
             {"QT_FFMPEG_DECODING_HW_DEVICE_TYPES", "QT_FFMPEG_ENCODING_HW_DEVICE_TYPES"}) {
            if (!qEnvironmentVariableIsSet(devices))
                qputenv(devices, ",");
        }
    }
    if (m_waiting || (m_player && m_player->isBusy())) {
        finished({.loaded = isReady(), .played = false});
        return;
    }
    m_waiting = std::move(finished);
    // Without a device the effect would report no error and claim to play.
    if (QMediaDevices::audioOutputs().isEmpty())
        playOutside();
    else if (isReady())
        start();
    else
        load();
}

bool EffectSound::isReady() const
{
    return m_effect && m_effect->status() == QSoundEffect::Ready;
}

void EffectSound::load()
{
    m_effect = std::make_unique<QSoundEffect>();
    connect(
        m_effect.get(), &QSoundEffect::statusChanged, this,
        [this] {
            if (!m_loadLimit.isActive() || m_effect->status() == QSoundEffect::Loading)
                return;
            m_loadLimit.stop();
            if (isReady())
                start();
            else
                loadingFailed();
        },
        Qt::QueuedConnection); // the effect may not be deleted from inside its own signal
    m_loadLimit.start();
    m_effect->setSource(QUrl(u"qrc"_s + soundFile));
}

void EffectSound::loadingFailed()
{
    m_effect.reset(); // the next alert tries again
    playOutside();
}

void EffectSound::start()
{
    if (m_effect->isPlaying()) {
        if (m_sinceStart.elapsed() < stuckMs)
            decide({.loaded = true, .played = false});
        else
            loadingFailed();
        return;
    }
    m_effect->play();
    m_sinceStart.start();
    if (m_effect->isPlaying())
        decide({.loaded = true, .played = true});
    else
        playOutside();
}

// Qt's connection to the sound server stays down for good once the server was away for more than 3 seconds.
void EffectSound::playOutside()
{
    if (!m_player)
        m_player = std::make_unique<OutsidePlayer>(soundFile);
    m_player->play([this](bool started) { decide({.loaded = started || isReady(), .played = started}); });
}

void EffectSound::decide(Outcome outcome)
{
    std::exchange(m_waiting, nullptr)(outcome);
}

} // namespace kestrune
