#!/usr/bin/env bash
# Takes a picture of every page of the wizard, at 96 and at 144 dpi, into a folder: screenshots.sh [FOLDER]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
pictures=$(realpath -m "${1:-build/screenshots}")
package=$(realpath -m "${QTV_PACKAGE:-build/windows/package}")

scripts/bootstrap.sh screenshots
if [ ! -e "$package/setup.exe" ]; then
    cmake --preset windows >/dev/null
    cmake --build --preset windows --target sample_package -- --quiet
fi
mkdir -p "$pictures"
end_wine() { WINEPREFIX=${QTV_WINE_HOME-/nowhere}/prefix wineserver -k 2>/dev/null || true; }
work=$(mktemp -d)
server=
finish() {
    end_wine
    [ -z "$server" ] || kill "$server"
    rm -rf "$work"
}
trap finish EXIT

exec {number}<>"$work/display"
Xvfb -displayfd "$number" -screen 0 1280x900x24 >/dev/null 2>&1 &
server=$!
until [ -s "$work/display" ]; do sleep 0.1; done
DISPLAY=:$(<"$work/display")
export DISPLAY QTV_WINE_GRAPHICS=x11
root=$PWD
wine() { "$root/scripts/wine.sh" "$@" >/dev/null 2>&1; }

cd "$package"
for dpi in 96 144; do
    # Each in a new system, without an earlier installation.
    export QTV_WINE_HOME=$work/$dpi
    # Without a window manager Wine draws the frames of its windows itself.
    wine reg.exe add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f
    wine reg.exe add 'HKCU\Control Panel\Desktop' /v LogPixels /t REG_DWORD /d "$dpi" /f
    end_wine
    wine setup.exe &
    window=$(timeout 60 xdotool search --sync --onlyvisible --name '^Qantivo Setup$' | head -n 1)
    for page in welcome agreement destination group ready last; do
        sleep 3
        import -window "$window" "$pictures/$page-$dpi.png"
        xdotool key Return
    done
    wait $! || true
    end_wine
done
echo "The pictures are in $pictures"
