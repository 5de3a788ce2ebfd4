"""One disturbance in each run: a call fails, the process is killed, the power is cut, the disk is full, or another run goes on."""
import random

from exceptions import AT_ONCE, FOR_GOOD, LASTING, RUN, report
from judge import odd_items
from lab import UNINSTALL, Unusable
from scenarios import INSTALL, SCENARIOS, WIZARD, run_again, run_in_use

# In a quick run: all uses of a call together, and one of this many single uses.
QUICK_STEP = 11
# The smallest number of cuts for each scenario in a whole run, and the number in a quick one.
CUTS, QUICK_CUTS, QUICK_RESTARTS = 1200, 6, 2
# The spaces of a scenario are divided into shares.
SHARES, QUICK_SHARES = 16, 3
# In every fourth of the cuts the restart is cut too, at one of these steps.
CUT_RESTART_EACH, RESTART_STEPS = 4, 9
UNLIMITED = 2**64 - 1


def try_all(benches, options, prefix, plan):
    """`plan` returns the jobs of a scenario."""
    chosen = [each for each in SCENARIOS.values() if options.scenario in (None, each.name)]
    jobs = [job for scenario in chosen for job in plan(scenario)]
    results = benches.for_each(disturb, jobs)
    whole = not (options.quick or options.call or options.scenario)
    return report([trial for trials in results for trial in trials], prefix, whole)


def disturb(benches, lab, own, scenario, disturbance, cut_restart=None, restart_step=None, end_of_spaces=0):
    """Returns trials as report takes them: one, or one for each space below the end at which something changes."""
    name, trials = scenario.name, []
    if restart_step is not None:
        problems = benches.attempt_restart(lab, own, scenario, restart_step)
        return [(f'{name}, restart', name, 'power:restart', f'after step {restart_step}', problems)]
    while True:
        problems, answer = benches.attempt(lab, own, scenario, disturbance, cut_restart)
        group = name
        if 'steps' in disturbance:
            call, text = f'power:{answer["met"]}', f'the power is cut after step {disturbance["steps"]}'
            text += f', and in the restart after {cut_restart}' if cut_restart else ''
        elif 'space' in disturbance:
            call, text = f'full:{answer["met"]}', f'a disk for {disturbance["space"]} bytes'
        else:
            kills, use = 'kills' in disturbance, f'#{disturbance["nth"]}' if disturbance['nth'] else ', every use,'
            group += '' if kills else ', a call fails'
            call = ('kill:' if kills else '') + disturbance['call']
            text = f'{disturbance["watched"]}{" killed at " if kills else ": "}{disturbance["call"]}{use}'
        trials.append((group, name, call, text, problems))
        if answer.get('leastRefused', UNLIMITED) >= end_of_spaces:
            return trials
        disturbance = {'space': answer['leastRefused']}


def at_each_call(benches, options, kills):
    counts = {name: reference['calls'] for name, reference in benches.references.items()}
    known = {call for programs in counts.values() for calls in programs.values() for call in calls}
    if options.call and options.call not in known:
        raise Unusable(f'no scenario makes the call {options.call}; the calls are {", ".join(sorted(known))}')
    place = 0

    def plan(scenario):
        nonlocal place
        for program, calls in counts[scenario.name].items():
            for call, count in sorted(calls.items()):
                if options.call not in (None, call):
                    continue
                # Chance decides how often the wizard waits for messages. So a call that only the wizard makes fails at every
                # use, and the process is killed only at its first use.
                one = scenario.name == 'install-wizard' and call not in counts['install']['setup.exe']
                uses = [1] if one and kills else [] if one or (count == 1 and not kills) else range(1, count + 1)
                if options.quick and not one:
                    uses = [nth for nth in uses if (place := place + 1) % QUICK_STEP == 0]
                for nth in uses if kills else [0, *uses]:
                    yield scenario, {'watched': program, 'call': call, 'nth': nth, **({'kills': 1} if kills else {})}
    return try_all(benches, options, 'kill:' if kills else '', plan)


def calls(benches, options):
    """Every platform call of an installation, an update and an uninstall fails, one run for each call."""
    return at_each_call(benches, options, kills=False)


def kills(benches, options):
    """The process is killed at every call."""
    return at_each_call(benches, options, kills=True)


def run_within(benches, scenario, **limits):
    """Runs the scenario within the limits in a copy of the machine, which stays entered."""
    benches.enter(benches.lab, scenario.name, benches.folder / 'machine')
    return run_in_use(benches.lab, scenario, scenario.programs[0], limits)


