"""The parts that need Wine, each in a prefix of its own: many rounds, kills at random moments, and a small disk."""
import os
import random
import resource
import shutil
import signal
import statistics
import subprocess
import sys
import time
from pathlib import Path

from exceptions import FOR_GOOD, RUN, report
from judge import odd_items
from lab import PRODUCT, UNINSTALL, WINDOWS, Prefix

FOLDER = PRODUCT[3:].replace('\\', '/')
INSTALL, EARLIER = (rf'C:\{folder}\setup.exe -s -autostart' for folder in ('Package', 'Earlier'))
# The update needs more space for these than the earlier version.
GROWN_FILES = ('QtvApp8.exe', 'QtvApp8Man.chm', 'runtime9.dll', 'ThumbQvi32.dll', 'Samples/meadow.bmp')


def new_machine(work):
    """A prefix with both packages, and files of the user next to where setup works."""
    machine = Prefix(work / 'home')
    for name, source in (('Package', 'package'), ('Earlier', 'package-earlier')):
        shutil.copytree(WINDOWS / source, machine.drive / name)
    for name in GROWN_FILES:
        with open(machine.drive / 'Package' / name, 'ab') as grown:
            grown.write(b'grown' * 8000)
    for path in ('Program Files/other.txt', 'users/Public/mine.txt'):
        (machine.drive / path).write_text('of the user')
    return machine


# ---- rounds: install, update, uninstall and restart, again and again in one prefix: nothing may grow ----

# Before that round Wine and the shell still make folders, keys and files of their own.
SETTLED_ROUND, COMPARED_ROUNDS = 3, 10
# The processor's time of a round varies with the load of the machine by about a fifth.
ALLOWED_GROWTH, ALLOWED_MORE_FILES = 1.5, 2
# The later manifest doesn't know this file of the earlier package, so that it stays.
STAYS = {'C:\\Program Files\\Qantivo 8\\', 'C:\\Program Files\\Qantivo 8\\presets.dat'}
STEPS = {'install': ('run', EARLIER + ' -allusers'), 'update': ('run', r'C:\Package\setup.exe -s'),
         'uninstall': ('run', UNINSTALL), 'restart': ('restart', None)}


def one_round(machine):
    """Returns the state after each step, and what the round costs without the looks at the machine."""
    folder = Path(f'/proc/{next(pid for pid, line in machine.processes().items() if "wineserver" in line)}')

    def processor_seconds():
        fields = (folder / 'stat').read_text().rpartition(')')[2].split()
        children = resource.getrusage(resource.RUSAGE_CHILDREN)
        return (int(fields[11]) + int(fields[12])) / os.sysconf('SC_CLK_TCK') + children.ru_utime + children.ru_stime

    states, wall, processor = {}, 0.0, 0.0
    for step, (name, command) in STEPS.items():
        started, seconds = time.monotonic(), processor_seconds()
        machine.lab(name, command=command)
        wall, processor = wall + time.monotonic() - started, processor + processor_seconds() - seconds
        states[step] = machine.state()
    memory = next(int(line.split()[1]) for line in (folder / 'status').read_text().splitlines() if 'RssAnon:' in line)
    return states, (wall, processor, len(os.listdir(folder / 'fd')), memory, len(machine.processes()))


def rounds(machine, quick, _):
    count = 4 if quick else 100
    machine.begin()
    before = machine.state()
    settled, trials, history = None, [], []
    for number in range(1, count + 1):
        states, costs = one_round(machine)
        history.append(costs)
        problems = []
        if number == min(SETTLED_ROUND, count - 1):
            settled = states
            # The comparison of rounds would not notice that all of them do nothing.
            if len(odd_items(RUN, before, states['install'])) < 50 or len(odd_items(RUN, states['install'], states['update'])) < 3:
                problems.append((RUN, 'the installs', 'change too little'))
            problems += [problem for problem in odd_items(FOR_GOOD, states['restart'], before)
                         if 'Qantivo' in problem[1] and problem[1] not in STAYS and problem[2] != 'gone']
        elif settled:
            problems = [problem for step in states for problem in odd_items(FOR_GOOD, states[step], settled[step])]
        trials.append(('rounds', 'round', 'wine:', f'round {number}', problems))
    early, late = history[SETTLED_ROUND - 1:][:COMPARED_ROUNDS] or history, history[-COMPARED_ROUNDS:]
    wall, processor, files, memory, processes = (
        [statistics.median(row[column] for row in part) for part in (early, late)] for column in range(5))
    print(f'rounds: a round at the start and at the end: {wall[0]:.1f} and {wall[1]:.1f} s, {processor[0]:.2f} and '
          f'{processor[1]:.2f} s of processor time; the server has {files[0]:.0f} and {files[1]:.0f} open files, '
          f'{memory[0]:.0f} and {memory[1]:.0f} kB')
    growth = (processor[1] > ALLOWED_GROWTH * processor[0] or files[1] > files[0] + ALLOWED_MORE_FILES
              or memory[1] > ALLOWED_GROWTH * memory[0] or processes[1] > processes[0])
    grows = growth and len(history) >= 2 * COMPARED_ROUNDS
    if grows:
        print('rounds: a round takes longer at the end, or the server has more open files, memory or processes')
    return report(trials, 'wine:', False) and not grows


