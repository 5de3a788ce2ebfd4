#!/usr/bin/env bash
# usage: scripts/windows_kit.sh OUT.zip
# example: scripts/windows_kit.sh kit.zip
#
# Gathers all that a Windows without a compiler needs to run the tests: the programs of the Windows target, the sample packages, and
# a download of the sample. docs/windows.md says how it is used.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
[ $# -eq 1 ] && [[ $1 != -* ]] || bad_usage
out=$(absolute "$1")
[[ $out == *.zip ]] || refuse "$1 doesn't end in .zip"
[ -d "$(dirname "$out")" ] || refuse "$(dirname "$out") is no folder"

needs windows download kit
build windows
make_work "$(dirname "$out")"
programs=$work/kit/programs
mkdir -p "$programs"
cp "$windows_build"/{*_tests,setup,sleeper,kit,rehearse,package_check}.exe "$root/docs/manifest.md" "$programs"
cp -r "$windows_build"/package{,-earlier} "$programs"
"$root/scripts/make_download.sh" "$windows_build/package" "$programs/Qantivo.exe" >/dev/null
for file in tools/kit/{run.cmd,sandbox.cmd,sandbox.wsb} docs/windows.md; do
    sed 's/$/\r/' "$root/$file" >"$work/kit/$(basename "$file")"
done
mv "$work/kit/sandbox.wsb" "$programs"
cd "$work/kit"
(cd "$root" && git describe --always --dirty 2>/dev/null || echo unknown) >version.txt
# Kit.exe looks whether all is there.
find . -type f -printf '%s %P\n' | LC_ALL=C sort -k 2 >../contents.txt
mv ../contents.txt .
zip -q -r -X "$work/kit.zip" .
mv "$work/kit.zip" "$out"
echo "$out: $(stat -c %s "$out") bytes, $(wc -l <contents.txt) files of $(du -sb . | cut -f 1) bytes"
