"""Plants faults in the sources, one at a time, and reports which test notices each: most are made by rule, a few are rows of faults.txt.

Nothing in the checkout or in build/host changes. A fault is compiled with the commands of build/host, in a folder of its own, and is
linked before everything else, so that it takes the place of what the libraries hold.
"""

import argparse
import functools
import hashlib
import itertools
import json
import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

sys.dont_write_bytecode = True
import rules

ROOT = pathlib.Path(__file__).resolve().parents[2]
HERE = ROOT / "tools/plant_faults"
BUILD = ROOT / "build/host"  # or another preset of the host
TOOLS = ("common", "package_check", "package_make", "rehearse")
ROOMS = {path.name: path.relative_to(ROOT) for path in
         [*sorted((ROOT / "src").iterdir()), ROOT / "platform/framework", *(ROOT / "tools" / tool for tool in TOOLS)]}
GROUPS = {"program": [room for room in ROOMS if room not in TOOLS], "tools": TOOLS, **{room: [room] for room in ROOMS}}
# The quick programs come first.
PROGRAMS = ("support", "framework", "start_up", "app", "uninstall", "install", "engine", "instances", "wizard", "end_to_end")
SCRIPTS = {"package_make": ["package_make", "package_check"], "rehearse": ["rehearse"]}  # of tests/tools, and what they run
OWN_PROGRAMS = {"app": ("start_up", "app"), "run": ("start_up", "app"), "package_make": ("package_make",), "rehearse": ("tools", "rehearse"),
                **dict.fromkeys(("common", "package_check"), ("tools",))}
# A sample tells whether the tests still notice most faults. It asks only the quick programs of the fault's own room. Survivors are work
# to do, but chance must not stop a change: three of four may survive.
SAMPLE_S, SAMPLE_LEAST, SAMPLE_MAY_SURVIVE = 35, 4, 0.75
# A run hangs if it takes longer, and six times as long as without the fault. On a busy machine a sample leaves out what isn't clear.
HANGS_AFTER_S, SAMPLE_HANGS_AFTER_S = 600, 120
# What stands for a test when a whole program fails.
WHOLE = ("hangs", "crashes", "fails")
WORKERS = len(os.sched_getaffinity(0))


class CantPlant(Exception):
    pass


# ---- which faults ----

def read_rows():
    """The rows of faults.txt by their names."""
    rows, file = {}, ""
    for line in (HERE / "faults.txt").read_text(encoding="utf-8").splitlines():
        if line.startswith("["):
            file = line.strip("[]")
        elif line and not line.startswith("#"):
            name, _, shown = line.partition(": ")
            if name in rows:
                raise CantPlant(f"{name} is there twice")
            rows[name] = row_fault(file, name, shown)
    return rows


def row_fault(file, name, shown):
    old, new = re.sub(r"\{\+.*?\+\}|\[-|-\]", "", shown), re.sub(r"\[-.*?-\]|\{\+|\+\}", "", shown)
    text = (ROOT / file).read_text(encoding="utf-8")
    if text.count(old) != 1 or old == new:
        raise CantPlant(f"{name}: its text is {text.count(old)} times in {file}")
    start = text.index(old)
    return rules.Fault("row", file, name, text.count("\n", 0, start) + 1, start, start + len(old), new, shown)


def read_unseen():
    """The faults that nobody can see, by file, function and changed text, with the reason of each."""
    unseen, where = {}, ""
    for line in (HERE / "unseen.txt").read_text(encoding="utf-8").splitlines():
        if line.startswith(" "):
            unseen[f"{where.partition(': ')[0]}: {' '.join(line.split())}"] = where.partition(": ")[2]
        elif line and not line.startswith("#"):
            where = line
    return unseen


def sources(rooms):
    return [path.relative_to(ROOT).as_posix() for room in rooms for path in sorted((ROOT / ROOMS[room]).glob("*.[ch]*"))
            if not path.stem.endswith("_windows")]


def made_by_rule(files):
    read = {file: rules.Source(file, (ROOT / file).read_text(encoding="utf-8")) for file in sources(ROOMS)}
    groups = rules.same_kind(read.values())
    return [fault for file in files for fault in rules.faults_of(read[file], groups)]


