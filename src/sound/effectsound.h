// SPDX-License-Identifier: MIT
#pragma once

#include "sound/alertsound.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <memory>

class QSoundEffect;

namespace kestrune {

class OutsidePlayer;

/// The chime through Qt's sound effect, kept once it has been loaded; through a player program while the
/// effect cannot play.
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
    [[nodiscard]] bool isReady() const;
    void load();
    void loadingFailed();
    void start();
    void playOutside();
    void decide(Outcome outcome);

    static inline EffectSound *s_instance = nullptr;
    std::unique_ptr<ChatterFilter> m_filter; ///< from the first alert on
    std::unique_ptr<QSoundEffect> m_effect;  ///< ready to play, or being loaded
    std::unique_ptr<OutsidePlayer> m_player; ///< from the first need on
    Finished m_waiting;                      ///< of the call that is not decided yet
    QElapsedTimer m_sinceStart;              ///< of the effect
    QTimer m_loadLimit;
};

} // namespace kestrune
