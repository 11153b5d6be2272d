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
import json
import os
import statistics
import subprocess
import sys

DEFAULT_BINARY = os.path.normpath(
    os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir, "build", "bench", "bin", "config_bench"))

# (what, ours, theirs, goal): ours must take at most `goal` times the time of theirs; None: info.
GOALS = [
    ("Parse 1 MiB 8-bit vs inih", "BM_ConfigParse_Ansi1MiB", "BM_InihParse_Ansi1MiB", 2.0),
    ("Parse 2 MiB UTF-16LE vs inih (8-bit)", "BM_ConfigParse_Utf16Le2MiB", "BM_InihParse_Ansi1MiB", 2.0),
    ("Reload(false) vs open+fstat+close", "BM_ConfigReload_Unchanged", "BM_FileStampFloor", 1.5),
    ("Reload(false) vs one stat()", "BM_ConfigReload_Unchanged", "BM_FileStatOnly", None),
    ("GetParameter hit vs map find+copy", "BM_ConfigGetParameter_Hit10k", "BM_MapFind_Hit10k", None),
]
# Shown with their own times only.
SINGLES = ["BM_ConfigGetParameter_Miss10k"]
MAX_NOISE = 0.05
TO_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def run(binary, extra):
    if not any(a.startswith("--benchmark_repetitions") for a in extra):
        extra += ["--benchmark_repetitions=10"]
    if not any(a.startswith("--benchmark_enable_random_interleaving") for a in extra):
        extra += ["--benchmark_enable_random_interleaving=true"]
    if not any(a.startswith("--benchmark_min_time") for a in extra):
        extra += ["--benchmark_min_time=0.2"]
    out = subprocess.run([binary, "--benchmark_format=json"] + extra, check=True, stdout=subprocess.PIPE,
                         text=True)
    return json.loads(out.stdout)


def collect(report, field):
    samples, errors = {}, set()
    for b in report["benchmarks"]:
        if b.get("run_type", "iteration") != "iteration":
            continue
        name = b.get("run_name", b["name"])
        if b.get("error_occurred"):
            errors.add(name)
            continue
        samples.setdefault(name, []).append(b[field] * TO_NS[b.get("time_unit", "ns")])
    return samples, errors


def show_time(ns):
    if ns >= 1e6:
        return "%.2f ms" % (ns / 1e6)
    if ns >= 1e3:
        return "%.2f us" % (ns / 1e3)
    return "%.0f ns" % ns


def main(argv):
    binary = DEFAULT_BINARY
    extra = argv[1:]
    if extra and not extra[0].startswith("-"):
        binary, extra = extra[0], extra[1:]
    report = run(binary, extra)
    samples, errors = collect(report, "cpu_time")
    wall, _ = collect(report, "real_time")
    median = {name: statistics.median(v) for name, v in samples.items()}
    wall_median = {name: statistics.median(v) for name, v in wall.items()}
    noise = {name: (median[name] - min(v)) / median[name] for name, v in samples.items()}

    ctx = report.get("context", {})
    load = ctx.get("load_avg", [])
    print("config_bench: %s CPUs at %s MHz, load %s, %d repetitions each, median CPU times" %
          (ctx.get("num_cpus", "?"), ctx.get("mhz_per_cpu", "?"), " ".join("%.2f" % x for x in load) or "?",
           max((len(v) for v in samples.values()), default=0)))
    failed = False
    for what, ours, theirs, goal in GOALS:
        goal_text = "goal <= %.1fx" % goal if goal is not None else "(no goal)   "
        if ours not in median or theirs not in median:
            bad = ", ".join(sorted(errors & {ours, theirs})) or "not measured"
            print("%-38s %8s   %s   FAIL (%s)" % (what, "-", goal_text, bad))
            failed = True
            continue
        ratio = median[ours] / median[theirs]
        band = min(MAX_NOISE, max(noise[ours], noise[theirs]))
        note = ""
        if goal is None:
            verdict = "info"
        elif ratio <= goal:
            verdict = "PASS"
        elif ratio <= goal * (1 + band):
            verdict = "EVEN"
            note = "   (over by less than this run's noise of %.1f%%)" % (100 * band)
        else:
            verdict = "FAIL"
            failed = True
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