def changed_lines(commit):
    diff = git("diff", "-U0", "--no-ext-diff", commit, "--", *map(str, ROOMS.values()))
    changed, file = set(), ""
    for line in diff.splitlines():
        if line.startswith("+++ b/"):
            file = line[6:]
        elif match := re.match(r"@@ -\S+ \+(\d+)(?:,(\d+))? @@", line):
            first, count = int(match[1]), int(match[2] or 1)
            changed.update((file, number) for number in range(first, first + count))
    return changed


def git(*arguments):
    done = subprocess.run(["git", *arguments], cwd=ROOT, capture_output=True, text=True, check=False)
    if done.returncode:
        raise CantPlant(done.stderr.strip())
    return done.stdout


def in_turn(faults, seed):
    """The faults in an order that the seed chooses: one of each rule, then the next of each rule; one fault of a line."""
    def drawn(fault):
        return hashlib.sha256(f"{seed} {fault.key}".encode()).digest()
    lines, by_rule = set(), {}
    for fault in sorted(faults, key=drawn):
        by_rule.setdefault(fault.rule, []).append(fault)
    order = []
    for one_of_each in itertools.zip_longest(*(by_rule[rule] for rule in sorted(by_rule))):
        for fault in one_of_each:
            if fault and (fault.file, fault.line) not in lines:
                lines.add((fault.file, fault.line))
                order.append(fault)
    return order


# ---- how they are built ----

def ninja(*arguments):
    return subprocess.run(["ninja", "-C", BUILD, "-t", *arguments], check=True, capture_output=True, text=True).stdout


class Graph:
    """What build/host builds, from which files and with which commands."""

    def __init__(self):
        self.compile = {entry["output"]: entry for entry in json.loads(ninja("compdb")) if " -c " in entry["command"]}
        self.depends, output = {}, ""
        for line in ninja("deps").splitlines():
            if line and not line.startswith(" "):
                output = line.split(":")[0]
            elif line:
                self.depends.setdefault(os.path.normpath(BUILD / line.strip()), set()).add(output)

    @functools.cache
    def link(self, target):
        """The command that links a target, and what it links: objects, and members of its libraries."""
        command = ninja("commands", "-s", target).strip()
        libraries = [word for word in command.split() if word.endswith(".a") and not os.path.isabs(word)]
        return command, {word for part in (target, *libraries) for word in ninja("commands", "-s", part).split()}

    def objects_of(self, file):
        path = str(ROOT / file)
        return {output for output, entry in self.compile.items() if entry["file"] == path} | self.depends.get(path, set())


def end_processes(folder):
    """Ends what still runs for a fault in that folder. A program under test may have started others and left them."""
    for process in pathlib.Path("/proc").glob("[0-9]*/environ"):
        try:
            if f"\0QTV_PLANTED={folder}".encode() in b"\0" + process.read_bytes():
                os.kill(int(process.parent.name), signal.SIGKILL)
        except OSError:
            pass


