#!/usr/bin/env bash
# Installs what the named kinds of work need, with apt-get: bootstrap.sh [host|windows|faults|fuzz|bench|screenshots|format|tidy|clang|download|release]...
# Without a name: host and windows, which the tests need. It is quick if nothing is missing.
# If only the packages of the Windows target can't be installed, it reports that and succeeds; the caller decides.
set -euo pipefail

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
updated=
install() {
    echo "bootstrap: installing $*"
    if [ -z "$updated" ]; then
        "${as_root[@]}" apt-get update -q >/dev/null || return
        updated=yes
    fi
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "$@" >/dev/null
}

[ $# -gt 0 ] || set -- host windows
for kind in "$@"; do
    case $kind in
        host | windows | faults | fuzz | bench | screenshots | format | tidy | clang | download | release) ;;
        *) echo 'usage: scripts/bootstrap.sh [host|windows|faults|fuzz|bench|screenshots|format|tidy|clang|download|release]...' >&2; exit 2 ;;
    esac
    declare -n packages=$kind
    mapfile -t wanted < <(missing "${packages[@]}")
    if [ ${#wanted[@]} -gt 0 ] && ! install "${wanted[@]}"; then
        [ "$kind" = windows ] || exit 1
        echo "bootstrap: can't install ${wanted[*]}; the Windows target can't be built or tested here" >&2
    fi
done
