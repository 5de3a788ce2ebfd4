"""A full disc: the machine is on a small file system in a mount namespace of its own, and the room on it is limited."""
import os
import shutil
import subprocess
import sys
from collections import Counter

from machine import INSTALL_FOLDER, UNINSTALLER, bring_packages, differences, is_known

# For an update and an uninstall: an update needs ten pages for each grown file, an uninstall 75 for its copy.
FEW_PAGES = (0, 1, 2, 3, 4, 8, 10, 15, 20, 25, 30, 35, 40, 45, 50, 52, 54, 56, 60, 74, 75, 76, 80)
INSIDE = 'QTV_SOAK_INSIDE'
PAGE = os.sysconf('SC_PAGE_SIZE')
PLENTY = 1 << 30
INSTALL = (r'C:\Package\setup.exe', '-s', '-autostart')
EARLIER = (r'C:\Earlier\setup.exe', '-s', '-autostart')
# What a job writes. All else belongs to others and must not change.
PRODUCTS = ('Qantivo', '\\uni*.tmp', 'QtvApp8.exe', 'Lorvanta', 'QV8.Document', '{5E0C2B7A-8D41-4F69-9C3B-71A6D2E48F15}',
            'mark ')


def enter_namespace():
    """Starts this program again in a namespace of its own. Returns whether it is in one."""
    if INSIDE not in os.environ and shutil.which('unshare'):
        for options in (['-m'], ['-Urm']):
            command = ['unshare', *options, '--propagation', 'private']
            if subprocess.run([*command, 'mount', '-t', 'tmpfs', 'none', '/mnt'], stderr=subprocess.DEVNULL,
                              check=False).returncode == 0:
                os.environ[INSIDE] = 'yes'
                os.execvp(command[0], [*command, sys.executable, *sys.argv])
    return os.environ.get(INSIDE) == 'yes'


class Disc:
    """The small file system. It holds the prefix without the folder of Windows, which stays where it is."""

    def __init__(self, machine):
        self.home = machine.home
        windows, kept = machine.drive / 'windows', machine.home.parent / 'windows'
        machine.save(machine.home.parent / 'new')
        kept.mkdir(exist_ok=True)
        mount('--bind', windows, kept)
        mount('-t', 'tmpfs', '-o', f'size={PLENTY}', 'none', machine.home)
        machine.restore(machine.home.parent / 'new')
        mount('--bind', kept, windows)

    def used(self):
        status = os.statvfs(self.home)
        return (status.f_blocks - status.f_bfree) * status.f_frsize

    def leave_room(self, pages):
        mount('-o', f'remount,size={self.used() + pages * PAGE}', self.home)

    def leave_plenty(self):
        mount('-o', f'remount,size={PLENTY}', self.home)


def mount(*arguments):
    subprocess.run(['mount', *map(str, arguments)], check=True)


def limits(machine):
    """Pages of room at which something changes: each file fits, or only its first half."""
    paths = [path for path in (machine.drive / INSTALL_FOLDER).rglob('*') if path.is_file()]
    found, pages = {0}, 0
    for path in sorted(paths, key=lambda path: path.stat().st_ctime_ns):
        size = -(-path.stat().st_size // PAGE)
        found |= {pages + size // 2, pages + size}
        pages += size
    return sorted(found | {pages + more for more in (1, 2, 4, 8)})


class Job:
    """One job from a saved machine, without a limit and then at each one."""

    def __init__(self, machine, disc, name, saved, command):
        self.machine, self.disc, self.name, self.saved, self.command = machine, disc, name, saved, command
        self.begin()
        self.before = machine.state()
        machine.run(*command)
        self.after = machine.state()
        self.again()
        self.expected = machine.state()
        self.outcomes = Counter()
        self.known = 0

    def begin(self):
        self.machine.shut_down()
        self.disc.leave_plenty()
        self.machine.restore(self.saved)
        self.machine.start_up()

    def again(self):
        """With room again: a restart, a second run, a restart."""
        self.machine.restart()
        if (self.machine.drive / INSTALL_FOLDER / 'QtvUnInst.exe').exists() or self.name != 'uninstall':
            self.machine.run(*self.command)
        self.machine.restart()

    def at(self, pages):
        """Returns the findings with so much room."""
        self.begin()
        self.disc.leave_room(pages)
        self.machine.run(*self.command)
        now = self.machine.state()
        findings = []
        for item in sorted(self.before.keys() | self.after.keys() | now.keys()):
            if now.get(item) not in (self.before.get(item), self.after.get(item)):
                kind = 'missing' if item not in now else 'half-written'
                self.outcomes[f'{kind}: {item}'] += 1
                if not any(part in item for part in PRODUCTS):
                    findings.append(f'{item} is {kind}: {now.get(item)}')
        self.disc.leave_plenty()
        self.again()
        left = differences(self.expected, self.machine.state())
        self.known += any(map(is_known, left))
        findings += [line for line in left if not is_known(line)]
        return [f'{self.name} with {pages} pages of room: {line}' for line in findings]


def run(machine, package, quick):
    """Returns the findings. Where the namespace is refused, nothing is tested."""
    if not enter_namespace():
        print('soak: *** The full disc was NOT tested: a mount namespace is refused. ***', file=sys.stderr)
        return []
    bring_packages(machine, package)
    disc = Disc(machine)
    work = machine.home.parent
    machine.save(work / 'clean')
    for name, command in (('installed', INSTALL), ('earlier', EARLIER)):
        machine.restore(work / 'clean')
        machine.start_up()
        machine.run(*command)
        machine.shut_down()
        machine.save(work / name)
    machine.restore(work / 'installed')
    findings = []
    for name, saved, command, rooms in (('install', 'clean', INSTALL, limits(machine)),
                                        ('update', 'earlier', INSTALL, FEW_PAGES),
                                        ('uninstall', 'installed', (UNINSTALLER,), FEW_PAGES)):
        if quick:
            rooms = rooms[len(rooms) // 2:][:1]
        job = Job(machine, disc, name, work / saved, command)
        before = len(findings)
        for pages in rooms:
            findings += job.at(pages)
        print(f'soak: {name} on a disc with {len(rooms)} limits of room: {len(findings) - before} findings, '
              f'{job.known} times a known exception; left meanwhile: '
              + ', '.join(f'{item} ({count})' for item, count in sorted(job.outcomes.items())), flush=True)
    machine.shut_down()
    return findings
