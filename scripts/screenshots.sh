#!/usr/bin/env bash
# usage: scripts/screenshots.sh [FOLDER]
# example: scripts/screenshots.sh /tmp/pages
#
# Takes a picture of every page of the wizard and of the download, and of an update where the product isn't installed, at 96 and at
# 144 dpi, into the folder; build/screenshots if none is named.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"
pictures=$(absolute "${1:-$root/build/screenshots}")
package=$(absolute "${QTV_PACKAGE:-$windows_build/package}")

needs screenshots download
[ -e "$package/setup.exe" ] || build windows sample_package
mkdir -p "$pictures"
make_work

exec {number}<>"$work/display"
Xvfb -displayfd "$number" -screen 0 1280x900x24 >/dev/null 2>&1 &
server=$!
trap 'end_wine "$QTV_WINE_HOME"; kill "$server"; rm -rf "$work"' EXIT
until [ -s "$work/display" ]; do sleep 0.1; done
DISPLAY=:$(<"$work/display")
export DISPLAY QTV_WINE_GRAPHICS=x11 QTV_WINE_HOME=$work
# A download with many files, so that its page stays for a while, its update, and a damaged one.
cp -r "$package" "$work/package"
mkdir "$work/package/many"
for ((i = 0; i < 5000; ++i)); do echo "$i" >"$work/package/many/$i"; done
scripts/make_download.sh "$work/package" "$work/whole.exe" --earlier "$package" --full-url https://example.com/Qantivo.exe >/dev/null
(cat "$work/whole.exe"; echo more) >"$work/damaged.exe"
wine() { "$root/scripts/wine.sh" "$@" >/dev/null 2>&1; }
# show FILE: takes the picture of the download work/FILE.exe.
show() {
    wine "$work/$1.exe" &
    window=$(timeout 60 xdotool search --sync --onlyvisible --name '^Qantivo 8$' | head -n 1)
    [ "$1" = whole ] || sleep 3
    import -window "$window" "$pictures/download-$1-$dpi.png"
    # It cancels, or answers the message.
    xdotool key Escape
    wait $! || true
}

cd "$package"
for dpi in 96 144; do
    # Each in a new system, without an earlier installation.
    export QTV_WINE_HOME=$work/$dpi
    # Without a window manager Wine draws the frames of its windows itself.
    wine reg.exe add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f
    wine reg.exe add 'HKCU\Control Panel\Desktop' /v LogPixels /t REG_DWORD /d "$dpi" /f
    end_wine "$QTV_WINE_HOME"
    show whole-update
    wine setup.exe &
    window=$(timeout 60 xdotool search --sync --onlyvisible --name '^Qantivo Setup$' | head -n 1)
    for page in welcome agreement destination group ready last; do
        sleep 3
        import -window "$window" "$pictures/$page-$dpi.png"
        xdotool key Return
    done
    wait $! || true
    show damaged
    show whole
    end_wine "$QTV_WINE_HOME"
done
echo "The pictures are in $pictures"
