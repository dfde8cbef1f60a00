#!/usr/bin/env python3
"""Interrupts a removal of 20 items, a save with an export, and an administrator's clean-up at their
system calls, and prints what became of the items.

    kill_and_fail.py PROGRAM [--quick] [--step removal|plain|save|cleanup|script] [--jobs N]

PROGRAM is removal_steps. For each system call of a step, one run kills the process there (strace's
fault injection), and one run each makes the call fail once with EIO, ENOSPC, EACCES and EINTR. The
step "script" does the same to the shell that runs the clean-up and to what it starts, where the call
ends, or fails, in each of these processes; only every third run is made. The step "plain" is the
removal on a file system that knows no rename without replacing. --quick takes an even
sample of all, a few seconds' worth.

  lost      items that are neither whole in their place nor whole in the Trash with their note,
            things of others that are gone, saved scans and exports that are neither old nor new
  doubled   items that are in two places
  orphans   what is left after the next start and its first save, export and clean-up
  silent    items that stayed, and exports that were not written, without a word. Items that a
            script itself could not move are not reported by design and stand under "left"
  left      items that stayed after a call was interrupted (EINTR), or in a clean-up that failed

Before that each step is done once without an interruption and must bring everything to the disk.

All runs have a file system of their own in memory, and all others are read-only for them, so that
no fault can touch anything of the machine. Where that or tracing is not possible the script says so.

exit status: 0 nothing lost, doubled, orphaned or silent · 1 something was · 77 not possible here
"""
import argparse
import collections
import concurrent.futures
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

ERRORS = ["EIO", "ENOSPC", "EACCES", "EINTR"]
KILL = "signal=KILL"
STEPS = ["removal", "plain", "save", "cleanup", "script"]
QUICK_RUNS = {"removal": 20, "plain": 5, "save": 16, "cleanup": 5, "script": 5}
# Seconds after which a run counts as hanging, also on a machine that is busy.
patience = 300
# Others are done by a step of the program under this name.
DONE_BY = {"plain": "removal", "script": "cleanup"}
NO_RENAME = "renameat2"
# How often a step must bring something to the disk: each note, file and folder of a save.
FLUSHES = {"removal": 20, "save": 5, "cleanup": 4}
# What only ends or waits, or cannot fail.
PASSED_OVER = {"exit_group", "exit", "getpgid", "rt_sigreturn", "restart_syscall"}
# None of these fails in such a way. A close that fails has closed, and the fault would leave open
# what others wait for; a shell that does not wait for mv would go on before it has moved anything.
ONLY_KILLED = {"close", "futex", "wait4"}


def skip(why):
    print(f"kill_and_fail: not possible here: {why}")
    sys.exit(77)


def enter_own_namespace():
    """Runs this again where mounts are its own, with a folder for them; returns that one there."""
    if "KILL_AND_FAIL_PLACE" in os.environ:
        return os.environ["KILL_AND_FAIL_PLACE"]
    options = ["--mount"] if os.geteuid() == 0 else ["--mount", "--map-root-user"]
    if subprocess.run(["unshare", *options, "true"], capture_output=True).returncode != 0:
        skip("no mounts of one's own")
    with tempfile.TemporaryDirectory(prefix="vestigo-faults-") as place:
        again = ["unshare", *options, sys.executable, *sys.argv]
        sys.exit(subprocess.run(again, env={**os.environ, "KILL_AND_FAIL_PLACE": place}).returncode)


def mount_own_disk(place):
    """A new file system in memory; every other one becomes read-only for this namespace."""
    points = [line.split()[4] for line in open("/proc/self/mountinfo")]
    commands = [["mount", "--make-rprivate", "/"],
                ["mount", "-t", "tmpfs", "-o", "mode=755", "faults", place]]
    for command in commands:
        if subprocess.run(command, capture_output=True).returncode != 0:
            skip("no disk of one's own")
    for point in points:
        subprocess.run(["mount", "-o", "remount,bind,ro", point.encode().decode("unicode_escape")],
                       capture_output=True)
    try:
        probe = pathlib.Path(place).parent / "vestigo-faults-probe"
        probe.touch()
        probe.unlink()
    except OSError:
        return pathlib.Path(place)
    skip("the machine's disks stay writable")


