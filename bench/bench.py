"""Measures the product under Wine: scripts/bench.sh says how it is used. All files are in memory."""
import argparse
import datetime
import os
import random
import shutil
import signal
import statistics
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / 'tools/prove'))
from judge import new_folder, place_to_work
from lab import WINDOWS, Prefix

# The files of a package besides those of the sample: folders, files in each, and their bytes.
KINDS = {'small': (50, 100, 1024), 'large': (1, 3, 200 << 20), 'fewer': (10, 125, 1024), 'more': (80, 125, 1024),
         'application': (12, 15, 349525), 'updated': (6, 23, 1 << 20)}
MIXED = ('application', 'updated')  # files that pack to about 60 %
WORDS = [b'%05d' % number for number in range(0, 100000, 24)]
LIBRARY = Path('/usr/lib/llvm-14/lib/libclang-cpp.so.14')  # of the compiler, 59 MB
# Of its library, 47 MB, Debian has two versions: as released last, and with the patches since then.
PATCHED = 'libnode108'
# The uninstall waits this long for the end of its first process.
FIXED_SECONDS = 1
missed = []


def report(what, bound, figure):
    """Prints a figure, which may reach its bound."""
    verdict = 'MISSED' if figure > bound else ''
    missed.extend([what] if verdict else [])
    print(f'{what:72} {round(figure, 3):8} {bound:8}  {verdict}', flush=True)


def shown(path):
    """A path of the host as Wine spells it."""
    return f'Z:{path}'.replace('/', '\\')


def said_by(*command):
    return subprocess.run(list(map(str, command)), check=True, cwd=ROOT, env=machine.environment, stdout=subprocess.PIPE, text=True,
                          stderr=subprocess.DEVNULL).stdout


def wine(program, *arguments):
    return said_by('scripts/wine.sh', program, *arguments)


def seconds(*command):
    """Of a program of Windows: until its own end, and until the end of all that it has started."""
    return list(map(float, wine(WINDOWS / 'timed.exe', subprocess.list2cmdline(command)).split()))


