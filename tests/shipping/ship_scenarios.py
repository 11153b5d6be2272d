#!/usr/bin/env python3
"""The log shipper against a real rsyslog: each scenario writes the shared log, runs `mvutil ship`
and compares what the collector received with what was written, one to one.

    ship_scenarios.py --mvutil PATH --writer PATH --version V [--emulator WORD]... SCENARIO

Writers are real programs logging through the library (ship_writer), so the log rolls under the
shipper exactly as on a tablet; the hostile and mapping scenarios write the log file's UTF-16LE
bytes themselves, to put in it what the logger would never write. Exit 0 when the scenario holds;
otherwise each difference is printed and the exit code is 1.
"""

from __future__ import annotations

import argparse
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from certificates import Certificates, make_certificates  # noqa: E402
from collector import Collector, TlsListeners  # noqa: E402

BOM = "\ufeff"
ENTRY_TAG = re.compile(r"(w\d+)-(\d{5})$")
DEFAULT_TEMPLATE = "%L %D %T %Z %A {%P-%t} %m"
WINDOW = 128  # the tablet's RELP window (WindowSize)


class Failure(Exception):
    pass


def check(condition: bool, what: str) -> None:
    if not condition:
        raise Failure(what)


class Tablet:
    """A private install folder, configuration and log, and the programs that use them."""

    def __init__(self, root: pathlib.Path, args: argparse.Namespace, collector: Collector,
                 max_size: int = 16384, backups: int = 5, template: str = DEFAULT_TEMPLATE):
        self.root = root
        self.args = args
        self.collector = collector
        self.logs = root / "logs"
        self.logs.mkdir(parents=True)
        (root / "inst" / "Bin").mkdir(parents=True)
        self.state = self.logs / "KVO.log.ship-state"
        self.log = self.logs / "KVO.log"
        settings = {
            "Logging/DefaultLevel": "DEBUG",
            "Logging/LogFileLocation": self.seen(self.logs),
            "Logging/MaxLogFileSize": str(max_size),
            "Logging/MaxLogFileBackups": str(backups),
            "Logging/FreeSpaceMinimum": "1",
            "Logging/FormatString": template,
            "LogShipping/Protocol": "relp",
            "LogShipping/CollectorHost": "127.0.0.1",
            "LogShipping/CollectorPort": str(collector.relp_port),
            "LogShipping/Hostname": "tablet-7",
            # Small, so that a kill's duplicates are bounded tightly and the window fills often.
            "LogShipping/WindowSize": str(WINDOW),
        }
        text = "".join(f"/Tavro/MedivaneSDK/{key}={value}\n" for key, value in settings.items())
        (root / "inst" / "Bin" / "TavroMedivane.cfg").write_text(text, encoding="utf-8")
        self.env = dict(os.environ, KVO_INSTALL_DIR=self.seen(root / "inst"), TZ=os.environ.get("TZ", "UTC"))

    def seen(self, path: pathlib.Path) -> str:
        """A path as the programs see it (under Wine: the Z: drive)."""
        return "Z:" + str(path).replace("/", "\\") if self.args.emulator else str(path)

    def command(self, program: str, *arguments: str) -> list[str]:
        return [*self.args.emulator, program, *arguments]

    def writers(self, count: int, entries: int, interval_us: int) -> list[subprocess.Popen]:
        return [subprocess.Popen(self.command(self.args.writer, f"w{n}", str(entries), str(interval_us)),
                                 env=self.env, stdout=subprocess.DEVNULL)
                for n in range(count)]

    def ship(self, *options: str, timeout: float = 120) -> subprocess.CompletedProcess:
        return subprocess.run(self.command(self.args.mvutil, "ship", *options), env=self.env,
                              capture_output=True, text=True, timeout=timeout)

    def start_shipper(self, *options: str) -> subprocess.Popen:
        return subprocess.Popen(self.command(self.args.mvutil, "ship", *options), env=self.env,
                                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)

    def write_raw(self, lines: list[str], name: str = "KVO.log") -> None:
        """Appends whole entries as the logger writes them: UTF-16LE, CR LF, FF FE at a file's start.
        Lone surrogates are written as the code units they are."""
        path = self.logs / name
        data = b"" if path.exists() else b"\xff\xfe"
        for line in lines:
            data += (line + "\r\n").encode("utf-16-le", "surrogatepass")
        with open(path, "ab") as out:
            out.write(data)


