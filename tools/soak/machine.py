"""A machine under Wine: a prefix of its own in which programs run, end and restart, and what it holds."""
import os
import re
import shutil
import signal
import subprocess
import time
from collections import Counter
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
# Programs of Wine itself. All others in the prefix were started by a run.
WINES_OWN = ('wineserver', 'services.exe', 'plugplay.exe', 'winedevice.exe', 'svchost.exe', 'explorer.exe', 'rpcss.exe')
# The update needs more room for these than the earlier version.
GROWN_FILES = ('QtvApp8.exe', 'QtvApp8Man.chm', 'runtime9.dll', 'ThumbQvi32.dll', 'Samples/meadow.bmp')
# A run takes a few seconds on an idle machine.
HANG_SECONDS = 300
INSTALL_FOLDER = 'Program Files/Qantivo 8'
LOG = INSTALL_FOLDER + '/QtvUnInst.log'
UNINSTALLER = r'C:\Program Files\Qantivo 8\QtvUnInst.exe'


class Hang(Exception):
    """A program did not end in time."""


def server_program():
    for path in ('/usr/lib/wine/wineserver64', shutil.which('wineserver')):
        if path and os.access(path, os.X_OK):
            return path
    raise FileNotFoundError('wineserver')


class Machine:
    """The folder `home` holds the prefix and the folders of the user. A new machine is made if it is missing."""

    def __init__(self, home, snapshot_program):
        self.home = Path(home)
        self.prefix = self.home / 'prefix'
        self.drive = self.prefix / 'drive_c'
        self.snapshot_program = snapshot_program
        self.abandoned = set()
        self.environment = dict(os.environ, QTV_WINE_HOME=str(self.home), WINEPREFIX=str(self.prefix))
        # Wine then says so if it can't start a program.
        self.environment.setdefault('WINEDEBUG', '-all,err+virtual')
        self.complaints = self.home.parent / 'complaints.txt'
        if not (self.prefix / '.ready').exists():
            self.run('cmd.exe', '/c', 'exit')
        self.shut_down()

    # ---- programs ----

    def start(self, *command):
        """Starts a program and returns its process. The program is that process itself, no child of it."""
        self.complaints.parent.mkdir(parents=True, exist_ok=True)
        with open(self.complaints, 'ab') as complaints:
            return subprocess.Popen([ROOT / 'scripts/wine.sh', *map(str, command)], env=self.environment,
                                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=complaints)

    def run(self, *command):
        """Runs a program, waits for it and all that it started, and returns what it wrote."""
        program = self.start(*command)
        try:
            output = program.communicate(timeout=HANG_SECONDS)[0]
        except subprocess.TimeoutExpired:
            program.kill()
            raise Hang(f'{command}') from None
        self.settle()
        return output

    def processes(self):
        """The processes of this prefix: their ids, and the command line of each."""
        marker = f'WINEPREFIX={self.prefix}'.encode()
        found = {}
        for folder in Path('/proc').glob('[0-9]*'):
            try:
                if marker in (folder / 'environ').read_bytes().split(b'\0'):
                    if line := (folder / 'cmdline').read_bytes().replace(b'\0', b' ').decode(errors='replace').strip():
                        found[int(folder.name)] = line
            except OSError:
                continue  # It has ended meanwhile.
        return found

    def started(self):
        """The processes that are not Wine's own, except for the abandoned ones."""
        return {pid: line for pid, line in self.processes().items()
                if pid not in self.abandoned and not any(own in line for own in WINES_OWN)}

    def await_end(self, seconds):
        """Waits until everything that was started has ended. Returns what still runs when the time is over."""
        end = time.monotonic() + seconds
        while running := self.started():
            if time.monotonic() > end:
                break
            time.sleep(0.02)
        return running

    def settle(self):
        """Waits for all programs: the uninstaller's copy outlives the uninstaller."""
        if running := self.await_end(HANG_SECONDS):
            for pid in running:
                os.kill(pid, signal.SIGKILL)
            raise Hang(f'still running: {sorted(running.values())}')

    def abandon(self, seconds):
        """Waits for what a killed program had started. What does not end is left alone until the machine is shut down."""
        self.abandoned = set(self.await_end(seconds))
        return len(self.abandoned)

    # ---- start and end of the machine ----

    def server(self, *options):
        return subprocess.run([server_program(), *options], env=self.environment, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, timeout=HANG_SECONDS, check=False)

    def start_up(self):
        """Starts the machine, which carries out the marks. It then runs until it is shut down."""
        self.server('-p')
        self.run('cmd.exe', '/c', 'exit')

    def shut_down(self):
        """Ends the machine. Wine's server then writes the registry to the disk."""
        self.server('-k')
        self.server('-w')
        self.abandoned = set()

    def restart(self):
        self.shut_down()
        self.start_up()

    def restart_running(self):
        """Carries out the marks, as a restart does, while the server goes on running."""
        self.run(r'C:\windows\system32\wineboot.exe', '-r')

    def server_id(self):
        for pid, line in self.processes().items():
            if 'wineserver' in line:
                return pid
        raise ProcessLookupError('wineserver')

    # ---- what the machine holds ----

    def state(self):
        """Files with their contents, shortcuts, registry and marks: what is there by its name."""
        output = self.run(self.snapshot_program)
        state = {}
        for line in output.decode(errors='replace').splitlines():
            name, _, what = line.partition('\t')
            if not is_wines_own(name):
                state[neutral(name)] = neutral(what)
        if not state:
            raise RuntimeError('the snapshot is empty')
        log = self.drive / LOG
        if log.exists():
            state['C:\\' + LOG.replace('/', '\\')] = 'the log'
            for line, count in Counter(log.read_bytes().decode('latin-1').splitlines()).items():
                state[f'log: {line}'] = f'{count} times'
        return state

    def save(self, folder):
        """Copies what a run can change. The machine must be shut down."""
        shutil.rmtree(folder, ignore_errors=True)
        shutil.copytree(self.home, folder, symlinks=True, ignore=self.unchanged)

    def restore(self, folder):
        """Brings a saved state back. The machine must be shut down."""
        for path in self.mutable():
            remove(path)
        shutil.copytree(folder, self.home, symlinks=True, dirs_exist_ok=True)

    def unchanged(self, folder, names):
        """No job changes the folder of Windows, except for two items."""
        if Path(folder) != self.drive / 'windows':
            return []
        return [name for name in names if name.lower() not in ('temp', 'wininit.ini')]

    def mutable(self):
        parents = (self.home, self.prefix, self.drive, self.drive / 'windows')
        for folder in filter(Path.exists, parents):
            kept = self.unchanged(folder, os.listdir(folder))
            yield from (path for path in folder.iterdir() if path not in parents and path.name not in kept)


