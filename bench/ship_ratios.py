#!/usr/bin/env python3
"""Measures `mvutil ship` against a real rsyslog and prints one table.

Usage: /usr/bin/python3 bench/ship_ratios.py [--smoke] [--entries N] [--backlog-mb MB]
           [--mvutil PATH] [--writer PATH] [--latency-seconds S] [--idle-seconds S] [--keep]

1. Throughput: N entries (default 1,000,000) written directly as the log file (UTF-16LE, the
   default template, one file), sent by `mvutil ship --once` over RELP to a private rsyslogd
   receiver. Against it, rsyslog's own file shipper: a second private rsyslogd reads the same
   entries as UTF-8 lines with imfile (readMode 0) and forwards them with omrelp (windowSize 4096
   unless --imfile-window, action queue LinkedList holding all N, dequeue batches as large as the
   window) to a receiver of its own. Each side is timed from starting the sender until its
   receiver has recorded all N messages (and, for mvutil, until it has exited). Entries/s of both
   and the ratio mvutil / imfile. Goal: ratio >= 1. The CPU time per entry of each receiver is
   shown too: how the messages arrive (how many per read) changes what rsyslog spends on them.
   Why 4096: on loopback, omrelp with rsyslog 8.2302 pauses about 40 ms, the length of a delayed
   TCP acknowledgement, per window's worth of messages, so its default window of 128 gives about
   3,000 entries/s, 1024 about 24,000 and 2048 about 48,000, while from 4096 on it is limited by
   the CPU (about 175,000 on two cores). A smaller window would measure the stall, not imfile.
2. Latency: ship_writer logs 1000 entries/s through the library for 10 s while `mvutil ship`
   follows the log; an entry's latency is the receiver's reception time (rsyslog's
   timegenerated) minus the entry's own %D %T, both on this machine's clock, TZ=UTC. Goals:
   median <= 250 ms, 99th percentile <= 500 ms.
3. Memory: peak RSS of `mvutil ship --once` over a backlog of --backlog-mb MiB (default 1024) in
   one log file, as /usr/bin/time reports it (the kernel's ru_maxrss), or else the highest VmHWM
   seen in /proc/PID/status. Goal: <= 32 MiB.
4. Idle: `mvutil ship` following a log with nothing new for 10 s; its CPU time (utime + stime of
   /proc/PID/stat) over the wall time, as % of one core. Goal: <= 1 %.

--smoke runs everything at tiny sizes in well under a minute and checks no goal: exit 0 when every
measurement ran. Otherwise exit 1 when a goal is missed or a measurement could not be made, naming
which. Every rsyslogd and mvutil started here is killed on the way out, and the temporary folder
is removed unless --keep.
"""

from __future__ import annotations

import argparse
import datetime
import json
import math
import os
import pathlib
import re
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parent
sys.path.insert(0, str(SOURCE / "tests" / "shipping"))
from collector import Collector  # noqa: E402  (found through the line above)

DEFAULT_TEMPLATE = "%L %D %T %Z %A {%P-%t} %m"
# Large enough that neither the backlog nor the latency writer ever rolls the log.
ONE_FILE = 2_000_000_000
LATENCY_RATE = 1000  # entries per second
MEASUREMENTS = ("throughput", "latency", "memory", "idle")
GOALS = {"ratio": 1.0, "median": 250.0, "p99": 500.0, "rss": 32.0, "idle": 1.0}
ENTRY_TIME = re.compile(r"^\ufeff?\S+ (\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}) ")


class Failed(Exception):
    """A measurement that could not be made; the table shows ERROR and the reason follows it."""


def note(text: str) -> None:
    # Progress goes to stderr so that stdout holds the table alone.
    print(text, file=sys.stderr, flush=True)


# ---- processes ------------------------------------------------------------------------------

_started: list[subprocess.Popen] = []


def spawn(command: list[str], **kwargs) -> subprocess.Popen:
    # A process group of its own, so that killing it also kills what it started (mvutil under
    # /usr/bin/time), and nothing else.
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, start_new_session=True, **kwargs)
    _started.append(process)
    return process


def kill(process: subprocess.Popen) -> None:
    if process.returncode is None:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        if reap(process) is None:
            os.waitpid(process.pid, 0)
            process.returncode = -signal.SIGKILL


def kill_everything() -> None:
    for process in _started:
        kill(process)
    _started.clear()


