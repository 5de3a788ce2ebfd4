#!/usr/bin/env bash
# Installs what is needed, checks the sources, and builds and tests both targets or the one named: test.sh [host|windows]
# The tests of the host run without and with sanitizers, those of the Windows target under Wine. A few random runs compare both
# targets, and a minute of planted faults tests the tests.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

case "${1-}" in
    '') presets=(host host-asan windows) ;;
    host) presets=(host host-asan) ;;
    windows) presets=(windows) ;;
    *) echo "usage: scripts/test.sh [host|windows]" >&2; exit 2 ;;
esac

scripts/bootstrap.sh "$@"

windows_available() {
    command -v x86_64-w64-mingw32-g++-posix >/dev/null && scripts/wine.sh --version >/dev/null 2>&1
}
without_windows=
if [[ " ${presets[*]} " == *" windows "* ]] && ! windows_available; then
    without_windows='*** The Windows target was NOT built or tested: mingw-w64 or 64-bit Wine is missing. ***'
    echo "$without_windows" >&2
    [ "${1-}" != windows ] || exit 1
    presets=(host host-asan)
fi
without_download=
if [[ " ${presets[*]} " == *" windows "* ]] && ! scripts/bootstrap.sh download; then
    without_download='*** The download of a package was NOT tested: its compiler is missing. ***'
    echo "$without_download" >&2
fi

summary=()
failed=
# sum_up NAME RESULT STARTED
sum_up() { summary+=("$(printf '%-12s %s, %d s' "$1" "$2" $((SECONDS - $3)))"); }

echo
echo '==== format, layers and words ===='
started=$SECONDS
result='clean'
scripts/check.sh || { result='NOT CLEAN'; failed=yes; }
sum_up check "$result" "$started"
for preset in "${presets[@]}"; do
    echo
    echo "==== $preset ===="
    started=$SECONDS
    result='did not build'
    if cmake --preset "$preset" >/dev/null && cmake --build --preset "$preset" -- --quiet; then
        run=(ctest --preset "$preset" --no-tests=error -j "$(nproc)")
        # Wine's programs and its server work in turn. On one processor, neither must wake another processor each time.
        [ "$preset" != windows ] || run=(taskset -c "$(taskset -cp $$ | sed 's/.*: \([0-9]*\).*/\1/')" "${run[@]}")
        if "${run[@]}"; then
            result='all tests passed'
        else
            result='TESTS FAILED'
            failed=yes
        fi
    else
        failed=yes
    fi
    sum_up "$preset" "$result" "$started"
    if [ "$preset" = host ] && [ "$result" = 'all tests passed' ]; then
        echo
        echo '==== a minute of planted faults ===='
        started=$SECONDS
        result='the tests notice each'
        scripts/plant_faults.sh --sample || { result='A FAULT SURVIVES'; failed=yes; }
        sum_up faults "$result" "$started"
    fi
done
if [ -z "$failed" ] && [ ${#presets[@]} -eq 3 ]; then
    echo
    echo '==== differential ===='
    started=$SECONDS
    result='both targets have the same results'
    scripts/differential.sh 1-10 || { result='THE TARGETS DIFFER'; failed=yes; }
    sum_up differential "$result" "$started"
fi

echo
printf '%s\n' "${summary[@]}"
[ -z "$without_windows" ] || echo "$without_windows"
[ -z "$without_download" ] || echo "$without_download"
[ -z "$failed" ]
