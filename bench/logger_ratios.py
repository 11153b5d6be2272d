#!/usr/bin/env python3
"""Runs logger_bench and checks the logger's speed goals.

Usage: logger_ratios.py [path/to/logger_bench] [extra benchmark arguments...]

Every benchmark is repeated (10 times unless --benchmark_repetitions is given) with the
repetitions of all benchmarks randomly interleaved, so slow drift of the machine hits both sides of
a ratio alike. Each repetition has its own folder, configuration file, log folder and logger.

In-process lines compare median CPU times per entry (CPU time counts the system calls, which are
most of a log entry, and is what a busy machine disturbs least); the ratio of median wall-clock
times is printed alongside ("wall"). The several-process lines compare entries per second of wall
time, from the common start of the writing processes until the last has exited.

Goals: a written entry takes at most 1.2 times the floor that keeps the log's own rules (the
configuration file's time read twice, free space and size, the machine-wide mutex, opening, appending
and closing the file: BM_AppendFloorChecked); a call below the threshold at most 1.1 times the
configuration check it must make (Reload(false) on the unchanged file); an entry written through the
C interface (tmu_log) at most 1.05 times the same entry through the class. The bare floor and log4cplus
(RollingFileAppender with UseLockFile, which keeps its file open where ours may not) are shown for
information. Verdicts: PASS when the ratio meets the goal; EVEN
when it misses by less than the run's own noise (the larger relative spread between the median and
the best repetition of the two benchmarks, at most 5%); FAIL otherwise, or when a benchmark is
missing or reported an error (every run checks that its log holds exactly the entries it wrote).
Lines marked "info" have no goal. Exits 1 on any FAIL.
"""
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import ratio_report  # noqa: E402  (found through the line above)

DEFAULT_BINARY = ratio_report.default_binary("logger_bench")

# (what, ours, theirs, goal): time per entry; ours must take at most `goal` times theirs. None: info.
TIME_GOALS = [
    ("Written entry vs open+append+close", "BM_LoggerWrite", "BM_AppendFloor", None),
    ("Written entry vs floor+checks+locks", "BM_LoggerWrite", "BM_AppendFloorChecked", 1.2),
    ("C interface entry vs C++ entry", "BM_CLoggerWrite", "BM_LoggerWrite", 1.05),
    ("floor+checks+locks vs floor", "BM_AppendFloorChecked", "BM_AppendFloor", None),
    ("Filtered call vs Reload(false)", "BM_LoggerFiltered", "BM_ConfigCheck", 1.1),
    ("Rolling at 256 KiB vs not rolling", "BM_LoggerWrite_Rolling", "BM_LoggerWrite", None),
]
# (what, ours, theirs, goal): entries per second; ours must reach at least `goal` times theirs.
# The in-process benchmarks give it as their time per entry over ours.
IN_PROCESS_THROUGHPUT = [
    ("1 process vs log4cplus UseLockFile", "BM_LoggerWrite", "BM_Log4cplusWrite", None),
    ("1 process, rolling, vs log4cplus", "BM_LoggerWrite_Rolling", "BM_Log4cplusWrite_Rolling", None),
]
PROCESS_THROUGHPUT = [
    ("4 processes vs log4cplus UseLockFile", "BM_LoggerProcesses/4", "BM_Log4cplusProcesses/4", None),
    ("1 forked process vs log4cplus", "BM_LoggerProcesses/1", "BM_Log4cplusProcesses/1", None),
    ("ours: 4 processes vs 1", "BM_LoggerProcesses/4", "BM_LoggerProcesses/1", None),
    ("log4cplus: 4 processes vs 1", "BM_Log4cplusProcesses/4", "BM_Log4cplusProcesses/1", None),
]
# Shown with their own times only.
SINGLES = ["BM_Log4cplusFiltered"]


def show_time(ns):
    if ns >= 1e6:
        return "%.2f ms" % (ns / 1e6)
    if ns >= 1e3:
        return "%.2f us" % (ns / 1e3)
    return "%.1f ns" % ns


def show_rate(per_second):
    return "%.1fk/s" % (per_second / 1e3)


def reported_name(name):
    """The name under which a several-process benchmark reports (the timing is appended)."""
    return name + "/manual_time" if "Processes/" in name else name


