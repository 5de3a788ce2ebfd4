#!/usr/bin/env bash
# Repeats an installation, an update and an uninstall once for each platform call. In each run that call fails, or the
# program is killed at it. The resulting machine is checked: sweep.sh [--quick] [--call=NAME] [fault|kill]
# The program under test is built with sanitizers. docs/reliability.md lists what is promised.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/bootstrap.sh host
cmake --preset host >/dev/null
cmake --build --preset host --target sweep -- --quiet
cmake --preset host-asan >/dev/null
cmake --build --preset host-asan --target setup -- --quiet
exec build/host/sweep build/host-asan/setup.exe "$@"
