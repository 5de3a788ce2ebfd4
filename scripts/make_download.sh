#!/usr/bin/env bash
# usage: scripts/make_download.sh PACKAGE FILE.exe [--icon FILE.ico]
# example: scripts/make_download.sh package Qantivo.exe
#
# Makes one executable from a package. The executable unpacks the package and starts its setup program.
# Its version and icon are those of the package's application, unless --icon names another icon. docs/releasing.md says what it does
# when it is started.
set -euo pipefail
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/lib.sh"
[ $# -eq 2 ] || { [ $# -eq 4 ] && [ "$3" = --icon ]; } || bad_usage
[[ $1 != -* ]] && [[ $2 != -* ]] || bad_usage
icon=${4+$(absolute "$4")}
package=$(absolute "$1") output=$(absolute "$2")
[[ ${output,,} == *.exe ]] || refuse "$2 doesn't end in .exe, so Windows wouldn't start it"
[ -d "$(dirname "$output")" ] || refuse "$(dirname "$output") is no folder"
for file in setup.exe QtvApp8.exe; do
    [ "$(head -c 2 -- "$package/$file" 2>/dev/null)" = MZ ] || refuse "$1 has no $file that is a Windows program"
done
[ -f "$package/QtvUnInst.log" ] || refuse "$1 is no package: it has no QtvUnInst.log"

needs windows download
build host download_make
build windows download
make_work "$(dirname "$output")"
"$host_build/download_make" "$windows_build/download.exe" "$package" "$work/download.exe" ${icon:+--icon "$icon"}
mv "$work/download.exe" "$output"
echo "$output: $(stat -c %s "$output") bytes"
