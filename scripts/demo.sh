#!/usr/bin/env bash
# usage: scripts/demo.sh [--wizard]
# example: scripts/demo.sh
#
# Shows the main job on a throwaway machine: installs the sample package and shows what changed, removes it, restarts
# the machine and shows what is left. With --wizard, a person tries the wizard on such a machine instead: in real
# windows under Wine if there is a display, otherwise at the terminal.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"

case "${1-}" in
    '' | --wizard) ;;
    *) bad_usage "there is no option \"$1\"" ;;
esac
needed=host
[ $# -eq 0 ] || [ -z "${DISPLAY-}" ] || needed=windows
needs "$needed"
echo "Building the $needed target ..."

if [ $# -eq 0 ]; then
    build host rehearse sample_package
    exec "$host_build/rehearse" "$host_build/package" -- -s -instdir 'C:\Apps\Qantivo'
fi

make_work
if [ "$needed" = windows ]; then
    build windows sample_package
    # The first program that runs makes the prefix, with this driver.
    export QTV_WINE_HOME=$work/wine QTV_WINE_GRAPHICS=x11
    cd "$windows_build/package"
    "$root/scripts/wine.sh" setup.exe
else
    build host sample_package winmachine regsvr32
    "$host_build/winmachine" create "$work/machine"
    cp -r "$host_build/package" "$work/machine/C/Package"
    "$host_build/winmachine" run "$work/machine" 'C:\Package\setup.exe'
fi
