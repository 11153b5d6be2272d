#!/usr/bin/env python3
"""Builds the tablet's Windows Installer package from a Windows build directory, on Linux.

  build_msi.py --build-dir DIR --source-dir DIR --version X.Y.Z --output FILE.msi
               [--binaries DIR] [--work-dir DIR] [--sign-cert PEM --sign-key PEM]

1. Stages what the package installs in WORK/stage-X.Y.Z (WORK is --work-dir, by default
   DIR/package): `cmake --install` of the build
   (Bin\\TavroMedivaneUtil.dll, Bin\\mvutil.exe, include\\, lib\\ with the import library and the CMake
   package), the installed configuration (the sample with the log in C:\\ProgramData\\Tavro\\Logs and
   no collector), one sound file per file name of the sound table (make_sounds.py) and the Python
   package. --binaries takes the DLL and mvutil.exe from another folder (the upgrade test's next
   version).
2. Signs the DLL and mvutil.exe with osslsigncode when given a certificate and key.
3. Writes the components of the sound files and of the SDK (sdk.wxs), then runs wixl on
   TavroMedivaneUtil.wxs and sdk.wxs.
4. Adds with msibuild what wixl 0.101 cannot write:
   - the Environment table with the row that sets the machine-wide KVO_INSTALL_DIR to
     [INSTALLDIR] (a directory property ends in a backslash) and removes it on uninstall, and the
     WriteEnvironmentStrings and RemoveEnvironmentStrings actions that process it (wixl has no
     Environment element before 0.105);
   - the Component attributes NeverOverwrite and Permanent of the configuration file, and
     Permanent of the log folder (wixl ignores both attributes);
   - a launch condition: installing needs administrator rights (wixl has no Condition element);
   - the places of three actions in InstallExecuteSequence: wixl puts custom actions after
     InstallFinalize, where deferred ones never run, and RemoveExistingProducts there too, which
     would remove the old version's service after the new one installed it under the same name.
     The custom actions that write the collector's keys go right after InstallFiles (before
     StartServices), and the old version goes right after InstallValidate, before anything new
     is installed.
5. Signs the package when given a certificate and key.
"""
import argparse
import hashlib
import os
import re
import shutil
import subprocess
import sys
import uuid
import xml.sax.saxutils

# Component attribute bits (msidbComponentAttributes*).
ATTRIBUTE_PERMANENT = 16
ATTRIBUTE_NEVER_OVERWRITE = 128
ATTRIBUTE_64BIT = 256

# Shown (and logged) when a user without administrator rights installs the package.
NEEDS_ADMINISTRATOR = ("TavroMedivaneUtil is installed for every user of this computer: installing it needs "
                       "administrator rights.")

# The custom actions that write keys of the installed configuration, with the condition each runs on.
CONFIGURATION_ACTIONS = [("SetCollectorProtocol", "COLLECTOR_PROTOCOL"), ("SetCollectorHost", "COLLECTOR_HOST"),
                         ("SetCollectorPort", "COLLECTOR_PORT"), ("SetSafeProfile", 'SAFE_PROFILE = "1"')]

# The installed configuration differs from the sample in two values, each named here with the
# sample's line it replaces; a sample that no longer has the line stops the build.
CONFIGURATION_CHANGES = [
    ("// /Tavro/MedivaneSDK/Logging/LogFileLocation=C:\\ProgramData\\Tavro\\Logs",
     "/Tavro/MedivaneSDK/Logging/LogFileLocation=C:\\ProgramData\\Tavro\\Logs"),
    ("/Tavro/MedivaneSDK/LogShipping/CollectorHost=127.0.0.1",
     "// No collector yet: the TavroLogShipper service stays idle until CollectorHost is set (the\n"
     "// package's COLLECTOR_HOST property sets it).\n"
     "/Tavro/MedivaneSDK/LogShipping/CollectorHost="),
]


def run(command):
    subprocess.run(command, check=True)


def stage_configuration(sample, target):
    with open(sample, encoding="utf-8") as source:
        text = source.read()
    for old, new in CONFIGURATION_CHANGES:
        if old not in text:
            sys.exit("build_msi.py: the sample configuration no longer has the line '%s'" % old)
        text = text.replace(old, new, 1)
    # The library reads 8-bit text or UTF-16; Windows programs expect CR LF.
    with open(target, "w", encoding="utf-8", newline="\r\n") as out:
        out.write(text)


