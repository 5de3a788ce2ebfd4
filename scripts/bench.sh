#!/usr/bin/env bash
# usage: scripts/bench.sh [--quick] [WHAT...]
# example: scripts/bench.sh --quick growth memory
#
# Measures the product under Wine. Each figure is a ratio between two programs that run in turn, or memory. Prints a table with each
# figure and its bound. The exit code is not 0 if a figure is above its bound. Wine's prefix and all files are in memory.
# --quick: fewer rounds. WHAT: small large growth application download update memory; without it, all.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"
needs bench
build windows timed bare_copy sample_package
PYTHONDONTWRITEBYTECODE=yes exec /usr/bin/python3 bench/bench.py "$@"
