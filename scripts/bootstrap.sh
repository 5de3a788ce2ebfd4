#!/usr/bin/env bash
# Installs what building and testing take, with apt-get; quick when nothing is missing. What the Windows target alone
# takes may be out of reach: that is said, and left to the caller. `bootstrap.sh fuzz` adds what the fuzzers take.
set -euo pipefail

# windres, with the headers and the preprocessor of the cross compiler, compiles the resources of both targets.
build=(g++ cmake ninja-build libgtest-dev libc-bin binutils-mingw-w64-x86-64 gcc-mingw-w64-x86-64-posix)
[ "${1-}" != fuzz ] || build+=(clang libclang-rt-14-dev)
windows=(g++-mingw-w64-x86-64-posix wine64 wine xvfb xauth)

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

mapfile -t wanted < <(missing "${build[@]}")
if [ ${#wanted[@]} -gt 0 ]; then
    install "${wanted[@]}"
fi
mapfile -t wanted < <(missing "${windows[@]}")
if [ ${#wanted[@]} -gt 0 ] && ! install "${wanted[@]}"; then
    echo "bootstrap: can't install ${wanted[*]}; the Windows target can't be built or tested here" >&2
fi
