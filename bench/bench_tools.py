"""Trees, timed runs and the table of bench/run."""

import hashlib
import json
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import time
from dataclasses import dataclass

HERE = pathlib.Path(__file__).resolve().parent
GENERATOR_SOURCES = [
    HERE / "mac_folders.cpp",
    HERE / "tree_writer.cpp",
    HERE.parent / "demo/mach_o_image.cpp",
]
DROP_CACHES = pathlib.Path("/proc/sys/vm/drop_caches")


@dataclass
class Run:
    wall: float  # Seconds.
    cpu: float  # Seconds of all threads, in the program and in the system for it.
    peak: int  # Bytes of memory.


@dataclass
class Tree:
    path: pathlib.Path
    files: int  # Without those that a scan leaves out.
    hits: int  # Mach-O files among them.


class Failed(Exception):
    """Something that is measured did not do what it should."""


def can_drop_caches():
    return os.access(DROP_CACHES, os.W_OK)


def drop_caches():
    os.sync()
    DROP_CACHES.write_text("3")


class Bench:
    """Makes the trees and runs the programs."""

    def __init__(self, programs, trees, runs):
        self.programs = programs
        self.trees = trees
        self.runs = runs
        self.output = trees / "output"
        trees.mkdir(parents=True, exist_ok=True)

    def program(self, name):
        return str(self.programs / name)

    def tree(self, files, share=10):
        """Returns a tree with this many files, of which `share` percent are Mach-O; makes it if needed."""
        made_by = hashlib.sha256(b"".join(s.read_bytes() for s in GENERATOR_SOURCES)).hexdigest()
        path = self.trees / f"files-{files}-share-{share}"
        stamp = path.with_suffix(".json")
        known = json.loads(stamp.read_text()) if stamp.exists() and path.exists() else {}
        if known.get("made_by") != made_by:
            print(f"making {path.name} ...", flush=True)
            stamp.unlink(missing_ok=True)
            shutil.rmtree(path, ignore_errors=True)
            command = [self.program("vestigo-make-tree"), path, "--files", files, "--share", share]
            said = subprocess.run(map(str, command), check=True, text=True, stdout=subprocess.PIPE)
            counts = re.fullmatch(r"files (\d+) mach-o (\d+) .*\n", said.stdout)
            known = {"made_by": made_by, "files": int(counts[1]), "hits": int(counts[2])}
            os.sync()
            stamp.write_text(json.dumps(known))
        return Tree(path, known["files"], known["hits"])

    def settled_tree(self, files, share=10):
        """The same, when the files are old enough for a scan to remember them (engine/walk, isSettled)."""
        tree = self.tree(files, share)
        age = time.time() - tree.path.with_suffix(".json").stat().st_mtime
        time.sleep(max(0, 61 - age))
        return tree

    def time(self, command, fine=(0,)):
        """Runs a command once. Its output goes to a file."""
        with open(self.output, "wb") as output:
            begun = time.perf_counter()
            child = subprocess.Popen(list(map(str, command)), stdout=output,
                                     stderr=subprocess.DEVNULL)
            _, status, used = os.wait4(child.pid, 0)
            wall = time.perf_counter() - begun
        child.returncode = os.waitstatus_to_exitcode(status)
        if child.returncode not in fine:
            raise Failed(f"status {child.returncode}: {' '.join(map(str, command))}")
        return Run(wall, used.ru_utime + used.ru_stime, used.ru_maxrss * 1024)

    def compare(self, commands, cold=False, runs=None):
        """Runs the commands alternately and returns a list of runs for each. A command may also be a
        function that returns a run. Without `cold`, the first round fills the caches and does not
        count."""
        results = [[] for _ in commands]
        rounds = runs or self.runs
        for number in range(rounds if cold else rounds + 1):
            for command, result in zip(commands, results):
                if cold:
                    drop_caches()
                if callable(command):
                    run = command()
                else:
                    run = self.time(command, fine=(0, 1) if command[0] == "rg" else (0,))
                if cold or number > 0:
                    result.append(run)
        return results


def median(runs, of="wall"):
    return statistics.median(getattr(run, of) for run in runs)


def ratio(ours, others, of="wall"):
    """The median of the rounds' ratios: in one round, other load on the machine affects both sides."""
    return statistics.median(getattr(a, of) / getattr(b, of) for a, b in zip(ours, others))


class Table:
    """Prints each row as soon as it is known."""

    WIDTHS = (44, 10, 10, 8, 9, 9, 5)

    def __init__(self):
        self.over = 0
        self.line("what", "ours", "other", "ratio", "cpu", "mark", "")

    def line(self, *cells):
        texts = [str(cells[0]).ljust(self.WIDTHS[0])]
        texts += [str(cell).rjust(width) for cell, width in zip(cells[1:], self.WIDTHS[1:])]
        print(" ".join(texts).rstrip(), flush=True)

    def verdict(self, value, mark, at_least):
        if mark is None:
            return "", ""
        good = value >= mark if at_least else value <= mark
        self.over += not good
        return f"{'>=' if at_least else '<='} {mark:g}", "ok" if good else "OVER"

    def against(self, what, ours, others, mark=None):
        """A row with our time as a multiple of the other's."""
        value = ratio(ours, others)
        self.line(what, seconds(median(ours)), seconds(median(others)), f"{value:.2f}",
                  f"{ratio(ours, others, 'cpu'):.2f}", *self.verdict(value, mark, False))

    def faster(self, what, ours, others, mark=None):
        """A row that tells how many times longer the other takes; both times in seconds."""
        value = others / ours
        self.line(what, seconds(ours), seconds(others), f"{value:.1f}x", "",
                  *self.verdict(value, mark, True))

    def amount(self, what, value, unit, limit):
        """A row with a quantity and its limit."""
        self.line(what, f"{value:.1f} {unit}", f"{limit:.1f} {unit}", f"{value / limit:.2f}", "",
                  *self.verdict(value / limit, 1, False))

    def note(self, text):
        print(f"  ({text})", flush=True)


def seconds(value):
    return f"{value:.3f} s" if value < 100 else f"{value:.0f} s"