class Worker:
    """A folder like build/host, in which a fault is built and tested. It holds links to build/host, but for what has the fault."""

    def __init__(self, graph, folder, hangs_after):
        self.graph, self.folder, self.hangs_after = graph, pathlib.Path(folder), hangs_after
        self.bin, self.over = self.folder / "bin", self.folder / "over"
        self.bin.mkdir()
        for entry in BUILD.iterdir():
            if entry.name != "package":
                (self.bin / entry.name).symlink_to(entry)
        shutil.copytree(BUILD / "package", self.bin / "package")

    def run(self, command, **variables):
        """The output and exit code of a command. Nothing that it started stays, even if it takes too long."""
        environment = dict(os.environ, QTV_PLANTED=str(self.folder), **variables)
        with tempfile.TemporaryFile() as output, subprocess.Popen(
                command, cwd=BUILD / "tests", env=environment, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT,
                start_new_session=True) as process:
            try:
                code = process.wait(self.hangs_after)
            except subprocess.TimeoutExpired:
                code = None
                process.kill()
            end_processes(self.folder)
            output.seek(0)
            return output.read().decode(errors="replace"), code

    def prepare(self, fault):
        """Writes the sources with the fault."""
        shutil.rmtree(self.over, ignore_errors=True)
        own = self.over / fault.file
        shutil.copytree((ROOT / fault.file).parent, own.parent)
        text = (ROOT / fault.file).read_text(encoding="utf-8")
        own.write_text(text[:fault.start] + fault.new + text[fault.end:], encoding="utf-8")

    def compile(self, fault, output, made):
        """False if it doesn't compile."""
        entry = self.graph.compile[output]
        source, command = entry["file"], re.sub(r" -M\w+( -MT \S+ -MF \S+)?", "", entry["command"])
        if source == str(ROOT / fault.file):
            own = str(self.over / fault.file)
        else:  # Joined sources, or a source that includes the file.
            own = str(self.folder / "joined.cpp")
            text = pathlib.Path(source).read_text(encoding="utf-8")
            pathlib.Path(own).write_text(text.replace(str(ROOT / fault.file), str(self.over / fault.file)) if "/Unity/" in source
                                         else f'#include "{source}"\n', encoding="utf-8")
        command = command.replace(f" -c {source}", f" -w -g0 -c {own}").replace(f" -o {output}", f" -o {made}")
        if fault.file.endswith(".h"):
            # The precompiled header holds the file as it was.
            command = re.sub(r" (-Xclang )?-include(-pch)? (-Xclang )?\S+/cmake_pch\.hxx(\.pch)?(?= )", "", command)
        include = " ".join(f"-I{self.over / folder}" for folder in ("src", "tools", "platform/framework"))
        command = command.replace(" -I", f" {include} -I", 1)
        return self.run(["/bin/sh", "-c", f"cd {BUILD} && {command}"])[1] == 0

    def link(self, target, objects):
        """Links a program with the objects of the fault. False if it has no part in it."""
        command, parts = self.graph.link(target)
        concerned = {output: made for output, made in objects.items() if output in parts}
        if not concerned:
            return False
        for output, made in concerned.items():
            if made is None:
                raise CantPlant("doesn't compile")
            command = command.replace(f" {output} ", " ")
        command = command.replace(f" -o {target} ", f" -s {' '.join(map(str, concerned.values()))} -o {self.bin / target} ")
        (self.bin / target).unlink(missing_ok=True)
        said, code = self.run(["/bin/sh", "-c", f"cd {BUILD} && {command}"])
        if code:
            raise CantPlant(said)
        return True

    def restore(self, targets):
        for target in targets:
            (self.bin / target).unlink(missing_ok=True)
            (self.bin / target).symlink_to(BUILD / target)
        self.pack(targets)

    def pack(self, targets):
        """Puts the setup program into the package if it is one of the targets."""
        for name in ("setup.exe", "QtvUnInst.exe") if "setup.exe" in targets else ():
            shutil.copyfile(self.bin / "setup.exe", self.bin / "package" / name)

    def noticed(self, program, folder, tests=""):
        """The test of a program that fails; None if none does. `tests` is a filter."""
        if program in SCRIPTS:
            command = [ROOT / f"tests/tools/{program}_test.sh", folder]
        else:
            command = [folder / f"{program}_tests.exe", "--gtest_brief=1", "--gtest_fail_fast"]
            command += [f"--gtest_filter={tests}"] if tests else []
        said, code = self.run(command, QTV_PACKAGE=str(folder / "package"))
        if code == 0:
            return None
        failed = re.search(r"^\[  FAILED  \] ([\w/.]+)(?:,.*)? \(\d+ ms\)$", said, re.MULTILINE)
        return failed[1] if failed else "hangs" if code is None else "fails" if program in SCRIPTS else "crashes"


