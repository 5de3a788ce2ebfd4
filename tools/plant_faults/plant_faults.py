"""Plants the faults of the tables in faults/, one at a time, and reports which test notices each one.

Nothing in the checkout changes. Each worker has its own copy of the sources and of build/host; the copy of build/host consists
of hard links. A fault is compiled there with the commands of build/host, and only what depends on its file is built again.
"""

import argparse
import glob
import hashlib
import json
import os
import queue
import re
import shutil
import subprocess
import sys
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUILD = os.path.join(ROOT, "build/host")
WORK = os.path.join(ROOT, "build/plant_faults")
TABLES = os.path.join(ROOT, "tools/plant_faults/faults")
COPIED = ("src", "res", "platform", "tests", "tools", "sample", "cmake")
# Every program that links the code under test. The fast ones come first.
PROGRAMS = ("support", "framework", "start_up", "app", "uninstall", "install", "engine", "instances", "wizard",
            "end_to_end")
OWN_PROGRAMS = {"app": ("start_up", "app"), "res": ("winhost", "app", "wizard")}
COLUMNS = {"file", "is", "becomes", "breaks", "tests", "occurrence"}
HANGS_AFTER_S = 60
SAMPLE_S = 45
# The tests spend more time waiting than computing.
WORKERS = 2 * (os.cpu_count() or 1)


class Fault:
    def __init__(self, room, name, columns):
        self.room = room
        self.name = name
        unknown = columns.keys() - COLUMNS
        if unknown or not columns.keys() >= {"file", "is", "becomes", "breaks"}:
            sys.exit(f"{room}/{name}: unknown or missing columns: {sorted(columns)}")
        self.file = columns["file"]
        self.text = columns["is"]
        self.planted = columns["becomes"]
        self.breaks = columns["breaks"]
        self.occurrence = int(columns.get("occurrence", 0))
        own = columns["tests"].split() if "tests" in columns else OWN_PROGRAMS.get(room, (room,))
        self.programs = list(dict.fromkeys([*own, "end_to_end", *PROGRAMS]))

    def faulty_source(self):
        """Returns the file with the fault in it. Raises LookupError unless the text is there exactly once, or that many times."""
        with open(os.path.join(ROOT, self.file), encoding="utf-8", newline="") as source:
            parts = source.read().split(self.text)
        found = len(parts) - 1
        if found == 0 or self.occurrence > found or (found > 1 and self.occurrence == 0):
            raise LookupError(f"{self.room}/{self.name}: found {found} times in {self.file}: {self.text}")
        place = max(self.occurrence, 1)
        return self.text.join(parts[:place]) + self.planted + self.text.join(parts[place:])


def misplacement(fault):
    """Returns what is wrong with the place of the fault; empty if it can be planted."""
    try:
        fault.faulty_source()
    except (LookupError, OSError) as error:
        return str(error)
    return ""


def read_tables(room):
    faults = []
    for path in sorted(glob.glob(os.path.join(TABLES, (room or "*") + ".faults"))):
        name, columns = None, {}
        table = os.path.splitext(os.path.basename(path))[0]
        with open(path, encoding="utf-8") as lines:
            for line in [*lines, "[]"]:
                line = line.rstrip("\n")
                if line.startswith("["):
                    if name:
                        faults.append(Fault(table, name, columns))
                    name, columns = line.strip("[]"), {}
                elif line and not line.startswith("#"):
                    column, _, value = line.partition(":")
                    columns[column] = value[1:]
    names = [fault.name for fault in faults]
    twice = {name for name in names if names.count(name) > 1}
    if twice or not faults:
        sys.exit(f"no faults, or a name is used twice: {sorted(twice)}")
    return faults


def ninja(*arguments):
    return subprocess.run(["ninja", "-C", BUILD, "-t", *arguments], check=True, capture_output=True, text=True).stdout


class Graph:
    """What build/host builds, from which files and with which commands."""

    def __init__(self):
        self.compile = {entry["output"]: entry for entry in json.loads(ninja("compdb")) if " -c " in entry["command"]}
        self.depends = {}
        output = None
        for line in ninja("deps").splitlines():
            if line and not line.startswith(" "):
                output = line.split(":")[0]
            elif line:
                path = os.path.normpath(os.path.join(BUILD, line.strip()))
                self.depends.setdefault(path, set()).add(output)
        self.commands = {}
        self.lock = threading.Lock()

    def command(self, output):
        with self.lock:
            if output not in self.commands:
                self.commands[output] = ninja("commands", "-s", output).strip()
            return self.commands[output]

    def objects_of(self, file):
        path = os.path.join(ROOT, file)
        return {out for out, entry in self.compile.items() if entry["file"] == path} | self.depends.get(path, set())


