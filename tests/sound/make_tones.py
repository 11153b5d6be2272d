#!/usr/bin/env python3
"""Writes the sound tests' installation folder: OUT/Sounds/*.wav, short sine tones that the
recordings tell apart by frequency (tones.py), 16-bit mono at 44.1 kHz, and OUT/Bin/TavroMedivane.cfg,
which sends the log to LOG_FOLDER (as the programs see it), so that no log call waits for a
missing configuration. Usage: make_tones.py OUT LOG_FOLDER

Fallback.wav is the system's default sound, played for a file that cannot be played: Windows finds
it through the scheme's "SystemDefault" entry (the scenarios write it), Linux as the sound theme's
"bell-window-system" in OUT/share (the tests' XDG_DATA_HOME), written here as a theme of its own.

Error.wav is long, so that a second sound asked for while it plays finds it still playing."""
import math
import os
import struct
import sys
import wave

TONES = {
    "Error.wav": (440, 4.0),
    "Default.wav": (880, 2.0),
    "User.wav": (660, 2.0),
    "Edited.wav": (1320, 2.0),
    "Fallback.wav": (1760, 1.0),
}
RATE = 44100


def write_tone(path, frequency, seconds):
    with wave.open(path, "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(RATE)
        count = int(RATE * seconds)
        out.writeframes(b"".join(
            struct.pack("<h", int(16000 * math.sin(2 * math.pi * frequency * i / RATE))) for i in range(count)))


if __name__ == "__main__":
    sounds = os.path.join(sys.argv[1], "Sounds")
    os.makedirs(sounds, exist_ok=True)
    for name, (frequency, seconds) in TONES.items():
        write_tone(os.path.join(sounds, name), frequency, seconds)
    theme = os.path.join(sys.argv[1], "share", "sounds", "freedesktop")
    os.makedirs(os.path.join(theme, "stereo"), exist_ok=True)
    with open(os.path.join(theme, "index.theme"), "w", encoding="ascii") as index:
        index.write("[Sound Theme]\nName=Tavro test tones\nDirectories=stereo\n\n[stereo]\nOutputProfile=stereo\n")
    write_tone(os.path.join(theme, "stereo", "bell-window-system.wav"), *TONES["Fallback.wav"])
    os.makedirs(os.path.join(sys.argv[1], "Bin"), exist_ok=True)
    with open(os.path.join(sys.argv[1], "Bin", "TavroMedivane.cfg"), "w", encoding="ascii") as config:
        config.write(f"/Tavro/MedivaneSDK/Logging/LogFileLocation={sys.argv[2]}\n")
