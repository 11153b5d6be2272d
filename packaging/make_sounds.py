#!/usr/bin/env python3
"""Writes the package's sound files: one WAV for every distinct file name in the sound event table
(sound/sound_event_table.cpp, read here so that the two never drift apart) into OUT_DIR.

Each sound is a short chime of our own: two sine tones, 16-bit mono at 22.05 kHz, 0.18 s in all,
with soft edges. The pair of pitches is different for every file, so that no two events sound
alike. Usage: make_sounds.py TABLE_SOURCE OUT_DIR"""
import math
import os
import re
import struct
import sys
import wave

RATE = 22050
TONE_SECONDS = 0.09
FADE_SECONDS = 0.01


def sound_file_names(table_source):
    """The distinct file names after 'Sounds\\' in the table, in table order."""
    with open(table_source, encoding="utf-8") as source:
        text = source.read()
    names = []
    for name in re.findall(r'Sounds\\\\([A-Za-z0-9]+\.wav)"', text):
        if name not in names:
            names.append(name)
    return names


def tone(frequency):
    count = int(RATE * TONE_SECONDS)
    fade = int(RATE * FADE_SECONDS)
    samples = []
    for i in range(count):
        envelope = min(1.0, i / fade, (count - 1 - i) / fade)
        samples.append(int(12000 * envelope * math.sin(2 * math.pi * frequency * i / RATE)))
    return samples


def write_chime(path, index):
    # Two notes a fifth or a third apart, rising for even rows and falling for odd ones, starting a
    # semitone higher for every file: distinct pairs for up to 48 files.
    base = 392.0 * 2 ** (index / 12)
    second = base * (1.5 if index % 2 == 0 else 0.8)
    samples = tone(base) + tone(second)
    with wave.open(path, "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(RATE)
        out.writeframes(struct.pack("<%dh" % len(samples), *samples))


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: make_sounds.py TABLE_SOURCE OUT_DIR")
    names = sound_file_names(sys.argv[1])
    if len(names) < 20:
        sys.exit("make_sounds.py: found only %d sound files in %s" % (len(names), sys.argv[1]))
    os.makedirs(sys.argv[2], exist_ok=True)
    for index, name in enumerate(names):
        write_chime(os.path.join(sys.argv[2], name), index)


if __name__ == "__main__":
    main()
