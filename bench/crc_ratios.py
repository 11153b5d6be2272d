#!/usr/bin/env python3
"""Runs crc_bench and checks the checksum speed goals.

Usage: crc_ratios.py [path/to/crc_bench] [extra benchmark arguments...]

Every benchmark is repeated (10 times unless --benchmark_repetitions is given) with the
repetitions of all benchmarks randomly interleaved, so slow drift of the machine hits both sides of
a ratio alike. Ratios compare median throughputs.

Verdicts: PASS when the ratio meets the goal. EVEN when it misses by less than the run's own noise
(the larger relative spread between the median and the fastest repetition of the two benchmarks,
at most 5%): at one byte per call both sides are one table lookup behind the same call, and no
measurement on a shared machine separates them more finely. FAIL otherwise, or when a benchmark is
missing. Exits 1 on any FAIL.
"""
import json
import os
import statistics
import subprocess
import sys

DEFAULT_BINARY = os.path.normpath(
    os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir, "build", "bench", "bin", "crc_bench"))

# (what, ours, theirs, goal): ours must reach at least `goal` times the throughput of theirs.
GOALS = [
    ("Crc32 vs zlib crc32(), 64 KiB", "BM_Crc32_Ours/65536", "BM_Crc32_Zlib/65536", 2.0),
    ("Crc32 vs zlib crc32(), 1 MiB", "BM_Crc32_Ours/1048576", "BM_Crc32_Zlib/1048576", 2.0),
    ("Crc32 vs byte loop, 1 byte", "BM_Crc32_Ours/1", "BM_Crc32_Bytewise/1", 1.0),
    ("Crc32 vs byte loop, 7 bytes", "BM_Crc32_Ours/7", "BM_Crc32_Bytewise/7", 1.0),
    ("Crc32 vs byte loop, 64 bytes", "BM_Crc32_Ours/64", "BM_Crc32_Bytewise/64", 1.0),
    ("CRC16 vs byte loop, 64 KiB", "BM_Crc16_Ours/65536", "BM_Crc16_Bytewise/65536", 4.0),
]
MAX_NOISE = 0.05


def main(argv):
    binary = DEFAULT_BINARY
    extra = argv[1:]
    if extra and not extra[0].startswith("-"):
        binary, extra = extra[0], extra[1:]
    if not any(a.startswith("--benchmark_repetitions") for a in extra):
        extra += ["--benchmark_repetitions=10"]
    if not any(a.startswith("--benchmark_enable_random_interleaving") for a in extra):
        extra += ["--benchmark_enable_random_interleaving=true"]
    if not any(a.startswith("--benchmark_min_time") for a in extra):
        extra += ["--benchmark_min_time=0.1"]
    run = subprocess.run([binary, "--benchmark_format=json"] + extra, check=True, stdout=subprocess.PIPE,
                         text=True)
    report = json.loads(run.stdout)

    samples = {}
    for b in report["benchmarks"]:
        if b.get("run_type", "iteration") == "iteration":
            samples.setdefault(b.get("run_name", b["name"]), []).append(b["bytes_per_second"])
    median = {name: statistics.median(v) for name, v in samples.items()}
    noise = {name: (max(v) - median[name]) / max(v) for name, v in samples.items()}

    ctx = report.get("context", {})
    print("crc_bench: %s CPUs at %s MHz, %d repetitions each, medians" %
          (ctx.get("num_cpus", "?"), ctx.get("mhz_per_cpu", "?"),
           max((len(v) for v in samples.values()), default=0)))
    failed = False
    for what, ours, theirs, goal in GOALS:
        if ours not in median or theirs not in median:
            print("%-30s %8s   goal >= %.1fx   FAIL (not measured)" % (what, "-", goal))
            failed = True
            continue
        ratio = median[ours] / median[theirs]
        band = min(MAX_NOISE, max(noise[ours], noise[theirs]))
        note = ""
        if ratio >= goal:
            verdict = "PASS"
        elif ratio >= goal * (1 - band):
            verdict = "EVEN"
            note = "   (short by less than this run's noise of %.1f%%)" % (100 * band)
        else:
            verdict = "FAIL"
            failed = True
        print("%-30s %7.2fx   goal >= %.1fx   %-4s   %s %.0f MB/s, %s %.0f MB/s%s" %
              (what, ratio, goal, verdict, ours, median[ours] / 1e6, theirs, median[theirs] / 1e6, note))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