def stage(args, stage_dir):
    shutil.rmtree(stage_dir, ignore_errors=True)
    # Stripped: the debugging information stays in the build folder.
    subprocess.run([args.cmake, "--install", args.build_dir, "--prefix", stage_dir, "--strip"], check=True,
                   stdout=subprocess.DEVNULL)
    bin_dir = os.path.join(stage_dir, "Bin")
    if args.binaries:
        for name in ("TavroMedivaneUtil.dll", "mvutil.exe"):
            shutil.copyfile(os.path.join(args.binaries, name), os.path.join(bin_dir, name))
            if args.strip:
                run([args.strip, os.path.join(bin_dir, name)])
    stage_configuration(os.path.join(args.source_dir, "examples", "TavroMedivane.cfg"),
                        os.path.join(bin_dir, "TavroMedivane.cfg"))
    run([sys.executable, os.path.join(args.source_dir, "packaging", "make_sounds.py"),
         os.path.join(args.source_dir, "sound", "sound_event_table.cpp"), os.path.join(stage_dir, "Sounds")])
    shutil.copytree(os.path.join(args.source_dir, "python", "src", "tavro_medivane"),
                    os.path.join(stage_dir, "python", "tavro_medivane"),
                    ignore=shutil.ignore_patterns("__pycache__", "*.pyc"))


def sign(args, path):
    signed = path + ".signed"
    run([args.osslsigncode, "sign", "-certs", args.sign_cert, "-key", args.sign_key,
         "-n", "TavroMedivaneUtil", "-h", "sha256", "-in", path, "-out", signed])
    os.replace(signed, path)


def identifier(prefix, relative):
    """A WiX identifier for a staged file or folder: readable, unique through a short hash."""
    readable = re.sub(r"[^A-Za-z0-9_.]", "_", relative)[-40:]
    digest = hashlib.sha1(relative.encode("utf-8")).hexdigest()[:10]
    return "%s_%s_%s" % (prefix, digest, readable)


def directory_xml(stage_dir, relative, lines, components, indent):
    """Components for every file below stage_dir/relative, one per file (each its own key path).
    A folder with subfolders or without files of its own also gets a component that only makes
    the folder, written after those of its subfolders: on uninstall the installer removes such
    folders in that order, each once it is empty, so none is left behind (a folder whose only
    component has files is removed with the files, before any subfolder is)."""
    folder = os.path.join(stage_dir, relative)
    names = sorted(os.listdir(folder))
    quoted = xml.sax.saxutils.quoteattr
    for name in names:
        child = os.path.join(relative, name)
        path = os.path.join(stage_dir, child)
        if os.path.isdir(path):
            lines.append('%s<Directory Id=%s Name=%s>' % (indent, quoted(identifier("dir", child)), quoted(name)))
            directory_xml(stage_dir, child, lines, components, indent + "  ")
            lines.append("%s</Directory>" % indent)
        else:
            component = identifier("cmp", child)
            components.append(component)
            lines.append('%s<Component Id=%s Guid="*" Win64="yes">' % (indent, quoted(component)))
            # wixl takes only relative sources: it runs in the stage folder.
            lines.append('%s  <File Id=%s Name=%s Source=%s KeyPath="yes"/>' %
                         (indent, quoted(identifier("fil", child)), quoted(name), quoted(child)))
            lines.append("%s</Component>" % indent)
    paths = [os.path.join(folder, name) for name in names]
    if any(os.path.isdir(path) for path in paths) or not any(os.path.isfile(path) for path in paths):
        component = identifier("cmp", relative)
        components.append(component)
        # A component without a file needs a GUID of its own; derived from the path, it stays the
        # same from one version to the next.
        guid = str(uuid.uuid5(uuid.NAMESPACE_URL, "tavro-medivane-util:folder:" + relative)).upper()
        lines.append('%s<Component Id=%s Guid="%s" Win64="yes"><CreateFolder/></Component>' %
                     (indent, quoted(component), guid))


