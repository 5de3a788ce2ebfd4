"""Install, update, uninstall and restart, again and again in one prefix: nothing may grow."""
import os
import resource
import statistics
import time
from pathlib import Path

from machine import UNINSTALLER, bring_packages, differences

# Before that round Wine and the shell still make folders, keys and files of their own.
SETTLED_ROUND = 3
COMPARED_ROUNDS = 10
# The processor's time of a round varies with the load of the machine by about a fifth.
ALLOWED_GROWTH = 1.5
ALLOWED_MORE_FILES = 2
TICK = os.sysconf('SC_CLK_TCK')


class Costs:
    """What a round costs. Only its steps are counted, not the snapshots between them."""

    def __init__(self, server):
        self.server = server
        self.wall = self.processor = 0.0

    def step(self, action, *arguments):
        wall, processor = time.monotonic(), self.processor_seconds()
        action(*arguments)
        self.wall += time.monotonic() - wall
        self.processor += self.processor_seconds() - processor

    def processor_seconds(self):
        fields = Path(f'/proc/{self.server}/stat').read_text().rpartition(')')[2].split()
        children = resource.getrusage(resource.RUSAGE_CHILDREN)
        return (int(fields[11]) + int(fields[12])) / TICK + children.ru_utime + children.ru_stime

    def open_files(self):
        return len(os.listdir(f'/proc/{self.server}/fd'))

    def memory(self):
        """Kilobytes of the server's own memory."""
        for line in Path(f'/proc/{self.server}/status').read_text().splitlines():
            if line.startswith('RssAnon:'):
                return int(line.split()[1])
        raise RuntimeError('no RssAnon')


def one_round(machine, costs):
    """Returns the state after each step."""
    steps = (('install', machine.run, r'C:\Earlier\setup.exe', '-s', '-autostart', '-allusers'),
             ('update', machine.run, r'C:\Package\setup.exe', '-s'),
             ('uninstall', machine.run, UNINSTALLER),
             ('restart', machine.restart_running))
    states = {}
    for name, *action in steps:
        costs.step(*action)
        states[name] = machine.state()
    return states


def run(machine, package, count):
    """Returns the findings."""
    bring_packages(machine, package)
    machine.start_up()
    before = machine.state()
    settled, findings, history = None, [], []
    for number in range(1, count + 1):
        costs = Costs(machine.server_id())
        states = one_round(machine, costs)
        history.append((costs.wall, costs.processor, costs.open_files(), costs.memory(), len(machine.processes())))
        if number == min(SETTLED_ROUND, count - 1):
            settled = states
            check_that_it_worked(before, states, findings)
        elif settled:
            for step, state in states.items():
                findings += [f'round {number}, {step}: {line}' for line in differences(settled[step], state)]
        if number % 20 == 0:
            print(f'soak: {number} rounds, {len(findings)} findings', flush=True)
    machine.shut_down()
    tell(history, findings)
    return findings


def check_that_it_worked(before, states, findings):
    """The comparison of rounds would not notice that all of them do nothing."""
    if len(differences(before, states['install'])) < 50 or len(differences(states['install'], states['update'])) < 3:
        findings.append('the installs change too little')
    left = [line for line in differences(before, states['restart']) if 'Qantivo' in line and 'missing' not in line]
    findings += [f'left after the restart: {line}' for line in left]


def tell(history, findings):
    early, late = history[SETTLED_ROUND - 1:][:COMPARED_ROUNDS], history[-COMPARED_ROUNDS:]

    def medians(column):
        return [statistics.median(row[column] for row in rows) for rows in (early or history, late)]
    wall, processor, files, memory, processes = map(medians, range(5))
    print(f'soak: {len(history)} rounds of install, update, uninstall and restart; a round at the start and at the end: '
          f'{wall[0]:.1f} and {wall[1]:.1f} s, {processor[0]:.2f} and {processor[1]:.2f} s of processor time; '
          f'the server has {files[0]:.0f} and {files[1]:.0f} open files, {memory[0]:.0f} and {memory[1]:.0f} kB', flush=True)
    if len(history) < 2 * COMPARED_ROUNDS:
        return
    if processor[1] > ALLOWED_GROWTH * processor[0]:
        findings.append(f'a round takes {processor[1]:.2f} s of processor time at the end, {processor[0]:.2f} s at the start')
    if files[1] > files[0] + ALLOWED_MORE_FILES or memory[1] > ALLOWED_GROWTH * memory[0] or processes[1] > processes[0]:
        findings.append('the server grows: it has more open files, memory or processes at the end')
