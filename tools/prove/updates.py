"""An update ends in the same machine as the whole download of the same package, or refuses and changes nothing."""
import os
import random
import shutil
import subprocess
from dataclasses import dataclass, field

import lab as laboratory
from judge import new_folder, odd_items
from lab import HOST, PRODUCT, Unusable
from scenarios import REFUSED, copy_program, run

DOWNLOAD = r'C:\Download\package.exe'
MANIFEST = ['File Copy: QtvApp8.exe', 'File Copy: QtvUnInst.exe', 'File Copy: ThumbQvi32.dll', 'File Copy: same.dat',
            'File Copy: changed.dat']
READONLY, HIDDEN = 1, 2
QUICK_TREES, TREES = 5, 100


def text(name, size=4000):
    return ''.join(random.Random(name).choices('abcdefgh \n', k=size))


def edited(name):
    """A later version: something in the middle is another text, and the rest moves."""
    whole = text(name)
    return whole[:1500] + 'another' + whole[1600:]


EARLY = {'same.dat': text('same'), 'changed.dat': text('changed')}
LATE = {**EARLY, 'changed.dat': edited('changed')}


@dataclass(frozen=True)
class Row:
    """Files and records are those that the packages have besides the usual ones; None is a folder."""
    name: str
    both: dict = field(default_factory=dict)
    early: dict = field(default_factory=dict)
    late: dict = field(default_factory=dict)
    records: tuple = ()  # of both
    early_records: tuple = ()
    late_records: tuple = ()
    options: str = ''
    folder: str = PRODUCT
    meanwhile: object = None  # what happens between: takes the lab and the folder of the installation
    hold: dict = field(default_factory=dict)
    space: int = None  # how many bytes are free
    refuses: bool = False
    always: tuple = ()


def write(name, content='other\n'):
    return lambda lab, folder: lab.write(rf'{folder}\{name}', content)


def remove(name):
    return lambda lab, folder: lab.path(rf'{folder}\{name}').unlink()


def mark(name, attributes):
    return lambda lab, folder: os.setxattr(lab.path(rf'{folder}\{name}'), 'user.winhost.attributes', str(attributes).encode())


def rename(name, other):
    return lambda lab, folder: lab.path(rf'{folder}\{name}').rename(lab.path(rf'{folder}\{other}'))


def unfinished(lab, folder):
    """As an update leaves it whose file was in use."""
    path = lab.path(rf'{folder}\same.dat')
    path.rename(path.with_name('same.dat.new'))
    path.write_text('older\n')