def content_of(path):
    """Of an item, the way `prepare` wrote it; None when nothing is there."""
    if path.is_file():
        return path.read_text()
    if path.is_dir():
        return "".join(part.read_text() for part in (path / "Contents/first", path / "second")
                       if part.is_file())
    return None


def end_session(leader, patience):
    """Waits for the processes that this leader has left, and kills them when that takes too long.
    Whether they ended by themselves."""
    end = time.monotonic() + patience
    while any_in_session(leader):
        if time.monotonic() > end:
            os.killpg(leader, signal.SIGKILL)
            return False
        time.sleep(0.02)
    return True


def any_in_session(leader):
    for process in filter(str.isdigit, os.listdir("/proc")):
        try:
            fields = pathlib.Path("/proc", process, "stat").read_text().rpartition(") ")[2].split()
        except OSError:
            continue
        if fields[0] != "Z" and int(fields[3]) == leader:
            return True
    return False


def trace_of(step):
    """Of the clean-up only the program itself: the shell has a step of its own."""
    refusal = f" -e inject={NO_RENAME}:error=EINVAL" if step == "plain" else ""
    return ("strace -qq" if step == "cleanup" else "strace -f -qq") + refusal


class Tree:
    """One worker's folder, made anew for each run."""

    def __init__(self, program, disk, number):
        self.program = program
        self.path = disk / f"worker{number}" / "vestigo-faults-tree"
        self.template = self.path.with_name("template")
        self.path.mkdir(parents=True)
        self.trash = self.path / "data/Trash"
        self.items = {}
        for i in range(16):
            self.items[f"group{i}"] = self.path / f"Applications/App{i}.app"
        for i in range(4):
            self.items[f"left{i}"] = self.path / f"Leftovers/left{i}"
            self.items[f"system{i}"] = (self.path / f"Machine/{i // 2}"
                                        / ["tool.plist", "Old.app"][i % 2])
        made = self.run("prepare")
        if made.returncode != 0:
            sys.exit(f"kill_and_fail: the items could not be made: {made.stdout}{made.stderr}")
        shutil.copytree(self.path, self.template, symlinks=True)

    def renew(self):
        shutil.rmtree(self.path)
        shutil.copytree(self.template, self.path, symlinks=True)

    def run(self, step, strace=(), shell="/bin/sh"):
        environment = {"HOME": str(self.path), "XDG_DATA_HOME": str(self.path / "data"),
                       "TMPDIR": str(self.path / "temporary"), "PATH": "/usr/bin:/bin",
                       "SCRIPT_SHELL": shell, "LC_ALL": "C.UTF-8"}
        # One that was planted on purpose is met here too.
        if fault := os.environ.get("VESTIGO_FAULT"):
            environment["VESTIGO_FAULT"] = fault
        with subprocess.Popen([*strace, self.program, step, str(self.path)], cwd=self.path,
                              env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, start_new_session=True) as started:
            try:
                output, errors = started.communicate(timeout=patience)
            except subprocess.TimeoutExpired:
                end_session(started.pid, 0)
                return subprocess.CompletedProcess(step, 124, "", "it hangs")
        # A script may outlive the program that was killed.
        if not end_session(started.pid, patience):
            return subprocess.CompletedProcess(step, 124, output, "the script hangs")
        return subprocess.CompletedProcess(step, started.returncode, output, errors)

    def interrupted(self, step, call, number, how):
        """One run of a step in which this call ends, or fails, at its given time."""
        self.renew()
        inject = f"{trace_of(step)} -o /dev/null -e inject={call}:{how}:when={number}"
        if step == "script":
            return self.run("cleanup", shell=inject + " /bin/sh")
        return self.run(DONE_BY.get(step, step), strace=inject.split())

    def calls(self, step):
        """Each system call of a step and its number among the calls of that name."""
        self.renew()
        log = self.path.with_name("log")
        trace = f"{trace_of(step)} -o {log}"
        if step == "script":
            ended = self.run("cleanup", shell=trace + " /bin/sh")
        else:
            ended = self.run(DONE_BY.get(step, step), strace=trace.split())
        if ended.returncode != 0:
            sys.exit(f"kill_and_fail: {step} fails by itself: {ended.stdout}{ended.stderr}")
        counts = collections.defaultdict(collections.Counter)
        begun = step == "script"
        found = {}
        for line in log.read_text(errors="replace").splitlines():
            match = re.match(r"(?:(\d+) +)?(\w+)\(", line)
            if not match:
                continue
            process, call = match.groups()
            counts[process][call] += 1
            begun = begun or call == "getpgid"
            if begun and call not in PASSED_OVER and (step, call) != ("plain", NO_RENAME):
                found[call, counts[process][call]] = True
        return list(found)

    def in_place(self, name):
        return content_of(self.items[name]) == name

    def in_trash(self):
        """The content of each entry of the Trash, by its name there."""
        return {entry.name: content_of(entry) for entry in (self.trash / "files").iterdir()}

    def is_noted(self, entry, name):
        note = self.trash / "info" / (entry + ".trashinfo")
        return note.is_file() and f"\nPath={self.items[name]}\n" in note.read_text()

    def lost_and_doubled(self):
        trashed = self.in_trash()
        lost, doubled = [], []
        for name in self.items:
            entries = [entry for entry, content in trashed.items() if content == name]
            places = self.in_place(name) + len(entries)
            if places > 1:
                doubled.append(name)
            if not self.in_place(name) and not any(self.is_noted(e, name) for e in entries):
                lost.append(name)
        for name in ["App3.app", "left2", "tool.plist"]:
            note = self.trash / "info" / (name + ".trashinfo")
            if trashed.get(name) != "other " + name or not note.is_file():
                lost.append("other " + name)
        if not (self.trash / "info/other.trashinfo").is_file():
            lost.append("another program's note")
        if (self.path / "Documents/export.csv").read_text() not in ("old", "new", "next"):
            lost.append("export")
        copy = self.path / "Documents/export.csv.copy"
        if copy.exists() and copy.read_text() != "extra":
            lost.append("copy")
        return lost, doubled

    def orphans(self):
        found = [str(path) for path in self.path.rglob(".vestigo-*")]
        found += [str(path) for path in (self.path / "temporary").iterdir()]
        entries = {entry.name for entry in (self.trash / "files").iterdir()}
        notes = {note.name.removesuffix(".trashinfo") for note in (self.trash / "info").iterdir()}
        found += [f"note of {name}" for name in notes - entries - {"other"}]
        found += [f"{name} without a note" for name in entries - notes]
        known = set(self.items) | {"extra", "other App3.app", "other left2", "other tool.plist"}
        found += [f"empty {name}" for name, content in self.in_trash().items()
                  if content not in known]
        return found

    def silent(self, step, ended):
        """What stayed although the step has come to its end and says that it was done."""
        if ended.returncode != 0:
            return []
        found = []
        groups = [name for name in self.items if name.startswith("group")]
        if step in ("removal", "plain"):
            if "groups done" in ended.stdout:
                found += [name for name in groups if self.in_place(name)]
            found += [f"left{i}" for i in range(4)
                      if f"left{i} done" in ended.stdout and self.in_place(f"left{i}")]
        if step == "cleanup" and "cleanup done" in ended.stdout:
            found += [f"system{i}" for i in range(4) if self.in_place(f"system{i}")]
        written = (self.path / "Documents/export.csv").read_text() == "new"
        if step == "save" and "export done" in ended.stdout and not written:
            found.append("export")
        return found

    def left(self, step):
        kinds = {"removal": ("group", "left"), "save": (),
                 "cleanup": ("system",)}[DONE_BY.get(step, step)]
        return sum(self.in_place(name) for name in self.items if name.startswith(kinds)) \
            if kinds else 0