def remove(path):
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def is_wines_own(name):
    parts = ('\\Explorer\\Shell Folders', '\\Explorer\\User Shell Folders', '\\Wow6432Node\\', '\\Software\\Wine\\')
    return any(part in name for part in parts)


def neutral(text):
    return re.sub(r'\\(uni|q8t)[0-9a-f]{1,4}\.tmp', r'\\\1*.tmp', text, flags=re.IGNORECASE)


def differences(expected, actual):
    """A line for each item that differs."""
    lines = []
    for name in sorted(expected.keys() | actual.keys()):
        before, now = expected.get(name, 'missing'), actual.get(name, 'missing')
        if before != now:
            lines.append(f'{name}: {now}, expected {before}')
    return lines


def is_known(difference):
    """What a second run does not repair: docs/reliability.md has these in its tables."""
    item, _, what = difference.partition(': missing, expected ')
    if what:
        return re.search(r'\\Start(U|u)p\\Qantivo 8\.lnk$', item) is not None
    return r'\uni*.tmp: ' in difference and difference.endswith('expected missing')


def make_earlier(package, folder):
    """Copies a package and makes version 8.4 of it, with two files more."""
    shutil.copytree(package, folder)
    application = folder / 'QtvApp8.exe'
    version = re.compile(rb'(\xbd\x04\xef\xfe....)\x05\x00(\x08\x00\x00\x00\x02\x00)\x05\x00', re.DOTALL)
    changed, count = version.subn(
        lambda found: found[1] + b'\x04\x00' + found[2] + b'\x04\x00', application.read_bytes())
    assert count == 1, 'the version block was not found'
    application.write_bytes(changed)
    (folder / 'QtvApp8Man.hlp').write_bytes(b'help')
    (folder / 'presets.dat').write_bytes(b'presets')
    with open(folder / 'QtvUnInst.log', 'ab') as log:
        log.write(b'File Copy: QtvApp8Man.hlp\r\nFile Copy: presets.dat\r\n')


def bring_packages(machine, package):
    """Puts both packages on the machine, and files of the user next to where setup works."""
    assert not (machine.drive / INSTALL_FOLDER / 'QtvApp8.exe').exists(), 'the product is already installed'
    for name in ('Package', 'Earlier'):
        shutil.rmtree(machine.drive / name, ignore_errors=True)
    shutil.copytree(package, machine.drive / 'Package')
    for name in GROWN_FILES:
        with open(machine.drive / 'Package' / name, 'ab') as grown:
            grown.write(b'grown' * 8000)
    make_earlier(package, machine.drive / 'Earlier')
    for path in (machine.drive / 'Program Files/other.txt', machine.drive / 'users/Public/mine.txt'):
        path.write_text('of the user')
