#!/usr/bin/env bash
# Looks for inputs that break the program or the embedded machine: fuzz.sh [SECONDS] [TARGET...]
# Each target (a file of fuzz/) runs for 60 seconds, or as long as said, from its seeds and from what earlier runs have
# collected below build/fuzz/corpus. An input that fails is put into fuzz/seeds/TARGET/ and stays there: mend the fault,
# and give it a name. Ends non-zero when there was one.
#
# test.sh has a short run: with host-asan it builds the same targets as plain programs with g++, and runs all seeds and
# changed copies of them, the same in every run, since luck must not decide a build. Only this script needs clang.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${QTV_BUILD:-$PWD/build}/fuzz

seconds=60
if [[ "${1-}" =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
fi
targets=("$@")
[ ${#targets[@]} -gt 0 ] || mapfile -t targets < <(ls fuzz/seeds)

scripts/bootstrap.sh fuzz
cmake --preset fuzz -B "$build" >/dev/null
cmake --build "$build" --target "${targets[@]/#/fuzz_}" -- --quiet

# In memory, where that is possible: since Linux 6.6 files there keep the attributes that a machine takes.
if [ -z "${TMPDIR-}" ] && printf '6.6\n%s\n' "$(uname -r)" | sort -CV; then TMPDIR=/dev/shm; fi
work=$(mktemp -d "${TMPDIR:-/tmp}/qtv-fuzz.XXXXXX")
trap 'rm -rf "$work"' EXIT

failed=
for target in "${targets[@]}"; do
    seeds=$PWD/fuzz/seeds/$target corpus=$build/corpus/$target log=$build/$target.log
    mkdir -p "$corpus"
    result=ok
    # A leak shows at the end of a run; to look for one after each input takes longer than the inputs do.
    TMPDIR=$work "$build/fuzz_$target" -max_total_time="$seconds" -max_len=4096 -timeout=20 -detect_leaks=0 \
        -print_final_stats=1 -artifact_prefix="$seeds/" "$corpus" "$seeds" >"$log" 2>&1 </dev/null ||
        result="FAILED, see $log" failed=yes
    stat() { sed -n "s/^stat::$1: *//p" "$log"; }
    printf '%-14s %9s runs, %6s a second, %5s inputs kept: %s\n' "$target" "$(stat number_of_executed_units)" \
        "$(stat average_exec_per_sec)" "$(find "$corpus" -type f | wc -l)" "$result"
done
[ -z "$failed" ]
