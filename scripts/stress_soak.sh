#!/usr/bin/env bash
# Stress runs under Wine, in a prefix of their own:
# stress_soak.sh [--quick] [--count NUMBER] [--seed NUMBER] [rounds|kills|room]...
#   rounds: install, update, uninstall and restart, a hundred times
#   kills: an install is killed at a hundred random moments
#   room: a disc with more and more room, in a mount namespace
# Without a name it runs all parts, in about an hour. docs/reliability.md says what is promised.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${QTV_WINDOWS_BUILD:-build/windows}

scripts/bootstrap.sh windows faults
[ -e "$build/CMakeCache.txt" ] || cmake --preset windows -B "$build" >/dev/null
cmake --build "$build" --target snapshot sample_package -- --quiet
mkdir -p build
work=$(mktemp -d "$PWD/build/soak.XXXXXX")
trap 'rm -rf "$work"' EXIT
PYTHONDONTWRITEBYTECODE=yes python3 tools/soak/soak.py "$build" "$work" "$@"