def wait_all(processes: list[subprocess.Popen], timeout: float = 120) -> None:
    for process in processes:
        check(process.wait(timeout=timeout) == 0, f"a writer failed: {process.args}")


def writer_messages(collector: Collector) -> list[dict]:
    return [m for m in collector.messages() if m["app_name"] == "ship_writer"]


def tags(messages: list[dict]) -> list[tuple[str, int]]:
    found = []
    for message in messages:
        match = ENTRY_TAG.search(message["msg"])
        check(match is not None, f"not a writer's entry: {message['msg']!r}")
        found.append((match.group(1), int(match.group(2))))
    return found


def wait_for_writers(collector: Collector, expected: int, timeout: float) -> list[dict]:
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        messages = writer_messages(collector)
        if len(set(tags(messages))) >= expected:
            return messages
        time.sleep(0.2)
    return writer_messages(collector)


def check_every_entry(found: list[tuple[str, int]], writers: int, entries: int, exactly_once: bool) -> None:
    missing = [(f"w{n}", i) for n in range(writers) for i in range(1, entries + 1)
               if (f"w{n}", i) not in set(found)]
    check(not missing, f"{len(missing)} entries never arrived, first {missing[:5]}")
    if exactly_once:
        check(len(found) == writers * entries, f"{len(found) - writers * entries} duplicates")
        for n in range(writers):
            sequence = [i for tag, i in found if tag == f"w{n}"]
            check(sequence == list(range(1, entries + 1)), f"w{n}'s entries arrived out of order")


def check_writer_fields(message: dict) -> None:
    """What a ship_writer entry maps to, read independently of the shipper's code."""
    check(message["pri"] == 16 * 8 + 6, f"PRI {message['pri']}")
    check(message["version"] == "1" and message["hostname"] == "tablet-7", f"header {message['raw'][:80]!r}")
    check(message["msgid"] == "Writer" and message["procid"] == "-", f"header {message['raw'][:80]!r}")
    check(message["msg"].startswith(BOM + "I "), f"MSG {message['msg'][:40]!r}")
    check(re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}\+00:00", message["timestamp"]) is not None,
          f"TIMESTAMP {message['timestamp']}")
    check(re.fullmatch(r'\[origin software="TavroMedivaneUtil" swVersion="[^"]+"\]\[tavro@32473 thread="\d+" '
                       r'process="[^"]*ship_writer[^"]*" area="Writer"\]', message["structured_data"]) is not None,
          f"SD {message['structured_data']}")


# ---- the scenarios ----

def live_through_rolls(root, args, collector, writers=4, entries=2000):
    """Writers write while the shipper follows; the 16 KB log rolls about a hundred times."""
    tablet = Tablet(root, args, collector)
    shipper = tablet.start_shipper()
    time.sleep(0.5)
    wait_all(tablet.writers(writers, entries, interval_us=5000))
    messages = wait_for_writers(collector, writers * entries, timeout=60)
    stop(shipper, args)
    check_every_entry(tags(messages), writers, entries, exactly_once=True)
    for message in messages[:3] + messages[-3:]:
        check_writer_fields(message)


def stop(shipper: subprocess.Popen, args) -> None:
    if args.emulator:
        shipper.kill()
        shipper.wait()
        return
    shipper.send_signal(signal.SIGTERM)
    code = shipper.wait(timeout=30)
    check(code == 0, f"the shipper ended with {code} on SIGTERM: {shipper.stderr.read()}")


