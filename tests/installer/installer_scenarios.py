#!/usr/bin/env python3
"""The tablet's Windows Installer package under Wine: each case installs, upgrades, repairs or
removes it in a fresh Wine prefix of its own with Wine's msiexec, and checks the files, the
registry, the service and what the programs of the "tablet" then do.

    installer_scenarios.py --msi FILE --next-msi FILE --stage DIR --next-stage DIR --template DIR
                           --writer EXE --toolchain FILE --next-version V CASE

--stage and --next-stage are the folders the two packages were built from (packaging/build_msi.py),
so installed files are compared with what went in byte for byte. --template is a booted Wine prefix
that each case copies (made on first use). Exit 0 when the case holds; otherwise what differed is
printed and the exit code is 1.

Wine keeps no event log (ReportEventW stores nothing), so each prefix is booted with Wine's
"eventlog" debug channel on: the service inherits it from Wine's service manager, and every
record it reports appears in the prefix's server log as
    trace:eventlog:ReportEventW L"the text"
"""

from __future__ import annotations

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import uuid

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "shipping"))
from collector import Collector  # noqa: E402

WINE = os.environ.get("TAVRO_WINE64", "/usr/lib/wine/wine64")
WINESERVER = os.environ.get("TAVRO_WINESERVER", "/usr/lib/wine/wineserver")

INSTALL_DIR = "C:\\Program Files\\Tavro\\Medivane\\"
LOG_DIR = "C:\\ProgramData\\Tavro\\Logs\\"
SERVICE = "TavroLogShipper"
ENVIRONMENT_KEY = "HKLM\\System\\CurrentControlSet\\Control\\Session Manager\\Environment"
EVENT_SOURCES = "HKLM\\SYSTEM\\CurrentControlSet\\Services\\Eventlog\\Application\\"
SERVICE_KEY = "HKLM\\SYSTEM\\CurrentControlSet\\Services\\" + SERVICE
UNINSTALL_KEY = "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall"
IDLE_TEXT = ("TavroLogShipper is idle: no collector is configured. Set "
             "/Tavro/MedivaneSDK/LogShipping/CollectorHost (and Protocol and CollectorPort) in "
             "C:\\Program Files\\Tavro\\Medivane\\Bin\\TavroMedivane.cfg, then restart the service.")
# msiexec's exit codes, as wine64 hands them on: as a Unix exit status, which keeps only the low
# 8 bits (1603 arrives as 67).
MSI_SUCCESS = 0
NEEDS_ADMINISTRATOR = ("TavroMedivaneUtil is installed for every user of this computer: installing it needs "
                       "administrator rights.")
MSI_FATAL_ERROR = 1603 & 0xFF
MSI_UNKNOWN_PRODUCT = 1605 & 0xFF


class Failure(Exception):
    pass


def check(condition: bool, what: str) -> None:
    if not condition:
        raise Failure(what)


def wait_until(condition, timeout: float, what: str, interval: float = 0.25):
    deadline = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() >= deadline:
            raise Failure(f"timed out after {timeout:.0f} s waiting for {what}")
        time.sleep(interval)


def quiet_environment(**extra: str) -> dict:
    """The environment a Wine program of the tablet gets from us: nothing of the test's own that
    the installed registry provides (KVO_INSTALL_DIR), no sound server, Wine quiet."""
    env = {key: value for key, value in os.environ.items() if key not in ("KVO_INSTALL_DIR", "PULSE_SERVER")}
    env.update(WINEDEBUG="-all", WINEDLLOVERRIDES="mscoree=;mshtml=")
    env.pop("DISPLAY", None)
    env.update(extra)
    return env


