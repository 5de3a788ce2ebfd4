"""The same random runs and rehearsals on both targets, which must have the same results."""
import filecmp
import json
import os
import shutil
import subprocess
from concurrent.futures import ThreadPoolExecutor

from lab import HOST, ROOT, WINDOWS

RUNS, QUICK_RUNS = 300, 2
# The name, the earlier package, and the options of setup.
REHEARSALS = [('fresh', None, ['-s']), ('update', 'package-earlier', ['-s']), ('portable', None, ['-s', '-instport', r'C:\Stick\Qantivo'])]


def share(number, runs, results):
    """Does its runs on both targets, with a Wine prefix of its own. On one processor, Wine and its server, which work in turn, need
    not wake another processor each time. Returns whether all ended well."""
    home = os.environ.get('QTV_WINE_HOME', f'{ROOT}/build/wine')
    environment = dict(os.environ, QTV_RUNS=f'{runs[0]}-{runs[-1]}', QTV_WINE_HOME=f'{home}-{number}')
    programs = [subprocess.Popen(['taskset', '-c', str(number), *command, '--gtest_brief=1'],
                                 env=dict(environment, QTV_RESULTS=folder), cwd=ROOT)
                for command, folder in (([HOST / 'random_runs.exe'], f'{results}/host'),
                                        (['scripts/wine.sh', WINDOWS / 'random_runs.exe'], f'Z:{results}/windows'))]
    return all([program.wait() == 0 for program in programs])


def random_runs(options):
    """Each processor gets an equal share of the runs."""
    runs = range(1, (QUICK_RUNS if options.quick else RUNS) + 1) if options.seed is None else [options.seed]
    results, count = ROOT / 'build/both', len(os.sched_getaffinity(0))
    shutil.rmtree(results, ignore_errors=True)
    for target in ('host', 'windows'):
        (results / target).mkdir(parents=True)
    shares = [runs[len(runs) * number // count:len(runs) * (number + 1) // count] for number in range(count)]
    with ThreadPoolExecutor(count) as pool:
        good = all(list(pool.map(lambda job: not job[1] or share(*job, results), enumerate(shares))))
    names = [str(number) for number in runs]
    _, different, missing = filecmp.cmpfiles(results / 'host', results / 'windows', names, shallow=False)
    for name in different:
        subprocess.run(['diff', '-u', results / 'host' / name, results / 'windows' / name], check=False)
    if different or missing:
        print(f'both: the targets differ in the runs {", ".join(different + missing)}; the results are in {results}')
    print(f'both: {len(names)} random runs, {len(names) - len(different + missing)} have the same results on both targets', flush=True)
    return good and not different and not missing


def rehearse(build, earlier, arguments):
    """The report, without the names of the package and the machine."""
    command = [HOST / 'rehearse', '--json', build / 'package', *(['--wine'] if build == WINDOWS else []),
               *(['--earlier', build / earlier] if earlier else []), '--', *arguments]
    output = subprocess.run(command, stdout=subprocess.PIPE, env=dict(os.environ, QTV_WINDOWS_BUILD=str(WINDOWS)), check=False)
    return {name: value for name, value in json.loads(output.stdout).items() if name not in ('package', 'machine')}


def rehearsals():
    good = True
    jobs = [(build, earlier, arguments) for _, earlier, arguments in REHEARSALS for build in (HOST, WINDOWS)]
    with ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        reports = pool.map(lambda job: rehearse(*job), jobs)
    for name, _, _ in REHEARSALS:
        ours, theirs = next(reports), next(reports)
        print(f'both: a rehearsal reports {"the same" if ours == theirs else "ANOTHER THING"} on both targets: {name}', flush=True)
        if ours != theirs:
            print(f'  {json.dumps(ours)}\n  {json.dumps(theirs)}')
        good = good and ours == theirs
    return good


def both(options):
    good = random_runs(options)
    return (options.seed is not None or rehearsals()) and good