def goal_text(goal, higher_is_better):
    if goal is None:
        return "(no goal)   "
    return ("goal >= %gx" if higher_is_better else "goal <= %gx") % goal


def report_missing(what, names, errors, goal):
    bad = ", ".join(sorted(errors & set(names))) or "not measured"
    print("%-38s %8s   %s   FAIL (%s)" % (what, "-", goal, bad))


def main(argv):
    binary, extra = ratio_report.split_arguments(argv, DEFAULT_BINARY)
    report = ratio_report.run(binary, extra, "0.2")
    cpu, errors = ratio_report.collect(report, ratio_report.cpu_time_ns)
    wall, _ = ratio_report.collect(report, ratio_report.real_time_ns)
    rates, _ = ratio_report.collect(report, lambda run: run.get("items_per_second", 0.0))
    rates = {name: values for name, values in rates.items() if "Processes/" in name}
    cpu_median = ratio_report.medians(cpu)
    wall_median = ratio_report.medians(wall)
    rate_median = ratio_report.medians(rates)
    time_noise = ratio_report.noises(cpu, cpu_median, higher_is_better=False)
    rate_noise = ratio_report.noises(rates, rate_median, higher_is_better=True)

    print(ratio_report.summary("logger_bench", report, cpu, "median CPU time per entry, entries/s of wall time",
                               show_load=True))
    failed = False

    for what, ours, theirs, goal in TIME_GOALS:
        text = goal_text(goal, higher_is_better=False)
        if ours not in cpu_median or theirs not in cpu_median:
            report_missing(what, [ours, theirs], errors, text)
            failed = True
            continue
        ratio = cpu_median[ours] / cpu_median[theirs]
        verdict, note = ratio_report.judge(ratio, goal, time_noise, ours, theirs, higher_is_better=False)
        failed = failed or verdict == "FAIL"
        print("%-38s %7.2fx   %s   %-4s   %s %s, %s %s   (wall %.2fx)%s" %
              (what, ratio, text, verdict, ours, show_time(cpu_median[ours]), theirs,
               show_time(cpu_median[theirs]), wall_median[ours] / wall_median[theirs], note))

    for what, ours, theirs, goal in IN_PROCESS_THROUGHPUT:
        text = goal_text(goal, higher_is_better=True)
        if ours not in cpu_median or theirs not in cpu_median:
            report_missing(what, [ours, theirs], errors, text)
            failed = True
            continue
        # Entries per second are the inverse of the time per entry: the faster side's share.
        ratio = cpu_median[theirs] / cpu_median[ours]
        verdict, note = ratio_report.judge(ratio, goal, time_noise, ours, theirs, higher_is_better=True)
        failed = failed or verdict == "FAIL"
        print("%-38s %7.2fx   %s   %-4s   %s %s, %s %s   (wall %.2fx)%s" %
              (what, ratio, text, verdict, ours, show_rate(1e9 / cpu_median[ours]), theirs,
               show_rate(1e9 / cpu_median[theirs]), wall_median[theirs] / wall_median[ours], note))

    for what, ours, theirs, goal in PROCESS_THROUGHPUT:
        text = goal_text(goal, higher_is_better=True)
        ours_name, theirs_name = reported_name(ours), reported_name(theirs)
        if ours_name not in rate_median or theirs_name not in rate_median:
            report_missing(what, [ours_name, theirs_name], errors, text)
            failed = True
            continue
        ratio = rate_median[ours_name] / rate_median[theirs_name]
        verdict, note = ratio_report.judge(ratio, goal, rate_noise, ours_name, theirs_name,
                                           higher_is_better=True)
        failed = failed or verdict == "FAIL"
        print("%-38s %7.2fx   %s   %-4s   %s %s, %s %s%s" %
              (what, ratio, text, verdict, ours, show_rate(rate_median[ours_name]), theirs,
               show_rate(rate_median[theirs_name]), note))

    for name in SINGLES:
        if name in cpu_median:
            print("%-38s %8s   %s   info   %s %s" % (name, "-", "(no goal)   ", name, show_time(cpu_median[name])))
        else:
            report_missing(name, [name], errors, "(no goal)   ")
            failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
