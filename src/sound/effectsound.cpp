#include "sound/effectsound.h"

#include <QAudioDevice>
#include <QCoreApplication>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QUrl>

#include <array>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int loadLimitMs = 1000;

// Where the message goes that is not dropped; set before the filter is installed.
QtMessageHandler nextHandler = nullptr;

void handleMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    static const std::array beginnings{"PulseAudio"_L1,   "QPulse"_L1, "QAudio"_L1,
                                       "QSoundEffect"_L1, "ALSA"_L1,   "QAlsa"_L1};
    const bool uncategorised = !context.category || qstrcmp(context.category, "default") == 0;
    for (const QLatin1StringView beginning : beginnings) {
        if (uncategorised && text.startsWith(beginning))
            return;
    }
    if (nextHandler)
        nextHandler(type, context, text);
}

} // namespace

/// Drops what the audio library itself says in the default category while a sound is at work: the one
/// diagnostic line tells the outcome, and everything else on standard error is somebody's real message.
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
    connect(&m_loadLimit, &QTimer::timeout, this, &EffectSound::loadingEnded);
}

EffectSound::~EffectSound()
{
    s_instance = nullptr;
}

void EffectSound::release()
{
    m_waiting = nullptr;
    m_loadLimit.stop();
    m_effect.reset();
    m_filter.reset();
}

void EffectSound::play(Finished finished)
{
    if (!m_filter)
        m_filter = std::make_unique<ChatterFilter>();
    const bool busyLoading = bool(m_waiting);
    // Without a device the effect would report no error and claim to play.
    if (busyLoading || QMediaDevices::audioOutputs().isEmpty()) {
        decide(finished, {.loaded = m_effect && !busyLoading, .played = false});
        return;
    }
    if (m_effect) {
        start(finished);
        return;
    }
    m_waiting = std::move(finished);
    load();
}

void EffectSound::load()
{
    m_effect = std::make_unique<QSoundEffect>();
    connect(
        m_effect.get(), &QSoundEffect::statusChanged, this,
        [this] {
            if (m_effect->status() != QSoundEffect::Loading)
                loadingEnded();
        },
        Qt::QueuedConnection); // the effect may not be deleted from inside its own signal
    connect(m_effect.get(), &QSoundEffect::playingChanged, this, &EffectSound::dropFilterWhenIdle,
            Qt::QueuedConnection);
    m_loadLimit.start();
    m_effect->setSource(QUrl(u"qrc:/kestrune/ding.wav"_s));
}

void EffectSound::loadingEnded()
{
    if (!m_waiting)
        return;
    m_loadLimit.stop();
    const Finished finished = std::exchange(m_waiting, nullptr);
    if (m_effect->status() != QSoundEffect::Ready) {
        m_effect.reset(); // the next alert tries again
        decide(finished, {});
        return;
    }
    start(finished);
}

void EffectSound::start(const Finished &finished)
{
    const bool alreadyPlaying = m_effect->isPlaying();
    if (!alreadyPlaying)
        m_effect->play();
    decide(finished, {.loaded = true, .played = !alreadyPlaying && m_effect->isPlaying()});
}

void EffectSound::decide(const Finished &finished, Outcome outcome)
{
    dropFilterWhenIdle();
    finished(outcome);
}

void EffectSound::dropFilterWhenIdle()
{
    if (!m_waiting && !(m_effect && m_effect->isPlaying()))
        m_filter.reset();
}

} // namespace kestrune
