"""`kill -9` at random moments of an install: a second run and a restart leave the machine of an undisturbed run."""
import random
import signal
import statistics
import time
from collections import Counter

from machine import INSTALL_FOLDER, bring_packages, differences, is_known

SETUP = (r'C:\Package\setup.exe', '-s', '-autostart')
UNDISTURBED_RUNS = 3
# A program begins suspended. If its parent is killed before it lets it run, it waits until the machine is shut down.
ORPHAN_SECONDS = 10


def undisturbed(machine, clean):
    """Returns the seconds that an install takes, and the state after a second run and a restart."""
    seconds = []
    for _ in range(UNDISTURBED_RUNS):
        begin(machine, clean)
        started = time.monotonic()
        machine.start(*SETUP).communicate()
        seconds.append(time.monotonic() - started)
        machine.settle()
    once = restarted(machine)
    begin(machine, clean)
    for _ in range(2):
        machine.run(*SETUP)
    return statistics.median(seconds), once, restarted(machine)


def begin(machine, clean):
    machine.shut_down()
    machine.restore(clean)
    machine.start_up()


def restarted(machine):
    machine.restart()
    return machine.state()


def reached(machine, files_of_product):
    """How far the install was when it was killed."""
    folder = machine.drive / INSTALL_FOLDER
    there = sum(path.is_file() for path in folder.rglob('*')) if folder.exists() else 0
    if there == 0:
        return 'before the first file'
    return 'among the files' if there < files_of_product else 'after the last file'


def run(machine, package, count, seed):
    """Kills `count` installs. Returns the findings."""
    chance = random.Random(seed)
    bring_packages(machine, package)
    clean = machine.home.parent / 'clean'
    machine.save(clean)
    seconds, once, expected = undisturbed(machine, clean)
    files = sum(path.is_file() for path in (machine.drive / INSTALL_FOLDER).rglob('*'))
    findings = [f'two undisturbed runs: {line}' for line in differences(once, expected)]
    places, attempts, known, orphans = Counter(), 0, 0, 0
    while places.total() < count:
        attempts += 1
        if attempts > 3 * count + 10:
            findings.append(f'only {places.total()} of {attempts} installs could be killed')
            break
        begin(machine, clean)
        moment = chance.uniform(0, seconds)
        program = machine.start(*SETUP)
        time.sleep(moment)
        program.send_signal(signal.SIGKILL)
        program.stdout.close()
        program.wait()
        if program.returncode != -signal.SIGKILL:
            continue  # It had ended before.
        orphans += machine.abandon(ORPHAN_SECONDS)
        places[reached(machine, files)] += 1
        machine.run(*SETUP)
        found = differences(expected, restarted(machine))
        known += any(map(is_known, found))
        findings += [f'attempt {attempts} of seed {seed}, killed after {moment:.3f} s: {line}' for line in found
                     if not is_known(line)]
        if places.total() % 20 == 0:
            print(f'soak: {places.total()} killed, {len(findings)} findings', flush=True)
    machine.shut_down()
    machine.restore(clean)
    told = ', '.join(f'{number} {place}' for place, number in sorted(places.items()))
    print(f'soak: {places.total()} installs killed at a random moment of their {seconds:.2f} s: {told}; '
          f'{known} times a known exception; {orphans} programs were left suspended', flush=True)
    return findings