def make_template(template: pathlib.Path) -> None:
    """A booted prefix with the null graphics driver, made once and copied by every case."""
    if (template / ".tavro-template").exists():
        return
    building = template.with_name(template.name + ".building")
    shutil.rmtree(building, ignore_errors=True)
    building.mkdir(parents=True)
    env = quiet_environment(WINEPREFIX=str(building))
    with open(building.with_suffix(".log"), "wb") as log:
        # The server's streams go to the log: a server holding ctest's pipes would stall the run.
        subprocess.run([WINESERVER, "-p"], env=env, stdin=subprocess.DEVNULL, stdout=log, stderr=log, check=True)
        subprocess.run([WINE, "wineboot", "--init"], env=env, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                       check=True, timeout=300)
        subprocess.run([WINE, "reg", "add", "HKCU\\Software\\Wine\\Drivers", "/v", "Graphics", "/d", "null", "/f"],
                       env=env, stdin=subprocess.DEVNULL, stdout=log, stderr=log, check=True, timeout=60)
        subprocess.run([WINESERVER, "-k"], env=env, stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        subprocess.run([WINESERVER, "-w"], env=env, stdin=subprocess.DEVNULL, stdout=log, stderr=log, timeout=60)
    (building / ".tavro-template").touch()
    shutil.rmtree(template, ignore_errors=True)
    building.rename(template)


class Tablet:
    """A fresh Wine prefix (a copy of the template) with its own Wine server."""

    def __init__(self, root: pathlib.Path, args: argparse.Namespace):
        self.root = root
        self.args = args
        self.prefix = root / "prefix"
        self.server_log = root / "wine.log"
        self.env = quiet_environment(WINEPREFIX=str(self.prefix))
        self.last_msiexec_log: pathlib.Path | None = None

    def __enter__(self) -> "Tablet":
        subprocess.run(["cp", "-a", str(self.args.template), str(self.prefix)], check=True)
        with open(self.server_log, "ab") as log:
            subprocess.run([WINESERVER, "-p"], env=self.env, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                           check=True)
            # Wine's service manager starts here and keeps this debug setting for every service.
            subprocess.run([WINE, "wineboot"], env=dict(self.env, WINEDEBUG="-all,+eventlog"),
                           stdin=subprocess.DEVNULL, stdout=log, stderr=log, check=True, timeout=300)
        return self

    def __exit__(self, *exc) -> None:
        subprocess.run([WINESERVER, "-k"], env=self.env, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        subprocess.run([WINESERVER, "-w"], env=self.env, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=60)

    # ---- running programs ----

    def wine(self, *argv: str, timeout: float = 180, cwd: pathlib.Path | None = None) -> subprocess.CompletedProcess:
        return subprocess.run([WINE, *argv], env=self.env, stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=timeout, cwd=cwd or self.root)

    def msiexec(self, *argv: str) -> int:
        """msiexec's exit code; the verbose log of each run is kept beside the prefix."""
        log = self.root / f"msiexec-{len(list(self.root.glob('msiexec-*.log')))}.log"
        result = self.wine("msiexec", *argv, "/qn", "/l*v", seen(log), timeout=300)
        self.last_msiexec_log = log
        return result.returncode

    def mvutil(self, *argv: str) -> subprocess.CompletedProcess:
        return self.wine(INSTALL_DIR + "Bin\\mvutil.exe", *argv)

    def write_entries(self, tag: str, count: int) -> None:
        """A program of the tablet (the shipping tests' writer) logs TAG-00001 .. TAG-COUNT."""
        result = self.wine(seen(pathlib.Path(self.args.writer)), tag, str(count), "0")
        check(result.returncode == 0, f"the writer failed: {result.stderr.decode(errors='replace')}")

    # ---- looking at the prefix ----

    def path(self, windows_path: str) -> pathlib.Path:
        check(windows_path[:3].upper() == "C:\\", f"not on drive C: {windows_path}")
        return self.prefix / "drive_c" / windows_path[3:].replace("\\", "/")

    def registry(self, key: str, value: str | None = None) -> tuple[int, str]:
        argv = ["reg", "query", key] + (["/v", value] if value is not None else [])
        result = self.wine(*argv)
        return result.returncode, result.stdout.decode("utf-8", errors="replace").replace("\r\n", "\n")

    def registry_values(self, key: str) -> dict[str, tuple[str, str]] | None:
        """The values of one key as reg query prints them: name -> (type, data); None without the key."""
        code, text = self.registry(key)
        if code != 0:
            return None
        values = {}
        for line in text.splitlines():
            match = re.match(r"^    (\S.*?)    (REG_\w+)    (.*)$", line)
            if match:
                values[match.group(1)] = (match.group(2), match.group(3))
        return values

    def service_state(self) -> str | None:
        result = self.wine("sc", "query", SERVICE)
        match = re.search(r"STATE\s+:\s+\d+\s+(\w+)", result.stdout.decode(errors="replace"))
        return match.group(1) if match else None

    def event_records(self) -> list[str]:
        text = self.server_log.read_text(encoding="utf-8", errors="replace")
        return [bytes(m, "utf-8").decode("unicode_escape") for m in
                re.findall(r'trace:eventlog:ReportEventW L"(.*)"\s*$', text, re.MULTILINE)]

    def log_text(self) -> str:
        path = self.path(LOG_DIR + "KVO.log")
        return path.read_bytes().decode("utf-16", errors="replace") if path.exists() else ""


def file_version(path: pathlib.Path) -> str:
    """The "FileVersion" text of a Windows binary's version resource (UTF-16LE, after its key and
    the zero padding that aligns the value)."""
    data = path.read_bytes()
    at = data.find("FileVersion\0".encode("utf-16-le"))
    check(at >= 0, f"{path.name} has no FileVersion")
    at += len("FileVersion\0".encode("utf-16-le"))
    while data[at:at + 2] == b"\0\0":
        at += 2
    end = data.find(b"\0\0", at)
    while (end - at) % 2:
        end = data.find(b"\0\0", end + 1)
    return data[at:end].decode("utf-16-le")


def package_version(msi: str) -> str:
    properties = subprocess.run(["msiinfo", "export", msi, "Property"], capture_output=True, text=True,
                                check=True).stdout
    return re.search(r"^ProductVersion\t([^\r\n]*)", properties, re.MULTILINE).group(1)


def seen(path: pathlib.Path) -> str:
    """A Linux path as Windows programs under Wine see it (the Z: drive)."""
    return "Z:" + str(path).replace("/", "\\")


# ---- what every case checks ----

def installed_files(args) -> dict[str, pathlib.Path]:
    """The runtime files the package installs, by their path below INSTALL_DIR, and where they came from."""
    stage = pathlib.Path(args.stage)
    files = {f"Bin\\{name}": stage / "Bin" / name for name in ("TavroMedivaneUtil.dll", "mvutil.exe", "TavroMedivane.cfg")}
    files.update({f"Sounds\\{sound.name}": sound for sound in sorted((stage / "Sounds").iterdir())})
    return files


def check_runtime_installed(tablet: Tablet, args) -> None:
    files = installed_files(args)
    check(sum(name.startswith("Sounds\\") for name in files) == 26, "the stage does not hold 26 sound files")
    for name, source in files.items():
        installed = tablet.path(INSTALL_DIR + name)
        check(installed.is_file(), f"{name} is not installed")
        check(installed.read_bytes() == source.read_bytes(), f"{name} differs from the package's file")
    check(tablet.registry_values(ENVIRONMENT_KEY).get("KVO_INSTALL_DIR") == ("REG_SZ", INSTALL_DIR),
          f"KVO_INSTALL_DIR: {tablet.registry(ENVIRONMENT_KEY, 'KVO_INSTALL_DIR')[1]!r}")
    check(tablet.registry_values(EVENT_SOURCES + "Tavro(R) Korvina") ==
          {"EventMessageFile": ("REG_SZ", INSTALL_DIR + "Bin\\TavroMedivaneUtil.dll"),
           "TypesSupported": ("REG_DWORD", "0x1f")},
          f"the library's event source: {tablet.registry(EVENT_SOURCES + 'Tavro(R) Korvina')[1]!r}")
    check(tablet.registry_values(EVENT_SOURCES + SERVICE) ==
          {"EventMessageFile": ("REG_SZ", INSTALL_DIR + "Bin\\TavroMedivaneUtil.dll"),
           "TypesSupported": ("REG_DWORD", "0x7")},
          f"the shipper's event source: {tablet.registry(EVENT_SOURCES + SERVICE)[1]!r}")
    service = tablet.registry_values(SERVICE_KEY) or {}
    check(service.get("ImagePath") == ("REG_SZ", INSTALL_DIR + "Bin\\mvutil.exe ship --service"),
          f"the service's command: {service.get('ImagePath')}")
    check(service.get("ObjectName") == ("REG_SZ", "NT AUTHORITY\\LocalService"),
          f"the service's account: {service.get('ObjectName')}")
    check(service.get("Start") == ("REG_DWORD", "0x2"), f"the service does not start automatically: {service}")
    wait_until(lambda: tablet.service_state() == "RUNNING", 30, "the service to run")


def check_nothing_installed(tablet: Tablet) -> None:
    """Nothing of the package but what an uninstall leaves: no program files, registry or service."""
    for name in ("Bin\\TavroMedivaneUtil.dll", "Bin\\mvutil.exe", "Sounds", "include", "lib", "python"):
        check(not tablet.path(INSTALL_DIR + name).exists(), f"{name} is still there")
    check("KVO_INSTALL_DIR" not in (tablet.registry_values(ENVIRONMENT_KEY) or {}), "KVO_INSTALL_DIR is still set")
    for source in ("Tavro(R) Korvina", SERVICE):
        check(tablet.registry_values(EVENT_SOURCES + source) is None, f"the event source {source} is still there")
    check(tablet.registry_values(SERVICE_KEY) is None, "the service is still registered")
    check(tablet.service_state() is None, "sc query still finds the service")
    check("TavroMedivaneUtil" not in product_names(tablet), "the product is still registered")


def product_names(tablet: Tablet) -> list[str]:
    return registered(tablet, "DisplayName")


def registered(tablet: Tablet, value: str) -> list[str]:
    """One value of every product registered for uninstalling."""
    result = tablet.wine("reg", "query", UNINSTALL_KEY, "/s")
    return re.findall(value + r"\s+REG_SZ\s+([^\r\n]*)", result.stdout.decode(errors="replace"))


def check_installed_version(tablet: Tablet, version: str) -> None:
    result = tablet.mvutil("--version")
    check(result.stdout.decode().replace("\r\n", "\n") == f"mvutil {version}\n",
          f"mvutil --version: {result.stdout!r}")
    versions = registered(tablet, "DisplayVersion")
    check(product_names(tablet).count("TavroMedivaneUtil") == 1, f"products: {product_names(tablet)}")
    check(versions == [version], f"registered versions: {versions}")


def writer_tags(collector: Collector) -> list[str]:
    return [re.search(r"(\w+-\d{5})$", m["msg"]).group(1) for m in collector.messages()
            if m["app_name"] == "ship_writer"]


def expected_tags(tag: str, count: int) -> list[str]:
    return [f"{tag}-{n:05d}" for n in range(1, count + 1)]


def install_with_collector(tablet: Tablet, msi: str, collector: Collector) -> None:
    code = tablet.msiexec("/i", seen(pathlib.Path(msi)), "COLLECTOR_PROTOCOL=relp", "COLLECTOR_HOST=127.0.0.1",
                          f"COLLECTOR_PORT={collector.relp_port}")
    check(code == MSI_SUCCESS, f"msiexec /i with a collector exited {code}")
    wait_until(lambda: tablet.service_state() == "RUNNING", 30, "the service to run")


# ---- the cases ----

def silent_install(tablet: Tablet, args) -> None:
    code = tablet.msiexec("/i", seen(pathlib.Path(args.msi)))
    check(code == MSI_SUCCESS, f"msiexec /i exited {code}")
    check_runtime_installed(tablet, args)
    version = package_version(args.msi)
    for name in ("TavroMedivaneUtil.dll", "mvutil.exe"):
        installed = file_version(tablet.path(INSTALL_DIR + "Bin\\" + name))
        check(installed == version, f"Bin\\{name} is version {installed}, the package {version}")
    check_installed_version(tablet, version)
    check(not tablet.path(INSTALL_DIR + "include").exists(), "the SDK was installed without being asked for")
    check(tablet.path(LOG_DIR).is_dir(), "the log folder was not made")
    # No collector in the installed configuration: the service says so, once.
    wait_until(lambda: tablet.event_records(), 30, "the service's event-log record")
    time.sleep(1)
    check(tablet.event_records() == [IDLE_TEXT], f"event-log records: {tablet.event_records()}")

    # The SDK feature, added to the installed product.
    code = tablet.msiexec("/i", seen(pathlib.Path(args.msi)), "ADDLOCAL=SDK")
    check(code == MSI_SUCCESS, f"msiexec /i ADDLOCAL=SDK exited {code}")
    stage = pathlib.Path(args.stage)
    for folder in ("include", "lib", "python"):
        for source in (stage / folder).rglob("*"):
            if source.is_file():
                relative = str(source.relative_to(stage)).replace("/", "\\")
                installed = tablet.path(INSTALL_DIR + relative)
                check(installed.is_file() and installed.read_bytes() == source.read_bytes(),
                      f"the SDK's {relative} is not installed as packaged")

    # A program built against the installed SDK, run from a folder of its own with the library
    # beside it, finds the configuration through KVO_INSTALL_DIR: its entry lands in the log folder
    # that only the installed configuration names.
    sdk = tablet.path(INSTALL_DIR)
    build = tablet.root / "consumer-build"
    for argv in (["cmake", "-S", str(HERE / "log_consumer"), "-B", str(build), "-G", "Ninja",
                  f"-DCMAKE_TOOLCHAIN_FILE={args.toolchain}", f"-DCMAKE_PREFIX_PATH={sdk}",
                  f"-DCMAKE_FIND_ROOT_PATH={sdk}", "-DCMAKE_BUILD_TYPE=Release"],
                 ["cmake", "--build", str(build)]):
        result = subprocess.run(argv, capture_output=True, text=True)
        check(result.returncode == 0, f"building the consumer failed: {result.stdout}\n{result.stderr}")
    elsewhere = tablet.root / "elsewhere"
    elsewhere.mkdir()
    shutil.copy(build / "log_consumer.exe", elsewhere)
    shutil.copy(tablet.path(INSTALL_DIR + "Bin\\TavroMedivaneUtil.dll"), elsewhere)
    message = f"installed consumer {uuid.uuid4().hex}"
    result = tablet.wine(seen(elsewhere / "log_consumer.exe"), message, cwd=elsewhere)
    check(result.returncode == 0, f"the consumer exited {result.returncode}: {result.stderr!r}")
    entries = [line for line in tablet.log_text().splitlines() if line.endswith(message)]
    check(len(entries) == 1, f"the consumer's entry in {LOG_DIR}KVO.log: {entries}")
    check(re.match(r"^I \S+ \S+ .* Consumer \{.*log_consumer\.exe-\d+\} " + message + "$", entries[0]) is not None,
          f"the consumer's entry: {entries[0]!r}")
    check(not (elsewhere / "KVO.log").exists(), "the consumer logged into its own folder")

    # The sound scheme names installed files, and playing one resolves to it.
    result = tablet.mvutil("sound", "register")
    check(result.returncode == 0, f"mvutil sound register exited {result.returncode}")
    listed = tablet.mvutil("sound", "list").stdout.decode(errors="replace").replace("\r\n", "\n").splitlines()
    check(len(listed) == 27, f"mvutil sound list printed {len(listed)} rows")
    for row in listed:
        match = re.search(r'"(.*)" \(REG_EXPAND_SZ\)$', row)
        check(match is not None, f"an unexpected row: {row!r}")
        value = match.group(1)
        if "Barcode Wait Success" in row:
            check(value == "", f"the row without a sound names one: {row!r}")
            continue
        check(value.startswith("%KVO_INSTALL_DIR%Sounds\\"), f"an unexpected sound path: {row!r}")
        check(tablet.path(INSTALL_DIR + value[len("%KVO_INSTALL_DIR%"):]).is_file(), f"no file for {row!r}")
    result = tablet.mvutil("sound", "play", "Error", "--wait", "0")
    check(result.returncode == 0, f"mvutil sound play Error exited {result.returncode}")
    played = f"SoundEvent::Play: Playing sound 'Error' ('{INSTALL_DIR}Sounds\\Error.wav')."
    check(any(line.endswith(played) for line in tablet.log_text().splitlines()),
          f"no log line ending {played!r}")

    # The safe profile: off as the sample has it, and on after a maintenance install with SAFE_PROFILE=1.
    def safe_profile() -> str:
        result = tablet.mvutil("config", "get", "/Tavro/MedivaneSDK/SafeProfile")
        return result.stdout.decode(errors="replace").strip()
    check(safe_profile() == "false", f"the installed safe profile switch: {safe_profile()!r}")
    code = tablet.msiexec("/i", seen(pathlib.Path(args.msi)), "SAFE_PROFILE=1")
    check(code == MSI_SUCCESS, f"msiexec /i SAFE_PROFILE=1 exited {code}")
    check(safe_profile() == "true", f"after SAFE_PROFILE=1 the switch is {safe_profile()!r}")


def shipping_service(tablet: Tablet, args) -> None:
    with Collector(tablet.root / "collector") as collector:
        install_with_collector(tablet, args.msi, collector)
        tablet.write_entries("before", 200)
        wait_until(lambda: len(writer_tags(collector)) >= 200, 60, "the entries written before the stop")
        result = tablet.wine("net", "stop", SERVICE)
        check(result.returncode == 0, f"net stop exited {result.returncode}")
        # Wine's net stop can return while the service still reports STOP_PENDING: the shipper is
        # finishing what is in flight and saving its cursor. It must be stopped within seconds.
        wait_until(lambda: tablet.service_state() == "STOPPED", 30, "the service to stop after net stop")
        check(tablet.path(LOG_DIR + "KVO.log.ship-state").is_file(), "the service saved no cursor")
        tablet.write_entries("stopped", 150)
        time.sleep(2)
        check(len(writer_tags(collector)) == 200, "entries arrived while the service was stopped")
        result = tablet.wine("net", "start", SERVICE)
        check(result.returncode == 0, f"net start exited {result.returncode}")
        wait_until(lambda: len(writer_tags(collector)) >= 350, 60, "the entries written while stopped")
        time.sleep(2)
        check(writer_tags(collector) == expected_tags("before", 200) + expected_tags("stopped", 150),
              "the collector did not receive every entry exactly once, in order")
        check(tablet.event_records() == [], f"the service reported: {tablet.event_records()}")


def upgrade(tablet: Tablet, args) -> None:
    with Collector(tablet.root / "collector") as collector:
        install_with_collector(tablet, args.msi, collector)
        tablet.write_entries("old", 100)
        wait_until(lambda: len(writer_tags(collector)) >= 100, 60, "the old version's entries")
        result = tablet.mvutil("config", "set", "/Tavro/MedivaneSDK/Logging/DebugAreas", "Upgrade, BN")
        check(result.returncode == 0, f"mvutil config set exited {result.returncode}")
        configuration = tablet.path(INSTALL_DIR + "Bin\\TavroMedivane.cfg").read_bytes()
        log = tablet.path(LOG_DIR + "KVO.log").read_bytes()
        wait_until(lambda: tablet.path(LOG_DIR + "KVO.log.ship-state").is_file(), 10, "the cursor file")

        code = tablet.msiexec("/i", seen(pathlib.Path(args.next_msi)))
        check(code == MSI_SUCCESS, f"installing the next version over it exited {code}")
        next_stage = pathlib.Path(args.next_stage)
        for name in ("TavroMedivaneUtil.dll", "mvutil.exe"):
            check(tablet.path(INSTALL_DIR + "Bin\\" + name).read_bytes() == (next_stage / "Bin" / name).read_bytes(),
                  f"Bin\\{name} is not the next version's")
        check_installed_version(tablet, args.next_version)
        check(package_version(args.next_msi) == args.next_version, "the next package has another version")
        check(file_version(tablet.path(INSTALL_DIR + "Bin\\TavroMedivaneUtil.dll")) == args.next_version,
              "the upgraded DLL's version resource is not the next version")
        check(tablet.path(INSTALL_DIR + "Bin\\TavroMedivane.cfg").read_bytes() == configuration,
              "the upgrade changed the tablet's configuration")
        check(tablet.path(LOG_DIR + "KVO.log").read_bytes().startswith(log), "the upgrade changed the log")
        wait_until(lambda: tablet.service_state() == "RUNNING", 30, "the new service to run")

        # The new service goes on after the old one's cursor, with the new binary.
        tablet.write_entries("new", 100)
        wait_until(lambda: len(writer_tags(collector)) >= 200, 60, "the new version's entries")
        time.sleep(2)
        check(writer_tags(collector) == expected_tags("old", 100) + expected_tags("new", 100),
              "after the upgrade entries were lost or sent again")
        versions = {m["structured_data"].split('swVersion="')[1].split('"')[0]
                    for m in collector.messages() if m["app_name"] == "ship_writer" and m["msg"].endswith("new-00100")}
        check(versions == {args.next_version}, f"the new entries were shipped by version {versions}")


def uninstall(tablet: Tablet, args) -> None:
    code = tablet.msiexec("/i", seen(pathlib.Path(args.msi)), "ADDLOCAL=ALL")
    check(code == MSI_SUCCESS, f"msiexec /i exited {code}")
    check_runtime_installed(tablet, args)
    result = tablet.mvutil("log", "before the uninstall")
    check(result.returncode == 0, f"mvutil log exited {result.returncode}")
    result = tablet.mvutil("config", "set", "/Tavro/MedivaneSDK/Logging/DebugAreas", "Ward")
    check(result.returncode == 0, f"mvutil config set exited {result.returncode}")
    configuration = tablet.path(INSTALL_DIR + "Bin\\TavroMedivane.cfg").read_bytes()
    check(configuration != (pathlib.Path(args.stage) / "Bin" / "TavroMedivane.cfg").read_bytes(),
          "the changed configuration is still the packaged one")
    log = tablet.path(LOG_DIR + "KVO.log").read_bytes()

    code = tablet.msiexec("/x", seen(pathlib.Path(args.msi)))
    check(code == MSI_SUCCESS, f"msiexec /x exited {code}")
    check_nothing_installed(tablet)
    check(tablet.path(INSTALL_DIR + "Bin\\TavroMedivane.cfg").read_bytes() == configuration,
          "the configuration file did not stay as it was")
    check(tablet.path(LOG_DIR + "KVO.log").read_bytes() == log, "the log did not stay as it was")

    # Installed again, the package finds the tablet's configuration and leaves it as it is.
    code = tablet.msiexec("/i", seen(pathlib.Path(args.msi)))
    check(code == MSI_SUCCESS, f"installing again exited {code}")
    check(tablet.path(INSTALL_DIR + "Bin\\TavroMedivane.cfg").read_bytes() == configuration,
          "installing again replaced the configuration file")


def repair(tablet: Tablet, args) -> None:
    code = tablet.msiexec("/i", seen(pathlib.Path(args.msi)))
    check(code == MSI_SUCCESS, f"msiexec /i exited {code}")
    dll = tablet.path(INSTALL_DIR + "Bin\\TavroMedivaneUtil.dll")
    packaged = (pathlib.Path(args.stage) / "Bin" / "TavroMedivaneUtil.dll").read_bytes()
    dll.unlink()
    # Wine 8's msiexec does not repair from "/fa PACKAGE": it exits 1605 ("This action is only
    # valid for products that are currently installed") and reinstalls nothing. Recorded here, so
    # that a Wine that repairs shows up; on Windows /fa is the command the README gives.
    code = tablet.msiexec("/fa", seen(pathlib.Path(args.msi)))
    check(code == MSI_UNKNOWN_PRODUCT and not dll.exists(),
          f"Wine's msiexec /fa behaved otherwise than recorded: exit {code}, DLL there: {dll.exists()}")
    # The same repair through the properties that /fa stands for: every file again ("a"), the
    # machine's and the user's registry ("m", "u") and the shortcuts ("s").
    code = tablet.msiexec("/i", seen(pathlib.Path(args.msi)), "REINSTALL=ALL", "REINSTALLMODE=amus")
    check(code == MSI_SUCCESS, f"msiexec /i REINSTALL=ALL REINSTALLMODE=amus exited {code}")
    check(dll.is_file() and dll.read_bytes() == packaged, "the repair did not put the DLL back")
    check_runtime_installed(tablet, args)


def bad_input(tablet: Tablet, args) -> None:
    # A folder that cannot be written: below /proc, which even root cannot add to.
    code = tablet.msiexec("/i", seen(pathlib.Path(args.msi)), "INSTALLDIR=Z:\\proc\\Tavro\\Medivane\\")
    check(code == MSI_FATAL_ERROR, f"installing into an unwritable folder exited {code}, not 1603 (67)")
    check_nothing_installed(tablet)
    check(not tablet.path(INSTALL_DIR + "Bin\\TavroMedivane.cfg").exists(), "a configuration file was left")
    check(not tablet.path(LOG_DIR).exists(), "the log folder was left")

    # Without administrator rights the package stops at its launch condition (on Windows: 1603
    # with this message, before anything is changed).
    conditions = subprocess.run(["msiinfo", "export", args.msi, "LaunchCondition"], capture_output=True,
                                text=True, check=True).stdout.splitlines()
    check("Privileged\t" + NEEDS_ADMINISTRATOR in conditions, f"the package's launch conditions: {conditions}")
    # Wine runs every installation as an administrator: its installer sets Privileged whoever the
    # user is, and a command line that clears it changes nothing (as on Windows, where only the
    # installer sets it). So a user without the rights cannot be made here; recorded, so that a
    # Wine that can shows up.
    code = tablet.msiexec("/i", seen(pathlib.Path(args.msi)), "Privileged=")
    log = tablet.last_msiexec_log.read_text(encoding="utf-8", errors="replace")
    check(code == MSI_SUCCESS and "Property(S): Privileged = 1" in log,
          f"Wine's installer behaved otherwise than recorded for Privileged: exit {code}")


CASES = {
    "silent-install": silent_install,
    "shipping-service": shipping_service,
    "upgrade": upgrade,
    "uninstall": uninstall,
    "repair": repair,
    "bad-input": bad_input,
}


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    for option in ("--msi", "--next-msi", "--stage", "--next-stage", "--template", "--writer", "--toolchain",
                   "--next-version"):
        parser.add_argument(option, required=True)
    parser.add_argument("--keep", action="store_true", help="keep the case's folder")
    parser.add_argument("case", choices=sorted(CASES))
    args = parser.parse_args()
    make_template(pathlib.Path(args.template))
    root = pathlib.Path(tempfile.mkdtemp(prefix=f"installer-{args.case}-"))
    try:
        with Tablet(root, args) as tablet:
            CASES[args.case](tablet, args)
    except Failure as failure:
        print(f"FAILED {args.case}: {failure}")
        for log in sorted(root.glob("msiexec-*.log")):
            text = log.read_bytes().decode("utf-16" if log.read_bytes()[:2] == b"\xff\xfe" else "utf-8", errors="replace")
            print(f"--- {log.name} (last lines) ---\n" + "\n".join(text.splitlines()[-25:]))
        print(f"kept {root}")
        return 1
    if not args.keep:
        shutil.rmtree(root, ignore_errors=True)
    print(f"passed {args.case}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
