#!/usr/bin/env bash
# usage: scripts/check_executable.sh PROGRAM
# example: scripts/check_executable.sh build/windows/setup.exe
#
# Checks a built setup.exe or download.exe for Windows: its size, that it holds no build time and no path of its sources, its imports, its
# manifest and the protections in its headers.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
[ $# -eq 1 ] || bad_usage
program=$1
most_bytes=$((360 * 1024))
[ "$(basename "$program")" != download.exe ] || most_bytes=$((256 * 1024))

make_work
self=$program
copy=$work/stripped.exe
x86_64-w64-mingw32-strip -o "$copy" "$program"
size=$(stat -c %s "$copy")
[ "$size" -le "$most_bytes" ] || fail "$size bytes stripped, more than $most_bytes"

headers=$(x86_64-w64-mingw32-objdump -x "$program")
grep -q '^Time/Date.*1970$' <<<"$headers" || fail 'holds the time when it was linked: two builds differ'
if grep -aqF "$root/" "$copy"; then
    fail 'holds the path of its sources: builds in two folders differ'
fi
imports=$(sed -n 's/^\s*DLL Name: \(.*\)\.dll$/\U\1/Ip' <<<"$headers" | sort -u)
[ -n "$imports" ] || fail 'no imports found'
# Windows always loads these from its own folder, whatever is next to the program.
other=$(grep -vxE 'ADVAPI32|GDI32|KERNEL32|MSVCRT|OLE32|SHELL32|USER32' <<<"$imports") && fail "imports ${other//$'\n'/ }"
for protection in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
    grep -q "$protection" <<<"$headers" || fail "without $protection"
done
# Without relocations no address is random, whatever the header says.
grep -q ' \.reloc ' <<<"$headers" || fail 'without relocations'
for entry in requireAdministrator '<dpiAware[^>]*>true' e2011457-1546-43c5-a5fe-008deee3d3f0 \
    35138b9a-5d96-4fbd-8e2d-a2440225f93a; do
    grep -aq -- "$entry" "$program" || fail "its manifest lacks $entry"
done
echo "$program: $size bytes stripped; imports ${imports//$'\n'/ }"
