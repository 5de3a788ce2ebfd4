#!/usr/bin/env bash
# usage: scripts/package_tools.sh [FOLDER]
# example: scripts/package_tools.sh build/tools
#
# Makes a Debian package and an archive of the tools for package makers in FOLDER (build/tools), with the setup program for Windows.
# Who installs one of them needs no build. docs/releasing.md says what is in it.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
[ $# -le 1 ] && [[ ${1-} != -* ]] || bad_usage
output=$(absolute "${1:-$root/build/tools}")

needs windows download
build host package_make package_check rehearse winmachine download_make rehearse_stand_in
build windows setup rehearse download
export QTV_WINDOWS_BUILD=$windows_build
mkdir -p "$output"
make_work
(cd "$host_build" && cpack -B "$work" >"$work/said") || { cat "$work/said" >&2; exit 1; }
mv "$work"/qantivo-setup[_-]*.{deb,tar.gz} "$output"
ls -sh "$output"/qantivo-setup*