def killed(root, args, collector, writers=4, entries=2000, kills=5):
    """kill -9 at random moments while writers write; each restart goes on from the cursor."""
    # Room for 50 backups (3 MB, some 18 s of the writers' output): a restart slowed by a busy
    # machine must not let the log roll past what the shipper has read, which is another
    # scenario's matter (rolled-past-the-limit). Five held about 2 s of output.
    tablet = Tablet(root, args, collector, max_size=65536, backups=50)
    randomness = random.Random(int(os.environ.get("TAVRO_SCENARIO_SEED", "5")))
    shipper = tablet.start_shipper()
    running = tablet.writers(writers, entries, interval_us=5000)
    for _ in range(kills):
        time.sleep(randomness.uniform(0.3, 1.6))
        shipper.kill()
        shipper.wait()
        shipper = tablet.start_shipper()
    wait_all(running)
    messages = wait_for_writers(collector, writers * entries, timeout=60)
    stop(shipper, args)
    found = tags(messages)
    check_every_entry(found, writers, entries, exactly_once=False)
    duplicates = len(found) - writers * entries
    check(duplicates <= kills * WINDOW,
          f"{duplicates} duplicates for {kills} kills of a {WINDOW}-message window")
    print(f"killed: {duplicates} duplicates after {kills} kills")


def collector_away(root, args, collector, writers=4, entries=1500):
    """rsyslog stops for 10 s and comes back while writers write; --once meanwhile exits 1."""
    tablet = Tablet(root, args, collector, max_size=1 << 20)
    shipper = tablet.start_shipper()
    running = tablet.writers(writers, entries, interval_us=5000)
    time.sleep(1.5)
    collector.stop()
    time.sleep(1.0)
    stop(shipper, args)
    before = tablet.state.read_bytes()
    once = tablet.ship("--once")
    check(once.returncode == 1, f"--once with the collector away exited {once.returncode}: {once.stderr}")
    check(tablet.state.read_bytes() == before, "--once with the collector away moved the cursor")
    shipper = tablet.start_shipper()
    time.sleep(8.0)
    collector.start()
    wait_all(running)
    messages = wait_for_writers(collector, writers * entries, timeout=60)
    stop(shipper, args)
    found = tags(messages)
    check_every_entry(found, writers, entries, exactly_once=False)
    # What was in flight when rsyslog stopped may have reached its file without an answer.
    duplicates = len(found) - writers * entries
    check(duplicates <= WINDOW, f"{duplicates} duplicates for one outage of a {WINDOW}-message window")


def down_through_rolls(root, args, collector):
    """The shipper is down while the log rolls three times; a restart sends everything."""
    tablet = Tablet(root, args, collector)
    wait_all(tablet.writers(1, 10, interval_us=0))
    first = tablet.ship("--once")
    check(first.returncode == 0, f"first --once: {first.returncode} {first.stderr}")
    wait_all(tablet.writers(1, 300, interval_us=0))  # about 60 KB: three rolls of 16 KB
    rolled = sorted(p.name for p in tablet.logs.glob("KVO.log.*") if p.name[-1].isdigit())
    check(rolled == ["KVO.log.1", "KVO.log.2", "KVO.log.3"], f"backups {rolled}")
    second = tablet.ship("--once")
    check(second.returncode == 0, f"second --once: {second.returncode} {second.stderr}")
    found = tags(writer_messages(collector))
    check(found == [("w0", i) for i in range(1, 11)] + [("w0", i) for i in range(1, 301)],
          f"arrived {len(found)}: {found[:3]}...{found[-3:]}")


