#!/usr/bin/env python3
"""Checks that a Mac bundle, or a program by itself, runs wherever it says: reads the load commands of
every program and library in it.

check_load_commands.py [--otool OTOOL] BUNDLE.app
check_load_commands.py [--otool OTOOL] --oldest VERSION PROGRAM

Nothing may need a newer system than the bundle's LSMinimumSystemVersion or VERSION, and everything that
is loaded comes with the system or lies in the bundle. A program by itself is there for both processors.
Prints a line for each offence.

exit status: 0 all as it should be, 1 something is not
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
    """Those that a file is for, as otool calls them."""
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
    """What a file, in any of its architectures, loads, where it looks, and the system it needs."""

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


def offences_of_program(otool, path, oldest):
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

    def offences(self):
        count = 0
        for path in self.files():
            count += 1
            for offence in self.offences_of(path):
                yield f"{os.path.relpath(path, self.path)}: {offence}"
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

    def offences_of(self, path):
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
            # Where the programs look counts for all that they load.
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
    found = list(offences_of_program(arguments.otool, arguments.path, arguments.oldest))
else:
    found = list(Bundle(arguments.otool, arguments.path).offences())
print("\n".join(found), end="\n" if found else "")
sys.exit(bool(found))
