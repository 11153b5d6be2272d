"""What crc_ratios.py and config_ratios.py share: running a benchmark program, medians, verdicts.

The program runs with JSON output, every benchmark repeated (10 times unless
--benchmark_repetitions is given) with the repetitions of all benchmarks randomly interleaved, so
slow drift of the machine hits both sides of a ratio alike. A ratio compares the medians of two
benchmarks. Its noise is the larger relative spread between the median and the fastest repetition
of the two, at most MAX_NOISE; a ratio that misses its goal by less than that is EVEN rather than
FAIL, since no measurement on a shared machine separates the two sides more finely.
"""
import json
import os
import statistics
import subprocess

MAX_NOISE = 0.05
# Google Benchmark's time units, in nanoseconds.
TO_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def default_binary(name):
    """build/bench/bin/<name> in the source tree this folder belongs to."""
    return os.path.normpath(
        os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir, "build", "bench", "bin", name))


def split_arguments(argv, default):
    """The benchmark program (the first argument unless it is an option) and the arguments for it."""
    binary = default
    extra = argv[1:]
    if extra and not extra[0].startswith("-"):
        binary, extra = extra[0], extra[1:]
    return binary, extra


def run(binary, extra, min_time):
    """Runs the program with JSON output and returns the parsed report. Repetitions, random
    interleaving and `min_time` (seconds, as text) are added unless `extra` sets them already."""
    extra = list(extra)
    if not any(a.startswith("--benchmark_repetitions") for a in extra):
        extra += ["--benchmark_repetitions=10"]
    if not any(a.startswith("--benchmark_enable_random_interleaving") for a in extra):
        extra += ["--benchmark_enable_random_interleaving=true"]
    if not any(a.startswith("--benchmark_min_time") for a in extra):
        extra += ["--benchmark_min_time=" + min_time]
    out = subprocess.run([binary, "--benchmark_format=json"] + extra, check=True, stdout=subprocess.PIPE,
                         text=True)
    return json.loads(out.stdout)


def collect(report, value):
    """The repetitions of each benchmark as {name: [value(run), ...]}, and the set of benchmarks that
    reported an error (their runs are left out)."""
    samples, errors = {}, set()
    for b in report["benchmarks"]:
        if b.get("run_type", "iteration") != "iteration":
            continue
        name = b.get("run_name", b["name"])
        if b.get("error_occurred"):
            errors.add(name)
            continue
        samples.setdefault(name, []).append(value(b))
    return samples, errors


def bytes_per_second(run):
    return run["bytes_per_second"]


def cpu_time_ns(run):
    return run["cpu_time"] * TO_NS[run.get("time_unit", "ns")]


def real_time_ns(run):
    return run["real_time"] * TO_NS[run.get("time_unit", "ns")]


def medians(samples):
    return {name: statistics.median(v) for name, v in samples.items()}


def noises(samples, median, higher_is_better):
    """The relative spread between the median and the fastest repetition of each benchmark: the
    largest value when higher is better (throughput), relative to it; the smallest otherwise
    (time), relative to the median."""
    if higher_is_better:
        return {name: (max(v) - median[name]) / max(v) for name, v in samples.items()}
    return {name: (median[name] - min(v)) / median[name] for name, v in samples.items()}


def summary(program, report, samples, measure, show_load=False):
    """The first line of the output: the machine, the repetitions and what is compared."""
    ctx = report.get("context", {})
    parts = ["%s CPUs at %s MHz" % (ctx.get("num_cpus", "?"), ctx.get("mhz_per_cpu", "?"))]
    if show_load:
        parts.append("load %s" % (" ".join("%.2f" % x for x in ctx.get("load_avg", [])) or "?"))
    parts.append("%d repetitions each" % max((len(v) for v in samples.values()), default=0))
    parts.append(measure)
    return "%s: %s" % (program, ", ".join(parts))


def judge(ratio, goal, noise, ours, theirs, higher_is_better):
    """The verdict on `ratio` (ours over theirs) and the note that explains an EVEN: "info" when
    `goal` is None; PASS when the ratio meets the goal (at least it when higher is better, at most
    it otherwise); EVEN when it misses by less than the noise of the two benchmarks; FAIL else."""
    band = min(MAX_NOISE, max(noise[ours], noise[theirs]))
    if goal is None:
        return "info", ""
    if higher_is_better:
        if ratio >= goal:
            return "PASS", ""
        if ratio >= goal * (1 - band):
            return "EVEN", "   (short by less than this run's noise of %.1f%%)" % (100 * band)
    else:
        if ratio <= goal:
            return "PASS", ""
        if ratio <= goal * (1 + band):
            return "EVEN", "   (over by less than this run's noise of %.1f%%)" % (100 * band)
    return "FAIL", ""
