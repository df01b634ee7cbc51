#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Synthesises resources/sound/ding.wav: a short soft bell, two partials of a fifth apart with a gentle fade.

Usage: tools/make-chime.py [FILE]. The result depends on nothing but this script."""
import math
import pathlib
import struct
import sys
import wave

RATE = 44100
SECONDS = 0.6
ATTACK = 0.004  # long enough not to click
RELEASE = 0.08  # the last stretch fades to silence
PEAK = 0.55     # of full scale: soft, and far from clipping
# frequency in Hz, weight, decay time in seconds
PARTIALS = [(880.0, 1.0, 0.22), (1318.5, 0.55, 0.16), (2637.0, 0.18, 0.08), (3520.0, 0.08, 0.05)]


def envelope(t: float) -> float:
    rise = min(1.0, t / ATTACK)
    left = SECONDS - t
    fade = 0.5 - 0.5 * math.cos(math.pi * min(1.0, left / RELEASE))
    return rise * fade


def main() -> None:
    target = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else
                          pathlib.Path(__file__).resolve().parent.parent / "resources/sound/ding.wav")
    count = int(RATE * SECONDS)
    samples = []
    for i in range(count):
        t = i / RATE
        value = sum(w * math.exp(-t / d) * math.sin(2 * math.pi * f * t) for f, w, d in PARTIALS)
        samples.append(envelope(t) * value)
    loudest = max(abs(s) for s in samples)
    scale = PEAK * 32767 / loudest
    with wave.open(str(target), "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(RATE)
        out.writeframes(b"".join(struct.pack("<h", round(s * scale)) for s in samples))


if __name__ == "__main__":
    main()
