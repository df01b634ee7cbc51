#pragma once

#include "platform/alertsound.h"

#include <QObject>
#include <QTimer>

#include <memory>

class QSoundEffect;

namespace kestrune {

/// The chime through Qt's sound effect, kept once it has been loaded.
class EffectSound final : public QObject, public AlertSound
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.kestrune.bar.AlertSound")
    Q_INTERFACES(kestrune::AlertSound)
public:
    EffectSound();
    ~EffectSound() override;

    void play(Finished finished) override;

private:
    class ChatterFilter;

    void release();
    void load();
    void loadingEnded();
    void start(const Finished &finished);
    void decide(const Finished &finished, Outcome outcome);
    void dropFilterWhenIdle();

    static inline EffectSound *s_instance = nullptr;
    std::unique_ptr<ChatterFilter> m_filter; ///< while the sound is at work
    std::unique_ptr<QSoundEffect> m_effect;  ///< ready to play, or being loaded
    Finished m_waiting;                      ///< of the call that waits for the loading
    QTimer m_loadLimit;
};

} // namespace kestrune
