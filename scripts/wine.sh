#!/usr/bin/env bash
# Runs a Windows program under Wine in the prefix inside build/, which is made when it is missing.
# HOME lies inside build/ too: a prefix links its Desktop and Documents into the home folder.
# QTV_WINE_HOME names another folder for it, QTV_WINE_GRAPHICS a graphics driver with windows to look at (x11).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
wine_home=${QTV_WINE_HOME:-$root/build/wine}
export HOME=$wine_home WINEPREFIX=$wine_home/prefix WINEARCH=win64
export WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='winemenubuilder.exe,winedbg.exe=d;mscoree,mshtml=d'

# Debian keeps the loader out of PATH; its /usr/bin/wine is a script that asks for 32-bit Wine.
for wine in /usr/lib/wine/wine64 "$(command -v wine64 || true)" "$(command -v wine || true)" ''; do
    [ ! -x "$wine" ] || break
done
if [ -z "$wine" ]; then
    echo 'wine.sh: 64-bit Wine is not installed' >&2
    exit 127
fi

# The first of several parallel starts makes the prefix, the others wait. No child keeps the lock's descriptor: the
# server outlives this script.
make_prefix() (
    trap 'echo "wine.sh: making the prefix failed" >&2' ERR
    exec 9>"$wine_home/.lock"
    flock 9
    [ ! -e "$WINEPREFIX/.ready" ] || exit 0
    export DISPLAY=''
    server=$(dirname "$(readlink -f "$wine")")/wineserver
    [ -x "$server" ] || server=wineserver
    # An interrupted attempt may have left its server running; it would write into the new prefix.
    [ ! -d "$WINEPREFIX" ] || "$server" -k 9>&- || true
    rm -rf "$WINEPREFIX"
    # Without folders of their own Desktop, Documents and the like would all be links to the home folder itself.
    mkdir -p "$HOME"/{Desktop,Documents,Downloads,Music,Pictures,Templates,Movies}
    "$wine" wineboot.exe -i >/dev/null 2>&1 9>&-
    # Message boxes need a graphics driver even where there is no display; the null driver shows nothing and works.
    "$wine" reg.exe add 'HKCU\Software\Wine\Drivers' /v Graphics /d "${QTV_WINE_GRAPHICS:-null}" /f >/dev/null 2>&1 9>&-
    # The system that both targets stand for.
    "$wine" reg.exe add 'HKCU\Software\Wine' /v Version /d win10 /f >/dev/null 2>&1 9>&-
    # Windows hides no file for a dot in front of its name.
    "$wine" reg.exe add 'HKCU\Software\Wine' /v ShowDotFiles /d Y /f >/dev/null 2>&1 9>&-
    # Large parts of Wine's registry that no program here asks for: snapshots are several times as quick without them.
    for key in 'Classes\Interface' 'Microsoft\Windows\CurrentVersion\Telephony' \
        'Microsoft\Windows\CurrentVersion\Time Zones' 'Microsoft\Windows NT\CurrentVersion\Time Zones'; do
        "$wine" reg.exe delete "HKLM\\Software\\$key" /f >/dev/null 2>&1 9>&- || true
    done
    # The registry reaches the disk when the server ends.
    "$server" -w 9>&-
    touch "$WINEPREFIX/.ready"
)

if [ ! -e "$WINEPREFIX/.ready" ]; then
    mkdir -p "$wine_home"
    make_prefix
fi
exec "$wine" "$@"