def rolled_past_the_limit(root, args, collector):
    """The cursor's file rolled past the last backup: a warning, then everything still on disk."""
    tablet = Tablet(root, args, collector, backups=2)
    wait_all(tablet.writers(1, 5, interval_us=0))
    first = tablet.ship("--once")
    check(first.returncode == 0, f"first --once: {first.returncode} {first.stderr}")
    last_shipped = collector.messages()[-1]["timestamp"]
    wait_all(tablet.writers(1, 600, interval_us=0))  # about eight rolls, two backups kept
    on_disk = []
    for name in ["KVO.log.2", "KVO.log.1", "KVO.log"]:
        text = (tablet.logs / name).read_bytes().decode("utf-16-le")
        on_disk += [line for line in text.lstrip(BOM).split("\r\n") if line]
    second = tablet.ship("--once")
    check(second.returncode == 0, f"second --once: {second.returncode} {second.stderr}")
    arrived = collector.messages()[5:]
    warning = arrived[0]
    check(warning["pri"] == 16 * 8 + 4 and warning["app_name"] == "mvutil" and warning["msgid"] == "LogShipping",
          f"warning header {warning['raw'][:100]!r}")
    first_left = re.search(r" (\d{4}-\d\d-\d\d) (\d\d:\d\d:\d\d\.\d{3}) ", on_disk[0])
    expected = (f"{BOM}Log entries lost between {last_shipped} and "
                f"{first_left.group(1)}T{first_left.group(2)}+00:00: ")
    check(warning["msg"].startswith(expected), f"warning {warning['msg']!r}, expected {expected!r}...")
    check([m["msg"] for m in arrived[1:]] == [BOM + line for line in on_disk],
          f"{len(arrived) - 1} arrived after the warning, {len(on_disk)} on disk")
    check("Log entries lost" in second.stderr, f"stderr {second.stderr!r}")


def hostile(root, args, collector):
    """Entries no template should have to take, each one message with exact fields."""
    tablet = Tablet(root, args, collector, template="%L %D %T %Z %A {%P-%t} %f:%l %m")
    head = "W 2026-01-15 10:00:00.001 UTC"
    lines = [
        f'{head} Ar"e\\a]1 {{C:\\Ward\\x.exe-7}} fi"le\\x].cpp:12 quoted',
        f"{head} Area2 {{C:\\Ward\\x.exe-7}} f.cpp:1 clef \U0001D11E and lone \ud800 here",
        f"{head} Area3 {{C:\\Ward\\x.exe-7}} f.cpp:2 " + "m" * 10000,
        "\x01garbage that fits no template ]\"\\",
        f"{head} Area5 {{C:\\Ward\\x.exe-7}} f.cpp:3 value;DATA#0x2A ] \"x\"",
    ]
    tablet.write_raw(lines)
    result = tablet.ship("--once", "--facility", "3")
    check(result.returncode == 0, f"--once: {result.returncode} {result.stderr}")
    got = collector.messages()
    check(len(got) == 5, f"{len(got)} messages arrived, expected 5")
    origin = '[origin software="TavroMedivaneUtil" swVersion="{}"]'.format(args.version)
    ts = "2026-01-15T10:00:00.001+00:00"
    expected_raw = [
        f'<28>1 {ts} tablet-7 x - Ar"e\\a]1 {origin}[tavro@32473 thread="7" file="fi\\"le\\\\x\\].cpp" '
        f'line="12" process="C:\\\\Ward\\\\x.exe" area="Ar\\"e\\\\a\\]1"] {BOM}{lines[0]}',
        f'<28>1 {ts} tablet-7 x - Area2 {origin}[tavro@32473 thread="7" file="f.cpp" line="1" '
        f'process="C:\\\\Ward\\\\x.exe" area="Area2"] {BOM}' + lines[1].replace("\ud800", "\ufffd"),
        f'<28>1 {ts} tablet-7 x - Area3 {origin}[tavro@32473 thread="7" file="f.cpp" line="2" '
        f'process="C:\\\\Ward\\\\x.exe" area="Area3"] {BOM}{lines[2]}',
        None,  # the garbage line: its time is when it was read
        f'<28>1 {ts} tablet-7 x - Area5 {origin}[tavro@32473 thread="7" file="f.cpp" line="3" '
        f'process="C:\\\\Ward\\\\x.exe" area="Area5" data="0x2A \\] \\"x\\""] {BOM}{lines[4]}',
    ]
    for index, (message, expected) in enumerate(zip(got, expected_raw)):
        if expected is not None:
            check(message["raw"] == expected, f"entry {index}:\n got      {message['raw'][:300]!r}\n expected "
                                              f"{expected[:300]!r}")
    garbage = got[3]
    check(re.fullmatch(r"<29>1 \S+ tablet-7 - - - " + re.escape(origin) + " " + re.escape(BOM + lines[3]),
                       garbage["raw"]) is not None, f"garbage line {garbage['raw']!r}")
    check(len(got[2]["msg"]) == len(BOM + lines[2]), "the 10000-character entry was cut")


