#!/usr/bin/env bash
# Sets up, builds and tests both targets, or the one named: test.sh [host|windows]
# The host's tests run plainly and with sanitizers, those of the Windows target under Wine.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

case "${1-}" in
    '') presets=(host host-asan windows) ;;
    host) presets=(host host-asan) ;;
    windows) presets=(windows) ;;
    *) echo "usage: scripts/test.sh [host|windows]" >&2; exit 2 ;;
esac

scripts/bootstrap.sh

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

summary=()
failed=
for preset in "${presets[@]}"; do
    echo
    echo "==== $preset ===="
    started=$SECONDS
    result='did not build'
    if cmake --preset "$preset" >/dev/null && cmake --build --preset "$preset" -- --quiet; then
        if ctest --preset "$preset" --no-tests=error -j "$(nproc)"; then
            result='all tests passed'
        else
            result='TESTS FAILED'
            failed=yes
        fi
    else
        failed=yes
    fi
    summary+=("$(printf '%-10s %s, %d s' "$preset" "$result" $((SECONDS - started)))")
done

echo
printf '%s\n' "${summary[@]}"
[ -z "$without_windows" ] || echo "$without_windows"
[ -z "$failed" ]
