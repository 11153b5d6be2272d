#!/usr/bin/env python3
"""Which of the test tones a recording of the sound server's null sink holds.

The recording's timeline is compressed and its end may be cut, so only which tones appear is
checked, never for how long. Each 50 ms window is matched against every candidate frequency with
the Goertzel filter; a tone is present when it dominates at least two windows."""
import math
import struct
import sys
import wave

# The tones the fixtures use, in Hz (written by make_tones.py).
CANDIDATES = (440, 660, 880, 1320, 1760)
WINDOW_SECONDS = 0.05


def samples(path):
    with wave.open(path, "rb") as recording:
        channels, width, rate = recording.getnchannels(), recording.getsampwidth(), recording.getframerate()
        frames = recording.readframes(recording.getnframes())
    if width != 2:
        raise SystemExit(f"{path}: expected 16-bit samples, got {8 * width}")
    values = struct.unpack(f"<{len(frames) // 2}h", frames[: len(frames) // 2 * 2])
    return [sum(values[i : i + channels]) / channels for i in range(0, len(values), channels)], rate


def power(window, rate, frequency):
    coefficient = 2 * math.cos(2 * math.pi * frequency / rate)
    previous = before = 0.0
    for value in window:
        previous, before = value + coefficient * previous - before, previous
    return previous * previous + before * before - coefficient * previous * before


def tones(path):
    values, rate = samples(path)
    size = int(rate * WINDOW_SECONDS)
    dominant = {frequency: 0 for frequency in CANDIDATES}
    for start in range(0, len(values) - size + 1, size):
        window = values[start : start + size]
        energy = sum(v * v for v in window)
        if energy < size * 200.0**2:  # silence (an amplitude below about 1% of full scale)
            continue
        powers = {frequency: power(window, rate, frequency) for frequency in CANDIDATES}
        best = max(powers, key=powers.get)
        # A pure tone puts nearly all of the window's energy into its own bin.
        if powers[best] > 0.25 * energy * size:
            dominant[best] += 1
    return sorted(frequency for frequency, windows in dominant.items() if windows >= 2)


if __name__ == "__main__":
    print(" ".join(str(t) for t in tones(sys.argv[1])))
