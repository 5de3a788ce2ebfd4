"""Packages and logs that grow, and paths up to the longest possible one and beyond it."""
import os
import shutil
import subprocess

import lab as laboratory
from judge import new_folder
from lab import HOST, PRODUCT, UNINSTALL, Unusable
from scenarios import SCENARIOS, prepare, run, run_again

PACKAGE = 'C:\\Package'
PROGRAMS = 'C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs'
GROUP = PROGRAMS + '\\Qantivo 8'


def names_below(lab, folder):
    """The files and folders below a folder of the machine, relative to it."""
    host = lab.path(folder)
    return {str(path.relative_to(host)) for path in host.rglob('*')}


def append(lab, folder, lines):
    """Appends lines to the manifest of the package, or to the log of the product."""
    with open(lab.path(folder + '\\QtvUnInst.log'), 'ab') as file:
        file.write(''.join(line + '\r\n' for line in lines).encode())


def make(host, names):
    """Makes files below a folder of the host, so no limit of Windows applies. Many names of one file take little space."""
    first = None
    for name in names:
        path = host / name.replace('\\', '/')
        path.parent.mkdir(parents=True, exist_ok=True)
        if first:
            os.link(first, path)
        else:
            path.write_text(path.name)
            first = path


# ---- a size, twice and four times that size: what is linear grows by twice as much at the second step as at the first one, and what
# is quadratic by four times as much ----

# The growth of calls at the second step over that at the first one.
MOST_CALLS = 2.05
# The time of the last size over that of the first one: 4 if it is linear, 16 if it is quadratic. Another processor's work changes
# times by a half. Shorter times than the second number tell nothing on a busy machine.
MOST_TIME, SHORT_MS = 7, 5000
MOST_MEMORY_KIB = 1024
# For each file, setup looks up a few names more than a bare loop of copies does.
MOST_OVER_BARE = 3
# An update and an uninstall mark each folder, and the machine holds several copies of all marks in memory.
FILES_IN_FOLDER, LEVELS = 400, 60