def full(benches, options):
    """A disk with more and more space: every limit at which something changes."""
    def plan(scenario):
        if scenario.name == 'install-wizard':
            return  # It uses the same calls to change the machine as the silent one.
        # A disk may have less space than a deletion frees, because other programs use that space at once.
        least = run_within(benches, scenario, space=0)['leastRefused']
        without = benches.lab.used()['bytes']
        run_within(benches, scenario, space=UNLIMITED)
        most = max(benches.lab.used()['bytes'], without, least + 1)
        count = QUICK_SHARES if options.quick else SHARES
        spaces = [least + (most - least) * number // count for number in range(count)] + [UNLIMITED]
        for number, (space, end) in enumerate(zip(spaces, spaces[1:])):
            yield scenario, {'space': space if number else 0}, None, None, space if options.quick else end
    return try_all(benches, options, 'full:', plan)


def power(benches, options):
    """The power is cut at every step of an installation, an update and an uninstall, and of the restart after them."""
    def plan(scenario):
        if scenario.command == WIZARD or scenario.downloads:
            return
        steps = run_within(benches, scenario, space=UNLIMITED)['steps']
        count = QUICK_CUTS if options.quick else max(steps, CUTS)
        for number in range(count):
            # If there are few steps, each is cut several times, with another cut of the restart each time.
            cut_restart = number // steps or (number % CUT_RESTART_EACH == 0 and number // CUT_RESTART_EACH % RESTART_STEPS + 1)
            step = steps * number // count if options.quick else number % steps
            yield scenario, {'watched': '*', 'steps': step}, cut_restart or None
        in_restart = benches.lab.restart()['steps']
        print(f'power:{scenario.name}: {steps} steps, {in_restart} of the restart after it', flush=True)
        for step in range(0, in_restart, in_restart // QUICK_RESTARTS + 1 if options.quick else 1):
            yield scenario, None, None, step
    return try_all(benches, options, 'power:', plan)


# ---- two runs at once ----

SEEDS, QUICK_SEEDS = 600, 8
# The name, the scenario of the machine, which is new for 'install', and the first and the second run.
PAIRS = [('two fresh installations', 'install', 'install', 'install'),
         ('two installations', 'uninstall', 'install', 'install'),
         ('an installation, then a removal', 'uninstall', 'install', 'uninstall'),
         ('a removal, then an installation', 'uninstall', 'uninstall', 'install'),
         ('two removals', 'uninstall', 'uninstall', 'uninstall'),
         ('a wizard, then an installation', 'uninstall', 'wizard', 'install'),
         ('a wizard, then a removal', 'uninstall', 'wizard', 'uninstall'),
         ('a removal, then a wizard', 'uninstall', 'uninstall', 'wizard')]
LINES = {'install': INSTALL, 'wizard': WIZARD, 'uninstall': UNINSTALL}


def scenario_of(run):
    """The wizard's install ends as the silent one."""
    return SCENARIOS['uninstall' if run == 'uninstall' else 'install']


def end_of(benches, machine, *runs):
    """The machine after undisturbed runs, one after the other, with a restart after each."""
    benches.enter(benches.lab, machine, benches.folder / 'reference')
    for run in runs:
        if complaint := run_again(benches.lab, scenario_of(run))['complaint']:
            raise Unusable(complaint)
        benches.lab.restart()
    return benches.lab.state()


def finish(lab, scenario, ends):
    """One more run and a restart. Returns the difference from a machine of undisturbed runs. After a removal that left something,
    the product is installed and removed once more."""
    problems = []

    def run(scenario):
        if complaint := run_again(lab, scenario)['complaint']:
            problems.append((RUN, 'a later run', complaint))
        lab.restart()
    run(scenario)
    first = odd_items(FOR_GOOD, lab.state(), *ends)
    if not first or scenario.installs:
        return problems + first
    run(SCENARIOS['install'])
    run(scenario)
    lasting = odd_items(FOR_GOOD, lab.state(), *ends)
    items = {item for _, item, _ in lasting}
    return problems + lasting + [(LASTING, item, what) for _, item, what in first if item not in items]


def try_pair(benches, lab, own, pair, seed, ends, others):
    name, machine, first, second = pair
    chance = random.Random(seed)
    benches.enter(lab, machine, own / 'machine')
    answer = lab.run(command=LINES[first], second=LINES[second], delay=chance.randrange(100), yes=1, presses=seed if 'wizard' in pair else None)
    problems = [(RUN, 'the runs', 'hang')] if answer['end'] == 'late' else []
    problems += [(RUN, 'exit code', str(code)) for code in (answer['exitCode'], answer['secondExitCode']) if code > 1]
    if answer['errors']:
        problems.append((RUN, 'standard error', ' '.join(answer['errors'].split())))
    now = lab.state()
    problems += [(AT_ONCE, item, now.get(item, 'gone')) for item, what in others.items() if now.get(item) != what]
    lab.restart()
    last = scenario_of(second)
    return name, last.name, 'two:', f'seed {seed}', problems + finish(lab, last, ends)


def two(benches, options):
    """Two setups, a setup and an uninstaller, or two uninstallers at once on one machine, silent and with the wizard."""
    # The machine after the last run: with the two runs of the pair before it, one after the other, and without them.
    ends = {pair: [end_of(benches, *pair[1:], pair[3]), end_of(benches, pair[1], pair[3])] for pair in PAIRS}
    removed = end_of(benches, 'uninstall', 'uninstall')
    # What no run changes.
    others = {machine: dict(removed.items() & end_of(benches, machine, 'install').items()) for machine in ('install', 'uninstall')}
    seeds = range(QUICK_SEEDS if options.quick else SEEDS) if options.seed is None else [options.seed]
    jobs = [(pair, seed, ends[pair], others[pair[1]]) for seed in seeds for pair in [PAIRS[seed % len(PAIRS)]]]
    # What a run meets is a matter of chance, so a row of the table need not be used each time.
    return report(benches.for_each(try_pair, jobs), 'two:', whole=False)
