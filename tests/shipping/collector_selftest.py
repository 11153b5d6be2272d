"""Checks that the rsyslog collector used by the shipping tests receives and reports messages as
the shipper's tests expect. Sends by hand, over octet-counted TCP and over RELP, and compares what
rsyslog parsed field by field. Exit 0 when all checks pass, 1 otherwise.

    /usr/bin/python3 tests/shipping/collector_selftest.py [-v]
"""

from __future__ import annotations

import pathlib
import socket
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from collector import Collector  # noqa: E402

VERBOSE = "-v" in sys.argv[1:]
failures: list[str] = []

HEADER = b"<134>1 2026-11-24T14:02:07.045+01:00 tablet-7 Demo 42 Area "
SD = rb'[origin software="TavroMedivaneUtil" swVersion="1.0"][tavro@32473 thread="7" file="a\"b\\c\]d"]'
BOM = b"\xef\xbb\xbf"
MSG = 'hello "world" \U0001D11E'
MESSAGE = HEADER + SD + b" " + BOM + MSG.encode()

# Every UTF-8 length from one to four bytes, so a cut inside a character would show; mostly
# four-byte ones, to come near the worst case of 10000 characters (32.5 KB here).
LONG_MSG = ("A\u00e9\u20ac" + "\U0001D11E" * 5) * 1249 + "\U0001D11E" * 7 + "Z"
LONG_MESSAGE = HEADER + b"- " + LONG_MSG.encode()


def check(what: str, ok: bool, detail: str = "") -> None:
    if not ok:
        failures.append(f"{what}{': ' + detail if detail else ''}")
        print(f"FAIL {what}{': ' + detail if detail else ''}")
    elif VERBOSE:
        print(f"ok   {what}")


def expected(msg: str, sd: str, raw: bytes, inputname: str) -> dict:
    return {"pri": 134, "version": "1", "timestamp": "2026-11-24T14:02:07.045+01:00",
            "hostname": "tablet-7", "app_name": "Demo", "procid": "42", "msgid": "Area",
            "structured_data": sd, "msg": msg, "raw": raw.decode(), "input": inputname}


def compare(what: str, got: dict | None, want: dict) -> None:
    if got is None:
        check(what, False, "not received")
        return
    check(f"{what}: keys", set(got) == set(want), f"{sorted(got)}")
    for key, value in want.items():
        check(f"{what}: {key}", got.get(key) == value,
              f"got {_short(got.get(key))}, want {_short(value)}")


def _short(value) -> str:
    text = repr(value)
    return text if len(text) <= 200 else f"{text[:90]}...{text[-90:]} ({len(value)} chars)"


def send_tcp(port: int, *messages: bytes) -> None:
    with socket.create_connection(("127.0.0.1", port), timeout=5) as s:
        s.sendall(b"".join(b"%d %s" % (len(m), m) for m in messages))


class Relp:
    """Just enough of a RELP client to send a few messages and see each acknowledgement."""

    def __init__(self, port: int):
        self.sock = socket.create_connection(("127.0.0.1", port), timeout=5)
        self.buf = b""

    def request(self, txnr: int, command: str, data: bytes = b"") -> tuple[int, str, bytes]:
        frame = b"%d %s %d" % (txnr, command.encode(), len(data))
        if data:
            frame += b" " + data
        self.sock.sendall(frame + b"\n")
        return self.read_frame()

    def read_frame(self) -> tuple[int, str, bytes]:
        while self.buf.count(b" ") < 2:
            self._fill()
        txnr, command, rest = self.buf.split(b" ", 2)
        digits = rest.split(b" ", 1)[0].split(b"\n", 1)[0]
        datalen = int(digits)
        start = len(txnr) + len(command) + len(digits) + 2 + (1 if datalen else 0)
        while len(self.buf) < start + datalen:
            self._fill()
        data = self.buf[start:start + datalen]
        end = start + datalen
        if self.buf[end:end + 1] != b"\n":
            raise RuntimeError(f"RELP frame not ended by LF: {self.buf[:80]!r}")
        self.buf = self.buf[end + 1:]
        return int(txnr), command.decode(), data

    def _fill(self) -> None:
        chunk = self.sock.recv(65536)
        if not chunk:
            raise RuntimeError(f"RELP peer closed; pending {self.buf!r}")
        self.buf += chunk

    def close(self) -> None:
        self.sock.close()


def relp_session(port: int, messages: list[bytes]) -> list[float]:
    """Sends messages in one RELP session; returns when each was acknowledged (monotonic)."""
    relp = Relp(port)
    acked = []
    try:
        txnr, cmd, data = relp.request(1, "open", b"relp_version=0\nrelp_software=test\ncommands=syslog")
        check("relp open answered", txnr == 1 and cmd == "rsp" and data.startswith(b"200 OK"),
              f"{txnr} {cmd} {data!r}")
        for i, m in enumerate(messages, start=2):
            txnr, cmd, data = relp.request(i, "syslog", m)
            acked.append(time.monotonic())
            check(f"relp syslog {i} acknowledged", (txnr, cmd, data) == (i, "rsp", b"200 OK"),
                  f"{txnr} {cmd} {data!r}")
        close_txnr = len(messages) + 2
        txnr, cmd, data = relp.request(close_txnr, "close")
        check("relp close answered", (txnr, cmd) == (close_txnr, "rsp"), f"{txnr} {cmd} {data!r}")
    finally:
        relp.close()
    return acked


