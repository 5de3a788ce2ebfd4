"""Machines of the proof: embedded ones, and Wine prefixes. The program lab runs programs on them and tells what they hold."""
import json
import os
import shutil
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
HOST = (ROOT / os.environ.get('QTV_HOST_BUILD', 'build/host')).resolve()
WINDOWS = (ROOT / os.environ.get('QTV_WINDOWS_BUILD', 'build/windows')).resolve()
PRODUCT = r'C:\Program Files\Qantivo 8'
UNINSTALL = rf'"{PRODUCT}\QtvUnInst.exe"'
HANG_SECONDS = 600


class Unusable(Exception):
    """What can't be proved as asked. The text says why."""


class Lab:
    """A process of the program lab. Each of its commands is a method: look(), run(command=...)."""

    def __init__(self, *command, **streams):
        self.root = '.'  # of the embedded machine that was entered
        self.process = subprocess.Popen(list(map(str, command)), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        encoding='utf-8', errors='surrogatepass', **streams)

    def __getattr__(self, name):
        def command(**fields):
            self.root = Path(fields.get('root') or fields.get('to') or self.root)
            line = '\t'.join([name, *(f'{key}={value}' for key, value in fields.items() if value is not None)])
            self.process.stdin.write(line + '\n')
            self.process.stdin.flush()
            answer = self.process.stdout.readline()
            if not answer:
                raise Unusable(f'lab has ended: {line}')
            answer = json.loads(answer)
            if 'failure' in answer:
                raise Unusable(f'{line}: {answer["failure"]}')
            return answer
        return command

    def close(self):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()

    # ---- embedded machines ----

    def path(self, name):
        """The host's path of a file of the machine."""
        return self.root / name.replace(':', '', 1).replace('\\', '/')

    def state(self):
        return self.look()['state']

    def write(self, name, text):
        path = self.path(name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text.encode())


def embedded():
    return Lab(HOST / 'lab')


class Prefix:
    """A Wine prefix with the folders of its user, below the folder `home`."""

    def __init__(self, home):
        self.home, self.prefix = home, home / 'prefix'
        self.drive, self.complaints = self.prefix / 'drive_c', home.parent / 'complaints.txt'
        self.environment = dict(os.environ, QTV_WINE_HOME=str(home), WINEPREFIX=str(self.prefix))
        # Wine then says so if it can't start a program.
        self.environment.setdefault('WINEDEBUG', '-all,err+virtual')
        if self.start('cmd.exe', '/c', 'exit').wait():
            raise Unusable('no prefix of Wine can be made: ' + self.complaints.read_text(errors='replace').strip())
        self.end()

    def start(self, *command):
        """Starts a program and returns its process. The program is that process itself, no child of it."""
        with open(self.complaints, 'ab') as complaints:
            return subprocess.Popen([ROOT / 'scripts/wine.sh', *map(str, command)], env=self.environment,
                                    stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=complaints)

    def lab(self, name, **fields):
        """One command of lab, in a process of its own, so that nothing runs between the commands."""
        with open(self.complaints, 'ab') as complaints:
            lab = Lab(ROOT / 'scripts/wine.sh', WINDOWS / 'lab.exe', env=self.environment, stderr=complaints)
        try:
            return getattr(lab, name)(**fields)
        finally:
            lab.close()

    def run(self, command):
        """Runs a program and all that it starts, to the end. Returns None, or that it does not end."""
        return None if self.lab('run', command=command)['end'] == 'by itself' else f'does not end: {command}'

    def state(self):
        return self.lab('look')['state']

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

    def server(self, action):
        subprocess.run([ROOT / 'scripts/wine.sh', action], env=self.environment, check=True, timeout=HANG_SECONDS,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def begin(self):
        """Starts the machine, which carries out the marks. It then runs until it is ended."""
        self.server('--begin')

    def end(self):
        """Ends everything in it. Wine's server then writes the registry to the disk."""
        self.server('--end')

    def restart(self):
        self.end()
        self.begin()

    def save(self, folder):
        """Ends everything and copies what a run can change."""
        self.end()
        shutil.rmtree(folder, ignore_errors=True)
        shutil.copytree(self.home, folder, symlinks=True, ignore=self.unchanged)

    def restore(self, folder):
        """Ends everything, brings a saved state back, and begins."""
        self.end()
        for path in list(self.mutable()):
            if path.is_dir() and not path.is_symlink():
                shutil.rmtree(path)
            else:
                path.unlink()
        shutil.copytree(folder, self.home, symlinks=True, dirs_exist_ok=True)
        self.begin()

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
