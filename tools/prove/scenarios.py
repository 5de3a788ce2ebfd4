"""What is disturbed: a fresh install, an update, an install in the wizard, a download, the download of an update, and an uninstall,
each with a small package."""
import shutil
import subprocess
from collections import Counter
from dataclasses import dataclass

from lab import HOST, PRODUCT, UNINSTALL, Unusable

WIZARD = r'C:\Package\setup.exe'
DOWNLOADED = r' -sfxname=C:\Download\package.exe'  # where the settings lie that setup takes over
INSTALL = rf'{WIZARD} -s -runafter{DOWNLOADED}'
DOWNLOAD = r'C:\Download\package.exe -s -runafter'
WHOLE_DOWNLOAD = r'C:\Download\whole.exe -s -runafter'
REFUSED = 7  # the exit code of an update that doesn't fit the installation
COPY = 'uni*.tmp'
MANIFEST = ['File Copy: QtvApp8.exe', 'File Copy: QtvApp8Man.chm', 'File Copy: QtvUnInst.exe', 'File Copy: ThumbQvi32.dll',
            'File Copy: engine.dll', 'File Copy: presets.dat', 'File Copy: readme-en.txt > readme.txt',
            'File Copy ind: runtime9.dll', 'Make Dir: Samples', r'File Copy: Samples\*.*', 'File Overwrite: QtvApp8.ini']
SAME = r'Samples\tiles.gif'
NO_END = 'no button ends the wizard'
# Things that don't belong to the product. Some of their names are very similar to its own.
OTHER_FILES = [r'C:\Users\Ann\Documents\letter.txt', r'C:\Users\Ann\Desktop\notes.txt',
               r'C:\Users\Ann\Desktop\Qantivo 8 notes.txt', r'C:\Apps\Other\other.exe', r'D:\picture.qvi',
               r'C:\Users\Ann\AppData\Local\Temp\work.tmp', r'C:\Program Files\Qantivo 7\QtvApp7.exe',
               r'C:\ProgramData\Microsoft\Windows\Start Menu\Programs\Other\Other.lnk']
EXTENSIONS = r'HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\FileExts'
OTHER_VALUES = [(EXTENSIONS + r'\.png\UserChoice', 'Progid', 'Other.png'),
                (r'HKLM\SOFTWARE\Lorvanta\Qantivo 7', 'Path', r'C:\Program Files\Qantivo 7'),
                (r'HKLM\SOFTWARE\RegisteredApplications', 'Other', r'SOFTWARE\Other')]


@dataclass(frozen=True)
class Scenario:
    name: str
    command: str
    programs: tuple  # the programs whose calls are disturbed, in the order of their start
    installs: bool = True
    updates: bool = False  # an earlier version is installed

    @property
    def downloads(self):
        return self.command == DOWNLOAD


SCENARIOS = {each.name: each for each in (
    Scenario('install', INSTALL, ('setup.exe',)), Scenario('update', INSTALL, ('setup.exe',), updates=True),
    Scenario('install-wizard', WIZARD, ('setup.exe',)), Scenario('download', DOWNLOAD, ('package.exe',)),
    Scenario('download-update', DOWNLOAD, ('package.exe',), updates=True),
    Scenario('uninstall', UNINSTALL, ('QtvUnInst.exe', COPY), installs=False))}


def run(lab, command, watched, disturbance=None):
    """Runs a command, disturbed or not. Returns the answer with `complaint`: a crash, a finding of the sanitizers or a hang,
    in one line, or empty. `shown` has what else a person sees, as items of the machine: the exit code, boxes, programs, pages."""
    disturbance = disturbance or {}
    answer = lab.run(command=command, **{'watched': watched, **disturbance})
    complaint = '' if answer['started'] else 'the program does not start'
    complaint = ' '.join(answer['errors'].split()) or {'late': 'hangs', 'given up': NO_END}.get(answer['end'], complaint)
    kills, cut = 'kills' in disturbance, 'steps' in disturbance
    if cut:
        complaint += '' if answer['powerCut'] else 'the power was not cut'
    elif not complaint and (not answer['calls']) != kills:
        complaint = 'the call to be killed at was not reached' if kills else 'the program crashed'
    events = Counter(f'{kind}: {text}' for kind in ('messages', 'programs', 'pages') for text in answer[kind])
    shown = {name: f'{count} times' for name, count in events.items()}
    if not kills and not cut:
        shown['exit code'] = str(answer['exitCode'])
    return {**answer, 'complaint': complaint, 'shown': shown}


def copy_program(lab, source, name):
    """The copy has no debugging data, so that it starts faster."""
    target = lab.path(name)
    target.parent.mkdir(parents=True, exist_ok=True)
    subprocess.run(['strip', '--strip-debug', '-o', target, source], check=True)
    return target


