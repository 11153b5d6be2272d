#!/usr/bin/env python3
"""The sound scheme as another program sees it: after `mvutil sound register`, Wine's own
`reg export` of the application's node must equal the golden file; after `mvutil sound
unregister`, `reg query` must no longer find the node.

Usage: check_reg_export.py GOLDEN WINE_RUN PREFIX MVUTIL_EXE
The golden file was written by hand from the event table (the names, and each path as UTF-16LE
bytes with its terminator, as `reg` prints an expandable string). reg wraps long hex lines with
"\\" and two blanks; the comparison joins them, so the golden file keeps one value per line."""
import os
import subprocess
import sys
import tempfile

NODE = "HKCU\\AppEvents\\Schemes\\Apps\\Tavro Korvina"


def run(command):
    result = subprocess.run(command, capture_output=True)
    return result.returncode, result.stdout.decode("utf-8", "replace") + result.stderr.decode("utf-8", "replace")


def normalized(text):
    return text.replace("\r\n", "\n").replace("\\\n  ", "")


def main():
    golden_path, wine_run, prefix, mvutil = sys.argv[1:5]
    wine = [wine_run, prefix]
    code, output = run(wine + [mvutil, "sound", "register"])
    if code != 0:
        print(f"mvutil sound register failed ({code}):\n{output}")
        return 1
    with tempfile.TemporaryDirectory() as folder:
        exported = os.path.join(folder, "scheme.reg")
        code, output = run(wine + ["reg", "export", NODE, "Z:" + exported, "/y"])
        if code != 0:
            print(f"reg export failed ({code}):\n{output}")
            return 1
        with open(exported, "rb") as data:
            raw = data.read()
    if not raw.startswith(b"\xff\xfe"):
        print("reg export did not write UTF-16LE with a byte-order mark")
        return 1
    actual = normalized(raw[2:].decode("utf-16-le"))
    with open(golden_path, encoding="utf-8") as golden:
        expected = golden.read()
    if actual != expected:
        import difflib
        sys.stdout.writelines(difflib.unified_diff(
            expected.splitlines(True), actual.splitlines(True), "golden", "reg export"))
        return 1

    code, output = run(wine + [mvutil, "sound", "unregister"])
    if code != 0:
        print(f"mvutil sound unregister failed ({code}):\n{output}")
        return 1
    code, output = run(wine + ["reg", "query", NODE])
    if code == 0:
        print(f"the node is still there after unregister:\n{output}")
        return 1
    print("reg export matches the golden file; unregister removed the node")
    return 0


if __name__ == "__main__":
    sys.exit(main())