def reap(process: subprocess.Popen) -> os.struct_rusage | None:
    """The child's resource usage if it has exited (then returncode is set), else None. Reaped
    with wait4 so that its CPU time comes from the kernel itself."""
    if process.returncode is not None:
        return getattr(process, "rusage", None)
    pid, status, usage = os.wait4(process.pid, os.WNOHANG)
    if pid == 0:
        return None
    process.returncode = os.waitstatus_to_exitcode(status)
    process.rusage = usage
    return usage


TICKS = os.sysconf("SC_CLK_TCK")


def cpu_ticks(pid: int) -> int:
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return int(fields[11]) + int(fields[12])  # utime, stime (fields 14 and 15 of proc(5))


def tail_of(path: pathlib.Path, size: int = 1500) -> str:
    try:
        return path.read_text(errors="replace")[-size:].strip()
    except FileNotFoundError:
        return ""


def last_record(collector: Collector) -> dict:
    """The receiver's last complete record, read from the file's end, not by parsing all of it."""
    with open(collector.output_path, "rb") as f:
        f.seek(max(0, os.fstat(f.fileno()).st_size - 65536))
        lines = f.read().split(b"\n")
    return json.loads(lines[-2])


# ---- the entries ----------------------------------------------------------------------------

def entry_lines(first: int, count: int) -> list[str]:
    """Entries first+1 .. first+count as the default template writes them, one millisecond apart
    from 2026-11-24 00:00:00 UTC, so the shipper meets changing times as on a tablet."""
    lines = []
    for i in range(first, first + count):
        stamp = time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(1795478400 + i // 1000))
        lines.append(f"I {stamp}.{i % 1000:03d} UTC Ward {{C:\\Ward\\monitor.exe-1234}} entry {i + 1:07d}")
    return lines


def write_log(path: pathlib.Path, count: int = 0, min_bytes: int = 0,
              utf8_copy: pathlib.Path | None = None) -> int:
    """Writes the log file as the logger does (FF FE, UTF-16LE, CR LF): count entries, or as many
    as reach min_bytes. utf8_copy gets the same lines as UTF-8, one per line. Returns the count."""
    written = 0
    size = 2
    with open(path, "wb") as log, (open(utf8_copy, "wb") if utf8_copy else open(os.devnull, "wb")) as copy:
        log.write(b"\xff\xfe")
        while (written < count) if count else (size < min_bytes):
            lines = entry_lines(written, min(10000, count - written) if count else 10000)
            data = ("\r\n".join(lines) + "\r\n").encode("utf-16-le")
            log.write(data)
            copy.write(("\n".join(lines) + "\n").encode("utf-8"))
            written += len(lines)
            size += len(data)
    return written


# ---- the tablet (mvutil's private install folder and configuration) --------------------------

class Tablet:
    def __init__(self, root: pathlib.Path, args: argparse.Namespace, relp_port: int):
        self.root = root
        self.args = args
        self.logs = root / "logs"
        self.logs.mkdir(parents=True)
        (root / "inst" / "Bin").mkdir(parents=True)
        self.log = self.logs / "KVO.log"
        self.stderr_path = root / "mvutil.stderr"
        settings = {
            "Logging/DefaultLevel": "DEBUG",
            "Logging/LogFileLocation": str(self.logs),
            "Logging/MaxLogFileSize": str(ONE_FILE),
            "Logging/MaxLogFileBackups": "2",
            "Logging/FreeSpaceMinimum": "1",
            "Logging/FormatString": DEFAULT_TEMPLATE,
            # A value ends at "//", so the collector's URL is three keys.
            "LogShipping/Protocol": "relp",
            "LogShipping/CollectorHost": "127.0.0.1",
            "LogShipping/CollectorPort": str(relp_port),
            "LogShipping/Hostname": "bench",
        }
        if args.window:
            settings["LogShipping/WindowSize"] = str(args.window)
        text = "".join(f"/Tavro/MedivaneSDK/{key}={value}\n" for key, value in settings.items())
        (root / "inst" / "Bin" / "TavroMedivane.cfg").write_text(text, encoding="utf-8")
        # The same clock and zone for the writer's %D %T and the shipper's reading of them.
        self.env = dict(os.environ, KVO_INSTALL_DIR=str(root / "inst"), TZ="UTC")

    def ship(self, *options: str, rss_file: pathlib.Path | None = None) -> subprocess.Popen:
        # The peak RSS comes from /usr/bin/time, not from our own wait4: a child forked from this
        # Python process inherits its high-water mark (the kernel keeps the larger of the two
        # across exec), which adds this script's own memory to mvutil's. time is small.
        wrapper = ["/usr/bin/time", "-f", "%M", "-o", str(rss_file)] if rss_file else []
        with open(self.stderr_path, "ab") as err:
            return spawn([*wrapper, self.args.mvutil, "ship", *options], env=self.env,
                         stdout=subprocess.DEVNULL, stderr=err)

    def stop(self, shipper: subprocess.Popen) -> None:
        """SIGTERM, as a service manager stops it; it must exit 0 after saving its cursor."""
        if reap(shipper) is None:
            shipper.send_signal(signal.SIGTERM)
            deadline = time.monotonic() + 30
            while reap(shipper) is None:
                if time.monotonic() > deadline:
                    kill(shipper)
                    raise Failed(f"mvutil ship did not exit within 30 s of SIGTERM: "
                                 f"{tail_of(self.stderr_path)}")
                time.sleep(0.02)
        if shipper.returncode != 0:
            raise Failed(f"mvutil ship exited with {shipper.returncode}: {tail_of(self.stderr_path)}")


def still_running(tablet: Tablet, shipper: subprocess.Popen):
    """For wait_received: a live shipper that has exited fails at once, not at the time limit."""
    def check() -> None:
        if reap(shipper) is not None:
            raise Failed(f"mvutil ship exited with {shipper.returncode}: {tail_of(tablet.stderr_path)}")
    return check


def receiver(root: pathlib.Path) -> Collector:
    # Brief records: a million full JSON records would make the receiver's own parsing and writing a
    # large share of both contenders' time, on a machine with two cores.
    collector = Collector(root, brief=True)
    collector.start()
    return collector


# ---- rsyslog's own file shipper -------------------------------------------------------------

class ImfileSender:
    """A private rsyslogd that reads a file with imfile and forwards each line with omrelp."""

    def __init__(self, root: pathlib.Path, source: pathlib.Path, port: int, window: int, queue_size: int):
        self.root = root
        root.mkdir(parents=True)
        (root / "spool").mkdir()
        self.conf = root / "rsyslog.conf"
        self.stderr_path = root / "rsyslogd.stderr"
        self.internal_log = root / "rsyslogd-internal.log"
        self.conf.write_text(f"""\
global(workDirectory="{root / 'spool'}" maxMessageSize="64k" localHostName="bench"
       net.enableDNS="off" processInternalMessages="on")
module(load="imfile" mode="inotify")
module(load="omrelp")

# RFC 5424 as mvutil sends it (the line is the MSG), without the trailing LF of
# RSYSLOG_SyslogProtocol23Format.
template(name="bench_rfc5424" type="string"
         string="<%PRI%>1 %TIMESTAMP:::date-rfc3339% %HOSTNAME% %APP-NAME% %PROCID% %MSGID% %STRUCTURED-DATA% %msg%")

ruleset(name="ship") {{
  # A queue that can hold the whole backlog, so imfile is never held back by it, and batches as
  # large as the RELP window, so omrelp can keep the window full.
  action(type="omrelp" target="127.0.0.1" port="{port}" windowSize="{window}" template="bench_rfc5424"
         queue.type="LinkedList" queue.size="{queue_size}" queue.dequeueBatchSize="{max(window, 128)}"
         action.resumeRetryCount="-1")
}}

# readMode 0: one line, one message, the cheapest reading imfile has.
input(type="imfile" file="{source}" tag="Ward" ruleset="ship" readMode="0" freshStartTail="off")

# rsyslogd's own messages, instead of the machine's syslog.
action(type="omfile" file="{self.internal_log}")
""", encoding="utf-8")
        self.rsyslogd = shutil.which("rsyslogd") or shutil.which("rsyslogd", path="/usr/sbin:/sbin")
        if not self.rsyslogd:
            raise Failed("rsyslogd not found (Debian packages rsyslog and rsyslog-relp)")
        check = subprocess.run([self.rsyslogd, "-N1", "-f", str(self.conf)], stdin=subprocess.DEVNULL,
                               capture_output=True, text=True, errors="replace")
        if check.returncode != 0:
            raise Failed(f"rsyslogd rejected the imfile sender's configuration:\n{check.stdout}{check.stderr}")
        self.process: subprocess.Popen | None = None

    def start(self) -> None:
        with open(self.stderr_path, "ab") as err:
            self.process = spawn([self.rsyslogd, "-n", "-f", str(self.conf), "-i", str(self.root / "pid")],
                                 stdout=err, stderr=subprocess.STDOUT, cwd=self.root)

    def stop(self) -> None:
        if self.process and self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                kill(self.process)

    def diagnostics(self) -> str:
        return f"{tail_of(self.stderr_path)}\n{tail_of(self.internal_log)}".strip()


# ---- the measurements -----------------------------------------------------------------------

def wait_received(collector: Collector, count: int, deadline: float, alive=None) -> float:
    """Polls until the receiver holds count records; returns that moment (monotonic). alive() may
    raise when the sender has failed, so a dead sender does not cost the whole timeout."""
    while True:
        if collector.count() >= count:
            return time.monotonic()
        if alive:
            alive()
        if time.monotonic() > deadline:
            raise Failed(f"the receiver had {collector.count()} of {count} messages at the time limit")
        time.sleep(0.02)


def vm_hwm_kib(pid: int) -> int:
    try:
        for line in pathlib.Path(f"/proc/{pid}/status").read_text().splitlines():
            if line.startswith("VmHWM:"):
                return int(line.split()[1])
    except (FileNotFoundError, ProcessLookupError):
        pass
    return 0


def ship_once(tablet: Tablet, collector: Collector, count: int) -> tuple[float, os.struct_rusage, float]:
    """Runs `mvutil ship --once` over the backlog; returns the wall time from its start until it
    has exited and the receiver holds every entry, its resource usage and its peak RSS in MiB."""
    deadline = time.monotonic() + 120 + count / 2000
    rss_file = tablet.root / "mvutil.maxrss" if os.access("/usr/bin/time", os.X_OK) else None
    peak = 0
    start = time.monotonic()
    shipper = tablet.ship("--once", rss_file=rss_file)
    while (usage := reap(shipper)) is None:
        if not rss_file:
            peak = max(peak, vm_hwm_kib(shipper.pid))
        if time.monotonic() > deadline:
            kill(shipper)
            raise Failed(f"mvutil ship --once did not finish {count} entries in time")
        time.sleep(0.02)
    if shipper.returncode != 0:
        raise Failed(f"mvutil ship --once exited with {shipper.returncode}: {tail_of(tablet.stderr_path)}")
    if rss_file:
        peak = int(rss_file.read_text().split()[-1])
    # The receiver writes each message before it acknowledges it, so this is normally at once.
    end = wait_received(collector, count, time.monotonic() + 30)
    return end - start, usage, peak / 1024


def check_delivery(collector: Collector, count: int, who: str) -> None:
    got = collector.count()
    if got != count:
        raise Failed(f"{who}: the receiver holds {got} messages for {count} entries")
    last = last_record(collector)["msg"]
    if not last.endswith(f" entry {count:07d}"):
        raise Failed(f"{who}: the last message received is {last!r}, not entry {count}")


def measure_throughput(root: pathlib.Path, args: argparse.Namespace) -> dict:
    n = args.entries
    results = {}
    mvutil_dir, imfile_dir = root / "throughput-mvutil", root / "throughput-imfile"
    collector = receiver(root / "receiver-mvutil")
    try:
        tablet = Tablet(mvutil_dir, args, collector.relp_port)
        lines_path = root / "entries-utf8.log"
        write_log(tablet.log, count=n, utf8_copy=lines_path)
        note(f"throughput: mvutil ship --once, {n:,} entries ({tablet.log.stat().st_size / 2**20:.0f} MiB)")
        before = cpu_ticks(collector.pid)
        seconds, usage, _ = ship_once(tablet, collector, n)
        results["mvutil_receiver_cpu_us"] = (cpu_ticks(collector.pid) - before) / TICKS / n * 1e6
        check_delivery(collector, n, "mvutil ship")
        results["mvutil"] = n / seconds
        results["mvutil_seconds"] = seconds
        results["mvutil_cpu_us"] = (usage.ru_utime + usage.ru_stime) / n * 1e6
        note(f"  {seconds:.1f} s, {n / seconds:,.0f} entries/s")
    finally:
        collector.stop()
        shutil.rmtree(collector.workdir, ignore_errors=True)

    collector = receiver(root / "receiver-imfile")
    sender = None
    try:
        sender = ImfileSender(imfile_dir, lines_path, collector.relp_port, args.imfile_window, max(n, 100000))
        note(f"throughput: rsyslogd imfile + omrelp (windowSize {args.imfile_window}), {n:,} lines")

        def alive() -> None:
            if sender.process.poll() is not None:
                raise Failed(f"the imfile sender exited with {sender.process.returncode}:\n"
                             f"{sender.diagnostics()}")

        before = cpu_ticks(collector.pid)
        start = time.monotonic()
        sender.start()
        end = wait_received(collector, n, start + 120 + n / 2000, alive)
        results["imfile_receiver_cpu_us"] = (cpu_ticks(collector.pid) - before) / TICKS / n * 1e6
        seconds = end - start
        # Anything sent twice would still be arriving; give it a moment to show.
        time.sleep(0.2)
        check_delivery(collector, n, "imfile")
        results["imfile"] = n / seconds
        results["imfile_seconds"] = seconds
        note(f"  {seconds:.1f} s, {n / seconds:,.0f} entries/s")
    finally:
        if sender:
            sender.stop()
        collector.stop()
        shutil.rmtree(collector.workdir, ignore_errors=True)
        shutil.rmtree(mvutil_dir, ignore_errors=True)
        shutil.rmtree(imfile_dir, ignore_errors=True)
    return results


def measure_latency(root: pathlib.Path, args: argparse.Namespace) -> dict:
    count = int(args.latency_seconds * LATENCY_RATE)
    collector = receiver(root / "receiver-latency")
    tablet = Tablet(root / "latency", args, collector.relp_port)
    shipper = None
    try:
        note(f"latency: ship_writer, {count:,} entries at {LATENCY_RATE}/s, mvutil ship following")
        shipper = tablet.ship()
        # Running and polling before the first entry is written, as on a tablet.
        time.sleep(1.0)
        if reap(shipper) is not None:
            raise Failed(f"mvutil ship exited with {shipper.returncode}: {tail_of(tablet.stderr_path)}")
        writer = spawn([args.writer, "lat", str(count), str(1_000_000 // LATENCY_RATE)], env=tablet.env,
                       stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        _, err = writer.communicate(timeout=args.latency_seconds * 3 + 30)
        if writer.returncode != 0:
            raise Failed(f"ship_writer exited with {writer.returncode}: {err.decode(errors='replace')[-500:]}")
        wait_received(collector, count, time.monotonic() + 30, still_running(tablet, shipper))
        tablet.stop(shipper)
        latencies = []
        for received, msg in collector.receptions():
            match = ENTRY_TIME.match(msg)
            if not match or " lat-" not in msg:
                continue  # the shipper's own messages
            written = datetime.datetime.strptime(match.group(1), "%Y-%m-%d %H:%M:%S.%f")
            written = written.replace(tzinfo=datetime.timezone.utc)
            arrived = datetime.datetime.fromisoformat(received)
            latencies.append((arrived - written).total_seconds() * 1000)
        if len(latencies) != count:
            raise Failed(f"{len(latencies)} of the writer's {count} entries arrived")
        latencies.sort()
        p99 = latencies[math.ceil(0.99 * len(latencies)) - 1]
        note(f"  median {statistics.median(latencies):.1f} ms, p99 {p99:.1f} ms, max {latencies[-1]:.1f} ms")
        return {"median": statistics.median(latencies), "p99": p99, "max": latencies[-1], "count": count}
    finally:
        if shipper:
            kill(shipper)
        collector.stop()
        shutil.rmtree(tablet.root, ignore_errors=True)
        shutil.rmtree(collector.workdir, ignore_errors=True)


def measure_memory(root: pathlib.Path, args: argparse.Namespace) -> dict:
    collector = receiver(root / "receiver-memory")
    tablet = Tablet(root / "memory", args, collector.relp_port)
    try:
        count = write_log(tablet.log, min_bytes=args.backlog_mb * 2**20)
        size = tablet.log.stat().st_size
        note(f"memory: mvutil ship --once over {size / 2**20:,.0f} MiB ({count:,} entries)")
        seconds, _, rss = ship_once(tablet, collector, count)
        check_delivery(collector, count, "mvutil ship")
        note(f"  peak RSS {rss:.1f} MiB, {seconds:.1f} s, {count / seconds:,.0f} entries/s")
        return {"rss": rss, "mb": size / 2**20, "seconds": seconds, "entries": count}
    finally:
        collector.stop()
        shutil.rmtree(tablet.root, ignore_errors=True)
        shutil.rmtree(collector.workdir, ignore_errors=True)


def measure_idle(root: pathlib.Path, args: argparse.Namespace) -> dict:
    collector = receiver(root / "receiver-idle")
    tablet = Tablet(root / "idle", args, collector.relp_port)
    shipper = None
    try:
        write_log(tablet.log, count=10)
        shipper = tablet.ship()
        # Caught up first: what is measured is following a log where nothing happens.
        wait_received(collector, 10, time.monotonic() + 30, still_running(tablet, shipper))
        time.sleep(1.0)
        note(f"idle: mvutil ship following an unchanging log for {args.idle_seconds:g} s")
        ticks, start = cpu_ticks(shipper.pid), time.monotonic()
        time.sleep(args.idle_seconds)
        ticks, wall = cpu_ticks(shipper.pid) - ticks, time.monotonic() - start
        tablet.stop(shipper)
        percent = ticks / TICKS / wall * 100
        note(f"  {percent:.2f} % of one core ({ticks} ticks in {wall:.1f} s)")
        return {"percent": percent, "seconds": wall}
    finally:
        if shipper:
            kill(shipper)
        collector.stop()
        shutil.rmtree(tablet.root, ignore_errors=True)
        shutil.rmtree(collector.workdir, ignore_errors=True)


# ---- the report -----------------------------------------------------------------------------

def verdict(value: float, goal: float, smoke: bool) -> str:
    if smoke:
        return "ran"
    return "PASS" if value <= goal else "FAIL"


def report(args: argparse.Namespace, results: dict, errors: dict) -> list[str]:
    """Prints the table; returns the names of the goals missed or measurements not made."""
    rows = [("measure", "mvutil ship", "reference", "ratio / goal", "verdict")]
    missed = []

    def wanted(key: str) -> bool:
        return not args.only or key in args.only

    def error_row(what: str, key: str) -> None:
        rows.append((what, "ERROR", "", "", "ERROR"))
        missed.append(f"{what}: {errors[key]}")

    if "throughput" in results:
        t = results["throughput"]
        ratio = t["mvutil"] / t["imfile"]
        v = verdict(-ratio, -GOALS["ratio"], args.smoke)  # higher is better
        rows.append((f"throughput, {args.entries:,} entries (entries/s)", f"{t['mvutil']:,.0f}",
                     f"{t['imfile']:,.0f} (imfile+omrelp)", f"{ratio:.2f} (>= {GOALS['ratio']:g})", v))
        if v == "FAIL":
            missed.append(f"throughput ratio {ratio:.2f} < {GOALS['ratio']:g}")
    elif wanted("throughput"):
        error_row("throughput (entries/s)", "throughput")
    def at_most(label: str, key: str, value: float, shown: str, unit: str) -> None:
        v = verdict(value, GOALS[key], args.smoke)
        rows.append((f"{label} ({unit})", shown, "", f"<= {GOALS[key]:g}", v))
        if v == "FAIL":
            missed.append(f"{label} {shown} {unit} > {GOALS[key]:g} {unit}")

    if "latency" in results:
        lat = results["latency"]
        for key, label in (("median", "median"), ("p99", "99th percentile")):
            at_most(f"latency {label} at {LATENCY_RATE}/s", key, lat[key], f"{lat[key]:.1f}", "ms")
    elif wanted("latency"):
        error_row("latency (ms)", "latency")
    if "memory" in results:
        mem = results["memory"]
        at_most(f"peak RSS, {mem['mb']:,.0f} MiB backlog", "rss", mem["rss"], f"{mem['rss']:.1f}", "MiB")
    elif wanted("memory"):
        error_row("peak RSS (MiB)", "memory")
    if "idle" in results:
        idle = results["idle"]
        at_most(f"idle CPU over {idle['seconds']:.0f} s", "idle", idle["percent"], f"{idle['percent']:.2f}",
                "% of a core")
    elif wanted("idle"):
        error_row("idle CPU (% of a core)", "idle")

    widths = [max(len(row[i]) for row in rows) for i in range(5)]
    for n, row in enumerate(rows):
        cells = [cell.ljust(w) if i == 0 else cell.rjust(w) for i, (cell, w) in enumerate(zip(row, widths))]
        print("  ".join(cells).rstrip())
        if n == 0:
            print("  ".join("-" * w for w in widths))
    if "throughput" in results:
        t = results["throughput"]
        window = args.window or "default"
        print(f"throughput: mvutil {t['mvutil_seconds']:.1f} s ({t['mvutil_cpu_us']:.1f} us CPU per entry, "
              f"RELP window {window}; receiver {t['mvutil_receiver_cpu_us']:.1f} us CPU per entry)")
        print(f"            imfile {t['imfile_seconds']:.1f} s (omrelp windowSize {args.imfile_window}, "
              f"LinkedList action queue; receiver {t['imfile_receiver_cpu_us']:.1f} us CPU per entry)")
    if "latency" in results:
        lat = results["latency"]
        print(f"latency: {lat['count']:,} entries, max {lat['max']:.1f} ms")
    if "memory" in results:
        mem = results["memory"]
        print(f"memory: {mem['entries']:,} entries in {mem['seconds']:.1f} s "
              f"({mem['entries'] / mem['seconds']:,.0f} entries/s)")
    print(f"mvutil: {args.mvutil}   ship_writer: {args.writer}")
    return missed


def default_writer() -> str:
    # The bench preset builds no tests, so ship_writer may exist only in the host (Debug) build.
    for preset in ("bench", "host"):
        candidate = SOURCE / "build" / preset / "bin" / "ship_writer"
        if candidate.exists():
            return str(candidate)
    return str(SOURCE / "build" / "bench" / "bin" / "ship_writer")


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--smoke", action="store_true", help="tiny sizes, no goals checked")
    parser.add_argument("--entries", type=int, help="throughput backlog (default 1,000,000; smoke 20,000)")
    parser.add_argument("--backlog-mb", type=int, help="memory backlog in MiB (default 1024; smoke 5)")
    parser.add_argument("--latency-seconds", type=float, help="writing time (default 10; smoke 2)")
    parser.add_argument("--idle-seconds", type=float, help="idle time measured (default 10; smoke 2)")
    parser.add_argument("--imfile-window", type=int, default=4096, help="omrelp windowSize (default 4096)")
    parser.add_argument("--window", type=int, help="mvutil's RELP window (default: its own default)")
    parser.add_argument("--mvutil", default=str(SOURCE / "build" / "bench" / "bin" / "mvutil"))
    parser.add_argument("--writer", default=default_writer(), help="the ship_writer program")
    parser.add_argument("--keep", action="store_true", help="keep the temporary folder")
    parser.add_argument("--only", action="append", choices=MEASUREMENTS,
                        help="run this measurement alone (repeatable)")
    args = parser.parse_args()
    smoke = args.smoke
    for name, full, tiny in (("entries", 1_000_000, 20_000), ("backlog_mb", 1024, 5),
                             ("latency_seconds", 10.0, 2.0), ("idle_seconds", 10.0, 2.0)):
        if getattr(args, name) is None:
            setattr(args, name, tiny if smoke else full)
    for program in (args.mvutil, args.writer):
        if not os.access(program, os.X_OK):
            print(f"not found: {program} (cmake --preset bench && cmake --build --preset bench)",
                  file=sys.stderr)
            return 2

    # Stopped by kill or timeout as well as by Ctrl-C, every child must go with us.
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    root = pathlib.Path(tempfile.mkdtemp(prefix="ship_ratios-"))
    results, errors = {}, {}
    try:
        for name, measure in (("throughput", measure_throughput), ("latency", measure_latency),
                              ("memory", measure_memory), ("idle", measure_idle)):
            if args.only and name not in args.only:
                continue
            try:
                results[name] = measure(root, args)
            except (Failed, RuntimeError, OSError, subprocess.SubprocessError) as e:
                errors[name] = str(e)
                note(f"{name}: ERROR {e}")
            finally:
                kill_everything()
    finally:
        kill_everything()
        if args.keep:
            note(f"kept {root}")
        else:
            shutil.rmtree(root, ignore_errors=True)

    missed = report(args, results, errors)
    if missed:
        print(("did not run: " if smoke else "missed: ") + "; ".join(missed))
        return 1
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        # The children and the temporary folder are already gone (main's finally).
        print("interrupted", file=sys.stderr)
        sys.exit(130)