def make_package(lab, version):
    """The earlier version has a help file that the later one does not have, and one file is the same in both."""
    for program in ('QtvApp8.exe', 'ThumbQvi32.dll', 'runtime9.dll'):
        with open(copy_program(lab, HOST / 'package' / program, rf'C:\Package\{program}'), 'ab') as copy:
            # The loader ignores bytes after the end of a program; with them it counts as another version.
            copy.write(version.encode())
    for name in ('QtvApp8Man.chm', 'engine.dll', 'presets.dat', 'readme-en.txt', r'Samples\meadow.bmp', r'Samples\tiles.gif'):
        lab.write(rf'C:\Package\{name}', f'{name}, {"both" if name == SAME else version}\n')
    help_file = 'File Copy: QtvApp8Man.hlp' if version == 'early' else 'File Del: QtvApp8Man.hlp'
    if version == 'early':
        lab.write(r'C:\Package\QtvApp8Man.hlp', 'help, early\n')
    lab.write(r'C:\Package\QtvUnInst.log', ''.join(line + '\r\n' for line in [*MANIFEST, help_file]))
    lab.write(r'C:\Download\QtvApp8.ini', f'[settings]\r\nversion={version}\r\n')


def make_download(lab, setup, name, *options):
    """The download is beside the setup program in its build."""
    stub, package = copy_program(lab, setup.parent / 'download.exe', r'C:\stub.exe'), lab.path('C:\\Package')
    target = lab.path(rf'C:\Download\{name}.exe')
    subprocess.run([HOST / 'download_make', stub, package, target, *options], check=True)
    target.chmod(0o755)
    stub.unlink()


def install(lab):
    if complaint := run(lab, INSTALL, 'setup.exe')['complaint']:
        raise Unusable(f'no installation to start from: {complaint}')
    lab.restart()


def prepare(lab, scenario, root, setup):
    """Makes the machine for the scenario. `setup` is the program under test."""
    lab.create(root=root)
    earlier = root.with_suffix('.earlier')
    copy_program(lab, setup, r'C:\Package\setup.exe')
    if scenario.installs:
        # An install only copies it, and a small file is copied faster.
        lab.write(r'C:\Package\QtvUnInst.exe', 'uninstaller\n')
    else:
        copy_program(lab, setup, r'C:\Package\QtvUnInst.exe')
    for name in OTHER_FILES:
        lab.write(name, "not the product's\n")
    for key, name, text in OTHER_VALUES:
        lab.value(key=key, name=name, text=text)
    if scenario.updates:
        make_package(lab, 'early')
        install(lab)
        shutil.copytree(lab.path('C:\\Package'), earlier)
        lab.path(r'C:\Package\QtvApp8Man.hlp').unlink()
    make_package(lab, 'late')
    if scenario.downloads:
        make_download(lab, setup, 'package', *(('--earlier', earlier) if scenario.updates else ()))
    if scenario.downloads and scenario.updates:
        make_download(lab, setup, 'whole')
    shutil.rmtree(earlier, ignore_errors=True)
    if not scenario.installs:
        install(lab)
    if scenario.updates or not scenario.installs:
        lab.write(rf'{PRODUCT}\my notes.txt', "the user's\n")
        lab.value(key=EXTENSIONS + r'\.j2k\UserChoice', name='Progid', text=r'Applications\QtvApp8.exe')


def run_in_use(lab, scenario, watched, disturbance=None):
    """The scenario while a library of the product is loaded and another program holds a file, where they exist."""
    lab.hold(runs=rf'{PRODUCT}\engine.dll', read=rf'{PRODUCT}\presets.dat')
    answer = run(lab, scenario.command, watched, disturbance)
    lab.hold()
    return answer


def run_again(lab, scenario):
    """Once more, undisturbed, as a user would. If the program of an uninstall no longer exists or is not whole, a copy of the
    uninstaller from the package does the work. A silent run asks nothing, so it also repairs what the wizard left. Where an update
    refuses what it finds, the whole download repairs it."""
    if scenario.installs:
        answer = run(lab, INSTALL.removesuffix(DOWNLOADED) if scenario.command == WIZARD else scenario.command, 'setup.exe')
        refused = scenario.updates and scenario.downloads and answer['exitCode'] == REFUSED
        return run(lab, WHOLE_DOWNLOAD, 'setup.exe') if refused else answer
    program, source = lab.path(rf'{PRODUCT}\QtvUnInst.exe'), lab.path(r'C:\Package\QtvUnInst.exe')
    if program.exists() and program.stat().st_size == source.stat().st_size:
        return run(lab, UNINSTALL, COPY)
    # It marks itself for deletion, so a copy must run.
    copy = r'C:\Users\Ann\AppData\Local\Temp\uniF.tmp'
    lab.path(copy).write_bytes(source.read_bytes())
    lab.path(copy).chmod(0o755)
    return run(lab, rf'{copy} -delself {UNINSTALL}', COPY)