PORTABLE = {'options': r'-instport D:\Stick\Qantivo', 'folder': r'D:\Stick\Qantivo'}
OWN = {'own.ini': text('own')}
TREE = {'tree/a.txt': text('a'), 'tree/b.txt': text('b'), 'tree/c/d.txt': text('d')}
RECORDS = (r'File Copy: tree\*.txt', 'Make Dir: tree')
KINDS = ('File Copy ind: runtime9.dll', 'Make Dir: x64', r'File Copy x64: x64\extra.dll', 'File Copy prt: start.exe')
KIND_FILES = {'runtime9.dll': text('runtime'), 'x64/extra.dll': text('extra'), 'start.exe': text('start')}
ROWS = [
    Row('plain'),
    Row('a library in use', hold={'runs': rf'{PRODUCT}\ThumbQvi32.dll'}),
    Row('a file in use that can not be moved', hold={'read': rf'{PRODUCT}\changed.dat'}),
    Row('an unchanged file in use', hold={'read': rf'{PRODUCT}\same.dat'}),
    Row('files of the user', meanwhile=write('mine.txt')),
    Row('another case', early={'Case.dat': text('case')}, early_records=('File Copy: Case.dat',), late={'cASE.dat': text('case')},
        late_records=('File Copy: cASE.dat',)),
    Row('renamed by the user in another case', meanwhile=rename('same.dat', 'SAME.dat')),
    Row('a file becomes a folder', early={'thing': text('t')}, early_records=('File Copy: thing',),
        late={'thing/inner.txt': text('t')}, late_records=('File Del: thing', r'File Copy: thing\inner.txt')),
    Row('a folder becomes a file', early={'thing/inner.txt': text('t')}, early_records=(r'File Copy: thing\inner.txt', 'Make Dir: thing'),
        late={'thing': text('t')}, late_records=(r'File Del: thing\inner.txt', 'Make Dir: thing', 'File Copy: thing')),
    Row('a pattern', early=TREE, late={**TREE, 'tree/b.txt': edited('b'), 'tree/e.txt': text('e')}, records=RECORDS),
    Row('a pattern that is deleted before', early=TREE, late={**TREE, 'tree/b.txt': edited('b')}, early_records=RECORDS,
        late_records=(r'File Del: tree\*.txt', *RECORDS)),
    Row('a pattern that moves a folder away', both=TREE, records=(r'File Copy: tree\c\*.txt', r'File Copy: tree\*')),
    Row('two records for one target', early={'one.dat': text('one'), 'two.dat': text('two')},
        late={'one.dat': text('one'), 'two.dat': edited('two')}, records=('File Copy: one.dat > both.dat', 'File Copy: two.dat > both.dat')),
    Row('two names', early={'en.txt': text('en')}, late={'en.txt': edited('en')}, records=('File Copy: en.txt > readme.txt',)),
    Row('a library that was not installed', both=KIND_FILES, records=KINDS, meanwhile=remove('runtime9.dll')),
    Row('each kind of record', both=KIND_FILES, records=KINDS),
    Row('portable', both=KIND_FILES, records=KINDS, **PORTABLE),
    Row('another folder', options=r'-instdir C:\Apps\Q', folder=r'C:\Apps\Q'),
    Row('read-only and hidden', meanwhile=mark('same.dat', READONLY | HIDDEN)),
    Row('a read-only file of the package', both={'fixed.dat': text('f')}, records=('File Copy: fixed.dat',)),
    Row('empty folders', both={'none': None}, late={'new': None}, records=('Make Dir: none',), late_records=('Make Dir: new',)),
    Row('an empty file', both={'empty': ''}, records=('File Copy: empty',)),
    Row('an earlier file that is too large for memory', early={'large.dat': text('large') + 'x' * (192 << 20)}, late={'large.dat': text('large')},
        records=('File Copy: large.dat',)),
    Row('rewritten by the application', both=OWN, records=('File Copy: own.ini',), meanwhile=write('own.ini'), always=('own.ini',)),
    Row('named as rewritten', both=OWN, records=('File Copy: own.ini', 'File Overwrite: own.ini'), meanwhile=write('own.ini')),
    Row('settings beside a download', both={'QtvApp8.ini': text('own')}, records=('File Copy: QtvApp8.ini',), meanwhile=write('QtvApp8.ini')),
    Row('altered', meanwhile=write('same.dat'), refuses=True),
    Row('altered, of which there is a difference', meanwhile=write('changed.dat', edited('same')), refuses=True),
    Row('altered in one byte', meanwhile=write('same.dat', text('same')[:-1] + '!'), refuses=True),
    Row('missing', meanwhile=remove('same.dat'), refuses=True),
    Row('unfinished', meanwhile=unfinished, refuses=True),
    Row('not installed, which needs no space for files', meanwhile=lambda lab, folder: shutil.rmtree(lab.path(folder)), space=256 << 10,
        refuses=True),
]


def random_row(seed):
    """Both packages are made by rule."""
    chance = random.Random(seed)
    names = [f'{folder}{name}.{kind}' for folder in ('', 'p/', 'p/q/', 'r/') for name in 'abcd' for kind in ('txt', 'dll')]
    early = {name: text(f'{seed}{name}', chance.choice((0, 1, 100, 5000))) for name in chance.sample(names, 12)}
    late = {name: content for name, content in early.items() if chance.random() < 0.8}
    for name in chance.sample(names, 4):
        late[name] = chance.choice((text(f'{seed}late{name}', 3000), early.get(name, '')[:2000] + 'more' + early.get(name, '')[2000:]))

    def records(files):
        made = []
        for folder in sorted({os.path.dirname(name) for name in files} - {''}):
            made.append('File Copy: ' + chance.choice((r'%s\*.*', r'%s\*.txt', r'%s\?.dll')) % folder.replace('/', '\\'))
        made += [f'{chance.choice(("File Copy", "File Copy", "File Copy ind", "File Copy x64"))}: {name}' for name in files if '/' not in name]
        made.append(f'File Copy: {chance.choice(list(files))} > other.dat'.replace('/', '\\'))
        chance.shuffle(made)
        return tuple(made)
    removals = tuple('File Del: ' + name.replace('/', '\\') for name in early if name not in late)
    return Row(f'seed {seed}', early=early, late=late, early_records=records(early), late_records=(*removals, *records(late)),
               **(PORTABLE if chance.random() < 0.3 else {}))


