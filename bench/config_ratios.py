#!/usr/bin/env python3
"""Runs config_bench and checks the configuration store's speed goals.

Usage: config_ratios.py [path/to/config_bench] [extra benchmark arguments...]

Every benchmark is repeated (10 times unless --benchmark_repetitions is given) with the
repetitions of all benchmarks randomly interleaved, so slow drift of the machine hits both sides of
a ratio alike. Ratios compare median CPU times per iteration: the parse and the stamp check are all
CPU work and system calls, and CPU time is what a busy machine disturbs least. The ratio of median
wall-clock times is printed alongside ("wall"), so a wait that CPU time cannot see still shows.

Goals are upper bounds on our time over theirs. Verdicts: PASS when the ratio meets the goal. EVEN
when it misses by less than the run's own noise (the larger relative spread between the median and
the fastest repetition of the two benchmarks, at most 5%). FAIL otherwise, or when a benchmark is
missing or reported an error. Lines marked "info" have no goal. Exits 1 on any FAIL.

inih reads 8-bit text only: the UTF-16LE parse is set against inih reading the same lines as
8-bit text, so both build the same map from files of different sizes.
"""
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import ratio_report  # noqa: E402  (found through the line above)

DEFAULT_BINARY = ratio_report.default_binary("config_bench")

# (what, ours, theirs, goal): ours must take at most `goal` times the time of theirs; None: info.
GOALS = [
    ("Parse 1 MiB 8-bit vs inih", "BM_ConfigParse_Ansi1MiB", "BM_InihParse_Ansi1MiB", 1.0),
    ("Parse 2 MiB UTF-16LE vs inih (8-bit)", "BM_ConfigParse_Utf16Le2MiB", "BM_InihParse_Ansi1MiB", 1.0),
    ("Reload(false) vs open+fstat+close", "BM_ConfigReload_Unchanged", "BM_FileStampFloor", 1.5),
    ("Reload(false) vs one stat()", "BM_ConfigReload_Unchanged", "BM_FileStatOnly", 1.2),
    ("GetParameter hit vs map find+copy", "BM_ConfigGetParameter_Hit10k", "BM_MapFind_Hit10k", None),
]
# Shown with their own times only.
SINGLES = ["BM_ConfigGetParameter_Miss10k"]


def show_time(ns):
    if ns >= 1e6:
        return "%.2f ms" % (ns / 1e6)
    if ns >= 1e3:
        return "%.2f us" % (ns / 1e3)
    return "%.0f ns" % ns


def main(argv):
    binary, extra = ratio_report.split_arguments(argv, DEFAULT_BINARY)
    report = ratio_report.run(binary, extra, "0.2")
    samples, errors = ratio_report.collect(report, ratio_report.cpu_time_ns)
    wall, _ = ratio_report.collect(report, ratio_report.real_time_ns)
    median = ratio_report.medians(samples)
    wall_median = ratio_report.medians(wall)
    noise = ratio_report.noises(samples, median, higher_is_better=False)

    print(ratio_report.summary("config_bench", report, samples, "median CPU times", show_load=True))
    failed = False
    for what, ours, theirs, goal in GOALS:
        goal_text = "goal <= %.1fx" % goal if goal is not None else "(no goal)   "
        if ours not in median or theirs not in median:
            bad = ", ".join(sorted(errors & {ours, theirs})) or "not measured"
            print("%-38s %8s   %s   FAIL (%s)" % (what, "-", goal_text, bad))
            failed = True
            continue
        ratio = median[ours] / median[theirs]
        verdict, note = ratio_report.judge(ratio, goal, noise, ours, theirs, higher_is_better=False)
        failed = failed or verdict == "FAIL"
        wall_ratio = wall_median[ours] / wall_median[theirs]
        print("%-38s %7.2fx   %s   %-4s   %s %s, %s %s   (wall %.2fx)%s" %
              (what, ratio, goal_text, verdict, ours, show_time(median[ours]), theirs, show_time(median[theirs]),
               wall_ratio, note))
    for name in SINGLES:
        if name in median:
            print("%-38s %8s   %s   info   %s %s" % (name, "-", "(no goal)   ", name, show_time(median[name])))
        else:
            print("%-38s %8s   %s   FAIL (%s)" % (name, "-", "(no goal)   ",
                                                   "error" if name in errors else "not measured"))
            failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