class DoesNotCompile(Exception):
    pass


class Worker:
    def __init__(self, number, graph):
        self.graph = graph
        self.folder = os.path.join(WORK, str(number))
        self.tree = os.path.join(self.folder, "tree")
        self.build = os.path.join(self.folder, "build")
        shutil.rmtree(self.folder, ignore_errors=True)
        os.makedirs(self.tree)
        for name in COPIED:
            shutil.copytree(os.path.join(ROOT, name), os.path.join(self.tree, name))
        ignored = shutil.ignore_patterns("machines", "rehearsals", "Testing")
        shutil.copytree(BUILD, self.build, copy_function=os.link, symlinks=True, ignore=ignored)
        self.touched = set()

    def here(self, command):
        return command.replace(BUILD, self.build).replace(ROOT + "/", self.tree + "/").replace(
            self.tree + self.build[len(ROOT):], self.build)

    def run(self, output, command):
        """Runs a command of build/host in the copy. Its output is unlinked first, because it may be a hard link."""
        path = os.path.join(self.build, output)
        if os.path.lexists(path):
            os.unlink(path)
        self.touched.add(output)
        done = subprocess.run(self.here(command), shell=True, cwd=self.build, capture_output=True, text=True,
                              check=False)
        if done.returncode != 0:
            raise DoesNotCompile(done.stdout + done.stderr)

    def compile_objects(self, objects):
        for output in sorted(objects):
            command = re.sub(r" -MD -MT \S+ -MF \S+", " -w", self.graph.compile[output]["command"])
            self.run(output, command)

    def make_resources(self, target):
        """Resources are made by a custom command, and an assembler file contains the path of the result."""
        folder, name = ("", "setup") if target == "setup.exe" else ("tests/", target.removesuffix(".exe"))
        compiled = f"{folder}{name}.res"
        self.run(compiled, self.graph.command(compiled).splitlines()[-1])
        stub = f"{folder}{name}.res.S"
        with open(os.path.join(BUILD, stub), encoding="utf-8") as original:
            text = original.read()
        self.run(stub, "true")
        with open(os.path.join(self.build, stub), "w", encoding="utf-8") as copy:
            copy.write(self.here(text))
        self.compile_objects([f"{folder}CMakeFiles/{name}.dir/{stub.removeprefix('tests/')}.o"])

    def make(self, target, fault, objects, made):
        if target in made:
            return
        made.add(target)
        link = self.graph.command(target)
        if fault.file.startswith("res/") and not fault.file.endswith(".h"):
            self.make_resources(target)
        needed = {part for part in link.split() if part.endswith(".o") or part.endswith(".a")}
        for archive in sorted(part for part in needed if part.endswith(".a")):
            command = self.graph.command(archive)
            members = objects & set(command.split())
            if members and archive not in made:
                made.add(archive)
                self.compile_objects(members - made)
                made.update(members)
                self.run(archive, command)
        own = (objects & needed) - made
        self.compile_objects(own)
        made.update(own)
        self.run(target, link)

    def make_package(self, fault, objects, made):
        self.make("setup.exe", fault, objects, made)
        for name in ("package/setup.exe", "package/QtvUnInst.exe"):
            self.run(name, f"cp setup.exe {name}")

    def test(self, room, stop_at_first):
        """The tests that failed; "(hang)" or "(crash)" stands for the whole program."""
        program = os.path.join(self.build, f"{room}_tests.exe")
        environment = dict(os.environ, QTV_PACKAGE=os.path.join(self.build, "package"))
        arguments = [program, "--gtest_brief=1", *(["--gtest_fail_fast"] if stop_at_first else [])]
        process = subprocess.Popen(arguments, cwd=os.path.join(self.build, "tests"), env=environment, text=True,
                                   errors="replace", stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, start_new_session=True)
        try:
            output = process.communicate(timeout=HANGS_AFTER_S)[0]
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, 9)
            process.communicate()
            return [f"{room} (hang)"]
        if process.returncode == 0:
            return []
        failed = re.findall(r"^\[  FAILED  \] ([\w/.]+)(?:,.*)? \(\d+ ms\)$", output, re.MULTILINE)
        return [f"{room} {name}" for name in failed] or [f"{room} (crash)"]

    def plant(self, fault, stop_at_first):
        """Returns the names of the tests that noticed the fault. Afterwards the copy is as before."""
        objects = self.graph.objects_of(fault.file)
        path = os.path.join(self.tree, fault.file)
        try:
            with open(path, "w", encoding="utf-8", newline="") as source:
                source.write(fault.faulty_source())
            noticed, made = [], set()
            for room in fault.programs:
                if room == "end_to_end":
                    self.make_package(fault, objects, made)
                self.make(f"{room}_tests.exe", fault, objects, made)
                noticed += self.test(room, stop_at_first)
                if noticed and stop_at_first:
                    break
            return noticed
        finally:
            shutil.copyfile(os.path.join(ROOT, fault.file), path)
            for output in self.touched:
                copy = os.path.join(self.build, output)
                if os.path.lexists(copy):
                    os.unlink(copy)
                os.link(os.path.join(BUILD, output), copy)
            self.touched.clear()


