"""Certificates for the TLS tests, made by GnuTLS's certtool (Debian package gnutls-bin).

One certificate authority signs the collector's good certificate (for "localhost" and 127.0.0.1),
a client certificate for the tablet, a certificate for another host, and one that expired in
2021; a self-signed certificate for "localhost" stands for a collector nobody vouches for. RSA
keys, so that the Windows build can load the client's key through CryptoAPI."""

from __future__ import annotations

import dataclasses
import pathlib
import shutil
import subprocess


@dataclasses.dataclass(frozen=True)
class Pair:
    certificate: pathlib.Path
    key: pathlib.Path


@dataclasses.dataclass(frozen=True)
class Certificates:
    authority: pathlib.Path  # the CA's certificate, the shipper's --ca
    server: Pair             # signed by the CA, names localhost and 127.0.0.1
    client: Pair             # signed by the CA, the tablet's --cert and --key
    self_signed: Pair        # names localhost, signed by itself
    wrong_name: Pair         # signed by the CA, names collector.elsewhere.example only
    expired: Pair            # signed by the CA, names localhost, valid 2020 to 2021


def _certtool() -> str:
    found = shutil.which("certtool")
    if not found:
        raise RuntimeError("certtool not found (install gnutls-bin)")
    return found


def _run(*arguments: str | pathlib.Path) -> None:
    result = subprocess.run([_certtool(), "--no-text", *map(str, arguments)], capture_output=True, text=True)
    if result.returncode != 0:
        raise RuntimeError(f"certtool {' '.join(map(str, arguments))} failed:\n{result.stderr}")


def _key(path: pathlib.Path) -> pathlib.Path:
    _run("--generate-privkey", "--key-type=rsa", "--bits=2048", "--outfile", path)
    return path


def _template(folder: pathlib.Path, name: str, lines: list[str]) -> pathlib.Path:
    path = folder / f"{name}.tmpl"
    path.write_text("\n".join(lines) + "\n", encoding="ascii")
    return path


def _signed(folder: pathlib.Path, name: str, lines: list[str], ca: Pair | None) -> Pair:
    key = _key(folder / f"{name}-key.pem")
    certificate = folder / f"{name}.pem"
    template = _template(folder, name, lines)
    if ca is None:
        _run("--generate-self-signed", "--load-privkey", key, "--template", template, "--outfile", certificate)
    else:
        _run("--generate-certificate", "--load-privkey", key, "--load-ca-certificate", ca.certificate,
             "--load-ca-privkey", ca.key, "--template", template, "--outfile", certificate)
    return Pair(certificate, key)


def make_certificates(folder: pathlib.Path) -> Certificates:
    folder.mkdir(parents=True, exist_ok=True)
    ca = _signed(folder, "ca", ['cn = "Tavro Test CA"', "ca", "cert_signing_key", "expiration_days = 30"], None)
    server = ['cn = "localhost"', 'dns_name = "localhost"', 'ip_address = "127.0.0.1"', "tls_www_server",
              "signing_key", "encryption_key"]
    return Certificates(
        authority=ca.certificate,
        server=_signed(folder, "server", server + ["expiration_days = 30"], ca),
        client=_signed(folder, "client", ['cn = "tablet-7"', 'dns_name = "tablet-7"', "tls_www_client",
                                          "signing_key", "encryption_key", "expiration_days = 30"], ca),
        self_signed=_signed(folder, "self-signed", server + ["expiration_days = 30"], None),
        wrong_name=_signed(folder, "wrong-name", ['cn = "collector.elsewhere.example"',
                                                  'dns_name = "collector.elsewhere.example"', "tls_www_server",
                                                  "signing_key", "encryption_key", "expiration_days = 30"], ca),
        expired=_signed(folder, "expired", server + ['activation_date = "2020-01-01 00:00:00"',
                                                     'expiration_date = "2021-01-01 00:00:00"'], ca),
    )
