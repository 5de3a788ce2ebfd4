#!/usr/bin/env bash
# usage: scripts/make_download.sh PACKAGE FILE.exe [--icon FILE.ico] [--earlier PACKAGE]... [--always PATTERN]... [--full-url ADDRESS]
# example: scripts/make_download.sh package Qantivo.exe --earlier last-release/package --full-url https://example.com/Qantivo.exe
#
# Makes one executable from a package. The executable unpacks the package and starts its setup program.
# Its version and icon are those of the package's application, unless --icon names another icon. docs/releasing.md says what it does
# when it is started.
# With --earlier it also makes FILE-update.exe, which contains only what has changed since that package; with several, one for each,
# FILE-update-VERSION.exe. --always names files that the application rewrites. --full-url is where an update sends people whose
# installation isn't as it was made.
set -euo pipefail
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/lib.sh"
places=() earlier=() icon=() update=() addresses=0
while [ $# -gt 0 ]; do
    case $1 in
        --icon | --earlier | --always | --full-url)
            [ $# -ge 2 ] || bad_usage "$1 needs a value"
            case $1 in
                --icon) icon=(--icon "$(absolute "$2")") ;;
                --earlier) earlier+=("$(absolute "$2")") ;;
                --full-url) update+=("$1" "$2") addresses=$((addresses + 1)) ;;
                *) update+=("$1" "$2") ;;
            esac
            shift
            ;;
        -*) bad_usage "there is no option \"$1\"" ;;
        *) places+=("$1") ;;
    esac
    shift
done
[ ${#places[@]} -eq 2 ] && [ "$addresses" -le 1 ] || bad_usage
[ ${#earlier[@]} -gt 0 ] || [ ${#update[@]} -eq 0 ] || bad_usage '--always and --full-url need --earlier'
package=$(absolute "${places[0]}") output=$(absolute "${places[1]}")
[[ ${output,,} == *.exe ]] || refuse "${places[1]} doesn't end in .exe, so Windows wouldn't start it"
[ -d "$(dirname "$output")" ] || refuse "$(dirname "$output") is no folder"
for folder in "$package" "${earlier[@]}"; do
    for file in setup.exe QtvApp8.exe; do
        is_program "$folder/$file" || refuse "$folder has no $file that is a Windows program"
    done
    [ -f "$folder/QtvUnInst.log" ] || refuse "$folder is no package: it has no QtvUnInst.log"
done

needs windows download
build host download_make
build windows download
make_work "$(dirname "$output")"
# make NAME OPTION...
make() {
    local name=$1
    shift
    "$host_build/download_make" "$windows_build/download.exe" "$package" "$work/$name" "${icon[@]}" "$@"
}
base=$(basename "${output%.*}")
make "$base.exe"
for folder in "${earlier[@]}"; do
    name=$base-update
    if [ ${#earlier[@]} -gt 1 ]; then
        name+=-$("$host_build/download_make" --texts "$folder/QtvApp8.exe" "${icon[@]}" | sed -n 's/^Version //p')
        [ ! -e "$work/$name.exe" ] || refuse "two earlier packages have the version of $name.exe"
    fi
    make "$name.exe" --earlier "$folder" "${update[@]}"
done
for file in "$work"/*.exe; do
    target=$(dirname "$output")/$(basename "$file")
    [ "$file" != "$work/$base.exe" ] || target=$output
    mv "$file" "$target"
    echo "$target: $(stat -c %s "$target") bytes"
done
