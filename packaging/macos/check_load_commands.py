#!/usr/bin/env python3
"""Checks by the load commands of all programs and libraries that a Mac bundle, or a single program, runs on
every system that it claims to support.

check_load_commands.py [--otool OTOOL] BUNDLE.app
check_load_commands.py [--otool OTOOL] --oldest VERSION PROGRAM

Nothing may need a newer system than the bundle's LSMinimumSystemVersion, or VERSION. Every library that is
loaded must belong to the system or be in the bundle. A single program must be for both processors. Prints
a line for each violation.

exit status: 0 no violations · 1 some violations
"""
import argparse
import os
import plistlib
import re
import struct
import subprocess
import sys

MAGICS = {bytes.fromhex(magic) for magic in
          ("cffaedfe", "cefaedfe", "feedface", "feedfacf", "cafebabe", "cafebabf")}
SYSTEM = ("/usr/lib/", "/System/Library/")
LOADS = {"LC_LOAD_DYLIB", "LC_LOAD_WEAK_DYLIB", "LC_REEXPORT_DYLIB", "LC_LOAD_UPWARD_DYLIB",
         "LC_LAZY_LOAD_DYLIB"}


def version(text):
    return tuple(int(part) for part in (text.split(".") + ["0", "0"])[:3])


CPUS = {(7, False): "i386", (0x01000007, False): "x86_64", (0x0100000C, False): "arm64",
        (0x0100000C, True): "arm64e"}


def processors(path):
    """The processors that a file is for, under otool's names."""
    with open(path, "rb") as file:
        start = file.read(4096)
    magic, count = struct.unpack_from(">II", start)
    if magic in (0xCAFEBABE, 0xCAFEBABF):
        size = 20 if magic == 0xCAFEBABE else 32
        kinds = [struct.unpack_from(">II", start, 8 + i * size) for i in range(count)]
    else:
        order = "<" if start[0] in (0xCE, 0xCF) else ">"
        kinds = [struct.unpack_from(order + "II", start, 4)]
    return [CPUS[cpu, cpu == 0x0100000C and kind & 0xFF == 2] for cpu, kind in kinds]


class LoadCommands:
    """The libraries that a file loads for any processor, where it looks for them, and the oldest systems."""

    def __init__(self, otool, path):
        text = "".join(subprocess.run([otool, "-arch", processor, "-l", path], check=True,
                                      capture_output=True, text=True).stdout
                       for processor in processors(path))
        self.loads, self.search, self.oldest = set(), [], []
        for command in re.split(r"^Load command \d+\n", text, flags=re.M)[1:]:
            fields = dict(re.findall(r"^ *(\w+) (.+?)(?: \(offset \d+\))?$", command, flags=re.M))
            kind = fields["cmd"]
            if kind in LOADS:
                self.loads.add(fields["name"])
            elif kind == "LC_RPATH":
                self.search.append(fields["path"])
            elif kind == "LC_BUILD_VERSION":
                self.oldest.append(fields["minos"])
            elif kind.startswith("LC_VERSION_MIN_"):
                self.oldest.append(fields["version"])


def violations_of_program(otool, path, oldest):
    commands = LoadCommands(otool, path)
    built_for = processors(path)
    if sorted(built_for) != ["arm64", "x86_64"]:
        yield f"is for {' and '.join(built_for)}"
    if len(commands.oldest) != len(built_for):
        yield "does not say which system it needs"
    for needed in commands.oldest:
        if version(needed) > version(oldest):
            yield f"needs system {needed}, and {oldest} is promised"
    for library in sorted(commands.loads):
        if not library.startswith(SYSTEM):
            yield f"needs {library}, which does not come with the system"


class Bundle:
    def __init__(self, otool, path):
        self.otool, self.path = otool, os.path.realpath(path)
        with open(os.path.join(path, "Contents/Info.plist"), "rb") as file:
            self.oldest = plistlib.load(file)["LSMinimumSystemVersion"]
        self.programs = os.path.join(self.path, "Contents/MacOS")
        self.program_search = [self.place(folder, program) for program in self.files()
                               if os.path.dirname(program) == self.programs
                               for folder in LoadCommands(otool, program).search]

    def violations(self):
        count = 0
        for path in self.files():
            count += 1
            for violation in self.violations_of(path):
                yield f"{os.path.relpath(path, self.path)}: {violation}"
        if count == 0:
            yield "no program in it"

    def files(self):
        for folder, _, names in os.walk(self.path):
            for path in (os.path.join(folder, name) for name in sorted(names)):
                if os.path.islink(path):
                    continue
                with open(path, "rb") as file:
                    if file.read(4) in MAGICS:
                        yield path

    def violations_of(self, path):
        commands = LoadCommands(self.otool, path)
        if not commands.oldest:
            yield "does not say which system it needs"
        for needed in commands.oldest:
            if version(needed) > version(self.oldest):
                yield f"needs system {needed}, and the bundle says {self.oldest}"
        for folder in commands.search:
            if not folder.startswith(("@", *SYSTEM)):
                yield f"looks for libraries in {folder}, outside of the bundle"
        for library in sorted(commands.loads):
            if not library.startswith(SYSTEM) and not self.brings(library, path, commands.search):
                yield f"needs {library}, which is not in the bundle"

    def brings(self, library, loader, search):
        places = [self.place(library, loader)]
        if library.startswith("@rpath/"):
            # The search paths of the programs also apply to the libraries that they load.
            folders = [self.place(folder, loader) for folder in search] + self.program_search
            places = [folder + library.removeprefix("@rpath") for folder in folders]
        return any(os.path.realpath(place).startswith(self.path + "/") and os.path.isfile(place)
                   for place in places)

    def place(self, path, loader):
        return path.replace("@executable_path", self.programs).replace("@loader_path",
                                                                      os.path.dirname(loader))


parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
parser.add_argument("--otool", default="otool")
parser.add_argument("--oldest", help="the oldest system that a program by itself runs on")
parser.add_argument("path")
arguments = parser.parse_args()
if arguments.oldest:
    found = list(violations_of_program(arguments.otool, arguments.path, arguments.oldest))
else:
    found = list(Bundle(arguments.otool, arguments.path).violations())
print("\n".join(found), end="\n" if found else "")
sys.exit(bool(found))
