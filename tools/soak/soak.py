#!/usr/bin/env python3
"""Stress runs under Wine, in a prefix of their own.

BUILD is the build folder of the Windows target, WORK a folder for the prefix. docs/reliability.md says what is promised.
"""
import argparse
import sys
from pathlib import Path

import kills
import room
import rounds
from machine import Hang, Machine


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument('build', type=Path)
    arguments.add_argument('work', type=Path)
    arguments.add_argument('parts', nargs='*', metavar='rounds|kills|room')
    arguments.add_argument('--quick', action='store_true')
    arguments.add_argument('--seed', type=int, default=1)
    arguments.add_argument('--count', type=int, help='of rounds and of kills; without it a hundred, and a few with --quick')
    options = arguments.parse_intermixed_args()
    package = options.build.resolve() / 'package'
    count = options.count or (4 if options.quick else 100)
    parts = {'rounds': lambda: rounds.run(machine, package, count),
             'kills': lambda: kills.run(machine, package, count, options.seed),
             'room': lambda: room.run(machine, package, options.quick)}
    if unknown := set(options.parts) - parts.keys():
        arguments.error(f'unknown: {unknown}')
    chosen = options.parts or list(parts)
    if 'room' in chosen:
        # All parts then run in the namespace, and this one last, because it stays on the small disc.
        chosen.sort(key='room'.__eq__)
        room.enter_namespace()
    machine = Machine(options.work.resolve() / 'home', options.build.resolve() / 'snapshot.exe')
    findings = []
    for name in chosen:
        try:
            findings += parts[name]()
        except Hang as hang:
            findings.append(f'{name}: hang: {hang}')
        finally:
            machine.shut_down()
    for line in machine.complaints.read_text(errors='replace').splitlines():
        print(f'soak: Wine: {line}', file=sys.stderr)
    for line in findings:
        print(f'soak: FOUND: {line}', file=sys.stderr)
    return 1 if findings else 0


if __name__ == '__main__':
    sys.exit(main())
