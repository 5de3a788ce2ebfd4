#!/usr/bin/env bash
# usage: scripts/test.sh [host|windows]
# example: scripts/test.sh host
#
# Installs what is needed, checks the sources, and builds and tests both targets or the named one. The tests of the host run with
# sanitizers, those of the Windows target under Wine, side by side. A minute of planted faults tests the tests, a few random runs
# compare the targets, and the list of running copies is used by many processes at once. The exit code is 1 if anything fails or can't be built or run. The output of each stage is in build/test.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"

case "${1-}" in
    '') targets=(host windows) needed=(format host faults windows download kit) ;;
    host) targets=(host) needed=(format host faults) ;;
    windows) targets=(windows) needed=(format windows download kit) ;;
    *) bad_usage "there is no target \"$1\"" ;;
esac
needs "${needed[@]}" || exit 1
if [[ " ${targets[*]} " == *' windows '* ]] && ! windows_available; then
    echo 'test.sh: 64-bit Wine does not run here' >&2
    exit 1
fi

logs=$root/build/test
rm -rf "$logs"
mkdir -p "$logs"

# stage NAME COMMAND...: runs a command, and reports how it ended and how long it took. Its output is shown only if it fails.
stage() {
    local name=$1 started=$SECONDS
    if "${@:2}" >"$logs/$name.txt" 2>&1 </dev/null; then
        printf '%-15s right, %d s\n' "$name" $((SECONDS - started))
    else
        touch "$logs/failed"
        sed "s/^/    $name: /" "$logs/$name.txt" >&2
        printf '%-15s FAILED, %d s\n' "$name" $((SECONDS - started))
        return 1
    fi
}

stage check scripts/check.sh || true
declare -A presets=([host]=host-asan [windows]=windows)
built=()
for target in "${targets[@]}"; do
    ! stage "$target-build" build "${presets[$target]}" || built+=("$target")
done
# What needs programs of the host takes those with sanitizers.
[[ " ${built[*]} " != *' host '* ]] || export QTV_HOST_BUILD=$root/build/host-asan
lane=env
[ ${#built[@]} -lt 2 ] || lane=on_the_others

# The host takes all processors, or those that Wine leaves. Some tests only wait, so that there is one more at a time.
test_host() {
    stage host-tests "$lane" ctest --preset host-asan --no-tests=error --output-junit "$logs/host.xml" -j $(($("$lane" nproc) + 1)) || true
    [ ${#built[@]} -lt 2 ] || stage both "$lane" scripts/prove.sh --quick both list || true
    stage faults "$lane" scripts/plant_faults.sh --sample --preset host-asan || true
}
# Wine runs one test at a time. Two on one processor take longer than one after the other.
test_windows() {
    stage windows-tests on_one_processor ctest --preset windows --no-tests=error --output-junit "$logs/windows.xml" -j 1 || true
}
for target in "${built[@]}"; do
    "test_$target" &
done
wait

# Counts the tests with this result: passed and failed tests, as CTest numbers them.
count() { cat "$logs"/*.xml 2>/dev/null | grep -o "<testcase .* status=\"$1\"" | wc -l; }
echo "$(count run) passed, $(count fail) failed"
[ ! -e "$logs/failed" ]
