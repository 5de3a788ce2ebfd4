#!/usr/bin/env bash
# Makes one executable from a package. The executable unpacks the package and starts its setup program: make_download.sh
# PACKAGE FILE.exe
# Its version and icon are those of the package's application. docs/releasing.md says what it does when it is started.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

refuse() {
    echo "make_download.sh: $*" >&2
    exit 2
}
if [ $# -ne 2 ] || [[ $1 == -* ]] || [[ $2 == -* ]]; then
    echo 'usage: scripts/make_download.sh PACKAGE FILE.exe' >&2
    exit 2
fi
for tool in makensis wrestool x86_64-w64-mingw32-windres; do
    command -v "$tool" >/dev/null || refuse "$tool is missing; scripts/bootstrap.sh release installs it"
done
package=$1 output=$(realpath -m -- "$2")
[[ ${output,,} == *.exe ]] || refuse "$2 doesn't end in .exe, so Windows wouldn't start it"
[ -d "$(dirname "$output")" ] || refuse "$(dirname "$output") is no folder"
for file in setup.exe QtvApp8.exe; do
    [ "$(head -c 2 -- "$package/$file" 2>/dev/null)" = MZ ] || refuse "$package has no $file that is a Windows program"
done
[ -f "$package/QtvUnInst.log" ] || refuse "$package is no package: it has no QtvUnInst.log"

# An address in the file has 31 bits, and the stub and its tables need some of them.
most_bytes=$((19 * 1024 * 1024 * 1024 / 10))
bytes=$(find "$package" -type f -printf '%s\n' | awk '{ sum += $1 } END { printf "%.0f", sum }')
[ "$bytes" -le "$most_bytes" ] || refuse "$package holds $bytes bytes, but one file can hold at most 1.9 GiB ($most_bytes bytes)"

work=$(mktemp -d)
trap 'rm -rf "$work" "$output.unfinished"' EXIT
wrestool -x -t 14 "$package/QtvApp8.exe" >"$work/icon" 2>/dev/null || true
[ -s "$work/icon" ] || refuse "$package/QtvApp8.exe has no icon"
x86_64-w64-mingw32-windres -O rc "$package/QtvApp8.exe" >"$work/resources" 2>/dev/null || true
value() { sed -n "s/^ *VALUE \"$1\", \"\(.*\)\"$/\1/p" "$work/resources" | head -n 1; }
version=$(sed -n 's/^ FILEVERSION //p' "$work/resources" | tr -d ' ' | tr , .)
[ -n "$version" ] || refuse "$package/QtvApp8.exe has no version"
name=$(value ProductName)
[ -n "$name" ] || refuse "$package/QtvApp8.exe has no product name in its version resource"

ln -s "$(realpath -- "$package")" "$work/package"
# Names of files are UTF-8 for the compiler.
LC_ALL=C.UTF-8 makensis -V1 -NOCD -WX "-DPACKAGE=$work/package" "-DOUTPUT=$output.unfinished" "-DICON=$work/icon" \
    "-DNAME=${name//\$/\$\$}" "-DVERSION=$version" "-DCOMPANY=$(value CompanyName)" \
    "-DCOPYRIGHT=$(value LegalCopyright)" "-DNEEDED=$((bytes * 2))" \
    "$root/scripts/download.nsi"
mv "$output.unfinished" "$output"
echo "$output: $(stat -c %s "$output") bytes"
