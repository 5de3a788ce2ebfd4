#!/usr/bin/env bash
# Makes every platform call of an installation, an update and an uninstall fail, or kills the program at it, one run for
# each, and looks at the machine that is left: sweep.sh [--quick] [fault|kill]
# The program under test is built with sanitizers. docs/reliability.md tells what is promised.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/bootstrap.sh host
cmake --preset host >/dev/null
cmake --build --preset host --target sweep -- --quiet
cmake --preset host-asan >/dev/null
cmake --build --preset host-asan --target setup -- --quiet
exec build/host/sweep build/host-asan/setup.exe "$@"