def make_records(lab, count):
    names = [f'd{i // FILES_IN_FOLDER}\\f{i}.dat' for i in range(count)]
    make(lab.path(PACKAGE), names)
    folders = [f'Make Dir: d{i}' for i in range(-(-count // FILES_IN_FOLDER))]
    append(lab, PACKAGE, [f'File Copy: {name}' for name in names] + folders)


def make_links(lab, count):
    names = [f'g{i // FILES_IN_FOLDER}\\l{i}.lnk' for i in range(count)]
    make(lab.path(GROUP), names)
    folders = [f'Made Dir: {GROUP}\\g{i}' for i in range(-(-count // FILES_IN_FOLDER))]
    # The group of the last link is the one that an update takes.
    append(lab, PRODUCT, folders + [f'Shell Link: {GROUP}\\{name}' for name in [*names, 'Qantivo 8.lnk']])


def make_folder(lab, count):
    make(lab.path(PACKAGE), [f'many\\f{i}.dat' for i in range(count)])
    append(lab, PACKAGE, ['File Copy: many\\*.*', 'Make Dir: many'])


def make_tree(lab, files_of_level):
    folders = ['\\'.join(['d'] * level) for level in range(1, LEVELS + 1)]
    make(lab.path(PACKAGE), [f'{folder}\\f{i}.dat' for folder in folders for i in range(files_of_level)])
    # "*.*" would match the folder below, too, which can't be copied and ends the pattern. The uninstall removes the folders in the
    # order of the records: the deepest one first.
    append(lab, PACKAGE, [f'File Copy: {folder}\\*.dat' for folder in folders] + [f'Make Dir: {folder}' for folder in reversed(folders)])


# What there can be much of, and the smallest of its three sizes, also in a quick run.
SHAPES = {'records': (make_records, 25000, 250), 'links in the log': (make_links, 25000, 250),
          'files in one folder': (make_folder, 5000, 250), f'files in each of {LEVELS} levels': (make_tree, 100, 5)}


def measure(lab, program, *arguments):
    """Runs a program. Returns its calls, its processor time in ms and its peak memory in KiB."""
    counts = lab.root / 'counts'
    counts.unlink(missing_ok=True)
    environment = dict(os.environ, WINHOST_COUNTS=str(counts), WINHOST_CONCERNS=program.rpartition('\\')[2], WINHOST_CLOCK='virtual')
    output = subprocess.run(['/usr/bin/time', '-f', '%M %U %S', lab.path(program), *arguments], env=environment, check=False,
                            stderr=subprocess.PIPE).stderr.split()[-3:]
    lab.wait()
    if not counts.exists():
        raise Unusable(f'crashed: {program}')
    calls = sum(int(line.split()[1]) for line in counts.read_text().splitlines())
    return calls, round(1000 * sum(map(float, output[1:]))), int(output[0])


def setup(lab):
    return measure(lab, PACKAGE + '\\setup.exe', '-s')


def removal(lab):
    """What the uninstaller does once it runs as a temporary copy."""
    copy = 'C:\\Users\\Ann\\AppData\\Local\\Temp\\uniF.tmp'
    shutil.copy(lab.path(PRODUCT + '\\QtvUnInst.exe'), lab.path(copy))
    return measure(lab, copy, '-delself', PRODUCT + '\\QtvUnInst.exe', '-s')


def measure_size(lab, name, count):
    """Returns the measures of one size by the name of the job."""
    shape = SHAPES[name][0]
    shape(lab, count)
    if shape is make_links:
        assert len(names_below(lab, GROUP)) > count, 'the links are there'
        measures = {'update': setup(lab)}
        assert len(names_below(lab, GROUP)) < 10, 'an update deletes the links of the log'
        shape(lab, count)
        measures['uninstall'] = removal(lab)
        assert not lab.path(GROUP).exists(), 'an uninstall deletes the links of the log'
        return measures
    files = count * (LEVELS if shape is make_tree else 1)
    shutil.rmtree(lab.path(PRODUCT))
    measures = {}
    for job in ('install', 'update'):
        measures[job] = setup(lab)
        assert len(names_below(lab, PRODUCT)) > files, f'all files are there after the {job}'
    measures['uninstall'] = removal(lab)
    assert not lab.path(PRODUCT).exists(), 'all files are removed'
    if shape is make_folder:
        measures['bare loop'] = measure(lab, 'C:\\bare_copy.exe', PACKAGE + '\\many', 'C:\\Bare')
    return measures


def judge(name, job, sizes, bare):
    """Prints the measures of a job. False for one that grows by more than the package does. With a bare loop, the memory counts only
    as far as it exceeds the loop's, and the time of a job that copies is compared with the loop's."""
    (first, first_ms, first_kib), (second, _, _), (third, third_ms, third_kib) = sizes
    calls = (third - second) / max(second - first, 1)
    memory = third_kib - first_kib - (bare[2][2] - bare[0][2] if bare else 0)
    over_bare = bare and job != 'uninstall'
    time, most = third_ms / max(bare[2][1] if over_bare else first_ms, 1), MOST_OVER_BARE if over_bare else MOST_TIME
    good = calls <= MOST_CALLS and (third_ms < SHORT_MS or time <= most) and memory <= MOST_MEMORY_KIB
    print(f'large: {name + ", " + job:42} calls by {calls:.2f}, time {"over a loop of copies " if over_bare else ""}by {time:.2f}, '
          f'last {third_ms / 1000:.1f} s, memory by {memory} KiB to {third_kib} KiB{"" if good else ": TOO MUCH"}', flush=True)
    return good


def growth(lab, prepared, machine, name, smallest):
    sizes = []
    for size in (smallest, smallest * 2, smallest * 4):
        lab.copy(**{'from': prepared, 'to': machine})
        sizes.append(measure_size(lab, name, size))
    bare = [measures['bare loop'] for measures in sizes] if 'bare loop' in sizes[0] else None
    good = [judge(f'{smallest * 4} {name}', job, [measures[job] for measures in sizes], bare) for job in sizes[0] if job != 'bare loop']
    assert all(good), f'{name} cost too much'


# ---- paths up to the longest possible one and beyond it, at each place of a record: what is too long is left out, and nothing else ----

MOST_OF_FILE = 259    # characters of a path
MOST_OF_FOLDER = 247  # of the path of a new folder
MOST_HIDDEN = MOST_OF_FILE - len('.toinst')
MOST_MOVED_ASIDE = MOST_OF_FILE - len('.old')
BEYOND = (-1, 0, 1, 7)  # how much longer than that the paths are
PORTABLE, PORTABLE_PARENT = 'C:\\Portable\\Qantivo 8', 'C:\\Portable'
DEEP = 'deep'.ljust(120, 'x')

# Records of a package with a long name in them: the record, whether source and target are long, what the source is, the folder whose
# path counts with the long name, and the longest path. A deep name has a folder in front of it.
PLACES = [('File Copy: ', True, True, 'file', PRODUCT, MOST_OF_FILE), ('File Copy: ', True, True, 'deep', PRODUCT, MOST_OF_FILE),
          ('File Copy: ', False, True, 'file', PRODUCT, MOST_OF_FILE), ('File Copy: ', True, False, 'file', PACKAGE, MOST_OF_FILE),
          ('File Copy ind: ', True, True, 'file', PRODUCT, MOST_OF_FILE),
          ('Make Dir: ', True, True, 'folder', PRODUCT, MOST_OF_FOLDER),
          # One that can't be hidden meanwhile is found in the package itself, so it counts as one of the system.
          ('File Copy ind: ', True, False, 'library', PACKAGE, MOST_HIDDEN)]
# A portable installation doesn't look for the library elsewhere.
PORTABLE_PLACES = [('File Copy x64: ', True, True, 'file', PORTABLE, MOST_OF_FILE),
                   ('File Copy ind: ', True, False, 'library', PACKAGE, MOST_OF_FILE),
                   ('File Copy prt: ', True, True, 'file', PORTABLE_PARENT, MOST_OF_FILE)]


def make_places(lab, places):
    """Makes the files of the package. Returns the lines of the manifest, and the names that fit in the target by their folder."""
    lines, fitting, number = [], {PRODUCT: set(), PORTABLE: set(), PORTABLE_PARENT: set()}, 0
    target_folder = PORTABLE if places is PORTABLE_PLACES else PRODUCT
    for record, long_source, long_target, kind, folder, most in places:
        for beyond in BEYOND:
            number += 1
            # The system's loader adds an extension to a name without one.
            end = '.dll' if kind == 'library' else ''
            front = f'{DEEP}\\' if kind == 'deep' else ''
            long = f'{front}l{number}_'.ljust(most + beyond - len(folder) - 1 - len(end), 'x') + end
            source, target = long if long_source else f's{number}_', long if long_target else f's{number}_'
            lines.append(record + source + ('' if source == target else f' > {target}'))
            if kind == 'library':
                os.link(lab.path(PACKAGE) / 'runtime9.dll', lab.path(PACKAGE) / source)
            elif kind != 'folder':
                make(lab.path(PACKAGE), [source])
            if beyond <= 0:
                fitting[folder if folder == PORTABLE_PARENT else target_folder].add(target.replace('\\', '/'))
    return lines, fitting


def check(text, found, expected):
    assert found == expected, f'{text}: too much: {sorted(found - expected)}, missing: {sorted(expected - found)}'


def run_well(answer):
    assert not answer['complaint'], answer['complaint']


def update(lab):
    run_well(run_again(lab, SCENARIOS['install']))


def plant(lab, folder, front):
    """Files that are there already, with paths of all lengths in a folder. Returns them, and those that are too long."""
    names = {beyond: f'{front}{beyond}_'.ljust(MOST_OF_FILE + beyond - len(folder) - 1, 'x') for beyond in BEYOND}
    make(lab.path(folder), names.values())
    return set(names.values()), {name for beyond, name in names.items() if beyond > 0}


def records_are_left_out(lab):
    """Installs the records over the sample, and removes all of it."""
    in_target = names_below(lab, PRODUCT)
    lines, fitting = make_places(lab, PLACES)
    lines += [f'Make Dir: {DEEP}']
    # The first failure ends a pattern: what comes after it in the folder's order is left out, too.
    length = MOST_OF_FILE + 1 - len(PRODUCT) - 1 - len('first\\')
    make(lab.path(PACKAGE), ['first\\a', 'first\\' + 'b'.ljust(length, 'x'),
                             'among\\a', 'among\\' + 'b'.ljust(length + 1, 'x'), 'among\\c', 'last'])
    lines += ['File Copy: first\\*.*', 'File Copy: among\\*.*', 'Make Dir: first', 'Make Dir: among']
    # A line that is too long arrives in pieces, none of which is a record here.
    lines += ['File Copy: ' + 'x' * 1500, 'File Copy: last']
    deleted, left = plant(lab, PRODUCT, 'del')
    overwritten, left_too = plant(lab, PRODUCT, 'over')
    lines += [f'File Del: {name}' for name in deleted] + [f'File Overwrite: {name}' for name in overwritten]
    append(lab, PACKAGE, lines)
    update(lab)
    check('installed', names_below(lab, PRODUCT), in_target | fitting[PRODUCT] | left | overwritten
          | {DEEP, 'first', 'first/a', 'among', 'among/a', 'last'})
    run_well(run(lab, UNINSTALL, 'uni*.tmp'))
    lab.restart()
    check('removed', names_below(lab, PRODUCT), left | left_too | {'my notes.txt'})


def portable_records_are_left_out(lab):
    line = f'{PACKAGE}\\setup.exe -s -instport "{PORTABLE}"'
    run_well(run(lab, line, 'setup.exe'))
    expected = names_below(lab, PORTABLE)
    shutil.rmtree(lab.path(PORTABLE))
    lines, fitting = make_places(lab, PORTABLE_PLACES)
    append(lab, PACKAGE, lines)
    run_well(run(lab, line, 'setup.exe'))
    check('portable', names_below(lab, PORTABLE), expected | fitting[PORTABLE])
    around = {name for name in names_below(lab, PORTABLE_PARENT) if not name.startswith('Qantivo 8')}
    check('portable, parent', around, fitting[PORTABLE_PARENT])


def log_lines_are_left_out(lab):
    """An update deletes the links and the groups that the log names."""
    expected = names_below(lab, PROGRAMS)
    links, too_long = plant(lab, PROGRAMS, 'link')
    groups, too_long_groups = plant(lab, PROGRAMS, 'group')
    for name in groups:
        (lab.path(PROGRAMS) / name).unlink()
        (lab.path(PROGRAMS) / name).mkdir()
    append(lab, PRODUCT, [f'Shell Link: {PROGRAMS}\\{name}' for name in links] + [f'Made Dir: {PROGRAMS}\\{name}' for name in groups]
           + [f'Shell Link: {GROUP}\\Qantivo 8.lnk'])
    update(lab)
    check('log', names_below(lab, PROGRAMS), expected | too_long | too_long_groups)


def group_is_left_out(lab, length):
    """An update makes the group of the log's last link anew, and the links in it."""
    group = 'group'.ljust(length - len(PROGRAMS) - 1, 'x')
    expected = set()
    for name in names_below(lab, PROGRAMS):
        moved = name[len('Qantivo 8'):]
        if not name.startswith('Qantivo 8'):
            expected.add(name)
        elif length <= MOST_OF_FOLDER and length + len(moved) <= MOST_OF_FILE:
            expected.add(group + moved)
    append(lab, PRODUCT, [f'Shell Link: {PROGRAMS}\\{group}\\old.lnk'])
    update(lab)
    check(f'group of {length} characters', names_below(lab, PROGRAMS), expected)


def held_file_comes_back(lab, length):
    """A held file whose path has no space for ".old" is deleted at the restart. One more run brings it back."""
    name = 'held'.ljust(length - len(PRODUCT) - 1, 'x')
    make(lab.path(PACKAGE), [name])
    append(lab, PACKAGE, [f'File Copy: {name}'])
    update(lab)
    lab.hold(read=f'{PRODUCT}\\{name}')
    update(lab)
    lab.hold()
    lab.restart()
    assert (lab.path(PRODUCT) / name).exists() == (length <= MOST_MOVED_ASIDE), f'a held file of {length} characters'
    update(lab)
    check('a held file', {name} & names_below(lab, PRODUCT), {name})


def large(setup_program, quick):
    """Large packages and logs, whose calls, times and memory are compared with those of smaller ones, and paths that are too long.
    Sanitizers would keep memory that was freed, so the program is one without them."""
    lab, folder = laboratory.embedded(), new_folder()
    prepared, machine, link = folder / 'prepared', folder / 'machine', len('\\Qantivo 8.lnk')
    prepare(lab, SCENARIOS['uninstall'], prepared, setup_program)
    shutil.copy(HOST / 'bare_copy.exe', prepared / 'C')
    tests = [(records_are_left_out,), (portable_records_are_left_out,), (log_lines_are_left_out,)]
    tests += [(group_is_left_out, length) for length in (MOST_OF_FILE - link, MOST_OF_FILE - link + 1, MOST_OF_FOLDER,
                                                         MOST_OF_FOLDER + 1, MOST_OF_FILE, MOST_OF_FILE + 1)]
    tests += [(held_file_comes_back, length) for length in (MOST_MOVED_ASIDE, MOST_MOVED_ASIDE + 1, MOST_OF_FILE)]
    tests += [(growth, prepared, machine, name, quick_count if quick else count) for name, (_, count, quick_count) in SHAPES.items()]
    good = 0
    for test, *arguments in tests:
        lab.copy(**{'from': prepared, 'to': machine})
        try:
            test(lab, *arguments)
            good += 1
        except AssertionError as wrong:
            print(f'large: {wrong}')
    print(f'large: {good} of {len(tests)} tests are as promised', flush=True)
    return good == len(tests)