# ---- kills: `kill -9` at random moments of an install; a second run and a restart leave the undisturbed machine ----

UNDISTURBED_RUNS = 3
# A program begins suspended. If its parent is killed before it lets it run, it waits until the machine is ended.
ORPHAN_SECONDS = 10


def orphans(machine, known):
    """Waits for what a killed program had started. Returns how many never end."""
    end = time.monotonic() + ORPHAN_SECONDS
    while (left := machine.processes().keys() - known) and time.monotonic() < end:
        time.sleep(0.02)
    return len(left)


def kills(machine, quick, seed):
    count, chance, clean, command = 4 if quick else 100, random.Random(seed), machine.home.parent / 'clean', INSTALL.split()
    machine.save(clean)

    def after(runs):
        """The machine after a restart. The programs that a killed one left may still run beside the second run."""
        late = [machine.run(INSTALL) for _ in range(runs)]
        machine.restart()
        return machine.state(), [(RUN, 'a later run', text) for text in late if text]

    seconds = []
    for _ in range(UNDISTURBED_RUNS):
        machine.restore(clean)
        started = time.monotonic()
        machine.start(*command).wait()
        seconds.append(time.monotonic() - started)
    machine.restore(clean)
    once, _ = after(1)
    machine.restore(clean)
    expected, _ = after(2)
    length = statistics.median(seconds)
    trials = [('undisturbed', 'install', 'wine:', 'two undisturbed runs', odd_items(FOR_GOOD, once, expected))]
    killed, left_over = 0, 0
    for attempt in range(1, 3 * count + 11):
        if killed == count:
            break
        machine.restore(clean)
        before, moment = machine.processes().keys(), chance.uniform(0, length)
        program = machine.start(*command)
        time.sleep(moment)
        program.send_signal(signal.SIGKILL)
        if program.wait() != -signal.SIGKILL:
            continue  # It had ended before.
        left_over += orphans(machine, before)
        killed += 1
        now, problems = after(1)
        trials.append(('install', 'install', 'wine:', f'attempt {attempt} of seed {seed}, killed after {moment:.3f} s',
                       problems + odd_items(FOR_GOOD, now, expected)))
    if killed < count:
        trials.append(('install', 'install', 'wine:', 'all', [(RUN, 'installs', f'only {killed} could be killed')]))
    print(f'kills: {killed} installs of {length:.2f} s killed at a random moment; {left_over} programs were left suspended')
    return report(trials, 'wine:killed:', False)


# ---- space: the machine is on a small file system in a mount namespace of its own ----

# For an update and an uninstall: an update needs ten pages for each grown file, an uninstall 75 for its copy.
FEW_PAGES = (0, 1, 2, 3, 4, 8, 10, 15, 20, 25, 30, 35, 40, 45, 50, 52, 54, 56, 60, 74, 75, 76, 80)
INSIDE = 'QTV_PROVE_INSIDE'
PAGE, PLENTY = os.sysconf('SC_PAGE_SIZE'), 1 << 30
# What a job writes. All else belongs to others and must not change.
PRODUCTS = ('Qantivo', '\\uni*.tmp', 'QtvApp8.exe', 'Lorvanta', 'QV8.Document', '{5E0C2B7A-8D41-4F69-9C3B-71A6D2E48F15}', 'mark: ', 'log: ')


