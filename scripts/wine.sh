#!/usr/bin/env bash
# usage: scripts/wine.sh PROGRAM [ARGUMENT...]
# example: scripts/wine.sh build/windows/engine_tests.exe
#
# Runs a Windows program under Wine, in a prefix in build/, or in the user's cache if the script is installed. The script installs Wine and makes the prefix if they are missing.
# HOME is there too, because a prefix links its Desktop and Documents to the home folder, and TMPDIR, where Wine's server leaves a folder.
# With --begin instead of a program, the machine starts anew and runs on until --end, which ends all that runs in the prefix.
# QTV_WINE_HOME names another home folder, QTV_WINE_GRAPHICS a graphics driver that shows windows (x11).
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
[ $# -gt 0 ] || bad_usage
wine_home=${QTV_WINE_HOME:-$store/wine}
export HOME=$wine_home TMPDIR=$wine_home WINEPREFIX=$wine_home/prefix WINEARCH=win64
export WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='winemenubuilder.exe,winedbg.exe=d;mscoree,mshtml=d'

find_wine || { needs windows >&2 && find_wine; } || { echo 'wine.sh: 64-bit Wine is not installed' >&2; exit 127; }

# The kernel puts the heap of a program at a random place. About once in some thousand starts that is the page which Wine needs
# at a fixed address, and then the program does not start. Without the random part the heap is always far from that page.
run=("$wine")
! setarch -R true 2>/dev/null || run=(setarch -R "$wine")

# Makes the prefix in $store/wine-new, of which the others are copies: Wine takes 20 s for its own files and keys.
make_new() (
    export HOME=$new_home TMPDIR=$new_home WINEPREFIX=$new_home/prefix DISPLAY=''
    # After an interrupted attempt its server may still run. It would write into the new prefix.
    [ ! -d "$WINEPREFIX" ] || "$server" -k || true
    rm -rf "$WINEPREFIX"
    # If these folders are missing, Desktop, Documents and so on all become links to the home folder itself.
    mkdir -p "$HOME"/{Desktop,Documents,Downloads,Music,Pictures,Templates,Movies}
    "${run[@]}" wineboot.exe -i
    # Message boxes need a graphics driver even without a display. The null driver works and shows nothing.
    "${run[@]}" reg.exe add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
    # The version of Windows that both targets represent.
    "${run[@]}" reg.exe add 'HKCU\Software\Wine' /v Version /d win10 /f
    # Windows does not hide a file because its name begins with a dot.
    "${run[@]}" reg.exe add 'HKCU\Software\Wine' /v ShowDotFiles /d Y /f
    # A page opens no browser of this host. To look for one takes longer than a whole install.
    "${run[@]}" reg.exe add 'HKCU\Software\Wine\WineBrowser' /v Browsers /d true /f
    # No program here needs these large parts of Wine's registry, but for the class of shortcuts, and no driver of a device. Without
    # them a snapshot takes a fraction of the time.
    local shortcuts='HKLM\Software\Classes\CLSID\{00021401-0000-0000-C000-000000000046}' key
    "${run[@]}" reg.exe copy "$shortcuts" 'HKLM\Software\Kept' /s /f
    local classes='HKLM\Software\Classes' windows='HKLM\Software\Microsoft\Windows\CurrentVersion' control='HKLM\System\CurrentControlSet'
    for key in "$classes"\\{CLSID,DirectShow,Interface,MediaFoundation,MIME,Typelib} HKLM\\Software\\Microsoft\\{Cryptography,'Internet Explorer'} \
        "$windows"\\{Telephony,'Time Zones','Internet Settings',Explorer\\FolderDescriptions} 'HKLM\Software\Wow6432Node\Microsoft' \
        'HKLM\Software\Microsoft\Windows NT\CurrentVersion'\\{'MCI Extensions','Time Zones'} "$control"\\Control\\Nls\\{Locale,Sorting} \
        "$control"\\Services\\{NDIS,nsiproxy,Spooler,winebus,winehid,wineusb}; do
        "${run[@]}" reg.exe delete "$key" /f || true
    done
    "${run[@]}" reg.exe copy 'HKLM\Software\Kept' "$shortcuts" /s /f
    "${run[@]}" reg.exe delete 'HKLM\Software\Kept' /f
    # The server writes the registry to the disk when it ends.
    "$server" -w
    touch "$HOME/.ready"
)

# If several scripts start at once, the first makes the prefix and the others wait. No child inherits the descriptor of the lock,
# because the server still runs after this script has ended.
make_prefix() (
    trap 'echo "wine.sh: making the prefix failed" >&2' ERR
    new_home=$store/wine-new
    mkdir -p "$new_home" "$wine_home"
    exec 8>"$new_home/.lock" 9>"$wine_home/.lock"
    flock 8
    [ -e "$new_home/.ready" ] || make_new >/dev/null 2>&1 8>&- 9>&-
    flock 9
    [ ! -e "$WINEPREFIX/.ready" ] || exit 0
    [ ! -d "$WINEPREFIX" ] || "$server" -k 8>&- 9>&- || true
    rm -rf "$WINEPREFIX"
    # Nobody writes into the system's programs, so that they take space only once, where both are on one file system.
    mkdir -p "$WINEPREFIX/drive_c/windows"
    cp -al "$new_home/prefix/drive_c/windows/system32" "$WINEPREFIX/drive_c/windows" 2>/dev/null || true
    cp -an "$new_home"/[!.]* "$wine_home"
    find "$WINEPREFIX/drive_c/users" -type l -lname "$new_home/*" -printf '%l\t%p\n' | while IFS=$'\t' read -r target link; do
        ln -sfn "$wine_home${target#"$new_home"}" "$link"
    done
    [ -z "${QTV_WINE_GRAPHICS-}" ] ||
        "${run[@]}" reg.exe add 'HKCU\Software\Wine\Drivers' /v Graphics /d "$QTV_WINE_GRAPHICS" /f >/dev/null 2>&1 8>&- 9>&-
    touch "$WINEPREFIX/.ready"
)

if [ ! -e "$WINEPREFIX/.ready" ] || [[ $1 == --* ]]; then
    server=$(dirname "$(readlink -f "$wine")")/wineserver
    [ -x "$server" ] || server=wineserver
fi
[ "$1" != --end ] || { end_wine "$wine_home" && exit; }
[ -e "$WINEPREFIX/.ready" ] || make_prefix
if [ "$1" = --begin ]; then
    end_wine "$wine_home"
    # Who waits for the end of this script's output must not wait for the end of the machine's.
    exec >/dev/null 2>&1
    "$server" -p
    set -- cmd.exe /c exit
fi
# Wine looks for a name without a folder by a program of its own, which takes as long as a start.
[ -e "$1" ] || [ ! -e "$WINEPREFIX/drive_c/windows/system32/$1" ] || set -- "C:\\windows\\system32\\$1" "${@:2}"
exec "${run[@]}" "$@"
