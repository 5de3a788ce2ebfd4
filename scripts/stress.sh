#!/usr/bin/env bash
# Tries installs, updates and uninstalls under stress on embedded machines:
# stress.sh [--quick] [full|power|two|list|large]...
#   full: a disc with more and more room   power: it goes at each step, and in the restart after that
#   two: two runs at once                  list: the shared list of running copies with eight processes
#   large: packages and logs that grow, and paths that are too long
# Without a name it runs all parts. The program under test is built with sanitizers, except for large, which measures
# time and memory. docs/reliability.md says what is promised.
# stress.sh soak ... tries them under Wine, with the arguments of scripts/stress_soak.sh.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
[ "${1-}" != soak ] || exec scripts/stress_soak.sh "${@:2}"

options=() parts=() large=
for argument in "$@"; do
    case $argument in
        --quick) options+=("$argument") ;;
        full | power | two | list) parts+=("$argument") ;;
        large) large=yes ;;
        *) echo 'usage: scripts/stress.sh [--quick] [full|power|two|list|large]...' >&2; exit 2 ;;
    esac
done
[ -n "$large${parts[*]-}" ] || large=yes parts=(full power two list)

scripts/bootstrap.sh host
cmake --preset host >/dev/null
cmake --build --preset host --target stress setup -- --quiet
failed=
[ -z "$large" ] || build/host/stress build/host/setup.exe "${options[@]}" large || failed=yes
if [ ${#parts[@]} -gt 0 ]; then
    cmake --preset host-asan >/dev/null
    cmake --build --preset host-asan --target setup -- --quiet
    build/host/stress build/host-asan/setup.exe "${options[@]}" "${parts[@]}" || failed=yes
fi
[ -z "$failed" ]
