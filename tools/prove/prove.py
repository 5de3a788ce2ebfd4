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
from lab import HOST, ROOT, Unusable
from large import large
from scenarios import SCENARIOS
from updates import updates

ASAN = ROOT / 'build/host-asan'
PARTS = ('calls', 'kills', 'power', 'full', 'two', 'updates', 'list', 'large', 'rounds', 'space', 'both')


def read_arguments():
    parser = argparse.ArgumentParser('prove', add_help=False, allow_abbrev=False)  # scripts/prove.sh tells what they are
    parser.add_argument('--quick', action='store_true')
    parser.add_argument('--seed', type=int)
    parser.add_argument('--call')
    parser.add_argument('--scenario', choices=SCENARIOS)
    parser.add_argument('--setup', type=Path)
    parser.add_argument('parts', nargs='*', metavar='PART')
    options = parser.parse_intermixed_args()
    if odd := [part for part in options.parts if part not in PARTS]:
        parser.error(f'no part {odd[0]}; the parts are {", ".join(PARTS)}')
    options.parts = options.parts or (('calls', 'kills') if options.call or options.scenario else PARTS)
    return options


def build(preset, *targets):
    if options.setup:
        return  # it comes from a build, which has the other programs too
    command = '. scripts/lib.sh; [ "$1" != windows ] || needs windows >/dev/null; build "$@"'
    subprocess.run(['bash', '-c', command, 'prove', preset, *targets], cwd=ROOT, check=True)


def passes(room, test):
    """Runs a test of a room, also one that takes too long for the others."""
    build('host', f'{room}_tests')
    return subprocess.run([HOST / f'{room}_tests.exe', '--gtest_brief=1', '--gtest_also_run_disabled_tests', f'--gtest_filter=*{test}'],
                          check=False).returncode == 0


def jobs():
    """Yields each part with what it does."""
    for_both = ['random_runs', 'rehearse'] if 'both' in options.parts else []
    if set(options.parts) - {'rounds', 'space'}:
        build('host', 'lab', 'setup', 'download', 'download_make', 'bare_copy', 'sample_package_earlier', 'regsvr32', *for_both)
    if on_benches := [part for part in options.parts if part in ('calls', 'kills', 'power', 'full', 'two')]:
        build('host-asan', 'setup', 'download')
        benches = Benches(options.setup or ASAN / 'setup.exe')
        for part in on_benches:
            yield part, lambda part=part: getattr(disturbed, part)(benches, options)
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
    if wine or for_both:
        build('windows', 'lab', 'sample_package_earlier', *for_both)
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