def make_package(kind, by_pattern=False):
    package, (folders, files, size), chance = work / kind, KINDS[kind], random.Random(8)
    shutil.rmtree(package, ignore_errors=True)
    shutil.copytree(WINDOWS / 'package', package)
    for number in range(folders * files):
        path = package / f'folder{number // files}/file{number % files}.dat'
        path.parent.mkdir(exist_ok=True)
        # All files differ, because the other installer would store equal files once.
        # A picture and a text. Hex digits by chance pack 1 % better or worse by no more than the dates of the files.
        content = chance.randbytes(size * 2 // 5) + b' '.join(chance.choices(WORDS, k=size // 10)) if kind in MIXED else b'x' * (size - 8)
        path.write_bytes(b'%08d' % number + content)
    names = sorted(f'{path.parent.name}\\{"*.*" if by_pattern else path.name}' for path in package.glob('folder*/*'))
    with open(package / 'QtvUnInst.log', 'ab' if kind in MIXED else 'wb') as manifest:
        manifest.write(''.join(f'File Copy: {name}\r\n' for name in dict.fromkeys(names)).encode())
    return package


def install_beside_loop(package):
    """The seconds of an install and of the bare loop."""
    times = []
    for command in ((shown(package / 'setup.exe'), '-s', '-instport', shown(work / 'target')),
                    (shown(WINDOWS / 'bare_copy.exe'), shown(package), shown(work / 'target'))):
        times.append(seconds(*command)[0])
        shutil.rmtree(work / 'target')
    return times


def over_bare_loop(what, bound, package):
    report(what, bound, statistics.median(setup / bare for setup, bare in (install_beside_loop(package) for _ in range(pairs))))


def small():
    over_bare_loop('5,000 small files by patterns, over the bare loop', 1.30, make_package('small', by_pattern=True))
    over_bare_loop('5,000 small files by a record each, over the bare loop', 1.85, make_package('small'))


def large():
    over_bare_loop('3 files of 200 MB, over the bare loop', 1.15, make_package('large'))


def growth():
    fewer, more, ratios = make_package('fewer'), make_package('more'), []
    for _ in range(growth_rounds):
        (few, bare_few), (many, bare_many) = install_beside_loop(fewer), install_beside_loop(more)
        ratios.append(many / few / (bare_many / bare_few))
    report("10,000 records over 1,250, over the bare loop's growth", 1.15, statistics.median(ratios))


def make_other(package, *options):
    other = work / 'other.exe'
    said_by('makensis', '-V1', f'-DPACKAGE={package}', f'-DOUTPUT={other}', *options, 'bench/other_installer.nsi')
    return other


def over_other(own, other):
    """Installs and uninstalls both in turn. Returns the ratios of the installs and of the uninstalls."""
    target, other_target, installs, uninstalls = work / 'Qantivo 8', work / 'Other 8', [], []
    for _ in range(pairs):
        # The other installer takes the rest of the line for its folder, without quotes.
        line = f'"{shown(other)}" /S /D={shown(other_target)}'
        others = [float(wine(WINDOWS / 'timed.exe', line).split()[0]), seconds(shown(other_target / 'uninstall.exe'), '/S')[1]]
        installs.append(seconds(shown(own), '-install', '-s', '-instdir', shown(target))[0] / others[0])
        uninstalls.append((seconds(shown(target / 'QtvUnInst.exe'))[1] - FIXED_SECONDS) / others[1])
        for folder in (target, other_target):
            if (folder / 'QtvApp8.exe').exists():
                sys.exit(f'bench.py: {folder} is not uninstalled')
        shutil.rmtree(target, ignore_errors=True)
        # An uninstall leaves folders for the next start of the machine. No round may find those of the last one.
        wine('reg.exe', 'delete', r'HKLM\SYSTEM\CurrentControlSet\Control\Session Manager', '/v', 'PendingFileRenameOperations', '/f')
    return statistics.median(installs), statistics.median(uninstalls)


def application():
    package = make_package('application', by_pattern=True)
    install, uninstall = over_other(package / 'setup.exe', make_other(package))
    report('install of 180 files, 60 MB, over another installer', 1.05, install)
    report("its uninstall less the fixed second, over the other's", 1.00, uninstall)


def put_programs(package, code, alone, count=1):
    """The code of a library, begun like a program of Windows. Alone, nothing else is there besides the files of the sample."""
    for folder in package.glob('folder*') if alone else ():
        shutil.rmtree(folder)
    (package / 'folder0').mkdir(exist_ok=True)
    for number in range(count):
        (package / f'folder0/code{number}.exe').write_bytes((WINDOWS / 'setup.exe').read_bytes()[:4096] + code[4096:])


def download():
    for content, bound in (('mixed', 1.01), ('code', 0.97)):
        package, own = make_package('application', by_pattern=True), work / 'own.exe'
        if content == 'code':
            put_programs(package, LIBRARY.read_bytes(), alone=True)
        other = make_other(package, '-DDOWNLOAD')
        said_by('scripts/make_download.sh', package, own)
        report(f"a download with {content} files, over the other's size", bound, own.stat().st_size / other.stat().st_size)
        report("a silent start of the download, over the other's", 0.80, over_other(own, other)[0])
        report('peak memory of that start, KiB', 300 << 10, peak(shown(own), '-install', '-s', '-instdir', shown(work / 'Qantivo 8')))
        seconds(shown(work / 'Qantivo 8/QtvUnInst.exe'))


def peak(program, *arguments):
    """The peak memory in KiB. Wine runs a program in the process that starts it."""
    said_by('/usr/bin/time', '-f', '%M', '-o', work / 'peak', 'scripts/wine.sh', program, *arguments)
    return int((work / 'peak').read_text().split()[-1])


class Update:
    """An update and the whole download, from a package to one with other programs."""

    def __init__(self, early, late, alone, count=1):
        self.target, self.earlier, package = work / 'Qantivo 8', work / 'earlier', make_package('updated', by_pattern=True)
        self.files = work / 'own-update.exe', work / 'own.exe'
        put_programs(package, early, alone, count)
        shutil.rmtree(self.earlier, ignore_errors=True)
        shutil.copytree(package, self.earlier)
        put_programs(package, late, alone, count)
        said_by('scripts/make_download.sh', package, self.files[1], '--earlier', self.earlier)

    def size(self):
        update, whole = (file.stat().st_size for file in self.files)
        return update / whole

    def start(self, file, measure):
        """A silent start over the earlier package. Returns what `measure` returns of it."""
        options = '-install', '-s', '-instdir', shown(self.target)
        seconds(shown(self.earlier / 'setup.exe'), *options)
        return measure(shown(file), *options)

    def time(self):
        times = [[self.start(file, seconds)[0] for file in self.files] for _ in range(pairs)]
        return statistics.median(own / whole for own, whole in times)


def versions_of(name):
    """Returns the bytes of the largest file in the earlier and in the later version of a package that Debian has. They stay in
    build/versions."""
    kept, found = ROOT / 'build/versions', []
    kept.mkdir(exist_ok=True)
    lines = said_by('apt-cache', 'madison', name).splitlines()
    for version in sorted({line.split('|')[1].strip() for line in lines})[-2:]:
        folder = kept / f'{name}-{version}'
        if not folder.exists():
            subprocess.run(['apt-get', 'download', '-qo', 'APT::Sandbox::User=root', f'{name}={version}'], cwd=work, check=True,
                           stdout=subprocess.DEVNULL)
            said_by('dpkg-deb', '-x', next(work.glob('*.deb')), work / 'unpacked')
            shutil.move(work / 'unpacked', folder)
            next(work.glob('*.deb')).unlink()
        found.append(max((path for path in folder.rglob('*') if path.is_file()), key=lambda path: path.stat().st_size).read_bytes())
    return found


def update():
    # Nothing of the earlier program is in the later one.
    code = LIBRARY.read_bytes()
    one = Update(code[:2 << 20], code[16 << 20:18 << 20], alone=False)
    report("an update with one other file of 139, over the whole download's size", 0.02, one.size())
    report("a silent start of that update, over the whole download's", 1.00, one.time())
    versions = versions_of(PATCHED)
    if len(versions) == 2:
        patched = Update(*versions, alone=True)
        report("an update with another version of a program, over that size", 0.15, patched.size())
        report("a silent start of it, over the whole download's", 1.00, patched.time())
    else:
        print(f'Debian has one version of {PATCHED} only: an update with another version of a program is not measured', flush=True)
    # Two files of 192 MiB, whose bytes repeat, so that they are packed fast.
    largest = code[:1 << 20] * 192
    most = Update(largest, largest[:1 << 20] + b'another' + largest[1 << 20:], alone=True, count=2)
    report('peak memory of an update with the largest differences, KiB', 300 << 10, most.start(most.files[0], peak))
    seconds(shown(most.target / 'QtvUnInst.exe'))


def memory():
    def peaks(*command):
        """The median of several runs, each into a new folder."""
        figures = []
        for _ in range(memory_rounds):
            shutil.rmtree(work / 'target', ignore_errors=True)
            figures.append(peak(*command))
        return statistics.median(figures)

    target = shown(work / 'target')
    link = peaks(WINDOWS / 'timed.exe', 'link', r'C:\windows\notepad.exe', shown(work / 'one.lnk'))
    setup = peaks(make_package('application', by_pattern=True) / 'setup.exe', '-install', '-s', '-instdir', target)
    report('peak memory of an install, KiB over a program that saves one link', 4096, setup - link)
    few, many = (peaks(make_package(kind) / 'setup.exe', '-s', '-instport', target) for kind in ('fewer', 'more'))
    report('peak memory at 10,000 records, KiB over that at 1,250', 1024, many - few)


ALL = {job.__name__: job for job in (small, large, growth, application, download, update, memory)}
parser = argparse.ArgumentParser(prog='scripts/bench.sh')
parser.add_argument('--quick', action='store_true')
parser.add_argument('what', nargs='*', metavar='WHAT', help=', '.join(ALL))
options = parser.parse_args()
if unknown := set(options.what) - set(ALL):
    parser.error(f'there is nothing named {", ".join(unknown)} to measure, only {", ".join(ALL)}')
pairs, growth_rounds, memory_rounds = (3, 3, 1) if options.quick else (9, 5, 3)
signal.signal(signal.SIGTERM, lambda number, frame: sys.exit(128 + number))  # so that the folder is removed
work = new_folder(place_to_work())
machine = Prefix(work / 'wine')
machine.begin()
try:
    commit = subprocess.run(['git', 'log', '-1', '--format=%h'], cwd=ROOT, capture_output=True, text=True, check=True).stdout.strip()
    print(f'{f"{commit}, {datetime.date.today()}":72} {"figure":>8} {"bound":>8}')
    for job in options.what or ALL:
        ALL[job]()
        for made in KINDS:
            shutil.rmtree(work / made, ignore_errors=True)
finally:
    machine.end()
sys.exit(1 if missed else 0)