def mapping(root, args, collector):
    """One entry of each level, in summer and winter time, and templates without %L or %D."""
    tablet = Tablet(root, args, collector)
    tablet.env["TZ"] = "Europe/Berlin"
    levels = "RFEWIDU"
    lines = [f"{letter} 2026-07-01 12:00:0{i}.045 CEST Bed {{C:\\Ward\\Monitor.exe-99}} level {letter}"
             for i, letter in enumerate(levels)]
    lines += ["W 2026-10-25 02:30:00.000 CEST Bed {C:\\Ward\\Monitor.exe-99} before the change",
              "W 2026-10-25 02:30:00.000 CET Bed {C:\\Ward\\Monitor.exe-99} after the change",
              "I 2026-01-15 08:00:00.500 CET Bed {C:\\Ward\\Monitor.exe-99} winter"]
    tablet.write_raw(lines)
    result = tablet.ship("--once")
    check(result.returncode == 0, f"--once: {result.returncode} {result.stderr}")
    origin = '[origin software="TavroMedivaneUtil" swVersion="{}"]'.format(args.version)
    sd = '[tavro@32473 thread="99" process="C:\\\\Ward\\\\Monitor.exe" area="Bed"]'
    pri = {"R": 133, "F": 130, "E": 131, "W": 132, "I": 134, "D": 135, "U": 133}
    expected = [f"<{pri[letter]}>1 2026-07-01T12:00:0{i}.045+02:00 tablet-7 Monitor - Bed {origin}{sd} "
                f"{BOM}{lines[i]}" for i, letter in enumerate(levels)]
    expected += [f"<132>1 2026-10-25T02:30:00.000+02:00 tablet-7 Monitor - Bed {origin}{sd} {BOM}{lines[7]}",
                 f"<132>1 2026-10-25T02:30:00.000+01:00 tablet-7 Monitor - Bed {origin}{sd} {BOM}{lines[8]}",
                 f"<134>1 2026-01-15T08:00:00.500+01:00 tablet-7 Monitor - Bed {origin}{sd} {BOM}{lines[9]}"]
    got = [m["raw"] for m in collector.messages()]
    for index, (g, e) in enumerate(zip(got, expected)):
        check(g == e, f"entry {index}:\n got      {g!r}\n expected {e!r}")
    check(len(got) == len(expected), f"{len(got)} arrived, expected {len(expected)}")

    # Without %L and %D: severity 5 and the time of reading, in the machine's zone.
    bare = Tablet(root / "bare", args, collector, template="%A %p %m")
    bare.env["TZ"] = "Europe/Berlin"
    bare.write_raw(["Pump 4711 no level and no date"])
    before = len(collector.messages())
    result = bare.ship("--once", "--hostname", "bed 12")
    check(result.returncode == 0, f"--once: {result.returncode} {result.stderr}")
    message = collector.messages()[before]
    check(re.fullmatch(r"<133>1 \d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}\+0[12]:00 bed_12 - 4711 Pump "
                       + re.escape(origin + '[tavro@32473 area="Pump"] ' + BOM + "Pump 4711 no level and no date"),
                       message["raw"]) is not None, f"bare template: {message['raw']!r}")