class Planter:
    def __init__(self, is_sample):
        self.is_sample = is_sample
        self.graph, self.sound, self.errors, self.lock = Graph(), {}, set(), threading.Lock()

    def noticed(self, worker, program):
        """The test of a program that notices the fault: red with it, and not without it."""
        unsound = []
        while test := worker.noticed(program, worker.bin, "-" + ":".join(unsound) if unsound else ""):
            if self.is_sound(worker, program, test):
                return test
            if test in WHOLE:
                raise CantPlant(f"{program} is red at times without a fault")
            unsound.append(test)
        return None

    def is_sound(self, worker, program, test):
        """Whether a test is green without a fault. On a busy machine it may be red at times, and then says nothing."""
        with self.lock:
            if (program, test) in self.sound and test != "hangs":
                return self.sound[program, test]
        red = 0
        for _ in range(3):
            started = time.monotonic()
            if not worker.noticed(program, BUILD, "" if test in WHOLE else test):
                break
            red += 1
        # A run that takes nearly as long without a fault doesn't hang.
        sound = red == 0 and (test != "hangs" or (time.monotonic() - started) * 6 < worker.hangs_after)
        with self.lock:
            self.sound[program, test] = sound
            if red == 3:
                self.errors.add(f"{program} {test}: red without a fault")
        return sound

    def plant(self, worker, fault):
        """What notices the fault, as "PROGRAM TEST"; empty if nothing does."""
        worker.prepare(fault)
        room = pathlib.Path(fault.file).parent.name
        objects, touched = {}, set()
        outputs = sorted(self.graph.objects_of(fault.file))
        programs = OWN_PROGRAMS.get(room, (room,))
        if not self.is_sample:
            programs += ("tools", *SCRIPTS) if room in TOOLS else ("end_to_end", *PROGRAMS)
        targets = {"end_to_end": ["end_to_end_tests.exe", "setup.exe"], "tools": ["tools_tests.exe"], **SCRIPTS}
        try:
            for program in dict.fromkeys(programs):
                needed = targets.get(program, [f"{program}_tests.exe"])
                for target in set(needed) - touched:
                    for number, output in enumerate(outputs):
                        if output in self.graph.link(target)[1] and output not in objects:
                            made = worker.folder / f"{number}.o"
                            objects[output] = made if worker.compile(fault, output, made) else None
                    if worker.link(target, objects):
                        touched.add(target)
                if not touched.intersection(needed):
                    continue
                if program == "end_to_end":
                    worker.pack(touched)
                if test := self.noticed(worker, program):
                    return f"{program} {test}"
            if not touched:
                raise CantPlant("no test program contains it")
            return ""
        finally:
            worker.restore(touched)


# ---- the command ----

def arguments():
    parser = argparse.ArgumentParser(
        prog="scripts/plant_faults.sh", usage="%(prog)s [OPTION...] [NAME...]", description=__doc__.splitlines()[0],
        epilog="example: scripts/plant_faults.sh --room engine --count 40. Without a name of a row, faults are drawn from the rows and "
               "from all that the rules make. The exit code is 1 if one survives, 2 for unusable input.")
    parser.add_argument("--room", choices=GROUPS, metavar="ROOM", help="only faults of one room, or of several: %(choices)s")
    parser.add_argument("--since", metavar="COMMIT", help="one fault in each line that changed since the commit, also in headers")
    parser.add_argument("--count", type=int, default=0, metavar="N", help="how many faults; 100 without --since")
    parser.add_argument("--seed", metavar="TEXT", help="what the draw depends on; the name of the commit")
    parser.add_argument("--sample", nargs="?", const="", metavar="SEED", help="as many as fit in a minute; three of four may survive")
    parser.add_argument("--preset", default="host", choices=("host", "host-asan"), help="which build folder to use")
    parser.add_argument("--list", action="store_true", help="only print the faults")
    parser.add_argument("--check", action="store_true", help="only check that the rows and unseen.txt still apply; needs no build")
    parser.add_argument("names", nargs="*", metavar="NAME", help="rows of faults.txt")
    return parser.parse_args()


def chosen(options):
    rows = read_rows()
    if options.names:
        if unknown := [name for name in options.names if name not in rows]:
            raise CantPlant(f"no such row: {', '.join(unknown)}; there are {', '.join(rows)}")
        return [rows[name] for name in options.names]
    files = set(sources(GROUPS[options.room] if options.room else ROOMS))
    faults = [fault for fault in [*rows.values(), *made_by_rule(sorted(files))] if fault.file in files]
    if not options.since:  # A header is compiled into much, for minutes.
        faults = [fault for fault in faults if not fault.file.endswith(".h")]
    else:
        changed = changed_lines(options.since)
        faults = [fault for fault in faults if (fault.file, fault.line) in changed]
    return in_turn(faults, options.sample or options.seed or git("rev-parse", "HEAD").strip())


