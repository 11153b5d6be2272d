#!/usr/bin/python3
"""Times ImageUtil against ImageMagick's convert, both as whole processes, side by side.

Usage: image_ratios.py [path/to/mvutil] [--repetitions N] [--smoke]

Two operations on one 4000x3000 JPEG (written by Pillow): converting it to PNG, and stretching
it to 1000x750 as BMP (ImageMagick: bicubic filter, exact size, BMP3 for the same 40-byte header).
Each repetition runs the two programs one after the other in alternating order, so drift of the
machine hits both alike; the ratios compare medians of wall time and of peak resident memory
(each process's own maximum, from wait4). The library's side is mvutil, which reads the file,
calls ImageUtil and writes the result, with a configuration of its own so its log stays private.

Goals, for each operation: at least 2x as fast as convert, at most half its peak memory. Prints
PASS or FAIL per goal and exits 1 on any FAIL; --smoke runs once and only checks that both sides
produce their files.
"""
import os
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
DEFAULT_MVUTIL = os.path.normpath(os.path.join(HERE, os.pardir, "build", "bench", "bin", "mvutil"))
MAKE_FIXTURES = os.path.normpath(os.path.join(HERE, os.pardir, "tests", "image", "make_fixtures.py"))
CONVERT = "/usr/bin/convert"  # ImageMagick's own binary, not whatever comes first on PATH


def timed(command, environment):
    """Wall seconds and peak resident KiB of one process."""
    start = time.perf_counter()
    process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    _, status, usage = os.wait4(process.pid, 0)
    elapsed = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise RuntimeError("%s failed (%d): %s" % (command[0], process.returncode, process.stderr.read().decode()))
    return elapsed, usage.ru_maxrss


def main(argv):
    args = argv[1:]
    mvutil = DEFAULT_MVUTIL
    if args and not args[0].startswith("-"):
        mvutil = args.pop(0)
    smoke = "--smoke" in args
    repetitions = 1 if smoke else 7
    if "--repetitions" in args:
        repetitions = int(args[args.index("--repetitions") + 1])

    with tempfile.TemporaryDirectory(prefix="tavro-image-bench-") as work:
        subprocess.run([sys.executable, MAKE_FIXTURES, work, "--large"], check=True, stdout=subprocess.DEVNULL)
        source = os.path.join(work, "large4000x3000.jpg")
        install = os.path.join(work, "install")
        os.makedirs(os.path.join(install, "Bin"))
        config = "/Tavro/MedivaneSDK/Logging/LogFileLocation=%s\r\n" % os.path.join(work, "logs")
        with open(os.path.join(install, "Bin", "TavroMedivane.cfg"), "wb") as f:
            f.write(b"\xff\xfe" + config.encode("utf-16-le"))
        environment = dict(os.environ, KVO_INSTALL_DIR=install)
        out = lambda name: os.path.join(work, name)  # noqa: E731
        operations = [
            ("JPEG 4000x3000 to PNG",
             [mvutil, "image", "convert", source, out("ours.png"), "--to", "png"],
             [CONVERT, source, out("theirs.png")]),
            ("JPEG 4000x3000 stretched to 1000x750 BMP",
             [mvutil, "image", "resize", source, out("ours.bmp"), "1000x750"],
             [CONVERT, source, "-filter", "Catrom", "-resize", "1000x750!", "BMP3:" + out("theirs.bmp")]),
        ]
        failed = False
        print("%d repetition(s), medians; ratios are convert / ours for time and ours / convert for memory"
              % repetitions)
        for name, ours, theirs in operations:
            samples = {"ours": [], "theirs": []}
            for repetition in range(repetitions):
                order = [("ours", ours), ("theirs", theirs)]
                if repetition % 2:
                    order.reverse()
                for side, command in order:
                    samples[side].append(timed(command, environment))
            our_time = statistics.median(s[0] for s in samples["ours"])
            their_time = statistics.median(s[0] for s in samples["theirs"])
            our_memory = statistics.median(s[1] for s in samples["ours"])
            their_memory = statistics.median(s[1] for s in samples["theirs"])
            speed = their_time / our_time
            memory = our_memory / their_memory
            speed_ok = speed >= 2.0
            memory_ok = memory <= 0.5
            print("%s:" % name)
            print("  time   %.3f s vs convert %.3f s: %.2fx faster  (goal >= 2x)  %s"
                  % (our_time, their_time, speed, "" if smoke else ("PASS" if speed_ok else "FAIL")))
            print("  memory %.0f MiB vs convert %.0f MiB: %.2f of it  (goal <= 0.5)  %s"
                  % (our_memory / 1024, their_memory / 1024, memory, "" if smoke else ("PASS" if memory_ok else "FAIL")))
            failed = failed or not (speed_ok and memory_ok)
        if smoke:
            return 0
        return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
