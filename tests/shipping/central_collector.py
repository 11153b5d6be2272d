#!/usr/bin/env python3
"""The ward's central collector (examples/collector/) run for real: start.sh starts a private
PostgreSQL cluster and rsyslog, three tablets ship their logs to it with `mvutil ship` (two over
RELP, one over RELP with TLS and a client certificate), and the database and the per-tablet files
hold exactly what each wrote. stop.sh stops it all.

Usage: central_collector.py --mvutil PATH [--keep]
"""

from __future__ import annotations

import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import types

HERE = pathlib.Path(__file__).resolve().parent
EXAMPLE = HERE.parent.parent / "examples" / "collector"
sys.path.insert(0, str(HERE))
from collector import _free_loopback_port  # noqa: E402
from ship_scenarios import Failure, Tablet, check  # noqa: E402

# Each tablet's entries: (hostname, how it ships, how many). Areas and texts carry a quote, a
# backslash and non-ASCII, which the SQL must keep as they are.
TABLETS = [("tablet-1", "relp", 40), ("tablet-2", "relp+tls", 25), ("tablet-3", "relp", 10)]


def psql(folder: pathlib.Path, port: int, query: str) -> str:
    pg_bin = sorted(pathlib.Path("/usr/lib/postgresql").glob("*/bin"))[-1]
    result = subprocess.run([str(pg_bin / "psql"), "-h", str(folder), "-p", str(port), "-U", "postgres",
                             "-d", "tavro_logs", "-At", "-v", "ON_ERROR_STOP=1", "-c", query],
                            capture_output=True, text=True, timeout=30)
    check(result.returncode == 0, f"psql {query!r}: {result.stderr}")
    return result.stdout.strip()


def entries(host: str, count: int) -> list[str]:
    lines = []
    for i in range(1, count + 1):
        # Every fifth an error, all in the hour 09:00 on 2026-03-02 local (UTC here), the rest at 08:xx.
        level, hour = ("E", 9) if i % 5 == 0 else ("I", 8)
        lines.append(f"{level} 2026-03-02 {hour:02d}:{i % 60:02d}:00.000 UTC Bed 'Nord' {{C:\\Ward\\pump.exe-7}} "
                     f"{host} entry {i}: it's 37,5 °C")
    return lines


def run(root: pathlib.Path, args: argparse.Namespace) -> None:
    ward = root / "ward"
    relp, relp_tls, pgport = (_free_loopback_port() for _ in range(3))
    env = dict(os.environ, RELP_PORT=str(relp), RELP_TLS_PORT=str(relp_tls), PGPORT=str(pgport))
    started = subprocess.run([str(EXAMPLE / "start.sh"), str(ward)], env=env, capture_output=True, text=True,
                             timeout=120)
    check(started.returncode == 0, f"start.sh: exit {started.returncode}\n{started.stdout}{started.stderr}")
    try:
        tls = ward / "tls"
        for host, how, count in TABLETS:
            tablet = Tablet(root / host, args, types.SimpleNamespace(relp_port=relp), max_size=1 << 20)
            tablet.write_raw(entries(host, count))
            options = ["--once", "--hostname", host]
            if how == "relp+tls":
                options += ["--to", f"relp+tls://localhost:{relp_tls}", "--ca", str(tls / "ca.pem"),
                            "--cert", str(tls / "tablet.pem"), "--key", str(tls / "tablet-key.pem")]
            result = tablet.ship(*options)
            check(result.returncode == 0, f"{host}: exit {result.returncode} {result.stderr!r}")

        expected = "\n".join(f"{host}|{count}" for host, _, count in sorted(TABLETS))
        query = "select host, count(*) from log_entries group by host order by host"
        deadline = time.monotonic() + 30
        while (got := psql(ward, pgport, query)) != expected and time.monotonic() < deadline:
            time.sleep(0.2)  # the database action works through its queue
        check(got == expected, f"{query}:\n{got}\nexpected\n{expected}")

        # The README's other question: this tablet, this hour, errors only.
        hour = psql(ward, pgport, "select count(*) from log_entries where host = 'tablet-2' and "
                                  "reported_at >= '2026-03-02 09:00+00' and reported_at < '2026-03-02 10:00+00' "
                                  "and severity <= 3")
        check(hour == "5", f"tablet-2's errors in the hour: {hour}")
        # The default template has no %p, so PROCID is absent: NULL, shown empty.
        row = psql(ward, pgport, "select app, procid, area, severity, reported_at at time zone 'UTC', "
                                 "fields->'tavro@32473'->>'process', message from log_entries "
                                 "where host = 'tablet-3' order by id limit 1")
        check(row == "pump||Bed_'Nord'|6|2026-03-02 08:01:00|C:\\Ward\\pump.exe|"
                     "I 2026-03-02 08:01:00.000 UTC Bed 'Nord' {C:\\Ward\\pump.exe-7} tablet-3 entry 1: it's 37,5 °C",
              f"a row of tablet-3: {row!r}")
        for host, _, count in TABLETS:
            lines = (ward / "tablets" / f"{host}.log").read_text(encoding="utf-8").splitlines()
            check(len(lines) == count, f"{host}.log holds {len(lines)} lines, not {count}")
        print(f"passed: {expected.replace(chr(10), ', ')}")
    finally:
        stopped = subprocess.run([str(EXAMPLE / "stop.sh"), str(ward)], capture_output=True, text=True, timeout=60)
        if stopped.returncode != 0:
            print(f"stop.sh: exit {stopped.returncode} {stopped.stderr}")
    check(stopped.returncode == 0, "stop.sh failed")
    check(not (ward / "pgdata" / "postmaster.pid").exists(), "PostgreSQL still runs after stop.sh")


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("--mvutil", required=True)
    parser.add_argument("--keep", action="store_true")
    args = parser.parse_args()
    args.emulator = []
    root = pathlib.Path(tempfile.mkdtemp(prefix="central-collector-"))
    # PostgreSQL runs as an unprivileged user when this runs as root: it must reach the folder.
    root.chmod(0o755)
    try:
        run(root, args)
    except Failure as failure:
        print(f"FAILED central-collector: {failure}")
        for log in ("rsyslog/rsyslogd.log", "postgres.log"):
            path = root / "ward" / log
            if path.exists():
                print(f"--- {log}\n{path.read_text(errors='replace')[-3000:]}")
        return 1
    finally:
        if not args.keep:
            shutil.rmtree(root, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
