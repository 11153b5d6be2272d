"""A private rsyslog collector for the log shipper's tests.

The shipper is judged against a real rsyslog (Debian packages rsyslog and rsyslog-relp), not a
receiver of our own, so that "rsyslog parsed it as we meant" is what the tests check. Each
Collector runs its own rsyslogd in the foreground with a configuration written into a private
folder, listening on loopback only, and records every received message as one JSON line.

What rsyslog 8.2302 does with what it receives, found by trying (collector_selftest.py checks
all but the last point):
- "msg" keeps the UTF-8 byte-order mark: a MSG that starts with EF BB BF comes back as a str
  starting with "\ufeff". Non-BMP characters, quotes, backslashes, tabs, newlines and other
  control characters arrive as sent, because escaping on reception is switched off below.
  Bytes that are not UTF-8 come back as lone surrogates (surrogateescape), not as an error.
- "timestamp" is TIMESTAMP re-rendered from rsyslog's parsed form (property timereported,
  dateFormat rfc3339), which reproduces the sender's text: the fraction's digits as sent
  (".045", ".1", ".045000", none) and the offset as sent ("+01:00", "-05:30", "+00:00", "Z").
  Two exceptions: a NILVALUE "-" is replaced by the time of reception, and a fraction longer than
  the six digits RFC 5424 allows comes back garbled. "raw" has the exact bytes for those cases.
- "received" in the file (see receptions()) is the time of reception (property timegenerated,
  dateFormat rfc3339) in rsyslogd's local time with microseconds, e.g.
  "2026-11-25T03:01:02.123456+00:00", for measuring how long an entry took to arrive.
- "structured_data" is the SD text exactly as received, its escapes (\" \\ \]) untouched;
  "-" when there is none.
- maxMessageSize is what limits both listeners: imrelp's maxDataSize defaults to it, and a larger
  maxDataSize alone still truncates at maxMessageSize. Too long a message is truncated over RELP
  and, over TCP, truncated with the rest arriving as further messages.
"""

from __future__ import annotations

import argparse
import atexit
import dataclasses
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import time

# Large enough for the longest message the tests send (10000 characters of 4-byte UTF-8) with room
# to spare; rsyslog truncates anything longer without failing the sender.
MAX_MESSAGE_SIZE = "128k"

FIELDS = ("pri", "version", "timestamp", "hostname", "app_name", "procid", "msgid",
          "structured_data", "msg", "raw", "input")


# A test that dies without stop() must not leave an rsyslogd holding its ports and folder.
_children: set[subprocess.Popen] = set()


@atexit.register
def _kill_children() -> None:
    for proc in list(_children):
        if proc.poll() is None:
            proc.kill()
            proc.wait()
    _children.clear()


def _find_rsyslogd() -> str:
    found = shutil.which("rsyslogd") or shutil.which("rsyslogd", path="/usr/sbin:/sbin")
    if not found:
        raise RuntimeError("rsyslogd not found: install the Debian packages rsyslog and rsyslog-relp")
    return found


def _free_loopback_port() -> int:
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def _listening_ports(pid: int) -> set[int]:
    """Loopback TCP ports that process pid listens on."""
    # Reading the kernel's tables instead of connecting keeps the readiness check from opening
    # sessions that rsyslog would log (and imrelp would see as broken RELP peers), and looking at
    # the process's own sockets keeps another program on the same port from passing for rsyslog.
    owned = set()
    try:
        for fd in os.scandir(f"/proc/{pid}/fd"):
            try:
                target = os.readlink(fd.path)
            except OSError:
                continue
            if target.startswith("socket:["):
                owned.add(target[8:-1])
    except FileNotFoundError:
        return set()
    ports = set()
    with open("/proc/net/tcp", encoding="ascii") as f:
        next(f)
        for line in f:
            cols = line.split()
            local, state, inode = cols[1], cols[3], cols[9]
            if state == "0A" and inode in owned:  # 0A: LISTEN
                ports.add(int(local.rsplit(":", 1)[1], 16))
    return ports


def _quote(value: str) -> str:
    return '"' + value.replace("\\", "\\\\").replace('"', '\\"') + '"'


@dataclasses.dataclass
class TlsListeners:
    """The collector's side of TLS: the authority it trusts for clients, and its own pair."""
    authority: pathlib.Path
    certificate: pathlib.Path
    key: pathlib.Path


