#!/usr/bin/env bash
# Measures the product under Wine on a file system in memory, each figure as a ratio against a bare loop run beside it.
#   bench.sh [ROUNDS]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
scripts/bootstrap.sh
cmake --preset windows >/dev/null
cmake --build --preset windows --target copy_bench sample_package -- --quiet
work=$(mktemp -d /dev/shm/qtv-bench.XXXXXX)
trap 'rm -rf "$work"' EXIT
scripts/wine.sh "$PWD/build/windows/copy_bench.exe" "Z:${PWD//\//\\}\\build\\windows\\package" \
    "Z:${work//\//\\}\\run" "${1:-9}"
