// SPDX-License-Identifier: MIT
#pragma once

#include <QtPlugin>

#include <functional>

namespace kestrune {

/// The alert chime, behind a module that is loaded at the first alert only: the audio library costs every
/// start more than the rest of the program together.
class AlertSound
{
public:
    struct Outcome
    {
        bool loaded = false; ///< the sound is in the cache
        bool played = false; ///< it has started
    };
    using Finished = std::function<void(Outcome)>;

    AlertSound() = default;
    AlertSound(const AlertSound &) = delete;
    AlertSound &operator=(const AlertSound &) = delete;
    virtual ~AlertSound() = default;

    /// Starts the sound and reports within a few seconds, possibly before this call returns. A sound that is
    /// still playing does not start again.
    virtual void play(Finished finished) = 0;
};

} // namespace kestrune

Q_DECLARE_INTERFACE(kestrune::AlertSound, "org.kestrune.bar.AlertSound")