def bad_input(root, args, collector):
    """A bad URL, an unreachable collector, and a damaged state file."""
    tablet = Tablet(root, args, collector)
    tablet.write_raw(["I 2026-01-15 08:00:00.500 UTC Bed {C:\\x.exe-1} one",
                      "I 2026-01-15 08:00:01.500 UTC Bed {C:\\x.exe-1} two"])
    for url in ["http://127.0.0.1:1", "relp://127.0.0.1", "relp://127.0.0.1:0", "tcp://:514"]:
        result = tablet.ship("--once", "--to", url)
        check(result.returncode == 2, f"{url}: exit {result.returncode}")
        check(f"mvutil ship: '{url}' is not relp://HOST:PORT, relp+tls://HOST:PORT, tls://HOST:PORT or tcp://HOST:PORT" in result.stderr,
              f"{url}: {result.stderr!r}")
    # A port nobody listens on: the collector's own, while it is stopped.
    collector.stop()
    result = tablet.ship("--once")
    collector.start()
    check(result.returncode == 1, f"unreachable: exit {result.returncode} {result.stderr!r}")
    check("cannot connect to 127.0.0.1:" in result.stderr, f"unreachable: {result.stderr!r}")
    check(not tablet.state.exists(), "a state file was written although nothing was delivered")
    tablet.state.write_bytes(b"TavroMedivaneUtil log shipping cursor, version 1\nvolume=1\ngarbage\n")
    result = tablet.ship("--once")
    check(result.returncode == 0, f"damaged state: exit {result.returncode} {result.stderr!r}")
    check(f"warning: the state file {tablet.state} is damaged; set aside as {tablet.state}.damaged; "
          "shipping starts again from the oldest backup" in result.stderr, f"damaged state: {result.stderr!r}")
    check((root / "logs" / "KVO.log.ship-state.damaged").exists(), "the damaged state file was not set aside")
    check([m["msg"][-3:] for m in collector.messages()] == ["one", "two"], "after a damaged state file")


def tls_options(tablet: Tablet, certs: Certificates, client: bool = True) -> list[str]:
    options = ["--ca", tablet.seen(certs.authority)]
    if client:
        options += ["--cert", tablet.seen(certs.client.certificate), "--key", tablet.seen(certs.client.key)]
    return options


def over_tls(root, args, collector, writers=2, entries=300):
    """The same entries over RELP inside TLS (with a client certificate, which rsyslog's imrelp
    asks for) and over RFC 5425 (without one: imtcp's anon mode takes any client), each exactly
    once, the server verified by name and by address."""
    certs = args.certificates
    tablet = Tablet(root, args, collector, max_size=1 << 20)  # no roll: every entry stays on disk
    wait_all(tablet.writers(writers, entries, interval_us=0))
    runs = [("relp+tls", f"relp+tls://localhost:{collector.relp_tls_port}", True, "imrelp"),
            ("tls", f"tls://127.0.0.1:{collector.tls_port}", False, "imtcp")]
    for name, url, client, listener in runs:
        before = len(writer_messages(collector))
        state = tablet.seen(root / f"{name}.ship-state")
        result = tablet.ship("--once", "--to", url, "--state", state, *tls_options(tablet, certs, client))
        check(result.returncode == 0, f"{name}: exit {result.returncode} {result.stderr!r}")
        check(result.stderr == "", f"{name}: said {result.stderr!r}")
        messages = wait_for_writers_after(collector, before, writers * entries, timeout=30)
        check_every_entry(tags(messages), writers, entries, exactly_once=True)
        inputs = {m["input"] for m in messages}
        check(inputs == {listener}, f"{name}: received through {inputs}, expected {listener}")
        check_writer_fields(messages[0])
        print(f"{name}: {len(messages)} entries exactly once")


def wait_for_writers_after(collector: Collector, before: int, expected: int, timeout: float) -> list[dict]:
    deadline = time.monotonic() + timeout
    while True:
        messages = writer_messages(collector)[before:]
        if len(messages) >= expected or time.monotonic() > deadline:
            return messages
        time.sleep(0.1)