def make_package(folder, programs, version, files, records):
    shutil.copytree(programs, folder)
    with open(folder / 'QtvApp8.exe', 'ab') as program:
        # The loader ignores bytes after the end of a program.
        program.write(version.encode())
    for name, content in files.items():
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        if content is None:
            path.mkdir()
        else:
            path.write_text(content)
            path.chmod(0o444 if name == 'fixed.dat' else 0o644)
            os.utime(path, (1e9, 1e9 + len(content)))
    lines = [*MANIFEST, *records]
    (folder / 'QtvUnInst.log').write_bytes(''.join(line + '\r\n' for line in lines).encode())


class Bench:
    def __init__(self, setup):
        self.folder, self.lab = new_folder(), laboratory.embedded()
        self.lab.create(root=self.folder / 'programs')
        self.stub = copy_program(self.lab, setup.parent / 'download.exe', r'C:\stub.exe')
        self.programs = self.lab.path('C:\\Programs')
        for program in ('QtvApp8.exe', 'ThumbQvi32.dll'):
            copy_program(self.lab, HOST / 'package' / program, rf'C:\Programs\{program}')
        copy_program(self.lab, setup, r'C:\Programs\setup.exe')
        self.lab.write(r'C:\Programs\QtvUnInst.exe', 'uninstaller\n')

    def prepare(self, row):
        """Makes the machine with the earlier installation, and both downloads. Returns the machine, and the downloads."""
        for name in ('early', 'late', 'machine'):
            shutil.rmtree(self.folder / name, ignore_errors=True)
        make_package(self.folder / 'early', self.programs, 'early', {**EARLY, **row.both, **row.early}, (*row.records, *row.early_records))
        make_package(self.folder / 'late', self.programs, 'late', {**LATE, **row.both, **row.late}, (*row.records, *row.late_records))
        options = ['--earlier', self.folder / 'early', *(word for pattern in row.always for word in ('--always', pattern))]
        for name, more in (('full', []), ('update', options)):
            subprocess.run([HOST / 'download_make', self.stub, self.folder / 'late', self.folder / name, *more], check=True)
            (self.folder / name).chmod(0o755)
        self.lab.create(root=self.folder / 'machine')
        shutil.copytree(self.folder / 'early', self.lab.path('C:\\Package'))
        if complaint := run(self.lab, rf'C:\Package\setup.exe -s {row.options}', 'setup.exe')['complaint']:
            raise Unusable(f'{row.name}: {complaint}')
        self.lab.restart()
        shutil.rmtree(self.lab.path('C:\\Package'))
        if row.meanwhile:
            row.meanwhile(self.lab, row.folder)

    def carry_out(self, row, download):
        """Returns the machines before and after the run, and after a restart, with what a person sees, and the exit code."""
        machine = self.folder / download
        self.lab.copy(**{'from': self.folder / 'machine', 'to': machine.with_suffix('.machine')})
        self.lab.path(DOWNLOAD).parent.mkdir()
        before = self.lab.state()
        shutil.copy2(machine, self.lab.path(DOWNLOAD))
        self.lab.hold(**row.hold)
        used = sum(path.stat().st_size for path in machine.with_suffix('.machine').rglob('*') if path.is_file())
        limits = {} if row.space is None else {'space': used + row.space}
        answer = run(self.lab, f'{DOWNLOAD} -s {row.options}', 'package.exe', limits)
        self.lab.hold()
        if answer['complaint']:
            raise Unusable(f'{row.name}, {download}: {answer["complaint"]}')
        self.lab.path(DOWNLOAD).unlink()
        states = [before, {**self.lab.state(), **answer['shown']}]
        self.lab.restart()
        return states + [self.lab.state()], answer['exitCode']

    def problems(self, row):
        self.prepare(row)
        update, code = self.carry_out(row, 'update')
        if row.refuses:
            odd = odd_items('', {**update[0], **{'exit code': str(REFUSED)}}, update[1]) if code == REFUSED else [('', 'exit code', code)]
            return [f'{item}: {what}' for _, item, what in odd]
        full, _ = self.carry_out(row, 'full')
        return [f'{when}: {item}: {what}' for when, now, other in zip(('before', 'at once', 'after a restart'), update, full)
                for _, item, what in odd_items('', now, other)]


def updates(setup, quick):
    bench, good = Bench(setup), True
    for row in ROWS + [random_row(seed) for seed in range(QUICK_TREES if quick else TREES)]:
        problems = bench.problems(row)
        good = good and not problems
        print(f'  {row.name}: {"; ".join(problems) or ("refused, unchanged" if row.refuses else "equal")}', flush=True)
    return good