class Collector:
    """brief=True records only "received" and "msg" per message: for a benchmark that sends
    millions of messages, the full record would make the receiver's own work and disk writes a
    large part of what is measured. messages() needs the full record; receptions() and count()
    work either way."""

    def __init__(self, workdir: pathlib.Path, brief: bool = False, tls: "TlsListeners | None" = None):
        self.workdir = pathlib.Path(workdir).resolve()
        self.brief = brief
        # With TLS, two more listeners: RELP over TLS (relp_tls_port) and RFC 5425 (tls_port).
        # May be changed between stop() and start(), to present another certificate.
        self.tls = tls
        self.conf_path = self.workdir / "rsyslog.conf"
        self.spool_dir = self.workdir / "spool"
        self.pid_path = self.workdir / "rsyslogd.pid"
        self.output_path = self.workdir / "messages.jsonl"
        self.stderr_path = self.workdir / "rsyslogd.stderr"
        # rsyslog's own messages (start, errors about peers) once it runs; the stderr file only
        # catches what it says before its configuration is active.
        self.internal_log_path = self.workdir / "rsyslogd-internal.log"
        self.relp_port = 0
        self.tcp_port = 0
        self.relp_tls_port = 0
        self.tls_port = 0
        self._proc: subprocess.Popen | None = None
        # count()'s progress through the output file, so each call reads only what is new.
        self._counted_bytes = 0
        self._counted_lines = 0

    # -- life cycle ---------------------------------------------------------------------------

    def start(self, timeout: float = 10.0) -> None:
        if self.running:
            raise RuntimeError("collector already running")
        self.workdir.mkdir(parents=True, exist_ok=True)
        self.spool_dir.mkdir(exist_ok=True)
        if not self.relp_port:
            ports: set[int] = set()
            while len(ports) < 4:
                ports.add(_free_loopback_port())
            self.relp_port, self.tcp_port, self.relp_tls_port, self.tls_port = sorted(ports)
        # A stale pid file whose number now belongs to another process makes rsyslogd refuse to run.
        self.pid_path.unlink(missing_ok=True)
        self._drop_partial_line()
        self.conf_path.write_text(self._config(), encoding="utf-8")

        rsyslogd = _find_rsyslogd()
        # rsyslogd runs on with whatever part of a configuration it understood; a check run first
        # turns a typo into a failure instead of a collector that silently lacks a setting.
        check = subprocess.run([rsyslogd, "-N1", "-f", str(self.conf_path)], stdin=subprocess.DEVNULL,
                               capture_output=True, text=True, errors="replace")
        if check.returncode != 0:
            raise RuntimeError(f"rsyslogd rejected {self.conf_path}:\n{check.stdout}{check.stderr}")

        with open(self.stderr_path, "ab") as err:
            self._proc = subprocess.Popen(
                [rsyslogd, "-n", "-f", str(self.conf_path), "-i", str(self.pid_path)],
                stdin=subprocess.DEVNULL, stdout=err, stderr=subprocess.STDOUT,
                cwd=self.workdir, start_new_session=True)
        _children.add(self._proc)

        deadline = time.monotonic() + timeout
        wanted = {self.relp_port, self.tcp_port}
        if self.tls:
            wanted |= {self.relp_tls_port, self.tls_port}
        while True:
            if self._proc.poll() is not None:
                code = self._proc.returncode
                _children.discard(self._proc)
                self._proc = None
                raise RuntimeError(f"rsyslogd exited with {code} while starting:\n{self.diagnostics()}")
            if wanted <= _listening_ports(self._proc.pid):
                return
            if time.monotonic() > deadline:
                self.kill()
                raise RuntimeError(f"rsyslogd did not listen on {sorted(wanted)} within {timeout}s:\n"
                                   f"{self.diagnostics()}")
            time.sleep(0.02)

    def stop(self) -> None:
        proc, self._proc = self._proc, None
        if proc is None:
            return
        _children.discard(proc)
        if proc.poll() is None:
            proc.send_signal(signal.SIGTERM)
            try:
                proc.wait(timeout=5)
            except subprocess.TimeoutExpired:
                proc.kill()
                proc.wait()

    def kill(self) -> None:
        proc, self._proc = self._proc, None
        if proc is None:
            return
        _children.discard(proc)
        if proc.poll() is None:
            proc.kill()
        proc.wait()

    @property
    def pid(self) -> int:
        """The rsyslogd's process id (it runs in the foreground, so this is rsyslogd itself)."""
        if self._proc is None:
            raise RuntimeError("collector not started")
        return self._proc.pid

    @property
    def running(self) -> bool:
        return self._proc is not None and self._proc.poll() is None

    def __enter__(self) -> "Collector":
        if not self.running:
            self.start()
        return self

    def __exit__(self, *exc) -> None:
        self.stop()

    # -- what arrived ---------------------------------------------------------------------------

    def messages(self) -> list[dict]:
        if self.brief:
            raise RuntimeError("a brief collector records no header fields: use receptions()")
        return [self._decode(line) for line in self._complete_lines()]

    def receptions(self) -> list[tuple[str, str]]:
        """(received, msg) of every complete record, in the order written."""
        records = (json.loads(line.decode("utf-8", errors="surrogateescape")) for line in self._complete_lines())
        return [(record["received"], record["msg"]) for record in records]

    def _complete_lines(self) -> list[bytes]:
        try:
            data = self.output_path.read_bytes()
        except FileNotFoundError:
            return []
        # A line without its newline is still being written; it shows up on the next call.
        return [line for line in data.split(b"\n")[:-1] if line]

    def count(self) -> int:
        """How many complete records the file holds, without decoding them: cheap enough to poll
        while millions of messages arrive, since only the bytes added since the last call are read."""
        try:
            with open(self.output_path, "rb") as f:
                size = os.fstat(f.fileno()).st_size
                if size < self._counted_bytes:  # cut back by _drop_partial_line(): count afresh
                    self._counted_bytes = self._counted_lines = 0
                f.seek(self._counted_bytes)
                while chunk := f.read(1 << 20):
                    self._counted_lines += chunk.count(b"\n")
                    self._counted_bytes += len(chunk)
        except FileNotFoundError:
            self._counted_bytes = self._counted_lines = 0
        return self._counted_lines

    def wait_for(self, count: int, timeout: float) -> list[dict]:
        deadline = time.monotonic() + timeout
        while True:
            found = self.messages()
            if len(found) >= count or time.monotonic() >= deadline:
                return found
            time.sleep(0.02)

    # -- internals ------------------------------------------------------------------------------

    @staticmethod
    def _decode(line: bytes) -> dict:
        # rsyslog writes what it received without re-encoding, so a sender's invalid UTF-8 must
        # survive as something a test can still compare instead of failing the whole read.
        record = json.loads(line.decode("utf-8", errors="surrogateescape"))
        record["pri"] = int(record["pri"])
        return {key: record[key] for key in FIELDS}

    def _drop_partial_line(self) -> None:
        # After kill() a record may be cut short; the next rsyslogd would append right after it
        # and glue two records into one unreadable line.
        try:
            with open(self.output_path, "r+b") as f:
                data = f.read()
                if data and not data.endswith(b"\n"):
                    f.truncate(data.rfind(b"\n") + 1)
        except FileNotFoundError:
            pass

    def diagnostics(self) -> str:
        """The tail of what rsyslogd said, for a failing test's message."""
        parts = []
        for path in (self.stderr_path, self.internal_log_path):
            try:
                text = path.read_text(encoding="utf-8", errors="replace").strip()
            except FileNotFoundError:
                continue
            if text:
                parts.append(f"--- {path.name}\n{text[-4000:]}")
        return "\n".join(parts) or "(rsyslogd said nothing)"

    def _config(self) -> str:
        record = "mvutil_collector_brief" if self.brief else "mvutil_collector_jsonl"
        return f"""\
# Written by tests/shipping/collector.py; rewritten at every start.

# Global settings first: modules read maxMessageSize and the parser settings when they load.
global(
  workDirectory={_quote(str(self.spool_dir))}
  maxMessageSize="{MAX_MESSAGE_SIZE}"
  # The tests compare bytes: a BOM, tabs, newlines and 8-bit bytes must not become #nnn escapes.
  parser.escapeControlCharactersOnReceive="off"
  parser.escape8BitCharactersOnReceive="off"
  parser.escapeControlCharacterTab="off"
  net.enableDNS="off"
  localHostName="collector"
  # Otherwise rsyslog hands its own messages to syslog(3), i.e. to the machine's logger.
  processInternalMessages="on"
)

# Repeated messages are exactly what a retry test sends; they must all be recorded.
$RepeatedMsgReduction off

# Processing each message on the receiving thread means a RELP "200 OK" is only sent once the
# record is in the file, and nothing sits in a memory queue to be lost on stop() or kill().
main_queue(queue.type="Direct")

module(load="imtcp")
module(load="imrelp")

template(name="mvutil_collector_jsonl" type="list" option.jsonf="on") {{
  property(outname="pri" name="pri" format="jsonf")
  property(outname="version" name="protocol-version" format="jsonf")
  property(outname="timestamp" name="timereported" dateFormat="rfc3339" format="jsonf")
  property(outname="hostname" name="hostname" format="jsonf")
  property(outname="app_name" name="app-name" format="jsonf")
  property(outname="procid" name="procid" format="jsonf")
  property(outname="msgid" name="msgid" format="jsonf")
  property(outname="structured_data" name="structured-data" format="jsonf")
  property(outname="msg" name="msg" format="jsonf")
  property(outname="raw" name="rawmsg" format="jsonf")
  property(outname="input" name="inputname" format="jsonf")
  property(outname="received" name="timegenerated" dateFormat="rfc3339" format="jsonf")
}}

template(name="mvutil_collector_brief" type="list" option.jsonf="on") {{
  property(outname="received" name="timegenerated" dateFormat="rfc3339" format="jsonf")
  property(outname="msg" name="msg" format="jsonf")
}}

ruleset(name="collect") {{
  # Written at the end of every batch so a test sees a message within milliseconds.
  action(type="omfile" file={_quote(str(self.output_path))} template="{record}"
         asyncWriting="off" flushOnTXEnd="on" ioBufferSize="64k")
}}

input(type="imtcp" address="127.0.0.1" port="{self.tcp_port}" ruleset="collect"
      ratelimit.interval="0" maxFrameSize="200000")
# imrelp has no rate limiter; maxDataSize would default to maxMessageSize, set anyway so the
# two can't drift apart. TLS stays off: the shipper's relp:// is plain RELP.
input(type="imrelp" address="127.0.0.1" port="{self.relp_port}" ruleset="collect"
      tls="off" maxDataSize="{MAX_MESSAGE_SIZE}")

{self._tls_inputs()}
# Everything not from our listeners is rsyslog talking about itself.
action(type="omfile" file={_quote(str(self.internal_log_path))})
"""

    def _tls_inputs(self) -> str:
        if not self.tls:
            return ""
        ca, cert, key = (_quote(str(path)) for path in (self.tls.authority, self.tls.certificate, self.tls.key))
        return f"""\
# RELP over TLS asks every client for a certificate signed by the authority (certvalid).
input(type="imrelp" address="127.0.0.1" port="{self.relp_tls_port}" ruleset="collect"
      maxDataSize="{MAX_MESSAGE_SIZE}" tls="on" tls.caCert={ca} tls.myCert={cert} tls.myPrivKey={key}
      tls.authMode="certvalid")
# RFC 5425 through the GnuTLS driver in anon mode: any client, with or without a certificate.
input(type="imtcp" address="127.0.0.1" port="{self.tls_port}" ruleset="collect"
      ratelimit.interval="0" maxFrameSize="200000" streamDriver.name="gtls" streamDriver.mode="1"
      streamDriver.authMode="anon" streamDriver.CAFile={ca} streamDriver.CertFile={cert}
      streamDriver.KeyFile={key})
"""


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(
        description="Run a private rsyslog collector and print each message as it arrives.")
    parser.add_argument("workdir", type=pathlib.Path, help="private folder for config and output")
    args = parser.parse_args(argv)

    # Stopped by `kill` or `timeout` as well as by Ctrl-C, rsyslogd must go with us.
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    collector = Collector(args.workdir)
    collector.start()
    print(f"relp://127.0.0.1:{collector.relp_port}  tcp://127.0.0.1:{collector.tcp_port}  "
          f"output {collector.output_path}  (Ctrl-C stops)", flush=True)
    seen = len(collector.messages())
    try:
        while collector.running:
            found = collector.messages()
            for record in found[seen:]:
                print(json.dumps(record, ensure_ascii=False), flush=True)
            seen = len(found)
            time.sleep(0.2)
    except KeyboardInterrupt:
        pass
    finally:
        collector.stop()
    return 0


if __name__ == "__main__":
    sys.exit(main())
