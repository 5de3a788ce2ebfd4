#!/usr/bin/env bash
# Shows the main job on a throwaway machine: installs the sample package and shows what changed, removes it, restarts
# the machine and shows what is left. With --wizard, a person tries the wizard on such a machine instead: in real
# windows under Wine if there is a display, otherwise at the terminal.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

case "${1-}" in
    '' | --wizard) ;;
    *) echo 'usage: scripts/demo.sh [--wizard]' >&2; exit 2 ;;
esac
needed=host
[ $# -eq 0 ] || [ -z "${DISPLAY-}" ] || needed=windows
scripts/bootstrap.sh "$needed"

build() {
    echo "Building the $1 target ..."
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1" --target "${@:2}" -- --quiet
}

if [ $# -eq 0 ]; then
    build host rehearse sample_package
    exec build/host/rehearse build/host/package -- -s -instdir 'C:\Apps\Qantivo'
fi

work=$(mktemp -d)
finish() {
    WINEPREFIX=$work/wine/prefix wineserver -k 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT TERM HUP

windows_available() {
    [ -n "${DISPLAY-}" ] && command -v x86_64-w64-mingw32-g++-posix >/dev/null &&
        scripts/wine.sh --version >/dev/null 2>&1
}
# The first program that runs makes the prefix, with this driver.
export QTV_WINE_HOME=$work/wine QTV_WINE_GRAPHICS=x11
if windows_available; then
    build windows sample_package
    root=$PWD
    cd build/windows/package
    "$root/scripts/wine.sh" setup.exe
else
    build host sample_package winmachine regsvr32
    build/host/winmachine create "$work/machine"
    cp -r build/host/package "$work/machine/C/Package"
    build/host/winmachine run "$work/machine" 'C:\Package\setup.exe'
fi
