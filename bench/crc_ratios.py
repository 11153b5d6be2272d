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
missing. A C interface call is judged by the nanoseconds it adds to the class's call (at most 50 for a
64-byte message), from the same medians. Exits 1 on any FAIL.

Long CRC-32 inputs are also set against the 128-bit PCLMULQDQ folding kernel called directly. On a
processor with VPCLMULQDQ the library must be at least twice as fast; on one without it, where the
library keeps that kernel, no slower. The processor's flags come from /proc/cpuinfo.
"""
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import ratio_report  # noqa: E402  (found through the line above)

DEFAULT_BINARY = ratio_report.default_binary("crc_bench")

# (what, ours, theirs, goal): ours must reach at least `goal` times the throughput of theirs.
GOALS = [
    ("Crc32 vs zlib crc32(), 64 KiB", "BM_Crc32_Ours/65536", "BM_Crc32_Zlib/65536", 2.0),
    ("Crc32 vs zlib crc32(), 1 MiB", "BM_Crc32_Ours/1048576", "BM_Crc32_Zlib/1048576", 2.0),
    ("Crc32 vs byte loop, 1 byte", "BM_Crc32_Ours/1", "BM_Crc32_Bytewise/1", 1.0),
    ("Crc32 vs byte loop, 7 bytes", "BM_Crc32_Ours/7", "BM_Crc32_Bytewise/7", 1.0),
    ("Crc32 vs byte loop, 64 bytes", "BM_Crc32_Ours/64", "BM_Crc32_Bytewise/64", 1.0),
    ("CRC16 vs byte loop, 64 KiB", "BM_Crc16_Ours/65536", "BM_Crc16_Bytewise/65536", 10.0),
    # A whole message (construct, process, result) against the byte loop behind one call: only the
    # processing may cost a call into the library.
    ("Crc32 message vs loop, 1 byte", "BM_Crc32_Message_Ours/1", "BM_Crc32_Message_Bytewise/1", 1.0),
    ("Crc32 message vs loop, 7 bytes", "BM_Crc32_Message_Ours/7", "BM_Crc32_Message_Bytewise/7", 1.0),
    ("Crc32 message vs loop, 64 bytes", "BM_Crc32_Message_Ours/64", "BM_Crc32_Message_Bytewise/64", 1.0),
    ("CRC16 message vs loop, 1 byte", "BM_Crc16_Message_Ours/1", "BM_Crc16_Message_Bytewise/1", 1.0),
    ("CRC16 message vs loop, 7 bytes", "BM_Crc16_Message_Ours/7", "BM_Crc16_Message_Bytewise/7", 1.0),
    ("CRC16 message vs loop, 64 bytes", "BM_Crc16_Message_Ours/64", "BM_Crc16_Message_Bytewise/64", 1.0),
]


def cpu_has_vpclmulqdq():
    try:
        with open("/proc/cpuinfo") as info:
            for line in info:
                if line.startswith("flags"):
                    return "vpclmulqdq" in line.split()
    except OSError:
        pass
    return False


# Against today's 128-bit kernel: 2x where the wide kernels can run, else no slower.
WIDE_GOAL = 2.0 if cpu_has_vpclmulqdq() else 1.0
GOALS += [
    ("Crc32 vs 128-bit kernel, 64 KiB", "BM_Crc32_Ours/65536", "BM_Crc32_Clmul128/65536", WIDE_GOAL),
    ("Crc32 vs 128-bit kernel, 1 MiB", "BM_Crc32_Ours/1048576", "BM_Crc32_Clmul128/1048576", WIDE_GOAL),
]

# (what, ours, theirs, bytes per call, most nanoseconds): ours may take at most that much longer per
# call than theirs. The C interface's one call against the class's three steps.
EXTRA_TIME_GOALS = [
    ("C tmu_crc32 vs Crc32, 64 bytes", "BM_Crc32_Message_C/64", "BM_Crc32_Message_Ours/64", 64, 50.0),
]


def main(argv):
    binary, extra = ratio_report.split_arguments(argv, DEFAULT_BINARY)
    report = ratio_report.run(binary, extra, "0.1")
    samples, _ = ratio_report.collect(report, ratio_report.bytes_per_second)
    median = ratio_report.medians(samples)
    noise = ratio_report.noises(samples, median, higher_is_better=True)

    print(ratio_report.summary("crc_bench", report, samples, "medians"))
    labels = {b.get("label") for b in report.get("benchmarks", []) if b.get("name", "").startswith("BM_Crc32_Clmul128")}
    print("CRC-32 kernel for long inputs: %s; the processor %s VPCLMULQDQ" %
          (", ".join(sorted(label for label in labels if label)) or "unknown",
           "has" if WIDE_GOAL > 1.0 else "lacks"))
    failed = False
    for what, ours, theirs, goal in GOALS:
        if ours not in median or theirs not in median:
            print("%-32s %8s   goal >= %.1fx   FAIL (not measured)" % (what, "-", goal))
            failed = True
            continue
        ratio = median[ours] / median[theirs]
        verdict, note = ratio_report.judge(ratio, goal, noise, ours, theirs, higher_is_better=True)
        failed = failed or verdict == "FAIL"
        print("%-32s %7.2fx   goal >= %.1fx   %-4s   %s %.0f MB/s, %s %.0f MB/s%s" %
              (what, ratio, goal, verdict, ours, median[ours] / 1e6, theirs, median[theirs] / 1e6, note))
    for what, ours, theirs, size, most_ns in EXTRA_TIME_GOALS:
        if ours not in median or theirs not in median:
            print("%-32s %8s   goal <= +%.0f ns   FAIL (not measured)" % (what, "-", most_ns))
            failed = True
            continue
        ours_ns = size / median[ours] * 1e9
        theirs_ns = size / median[theirs] * 1e9
        extra_ns = ours_ns - theirs_ns
        verdict = "PASS" if extra_ns <= most_ns else "FAIL"
        failed = failed or verdict == "FAIL"
        print("%-32s %+6.1f ns   goal <= +%.0f ns   %-4s   %s %.1f ns, %s %.1f ns per call" %
              (what, extra_ns, most_ns, verdict, ours, ours_ns, theirs, theirs_ns))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