def tls_refused(root, args, collector):
    """A collector whose certificate does not verify gets nothing: exit 1 with the reason, the
    cursor as it was. So does RELP over TLS without the client certificate the collector asks for."""
    certs = args.certificates
    tablet = Tablet(root, args, collector)
    tablet.write_raw(["I 2026-01-15 08:00:00.500 UTC Bed {C:\\x.exe-1} before"])
    relp = f"relp+tls://localhost:{collector.relp_tls_port}"
    result = tablet.ship("--once", "--to", relp, *tls_options(tablet, certs))
    check(result.returncode == 0, f"the good certificate: exit {result.returncode} {result.stderr!r}")
    cursor = tablet.state.read_bytes()
    tablet.write_raw(["I 2026-01-15 08:00:01.500 UTC Bed {C:\\x.exe-1} after"])
    received = len(collector.messages())

    def refused(what: str, url: str, options: list[str], reason: str) -> None:
        result = tablet.ship("--once", "--to", url, *options)
        check(result.returncode == 1, f"{what}: exit {result.returncode} {result.stderr!r}")
        check(reason in result.stderr, f"{what}: {result.stderr!r} does not say {reason!r}")
        check(len(collector.messages()) == received, f"{what}: the collector received something")
        check(tablet.state.read_bytes() == cursor, f"{what}: the cursor moved")
        print(f"refused, {what}: {result.stderr.strip()}")

    refused("relp+tls without a client certificate", relp, tls_options(tablet, certs, client=False),
            "; a collector that wants a client certificate ends the session when none is given: "
            "use --cert and --key")
    authority = tablet.seen(certs.authority)
    cases = [("self-signed", certs.self_signed, f"it is not signed by the certificate authority in {authority}"),
             ("another host's name", certs.wrong_name, "it was issued for another host name"),
             ("expired", certs.expired, "it has expired")]
    for what, pair, reason in cases:
        collector.stop()
        collector.tls = TlsListeners(certs.authority, pair.certificate, pair.key)
        collector.start()
        for scheme, port in (("relp+tls", collector.relp_tls_port), ("tls", collector.tls_port)):
            refused(f"{what} over {scheme}", f"{scheme}://localhost:{port}", tls_options(tablet, certs),
                    f"the certificate of localhost:{port} does not verify: {reason}")
    collector.stop()
    collector.tls = TlsListeners(certs.authority, certs.server.certificate, certs.server.key)
    collector.start()
    result = tablet.ship("--once", "--to", relp, *tls_options(tablet, certs))
    check(result.returncode == 0, f"the good certificate again: exit {result.returncode} {result.stderr!r}")
    last_words = [m["msg"].rsplit(" ", 1)[-1] for m in collector.messages()]
    check(last_words == ["before", "after"], f"after the refusals: {last_words}")


TLS_SCENARIOS = {"tls", "tls-refused"}

SCENARIOS = {
    "live": live_through_rolls,
    "killed": killed,
    "collector-away": collector_away,
    "down-through-rolls": down_through_rolls,
    "rolled-past-the-limit": rolled_past_the_limit,
    "hostile": hostile,
    "mapping": mapping,
    "bad-input": bad_input,
    "tls": over_tls,
    "tls-refused": tls_refused,
    "live-reduced": lambda root, args, collector: live_through_rolls(root, args, collector, writers=2,
                                                                      entries=600),
}


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("--mvutil", required=True)
    parser.add_argument("--writer", required=True)
    parser.add_argument("--emulator", action="append", default=[],
                        help="a word of the command that runs the programs (Wine's wrapper); repeatable")
    parser.add_argument("--version", required=True, help="the swVersion the shipper reports")
    parser.add_argument("--keep", action="store_true", help="keep the scenario's folder")
    parser.add_argument("scenario", choices=sorted(SCENARIOS))
    args = parser.parse_args()
    root = pathlib.Path(tempfile.mkdtemp(prefix=f"ship-{args.scenario}-"))
    args.certificates = make_certificates(root / "certificates") if args.scenario in TLS_SCENARIOS else None
    listeners = (TlsListeners(args.certificates.authority, args.certificates.server.certificate,
                              args.certificates.server.key) if args.certificates else None)
    collector = Collector(root / "collector", tls=listeners)
    try:
        collector.start()
        SCENARIOS[args.scenario](root / "tablet", args, collector)
    except Failure as failure:
        print(f"FAILED {args.scenario}: {failure}")
        print(collector.diagnostics())
        return 1
    finally:
        collector.stop()
        if not args.keep:
            shutil.rmtree(root, ignore_errors=True)
    print(f"passed {args.scenario}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