class Result:
    def __init__(self):
        self.runs = self.left = 0
        self.found = collections.defaultdict(list)

    def add(self, what, where, items):
        self.found[what] += [f"{where}: {item}" for item in items]


def try_one(tree, step, call, number, how):
    where = f"{step} {call}[{number}] {how}"
    ended = tree.interrupted(step, call, number, how)
    result = Result()
    result.runs = 1
    if ended.returncode == 124:
        result.add("silent", where, ["hangs"])
    lost, doubled = tree.lost_and_doubled()
    result.add("lost", where, lost)
    result.add("doubled", where, doubled)
    if how != KILL:
        result.add("silent", where, tree.silent(step, ended))
        if "EINTR" in how or step in ("cleanup", "script"):
            result.left = tree.left(step)
            result.add("left", f"{step} {call} {how}", ["items"] if result.left else [])
    if tree.run("saved").stdout.split()[-1:] == ["unreadable"]:
        result.add("lost", where, ["saved scan"])
    following = tree.run("next")
    if following.returncode != 0 or "failed" in following.stdout:
        result.add("orphans", where, ["the next start: " + following.stdout + following.stderr])
    lost, doubled = tree.lost_and_doubled()
    result.add("lost", where, [f"{name} at the next start" for name in lost])
    result.add("doubled", where, [f"{name} at the next start" for name in doubled])
    result.add("orphans", where, tree.orphans())
    return result


