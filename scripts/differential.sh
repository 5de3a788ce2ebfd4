#!/usr/bin/env bash
# Runs the same random installs, updates and uninstalls on both targets, and compares the machine after each step:
# differential.sh [FIRST-LAST]
# Each processor gets an equal share of the runs, with its own Wine prefix.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
runs=${1:-1-300}
first=${runs%-*} last=${runs#*-}
if ! [[ $runs =~ ^[0-9]+-[0-9]+$ ]] || [ "$first" -gt "$last" ]; then
    echo "usage: scripts/differential.sh [FIRST-LAST]" >&2
    exit 2
fi
host=${QTV_HOST_BUILD:-build/host}
windows=${QTV_WINDOWS_BUILD:-build/windows}
results=$(realpath -m "${QTV_RESULTS:-build/differential}")
wine_homes=$(realpath -m "${QTV_WINE_HOME:-build/wine}")

scripts/bootstrap.sh host windows
for target in host windows; do
    build=${!target}
    [ -e "$build/CMakeCache.txt" ] || cmake --preset "$target" -B "$build" >/dev/null
    cmake --build "$build" --target random_runs sample_package -- --quiet
    rm -rf "${results:?}/$target"
    mkdir -p "$results/$target"
done

# share NUMBER FIRST-LAST
share() {
    export QTV_RUNS=$2 QTV_WINE_HOME=$wine_homes-$1
    # Wine and its server work in turn. On one processor, neither must wake another processor each time.
    taskset -cp "$1" $BASHPID >/dev/null || true
    QTV_RESULTS=$results/host "$host/random_runs.exe" --gtest_brief=1 &
    QTV_RESULTS=Z:$results/windows scripts/wine.sh "$windows/random_runs.exe" --gtest_brief=1
    wait $!
}

shares=()
count=$(nproc)
for ((number = 0; number < count; ++number)); do
    from=$((first + (last - first + 1) * number / count)) to=$((first + (last - first + 1) * (number + 1) / count - 1))
    [ "$from" -gt "$to" ] || { share "$number" "$from-$to" & shares+=($!); }
done
failed=
for share in "${shares[@]}"; do
    wait "$share" || failed=yes
done
if ! diff -r "$results/host" "$results/windows"; then
    echo "differential: the targets differ; the results are in $results" >&2
    failed=yes
fi
[ -z "$failed" ]
echo "differential: runs $runs have the same results on both targets"
