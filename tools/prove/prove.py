#!/usr/bin/python3
"""Proves what docs/reliability.md promises.

Exits with 0 if all is as promised, with 1 if not, and with 2 if it can't be tried."""
import argparse
import fcntl
import os
import signal
import subprocess
import sys
import time
from pathlib import Path

import disturbed
import under_wine
from both import both
from exceptions import all_rows_needed, document_agrees
from judge import Benches, new_folder
from lab import HOST, ROOT, WINDOWS, Unusable
from large import large
from scenarios import SCENARIOS
from updates import updates

ASAN = ROOT / 'build/host-asan'
PARTS = ('calls', 'kills', 'power', 'full', 'two', 'updates', 'list', 'large', 'rounds', 'space', 'both')


class Parser(argparse.ArgumentParser):
    def error(self, message):
        raise Unusable(message)


def read_arguments():
    parser = Parser(add_help=False, allow_abbrev=False)  # scripts/prove.sh tells what they are
    parser.add_argument('--quick', action='store_true')
    parser.add_argument('--seed', type=int)
    parser.add_argument('--call')
    parser.add_argument('--scenario', choices=SCENARIOS)
    parser.add_argument('--setup', type=Path)
    parser.add_argument('parts', nargs='*', metavar='PART')
    options, unknown = parser.parse_known_intermixed_args()
    if unknown:
        raise Unusable(f'no option {unknown[0]}; the options are {", ".join(parser._option_string_actions)}')
    if odd := [part for part in options.parts if part not in PARTS]:
        raise Unusable(f'no part {odd[0]}; the parts are {", ".join(PARTS)}')
    one = options.call or options.scenario
    options.parts = options.parts or (['calls', 'kills'] if one else list(PARTS))
    return options


def build(folder, preset, *targets):
    if options.setup:
        return  # it comes from a build, which has the other programs too
    if preset == 'windows':
        subprocess.run(['scripts/bootstrap.sh', 'windows'], cwd=ROOT, stdout=subprocess.DEVNULL, check=True)
    if not (folder / 'CMakeCache.txt').exists():
        subprocess.run(['cmake', '--preset', preset, '-B', folder], cwd=ROOT, stdout=subprocess.DEVNULL, check=True)
    subprocess.run(['cmake', '--build', folder, '--target', *targets, '--', '--quiet'], cwd=ROOT, check=True)


def on_benches():
    """Runs the parts that use the scenarios. Yields the name of each, and whether all is as promised."""
    parts = [part for part in options.parts if part in ('calls', 'kills', 'power', 'full', 'two')]
    if not parts:
        return
    build(ASAN, 'host-asan', 'setup', 'download')
    benches = Benches(options.setup or ASAN / 'setup.exe')
    for part in parts:
        yield part, lambda part=part: getattr(disturbed, part)(benches, options)


def passes(room, test):
    """Runs a test of a room, also one that takes too long for the others."""
    build(HOST, 'host', f'{room}_tests')
    return subprocess.run([HOST / f'{room}_tests.exe', '--gtest_brief=1', '--gtest_also_run_disabled_tests', f'--gtest_filter=*{test}'],
                          check=False).returncode == 0


def jobs():
    """Yields each part with what it does."""
    if set(options.parts) - {'rounds', 'space'}:
        build(HOST, 'host', 'lab', 'setup', 'download', 'download_make', 'bare_copy', 'sample_package_earlier',
              'regsvr32', *(['random_runs', 'rehearse'] if 'both' in options.parts else []))
    yield from on_benches()
    if 'updates' in options.parts:
        yield 'updates', lambda: updates(options.setup or HOST / 'setup.exe', options.quick)
    if 'list' in options.parts:
        yield 'list', lambda: passes('instances', 'WithoutLosingAnEntry' if options.quick else 'TenThousandTimes')
    if 'large' in options.parts:
        yield 'large', lambda: large(options.setup or HOST / 'setup.exe', options.quick) and (
            options.quick or passes('download', 'FiveGigabytesAreUnpacked'))
    one = options.call or options.scenario or options.setup
    wine = [part for part in (under_wine.rounds, under_wine.kills, under_wine.space)
            if part.__name__ in options.parts and not (one and part is under_wine.kills)]
    if wine or 'both' in options.parts:
        build(WINDOWS, 'windows', 'lab', 'sample_package_earlier', *(['random_runs', 'rehearse'] if 'both' in options.parts else []))
    for part in wine:
        yield f'{part.__name__} under Wine', lambda part=part: under_wine.under_wine(part, new_folder(HOST.parent), options)
    if 'both' in options.parts:
        yield 'both', lambda: both(options)


def main():
    lock = open(HOST / '.prove', 'w')  # a machine of the same build can't be used twice
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except OSError:
        raise Unusable('another run uses the machines of this folder') from None
    good = document_agrees()
    for part, job in jobs():
        started = time.monotonic()
        as_promised = job()
        print(f'{part}: {"as promised" if as_promised else "NOT AS PROMISED"}, {time.monotonic() - started:.0f} s', flush=True)
        good = good and as_promised
    return 0 if all_rows_needed() and good else 1


if __name__ == '__main__':
    try:
        signal.signal(signal.SIGTERM, lambda number, frame: sys.exit(128 + number))  # so that folders are removed
        options = read_arguments()
        os.makedirs(HOST, exist_ok=True)
        if 'space' in options.parts:
            under_wine.enter_namespace()
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
    except (Unusable, OSError, subprocess.SubprocessError) as failure:
        print(f'prove: {failure}', file=sys.stderr)
        sys.exit(2)
