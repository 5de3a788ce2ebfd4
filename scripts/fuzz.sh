#!/usr/bin/env bash
# usage: scripts/fuzz.sh [SECONDS] [TARGET...]
# example: scripts/fuzz.sh 300 manifest
#
# Searches for inputs that break the program or the embedded machine.
# Each target (a file of fuzz/) runs for SECONDS, or for 60. It starts from its seeds and from the inputs that earlier runs have
# collected in build/fuzz/corpus. An input that fails is stored in fuzz/seeds/TARGET/ and stays there: fix the fault, and give the
# file a name. The exit code is not 0 if an input failed.
#
# test.sh has a short form: with host-asan it runs all seeds and changed copies of them. The copies are the same in every run, because
# the result of a test must not depend on chance.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"
folder=$root/build/fuzz

seconds=60
if [[ "${1-}" =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
fi
mapfile -t known < <(ls fuzz/seeds)
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=("${known[@]}")
for target in "${targets[@]}"; do
    [[ " ${known[*]} " == *" $target "* ]] || bad_usage "there is no target \"$target\", only ${known[*]}"
done

needs fuzz
build fuzz "${targets[@]/#/fuzz_}"

# In memory if possible: since Linux 6.6 files there keep the attributes that a machine needs.
if [ -z "${TMPDIR-}" ] && printf '6.6\n%s\n' "$(uname -r)" | sort -CV; then TMPDIR=/dev/shm; fi
make_work "${TMPDIR-}"

failed=
for target in "${targets[@]}"; do
    seeds=$PWD/fuzz/seeds/$target corpus=$folder/corpus/$target log=$folder/$target.log
    mkdir -p "$corpus"
    result=ok
    # A leak is found at the end of a run. A search after each input takes longer than the inputs.
    TMPDIR=$work "$folder/fuzz_$target" -max_total_time="$seconds" -max_len=4096 -timeout=300 -detect_leaks=0 \
        -print_final_stats=1 -artifact_prefix="$seeds/" "$corpus" "$seeds" >"$log" 2>&1 </dev/null ||
        result="FAILED, see $log" failed=yes
    stat() { sed -n "s/^stat::$1: *//p" "$log"; }
    printf '%-14s %9s runs, %6s a second, %5s inputs kept: %s\n' "$target" "$(stat number_of_executed_units)" \
        "$(stat average_exec_per_sec)" "$(find "$corpus" -type f | wc -l)" "$result"
done
[ -z "$failed" ]
