#!/usr/bin/env python3
"""Signing: given a certificate and key, the package build signs the DLL, mvutil.exe and the MSI
with osslsigncode, and each verifies against that certificate; the build's own package (unsigned,
the default) carries no signature.

    sign_test.py --build-msi COMMAND... -- --unsigned FILE.msi --version V

The certificate is a throwaway one made here with openssl, for code signing only."""

from __future__ import annotations

import argparse
import pathlib
import subprocess
import sys
import tempfile


def verify(path: pathlib.Path, authority: pathlib.Path | None) -> subprocess.CompletedProcess:
    argv = ["osslsigncode", "verify", "-in", str(path)] + (["-CAfile", str(authority)] if authority else [])
    return subprocess.run(argv, capture_output=True, text=True)


def main() -> int:
    split = sys.argv.index("--")
    build_msi = sys.argv[1:split]
    parser = argparse.ArgumentParser()
    parser.add_argument("--unsigned", required=True)
    parser.add_argument("--version", required=True)
    args = parser.parse_args(sys.argv[split + 1:])
    failures = []
    with tempfile.TemporaryDirectory(prefix="sign-test-") as temporary:
        work = pathlib.Path(temporary)
        certificate, key = work / "signing.pem", work / "signing-key.pem"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
                        "-subj", "/CN=Tavro throwaway code signing", "-addext", "extendedKeyUsage=codeSigning",
                        "-keyout", str(key), "-out", str(certificate)], check=True, capture_output=True)
        package = work / "signed.msi"
        subprocess.run(build_msi + ["--version", args.version, "--output", str(package), "--work-dir", str(work),
                                    "--sign-cert", str(certificate), "--sign-key", str(key)],
                       check=True, stdout=subprocess.DEVNULL)
        stage = work / f"stage-{args.version}" / "Bin"
        for signed in (stage / "TavroMedivaneUtil.dll", stage / "mvutil.exe", package):
            result = verify(signed, certificate)
            if result.returncode != 0 or "Signature verification: ok" not in result.stdout:
                failures.append(f"{signed.name} does not verify:\n{result.stdout}{result.stderr}")
            elif "CN=Tavro throwaway code signing" not in result.stdout:
                failures.append(f"{signed.name} is not signed by the throwaway certificate:\n{result.stdout}")
    result = verify(pathlib.Path(args.unsigned), None)
    if result.returncode == 0 or "MSI file has no signature" not in result.stdout + result.stderr:
        failures.append(f"the default package is signed or unreadable:\n{result.stdout}{result.stderr}")
    for failure in failures:
        print("FAILED: " + failure)
    if not failures:
        print("passed: the DLL, mvutil.exe and the package verify; the default package is unsigned")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
