#!/usr/bin/env bash
# usage: scripts/prove.sh [--quick] [--seed=NUMBER] [--call=NAME] [--scenario=NAME] [--setup=PROGRAM] [PART...]
# example: scripts/prove.sh --quick calls kills
#
# Proves what docs/reliability.md promises, without a part all of it. On embedded machines:
#   calls: each call of the system fails     kills: the process is killed at each call, and under Wine at random moments
#   power: it is cut at each step           full: a disk with more and more space
#   two: two runs at once                    list: the shared list of running copies with eight processes
#   updates: an update ends as the whole download does
#   large: packages and logs that grow, paths that are too long, and a download of 5 GB
# Under Wine:
#   rounds: install, update, uninstall and restart, a hundred times      space: a small disk
# On both targets:
#   both: random runs and rehearsals have the same results
# --quick is a short form of each part. --seed names one run of two and both, and the moments of kills; --call one call for calls and
# kills; --scenario one scenario for calls, kills, power and full; --setup another setup program than the one with sanitizers.
# The exit code is 0 if all is as promised, 1 if not, and 2 if it can't be tried.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"
needs host faults >&2
PYTHONDONTWRITEBYTECODE=yes exec /usr/bin/python3 tools/prove/prove.py "$@"