def chosen(calls, step, quick):
    ways = [KILL] + [f"error={error}" for error in ERRORS]
    runs = [(call, number, how) for call, number in calls for how in ways
            if how == KILL or call not in ONLY_KILLED]
    if step == "script":
        runs = runs[::3]
    if quick:
        # A step that is no multiple of the number of ways meets all of them.
        stride = max(len(runs) // QUICK_RUNS[step], 1)
        runs = runs[::stride + (stride % len(ways) == 0)]
    return runs


def measure(trees, step, quick, results):
    calls = trees[0].calls(step)
    runs = chosen(calls, step, quick)
    total = results.setdefault((step, "nothing"), Result())
    flushes = sum(call == "fsync" for call, _ in calls)
    if flushes < FLUSHES.get(step, 0):
        total.add("lost", step, [f"only {flushes} flushes"])
    idle = list(trees)

    def one(run):
        tree = idle.pop()
        try:
            return run, try_one(tree, step, *run)
        finally:
            idle.append(tree)

    with concurrent.futures.ThreadPoolExecutor(len(trees)) as pool:
        for (_, _, how), result in pool.map(one, runs):
            total = results.setdefault((step, "kill" if how == KILL else how[6:]), Result())
            total.runs += 1
            total.left += result.left
            for what, items in result.found.items():
                total.found[what] += items


def report(results):
    columns = ["lost", "doubled", "orphans", "silent"]
    print(f"{'step':8} {'by':7} {'runs':>6} " + " ".join(f"{c:>8}" for c in columns) + "     left")
    for (step, how), result in results.items():
        figures = " ".join(f"{len(result.found[column]):8}" for column in columns)
        print(f"{step:8} {how:7} {result.runs:6} {figures} {result.left:8}")
    for result in results.values():
        for what in columns:
            for item in result.found[what][:20]:
                print(f"{what}: {item}")
        for where, count in collections.Counter(result.found["left"]).most_common(8):
            print(f"left: {where} in {count} runs")
    return any(result.found[what] for result in results.values() for what in columns)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--step", choices=STEPS, action="append")
    parser.add_argument("--jobs", type=int, default=2)
    arguments = parser.parse_args()
    if not shutil.which("strace"):
        skip("strace is missing")
    if subprocess.run(["strace", "-o", "/dev/null", "true"], capture_output=True).returncode != 0:
        skip("strace cannot trace")
    disk = mount_own_disk(enter_own_namespace())
    trees = [Tree(os.path.abspath(arguments.program), disk, i) for i in range(arguments.jobs)]
    results = {}
    for step in arguments.step or STEPS:
        measure(trees, step, arguments.quick, results)
    sys.exit(1 if report(results) else 0)


if __name__ == "__main__":
    main()