def write_fragments(stage_dir, target):
    """Writes the components of the sound files and of the SDK."""
    lines = ['<?xml version="1.0" encoding="utf-8"?>',
             "<!-- Written by build_msi.py from the staged files. -->",
             '<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">', "  <Fragment>"]
    groups = {"Sounds": [("SoundsFolder", "Sounds")],
              "SdkFiles": [("IncludeFolder", "include"), ("LibFolder", "lib"), ("PythonFolder", "python")]}
    for group, folders in groups.items():
        components = []
        for directory_id, relative in folders:
            lines.append('    <DirectoryRef Id="%s">' % directory_id)
            directory_xml(stage_dir, relative, lines, components, "      ")
            lines.append("    </DirectoryRef>")
        lines.append('    <ComponentGroup Id="%s">' % group)
        lines.extend('      <ComponentRef Id="%s"/>' % component for component in components)
        lines.append("    </ComponentGroup>")
    lines += ["  </Fragment>", "</Wix>", ""]
    with open(target, "w", encoding="utf-8") as out:
        out.write("\n".join(lines))


def add_what_wixl_cannot(args, package):
    queries = [
        "CREATE TABLE `Environment` (`Environment` CHAR(72) NOT NULL, `Name` CHAR(255) NOT NULL LOCALIZABLE, "
        "`Value` CHAR(255) LOCALIZABLE, `Component_` CHAR(72) NOT NULL PRIMARY KEY `Environment`)",
        # '=' sets it on install, '-' removes it on uninstall, '*' makes it machine-wide.
        "INSERT INTO `Environment` (`Environment`, `Name`, `Value`, `Component_`) "
        "VALUES ('KVO_INSTALL_DIR', '=-*KVO_INSTALL_DIR', '[INSTALLDIR]', 'Library')",
        "INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) VALUES ('RemoveEnvironmentStrings', 3300)",
        "INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) VALUES ('WriteEnvironmentStrings', 5200)",
        "UPDATE `Component` SET `Attributes` = %d WHERE `Component` = 'Configuration'"
        % (ATTRIBUTE_64BIT | ATTRIBUTE_NEVER_OVERWRITE | ATTRIBUTE_PERMANENT),
        "UPDATE `Component` SET `Attributes` = %d WHERE `Component` = 'LogsFolder'"
        % (ATTRIBUTE_64BIT | ATTRIBUTE_PERMANENT),
        "UPDATE `InstallExecuteSequence` SET `Sequence` = 1401 WHERE `Action` = 'RemoveExistingProducts'",
        # A per-machine package: without administrator rights it stops before changing anything.
        "INSERT INTO `LaunchCondition` (`Condition`, `Description`) VALUES ('Privileged', '%s')" % NEEDS_ADMINISTRATOR,
    ]
    for number, (action, condition) in enumerate(CONFIGURATION_ACTIONS, start=4001):
        queries.append("INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) "
                       "VALUES ('%s', '%s AND NOT REMOVE', %d)" % (action, condition, number))
    for query in queries:
        run([args.msibuild, package, "-q", query])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build-dir", required=True)
    parser.add_argument("--source-dir", required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--output", required=True)
    parser.add_argument("--binaries")
    parser.add_argument("--work-dir")
    parser.add_argument("--strip", help="the strip program for --binaries (cmake --install strips the others)")
    parser.add_argument("--sign-cert")
    parser.add_argument("--sign-key")
    parser.add_argument("--cmake", default="cmake")
    parser.add_argument("--wixl", default="wixl")
    parser.add_argument("--msibuild", default="msibuild")
    parser.add_argument("--osslsigncode", default="osslsigncode")
    args = parser.parse_args()
    if bool(args.sign_cert) != bool(args.sign_key):
        sys.exit("build_msi.py: signing needs both --sign-cert and --sign-key")

    work = args.work_dir or os.path.join(args.build_dir, "package")
    stage_dir = os.path.join(work, "stage-" + args.version)
    stage(args, stage_dir)
    if args.sign_cert:
        for name in ("TavroMedivaneUtil.dll", "mvutil.exe"):
            sign(args, os.path.join(stage_dir, "Bin", name))
    fragments = os.path.join(work, "sdk-%s.wxs" % args.version)
    write_fragments(stage_dir, fragments)
    package = os.path.abspath(args.output + ".part")
    if os.path.exists(package):
        os.remove(package)
    # wixl resolves a file's Source only as a path relative to where it runs.
    subprocess.run([args.wixl, "--arch", "x64", "-D", "Version=" + args.version, "-D", "StageDir=.",
                    "-o", package, os.path.abspath(os.path.join(args.source_dir, "packaging", "TavroMedivaneUtil.wxs")),
                    os.path.abspath(fragments)], check=True, cwd=stage_dir)
    add_what_wixl_cannot(args, package)
    if args.sign_cert:
        sign(args, package)
    os.replace(package, args.output)


if __name__ == "__main__":
    main()
