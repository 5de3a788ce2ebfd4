#!/usr/bin/env bash
# usage: scripts/bootstrap.sh [KIND]...
# example: scripts/bootstrap.sh host bench
#
# Installs the packages for these kinds of work with apt-get; without a kind, those for the tests: host and windows.
# Kinds: host windows faults fuzz bench screenshots format tidy clang download release. It is quick if nothing is missing.
# The exit code is 1 if something can't be installed.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# Both targets need windres to compile the resources; windres needs the cross compiler's preprocessor and headers.
host=(g++ cmake ninja-build libgtest-dev libc-bin binutils-mingw-w64-x86-64 gcc-mingw-w64-x86-64-posix)
windows=("${host[@]}" g++-mingw-w64-x86-64-posix wine64 wine xvfb xauth)
faults=("${host[@]}" python3)
fuzz=("${host[@]}" clang libclang-rt-14-dev)
# For a package's download: its compiler, its icon, its signature.
download=(nsis icoutils osslsigncode openssl)
release=("${windows[@]}" "${download[@]}" chromium)
bench=("${windows[@]}" "${download[@]}")
screenshots=("${windows[@]}" xdotool imagemagick)
format=(clang-format)
tidy=("${host[@]}" clang clang-tidy)
clang=("${windows[@]}" clang)

missing() {
    local package
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || echo "$package"
    done
}

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
install() {
    echo "bootstrap.sh: installing $*"
    "${as_root[@]}" apt-get update -q >/dev/null || return
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "$@" >/dev/null
}

[ $# -gt 0 ] || set -- host windows
wanted=()
for kind in "$@"; do
    case $kind in
        host | windows | faults | fuzz | bench | screenshots | format | tidy | clang | download | release) ;;
        *) bad_usage "there is no kind \"$kind\"; scripts/bootstrap.sh --help lists them" ;;
    esac
    declare -n packages=$kind
    wanted+=("${packages[@]}")
done
mapfile -t wanted < <(missing "${wanted[@]}" | sort -u)
[ ${#wanted[@]} -eq 0 ] || install "${wanted[@]}" || { echo "bootstrap.sh: can't install ${wanted[*]}" >&2; exit 1; }