def enter_namespace():
    """Starts this program again in a mount namespace of its own, where it can have one."""
    for options in (['-m'], ['-Urm']) if INSIDE not in os.environ and shutil.which('unshare') else ():
        command = ['unshare', *options, '--propagation', 'private']
        if subprocess.run([*command, 'mount', '-t', 'tmpfs', 'none', '/mnt'], stderr=subprocess.DEVNULL, check=False).returncode == 0:
            os.environ[INSIDE] = 'yes'
            os.execvp(command[0], [*command, sys.executable, *sys.argv])


def mount(*arguments):
    subprocess.run(['mount', *map(str, arguments)], check=True)


def make_disk(machine):
    """The disk holds the prefix without the folder of Windows, which stays where it is."""
    windows, kept, new = machine.drive / 'windows', machine.home.parent / 'windows', machine.home.parent / 'new'
    machine.save(new)
    kept.mkdir()
    mount('--bind', windows, kept)
    mount('-t', 'tmpfs', '-o', f'size={PLENTY}', 'none', machine.home)
    machine.prefix.joinpath('drive_c/windows').mkdir(parents=True)
    mount('--bind', kept, windows)
    machine.restore(new)


def leave_space(machine, pages=None):
    """Without a number, there is plenty."""
    status = os.statvfs(machine.home)
    used = (status.f_blocks - status.f_bfree) * status.f_frsize
    mount('-o', f'remount,size={PLENTY if pages is None else used + pages * PAGE}', machine.home)


def limits(machine):
    """Pages of space at which something changes: each file fits, or only its first half."""
    found, pages = {0}, 0
    files = filter(Path.is_file, (machine.drive / FOLDER).rglob('*'))
    for path in sorted(files, key=lambda path: path.stat().st_ctime_ns):
        size = -(-path.stat().st_size // PAGE)
        found |= {pages + size // 2, pages + size}
        pages += size
    return sorted(found | {pages + more for more in (1, 2, 4, 8)})


def try_job(machine, name, saved, command, sizes):
    """One job from a saved machine, without a limit and then at each one. Returns the trials."""
    def begin():
        leave_space(machine)
        machine.restore(saved)

    def again():
        """With space again: a restart, a second run, a restart."""
        leave_space(machine)
        machine.restart()
        if command != UNINSTALL or (machine.drive / FOLDER / 'QtvUnInst.exe').exists():
            machine.run(command)
        machine.restart()
        return machine.state()

    begin()
    before = machine.state()
    machine.run(command)
    after, expected, trials = machine.state(), again(), []
    for pages in sizes:
        begin()
        leave_space(machine, pages)
        late = machine.run(command)
        odd = odd_items(FOR_GOOD, machine.state(), before, after)
        problems = [(RUN, 'the run', late)] if late else []
        problems += [problem for problem in odd if not any(part in problem[1] for part in PRODUCTS)]
        trials.append((name, name, 'wine:', f'{pages} pages of space', problems + odd_items(FOR_GOOD, again(), expected)))
    return trials


def space(machine, quick, _):
    """Where the namespace is refused, nothing is tested."""
    if INSIDE not in os.environ:
        print('space: *** The full disk was NOT tested: a mount namespace is refused. ***')
        return True
    make_disk(machine)
    work = machine.home.parent
    machine.save(work / 'clean')
    for name, command in (('earlier', EARLIER), ('installed', INSTALL)):
        machine.restore(work / 'clean')
        machine.run(command)
        machine.save(work / name)
    trials, sizes = [], {'install': limits(machine), 'update': FEW_PAGES, 'uninstall': FEW_PAGES}
    for name, saved, command in (('install', 'clean', INSTALL), ('update', 'earlier', INSTALL), ('uninstall', 'installed', UNINSTALL)):
        trials += try_job(machine, name, work / saved, command, sizes[name][len(sizes[name]) // 2:][:1] if quick else sizes[name])
    return report(trials, 'wine:space:', False)


def under_wine(part, work, options):
    """Runs one of the parts in the folder. Returns whether all is as promised."""
    machine = new_machine(work)
    try:
        return part(machine, options.quick, options.seed or 1)
    finally:
        machine.end()
        if part is space and INSIDE in os.environ:
            for mounted in (machine.drive / 'windows', machine.home, work / 'windows'):
                subprocess.run(['umount', mounted], check=False, stderr=subprocess.DEVNULL)
        for line in machine.complaints.read_text(errors='replace').splitlines():
            print(f'{part.__name__}: Wine: {line}')