def all_tests():
    tests = []
    for room in PROGRAMS:
        listed = subprocess.run([os.path.join(BUILD, f"{room}_tests.exe"), "--gtest_list_tests"], check=True,
                                capture_output=True, text=True).stdout
        suite = ""
        for line in listed.splitlines():
            word = line.split("#")[0].strip()
            if not line.startswith(" ") and word.endswith("."):
                suite = word
            elif line.startswith("  "):
                tests.append(f"{room} {suite}{word}")
    return tests


def print_useless(noticed_by):
    only = {tests[0] for tests in noticed_by if len(tests) == 1}
    ever = {test for tests in noticed_by for test in tests}
    tests = all_tests()
    print("\nTests that notice no fault:")
    print("\n".join("  " + test for test in tests if test not in ever))
    print("\nTests that are never the only one to notice a fault:")
    print("\n".join("  " + test for test in tests if test in ever - only))


def head():
    done = subprocess.run(["git", "rev-parse", "HEAD"], cwd=ROOT, capture_output=True, text=True, check=False)
    return done.stdout.strip() or "0"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--room", help="plant the faults of this table only")
    parser.add_argument("--sample", nargs="?", const="", metavar="HASH",
                        help="plant as many as fit in a minute, chosen from the hash; without one, the commit's")
    parser.add_argument("--check", action="store_true",
                        help="only check that the text of each fault is in its file; needs no build")
    parser.add_argument("--useless", action="store_true", help="list the tests that are never the only one to notice a fault")
    parser.add_argument("names", nargs="*", metavar="NAME")
    options = parser.parse_args()

    faults = read_tables(options.room)
    if options.names:
        unknown = set(options.names) - {fault.name for fault in faults}
        if unknown:
            sys.exit(f"no such fault: {sorted(unknown)}")
        faults = [fault for fault in faults if fault.name in options.names]
    misplaced = [error for error in map(misplacement, faults) if error]
    if misplaced:
        sys.exit("\n".join(misplaced))
    if options.check:
        return 0
    started = time.monotonic()
    if options.sample is not None:
        chosen = options.sample or head()
        print(f"sample {chosen}")
        faults.sort(key=lambda fault: hashlib.sha256((chosen + fault.name).encode()).digest())

    graph = Graph()
    waiting = queue.SimpleQueue()
    for fault in faults:
        waiting.put(fault)
    lock = threading.Lock()
    noticed_by, survivors, errors = [], [], []

    def work(number):
        worker = Worker(number, graph)
        while options.sample is None or time.monotonic() - started < SAMPLE_S:
            try:
                fault = waiting.get_nowait()
            except queue.Empty:
                return
            try:
                noticed = worker.plant(fault, not options.useless)
                result = ", ".join(noticed) or "SURVIVES"
            except DoesNotCompile as error:
                noticed, result = None, f"DOES NOT COMPILE\n{error}"
            except Exception as error:  # If a worker ended without a message, its faults would not be planted.
                noticed, result = None, f"CAN'T BE PLANTED: {error!r}"
            with lock:
                print(f"{fault.room}/{fault.name}: {result}", flush=True)
                if noticed is None:
                    errors.append(fault)
                else:
                    noticed_by.append(noticed)
                    if not noticed:
                        survivors.append(fault)

    workers = [threading.Thread(target=work, args=(number,)) for number in range(WORKERS)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()

    if options.useless:
        print_useless(noticed_by)
    for fault in survivors:
        print(f"survives: {fault.room}/{fault.name} ({fault.file}): {fault.breaks}")
    print(f"{len(noticed_by) + len(errors)} of {len(faults)} faults planted, {len(survivors)} survive, "
          f"{len(errors)} can't be planted, {time.monotonic() - started:.0f} s")
    return 1 if survivors or errors else 0


if __name__ == "__main__":
    sys.exit(main())
