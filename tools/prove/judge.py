"""One disturbed run on an embedded machine, and what is wrong with the machine after it."""
import atexit
import hashlib
import json
import multiprocessing
import os
import re
import shutil
import signal
import tempfile
from concurrent.futures import ProcessPoolExecutor
from concurrent.futures.process import BrokenProcessPool
from pathlib import Path

import lab as laboratory
from exceptions import AT_ONCE, COPY, EXCEPTIONS, FOR_GOOD, LASTING, LOST, OFF_COURSE, RUN, SECOND, TARGET, met
from lab import Unusable
from own_items import Trace
from scenarios import SCENARIOS, install, prepare, run_again, run_in_use

ROOM_NEEDED = 1 << 30
GONE = 'gone'


def place_to_work():
    """Returns a folder on a file system that can run programs and has space, in memory if possible."""
    for folder in ('/dev/shm', tempfile.gettempdir()):
        status = os.statvfs(folder) if os.access(folder, os.W_OK) else None
        if status and not status.f_flag & os.ST_NOEXEC and status.f_bavail * status.f_frsize >= ROOM_NEEDED:
            return folder
    raise Unusable('no folder with 1 GB of space')


def new_folder(parent=None):
    """Makes a folder in the place to work, or elsewhere. It is removed when the program ends."""
    folder = Path(tempfile.mkdtemp(prefix='prove.', dir=parent or place_to_work()))
    atexit.register(shutil.rmtree, folder, ignore_errors=True)
    return folder


def what(state, item):
    """The place of a mark in the list does not count."""
    found = state.get(item, GONE)
    return 'marked' if item.startswith('mark: ') and found != GONE else found


def is_seen(item):
    """Whether a person sees it, in contrast to what the machine holds."""
    return item.partition(':')[0] in ('exit code', 'messages', 'programs', 'pages')


def odd_items(stage, now, *allowed):
    """A problem for each item whose present state is in none of the allowed machines."""
    return [(stage, item, what(now, item)) for item in sorted(set(now).union(*allowed))
            if all(what(state, item) != what(now, item) for state in allowed)]


def points_of(course, before, after):
    """The machines that a killed process may leave. Each item stands at one point of its course: an item whose changes are all done is as
    after the run, one whose changes are all lost as before it. One between them may also be gone, if a change has taken it away."""
    early, late, between = {}, {}, {}
    for item in before.keys() | after.keys():
        done, lost = course(item)
        is_taken = done and lost and any(re.match('(Reg)?Delete|Move|Remove', call.name) for call in done)
        first, last = before if lost else after, after if done else before
        for machine, source in ((early, first), (late, last), (between, {} if is_taken else first)):
            if item in source:
                machine[item] = source[item]
    return early, late, between


