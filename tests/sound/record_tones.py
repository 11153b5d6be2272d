#!/usr/bin/env python3
"""Runs a command while recording the test sound server's null sink, then checks which tones
were played.

Usage: record_tones.py --expect HZ [--expect HZ ...] -- COMMAND [ARGS...]
The set of tones heard must equal the expected set (no --expect: silence).

The server comes from scripts/with-pulseaudio.sh (PULSE_SERVER, TAVRO_PULSE_SINK). Without it the
test is skipped (exit 77), unless TAVRO_REQUIRE_AUDIO=1 says that the run must hear sound."""
import argparse
import os
import signal
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import tones  # noqa: E402

SKIP = 77


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--expect", type=int, action="append", default=[])
    parser.add_argument("command", nargs=argparse.REMAINDER)
    args = parser.parse_args()
    command = args.command[1:] if args.command[:1] == ["--"] else args.command

    sink = os.environ.get("TAVRO_PULSE_SINK")
    if not sink or not os.environ.get("PULSE_SERVER"):
        message = "no test sound server: run under scripts/with-pulseaudio.sh"
        if os.environ.get("TAVRO_REQUIRE_AUDIO") == "1":
            print(message, file=sys.stderr)
            return 1
        print(message + " (skipped)")
        return SKIP

    with tempfile.TemporaryDirectory() as folder:
        recording = os.path.join(folder, "recording.wav")
        recorder = subprocess.Popen(
            ["parec", "-d", sink + ".monitor", "--file-format=wav", "--latency-msec=20", recording])
        time.sleep(0.5)
        played = subprocess.run(command)
        time.sleep(0.7)
        recorder.send_signal(signal.SIGINT)
        recorder.wait(timeout=10)
        if played.returncode != 0:
            print(f"the player exited with {played.returncode}", file=sys.stderr)
            return 1
        heard = tones.tones(recording)
    expected = sorted(set(args.expect))
    print(f"heard {heard}, expected {expected}")
    return 0 if heard == expected else 1


if __name__ == "__main__":
    sys.exit(main())