def by_input(found: list[dict], inputname: str, raw: bytes) -> dict | None:
    for m in found:
        if m["input"] == inputname and m["raw"] == raw.decode():
            return m
    return None


def main() -> int:
    started = time.monotonic()
    with tempfile.TemporaryDirectory(prefix="collector-selftest-") as tmp:
        collector = Collector(pathlib.Path(tmp))
        t0 = time.monotonic()
        collector.start()
        print(f"collector up in {time.monotonic() - t0:.3f}s: "
              f"relp {collector.relp_port}, tcp {collector.tcp_port}")
        try:
            run_checks(collector)
        except Exception as e:  # a broken harness must show as a failure, not a traceback only
            check("selftest ran to the end", False, f"{type(e).__name__}: {e}")
            print(collector.diagnostics())
        finally:
            collector.stop()

    print(f"{'FAILED' if failures else 'passed'}: {len(failures)} failure(s) "
          f"in {time.monotonic() - started:.1f}s")
    return 1 if failures else 0


def run_checks(collector: Collector) -> None:
    sd = SD.decode()
    bom_msg = "\ufeff" + MSG

    # (a) one octet-counted message over plain TCP
    send_tcp(collector.tcp_port, MESSAGE)
    found = collector.wait_for(1, 2.0)
    got = by_input(found, "imtcp", MESSAGE)
    print("tcp message as parsed:", got)
    compare("tcp", got, expected(bom_msg, sd, MESSAGE, "imtcp"))

    # (b) the same over RELP; (c) a 10000-character one in the same session
    acked = relp_session(collector.relp_port, [MESSAGE, LONG_MESSAGE])
    # Each message is written on the receiving thread before imrelp answers, so an
    # acknowledged message must already be in the file.
    in_file_at_ack = collector.messages()
    check("relp: acknowledged messages already written", len(in_file_at_ack) >= 3,
          f"{len(in_file_at_ack)} in file")
    found = collector.wait_for(3, 2.0)
    got = by_input(found, "imrelp", MESSAGE)
    print("relp message as parsed:", got)
    compare("relp", got, expected(bom_msg, sd, MESSAGE, "imrelp"))
    got = by_input(found, "imrelp", LONG_MESSAGE)
    compare("relp long", got, expected(LONG_MSG, "-", LONG_MESSAGE, "imrelp"))
    if got:
        print(f"relp long message: {len(got['msg'])} characters, "
              f"{len(got['msg'].encode())} bytes, last {got['msg'][-3:]!r}")

    # The long one over TCP too, so either transport can be used for size tests.
    send_tcp(collector.tcp_port, LONG_MESSAGE)
    found = collector.wait_for(4, 2.0)
    compare("tcp long", by_input(found, "imtcp", LONG_MESSAGE),
            expected(LONG_MSG, "-", LONG_MESSAGE, "imtcp"))

    # Arrival order is the file's order.
    check("arrival order", [m["input"] for m in found[:4]] == ["imtcp", "imrelp", "imrelp", "imtcp"],
          str([m["input"] for m in found]))

    # stop()/start() keeps the ports and appends to the same output
    ports = (collector.relp_port, collector.tcp_port)
    collector.stop()
    check("stop: messages kept", len(collector.messages()) == 4, str(len(collector.messages())))
    collector.start()
    check("restart keeps ports", (collector.relp_port, collector.tcp_port) == ports,
          f"{ports} -> {(collector.relp_port, collector.tcp_port)}")
    after_restart = HEADER + b"- after restart"
    relp_session(collector.relp_port, [after_restart])
    found = collector.wait_for(5, 2.0)
    check("restart appends", len(found) == 5 and found[-1]["msg"] == "after restart",
          str([m["msg"][:20] for m in found]))

    # kill() then start(), as the "collector away" tests do
    collector.kill()
    collector.start()
    check("restart after kill keeps ports", (collector.relp_port, collector.tcp_port) == ports)
    after_kill = HEADER + b"- after kill"
    send_tcp(collector.tcp_port, after_kill)
    found = collector.wait_for(6, 2.0)
    check("restart after kill appends", len(found) == 6 and found[-1]["msg"] == "after kill",
          str([m["msg"][:20] for m in found]))

    # Timestamps come back as written, and control characters are not escaped.
    stamps = ["2026-11-24T14:02:07.045+01:00", "2026-11-24T14:02:07.045000-05:30",
              "2026-11-24T14:02:07Z", "2026-11-24T14:02:07.1+00:00"]
    odd = "tab\there\nnext line\x01\x7f end\\"
    send_tcp(collector.tcp_port,
             *[b"<134>1 %s h a - - - stamp" % ts.encode() for ts in stamps],
             b"<134>1 2026-11-24T14:02:07Z h a - - - " + odd.encode(),
             b"<134>1 2026-11-24T14:02:07Z h a - - - \xff\xfe not UTF-8")
    found = collector.wait_for(6 + len(stamps) + 2, 2.0)[6:]
    check("timestamps as sent", [m["timestamp"] for m in found[:len(stamps)]] == stamps,
          str([m["timestamp"] for m in found]))
    check("control characters as sent", len(found) > len(stamps) and found[-2]["msg"] == odd,
          repr([m["msg"] for m in found[len(stamps):]]))
    check("bytes that are not UTF-8 as surrogates",
          len(found) > len(stamps) + 1 and found[-1]["msg"] == "\udcff\udcfe not UTF-8",
          repr([m["msg"] for m in found[len(stamps):]]))


if __name__ == "__main__":
    sys.exit(main())