def check():
    rows, unseen = read_rows(), read_unseen()
    made = {fault.key for fault in made_by_rule(sorted({key.split()[0] for key in unseen} & set(sources(ROOMS))))}
    for key in unseen:
        if key not in made:
            raise CantPlant(f"unseen.txt: no rule makes this any more: {key}")
    for what, count, most in (("rows", len(rows), 200), ("faults that nobody can see", len(unseen), 40)):
        if count > most:
            raise CantPlant(f"{count} {what}, {most} are allowed")


def build(preset):
    command = 'unset QTV_HOST_BUILD; . scripts/lib.sh; needs host faults && build "$@"'
    targets = [f"{name}_tests" for name in (*PROGRAMS, "tools")]
    subprocess.run(["bash", "-c", command, "plant_faults", preset, *targets, *sum(SCRIPTS.values(), [])], cwd=ROOT, check=True)


def plant_all(faults, wanted, is_sample):
    """Plants faults until as many as wanted compiled, or those of a sample. Returns what notices each, and what can't be trusted."""
    planter, waiting, results, started = Planter(is_sample), queue.SimpleQueue(), {}, time.monotonic()
    for fault in faults:
        waiting.put(fault)
    unseen, lock = read_unseen(), threading.Lock()

    def is_enough():
        planted = len(results)
        return waiting.empty() or (wanted and planted >= wanted) or (
            is_sample and planted >= SAMPLE_LEAST and time.monotonic() - started > SAMPLE_S)

    def work(folder):
        worker = Worker(planter.graph, folder, SAMPLE_HANGS_AFTER_S if is_sample else HANGS_AFTER_S)
        while True:
            with lock:
                if is_enough():
                    return
                fault = waiting.get()
                results[fault] = None
            try:
                noticed = planter.plant(worker, fault)
                said = (f"noticed by {noticed}" if noticed else
                        f"survives, listed: {unseen[fault.key]}" if fault.key in unseen else "SURVIVES")
                with lock:
                    results[fault] = noticed
                    print(f"{fault.name}\n    {said}", flush=True)
            except Exception as error:  # If a worker ended without a message, its faults would not be planted.
                with lock:
                    del results[fault]
                    if fault.rule == "row" or not isinstance(error, CantPlant):
                        planter.errors.add(f"{fault.name}: {error!r}")

    with tempfile.TemporaryDirectory(prefix="plant_faults.", ignore_cleanup_errors=True) as folder:
        workers = [threading.Thread(target=work, args=(tempfile.mkdtemp(dir=folder),), daemon=True) for _ in range(WORKERS)]
        try:
            for worker in workers:
                worker.start()
            for worker in workers:
                worker.join()
        finally:
            end_processes(folder)
    return {fault: noticed for fault, noticed in results.items() if noticed is not None}, sorted(planter.errors)


def main():
    started = time.monotonic()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    options = arguments()
    try:
        if options.check:
            check()
            return 0
        faults = chosen(options)
    except CantPlant as error:
        print(f"plant_faults: {error}", file=sys.stderr)
        return 1 if options.check else 2
    wanted = options.count or (0 if options.since or options.names or options.sample is not None else 100)
    if options.list:
        print("\n".join(fault.name for fault in faults[:wanted or None]))
        return 0
    global BUILD
    BUILD = ROOT / "build" / options.preset
    build(options.preset)
    results, errors = plant_all(faults, wanted, options.sample is not None)
    if not results and (faults or not options.since):
        errors.append("nothing was planted")
    unseen = read_unseen()
    survivors = [fault for fault, noticed in results.items() if not noticed]
    unlisted = [fault for fault in survivors if fault.key not in unseen]
    for fault in unlisted:
        print(f"survives: {fault.name}")
    for error in errors:
        print(f"plant_faults: {error}", file=sys.stderr)
    print(f"{len(results)} faults planted, {len(results) - len(survivors)} noticed, {len(survivors)} survive, of which "
          f"{len(survivors) - len(unlisted)} are listed in unseen.txt; {time.monotonic() - started:.0f} s")
    allowed = SAMPLE_MAY_SURVIVE * len(results) if options.sample is not None else 0
    return 1 if errors or len(unlisted) > allowed else 0


if __name__ == "__main__":
    sys.exit(main())
