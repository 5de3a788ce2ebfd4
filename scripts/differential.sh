#!/usr/bin/env bash
# Runs the same random installs, updates and uninstalls on both targets, and compares what each step leaves:
# differential.sh [FIRST-LAST]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
runs=${1:-1-200}
host=${QTV_HOST_BUILD:-build/host}
windows=${QTV_WINDOWS_BUILD:-build/windows}
results=$(realpath -m "${QTV_RESULTS:-build/differential}")

for target in host windows; do
    build=${!target}
    if [ ! -d "$build" ]; then
        cmake --preset "$target" >/dev/null
    fi
    cmake --build "$build" --target random_runs sample_package -- --quiet
    rm -rf "${results:?}/$target"
    mkdir -p "$results/$target"
done
export QTV_RUNS=$runs
QTV_RESULTS=$results/host "$host/random_runs.exe" --gtest_brief=1
QTV_RESULTS=$results/windows scripts/wine.sh "$windows/random_runs.exe" --gtest_brief=1
if ! diff -r "$results/host" "$results/windows"; then
    echo "differential: the targets differ; the results are in $results" >&2
    exit 1
fi
echo "differential: runs $runs leave the same on both targets"