class Benches:
    """All scenarios, each with its machine and with the machines and calls of an undisturbed run, in the place to work."""

    def __init__(self, setup):
        self.folder = new_folder()
        (self.folder / 'known').mkdir()
        self.lab, self.references = laboratory.embedded(), {}
        for scenario in SCENARIOS.values():
            prepare(self.lab, scenario, self.folder / scenario.name, setup)
            self.references[scenario.name] = self.make_reference(scenario)
        self.check_rows()

    def check_rows(self):
        """No row of the table may reach what isn't the product's: what a machine holds before, or the same of the maker's other product."""
        before, after = (self.references['install'][name] for name in ('before', 'after'))
        others = {item.replace('Qantivo 8', 'Qantivo 7'): found for item, found in after.items() if re.match(r'(HK|C:|<|mark).*Qantivo 8', item)}
        for item, found in {**before, **others}.items():
            for row in EXCEPTIONS:
                if not item.startswith('C:\\Package\\') and (met(row[4], f'{item}: {found}') or met(row[4], f'{item}: {GONE}')):
                    raise Unusable(f'the exception {row[0]} reaches {item}')

    def enter(self, lab, name, machine):
        lab.copy(**{'from': self.folder / name, 'to': machine})

    def make_reference(self, scenario):
        calls, traces = {}, {}
        for program in scenario.programs:
            self.enter(self.lab, scenario.name, self.folder / 'reference')
            before = self.lab.state()
            answer = run_in_use(self.lab, scenario, program, {'trace': 1})
            if answer['complaint']:
                raise Unusable(f'{scenario.name}, undisturbed: {answer["complaint"]}')
            calls[program], traces[program] = answer['calls'], Trace(answer['trace'])
            after = {**self.lab.state(), **answer['shown']}
            self.lab.restart()
        return {'before': before, 'after': after, 'restarted': self.lab.state(), 'calls': calls, 'traces': traces}

    def odd_now(self, state, scenario, disturbance, shown):
        """Each item must be as before, or as an undisturbed run leaves it, now or after the restart. If the process is killed, each stands
        at one point of its course. If a call fails and the program lives on, all but the call's own items must be as the undisturbed
        run leaves them, and so must what a person sees (`shown`). A download does all of it or nothing."""
        reference = self.references[scenario.name]
        before, after, _ = machines = [reference[name] for name in ('before', 'after', 'restarted')]
        program, call = disturbance.get('watched'), disturbance.get('call')
        if call is None:
            return odd_items(AT_ONCE, state, *machines)
        use = program, call, disturbance['nth'], reference['calls'][program][call]
        if 'kills' in disturbance:
            course = reference['traces'][program].course(*use)
            return odd_items(OFF_COURSE, state, *points_of(course, before, after)) if course else odd_items(AT_ONCE, state, *machines)
        state = {**state, **shown}
        if scenario.downloads:
            installed = any(item.startswith(f'programs: "{TARGET}') for item in shown)
            return odd_items(LOST, state, after if installed else {**before, 'exit code': shown['exit code']})
        settles, is_own = reference['traces'][program].own(*use)
        # The copy of an uninstaller stays if it can't be started.
        changed = any(not is_seen(item) and not met(COPY, f'{item}: {now}') for _, item, now in odd_items(AT_ONCE, state, before))
        odd = odd_items(AT_ONCE, state, *machines) + (odd_items(LOST, state, after) if changed or not settles else [])
        return [problem for problem in odd if not is_own(problem[1]) or problem[0] == AT_ONCE and (settles or not is_seen(problem[1]))]

    def remedied(self, lab, scenario, stage):
        """What differs from the undisturbed machine after one more run and a restart."""
        complaint = run_again(lab, scenario)['complaint']
        lab.restart()
        problems = odd_items(stage, lab.state(), self.references[scenario.name]['restarted'])
        return problems + ([(RUN, 'a later run', complaint)] if complaint else [])

    def try_remedies(self, lab, scenario, spare, cut_restart):
        """Tries one remedy after the other, each stronger than the last one. A problem counts for the last remedy that left it.
        Without the spare machine, the power was cut, and the machine was restarted before everything else."""
        tries = []
        if spare:
            tries.append(self.remedied(lab, scenario, SECOND))
            lab.enter(root=spare)
        if cut_restart:
            lab.restart(steps=cut_restart)
        lab.restart()
        problems = self.odd_now(lab.state(), scenario, {}, {})
        if not spare or tries[-1]:
            tries.append(self.remedied(lab, scenario, FOR_GOOD if scenario.installs else LASTING))
        if tries[-1] and not scenario.installs:
            install(lab)
            tries.append(self.remedied(lab, scenario, FOR_GOOD))
        for tried, later in zip(tries, [*tries[1:], None]):
            problems += [problem for problem in tried if later is None or problem[1] not in {item for _, item, _ in later}]
        return problems

    def attempt(self, lab, own, scenario, disturbance, cut_restart=None):
        """Tries one disturbance. Returns the problems and what was met. No machine is examined twice, not even by another process."""
        machine, spare = own / 'machine', own / 'spare'
        self.enter(lab, scenario.name, machine)
        answer = run_in_use(lab, scenario, disturbance.get('watched', scenario.programs[0]), disturbance)
        problems = [(RUN, 'the run', answer['complaint'])] if answer['complaint'] else []
        left, cut = lab.state(), 'steps' in disturbance
        problems += self.odd_now(left, scenario, disturbance, answer['shown'])
        digest = hashlib.sha1(json.dumps([left, scenario.name, cut, cut_restart], sort_keys=True).encode()).hexdigest()
        record = self.folder / 'known' / digest
        if not record.exists():
            if not cut:
                lab.copy(**{'from': machine, 'to': spare})
                lab.enter(root=machine)
            found = self.try_remedies(lab, scenario, None if cut else spare, cut_restart)
            fresh = record.with_suffix(f'.{os.getpid()}')
            fresh.write_text(json.dumps(found))
            fresh.rename(record)
        problems += map(tuple, json.loads(record.read_text()))
        return list(dict.fromkeys(problems)), answer

    def attempt_restart(self, lab, own, scenario, step):
        """Runs the scenario undisturbed, and cuts the power at a step of the restart, which is then begun again."""
        self.enter(lab, scenario.name, own / 'machine')
        run_in_use(lab, scenario, scenario.programs[0])
        lab.restart(steps=step)
        return self.try_remedies(lab, scenario, None, None)

    def for_each(self, task, jobs):
        """Calls task(benches, lab, folder, *job) for each job, distributed over the processors. Returns the results in a list."""
        try:
            with ProcessPoolExecutor(mp_context=multiprocessing.get_context('fork'), initializer=begin_worker, initargs=(self, task)) as pool:
                return list(pool.map(do_job, jobs))
        except BrokenProcessPool:
            raise Unusable('a worker of the proof was ended from outside') from None


def begin_worker(benches, task):
    # The pool ends its workers by this. One that first tidied up as the command does would wait for its pool for ever.
    signal.signal(signal.SIGTERM, signal.SIG_DFL)
    own = Path(tempfile.mkdtemp(prefix='worker.', dir=benches.folder))
    do_job.call = lambda job: task(benches, do_job.lab, own, *job)
    do_job.lab = laboratory.embedded()


def do_job(job):
    return do_job.call(job)
