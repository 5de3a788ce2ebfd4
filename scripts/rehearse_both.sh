#!/usr/bin/env bash
# usage: scripts/rehearse_both.sh
# example: scripts/rehearse_both.sh
#
# Rehearses the sample package on an embedded machine and under Wine. Both must report the same for a new installation, an update
# and a portable installation.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"
[ $# -eq 0 ] || bad_usage "there is no option \"$1\""
export QTV_WINDOWS_BUILD=$windows_build

needs host windows
for target in host windows; do
    build "$target" rehearse sample_package
done
make_work

# A package of version 8.4 with two more files. The later version deletes one of them.
make_earlier() {
    cp -r "$1" "$2"
    LC_ALL=C sed -i 's/\(\xBD\x04\xEF\xFE....\)\x05\x00\(\x08\x00\x00\x00\x02\x00\)\x05\x00/\1\x04\x00\2\x04\x00/' \
        "$2/QtvApp8.exe"
    printf 'help' >"$2/QtvApp8Man.hlp"
    printf 'presets' >"$2/presets.dat"
    printf 'File Copy: QtvApp8Man.hlp\r\nFile Copy: presets.dat\r\n' >>"$2/QtvUnInst.log"
}
make_earlier "$host_build/package" "$work/host"
make_earlier "$windows_build/package" "$work/windows"

# Lines that differ under Wine, each with its reason. The first contains the path of the package.
wine_deviations=(
    '^{"package": '
)
told() { grep -v -f <(printf '%s\n' "${wine_deviations[@]}"); }

failed=
# same NAME EARLIER|'' OPTIONS...
same() {
    local name=$1 host_earlier=() windows_earlier=()
    if [ -n "$2" ]; then
        host_earlier=(--earlier "$work/host") windows_earlier=(--earlier "$work/windows")
    fi
    shift 2
    "$host_build/rehearse" --json "${host_earlier[@]}" "$host_build/package" -- "$@" | told >"$work/$name.host"
    "$host_build/rehearse" --json --wine "${windows_earlier[@]}" "$windows_build/package" -- "$@" | told >"$work/$name.wine"
    if diff "$work/$name.host" "$work/$name.wine"; then
        echo "rehearse_both: both targets report the same for $name, in $(wc -l <"$work/$name.host") lines"
    else
        failed=yes
    fi
}
same fresh '' -s
same update earlier -s
same portable '' -s -instport 'C:\Stick\Qantivo'
[ -z "$failed" ]
