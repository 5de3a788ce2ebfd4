#!/usr/bin/env bash
# Runs the kit for Windows under Wine, in a folder with a blank and an umlaut and without a way to the build folder:
# kit_test.sh BUILD-FOLDER [--whole]. Without --whole only a few tests run, again with planted failures, and what is refused is tried.
set -uo pipefail
export QTV_WINDOWS_BUILD LC_ALL=C.UTF-8
QTV_WINDOWS_BUILD=$(realpath "$1")
whole=${2-}
set --
. "$(dirname "${BASH_SOURCE[0]}")/../scripts/lib.sh"
make_work
export QTV_WINE_HOME=$work/wine
# In the user's own folder, so that the texts of a failure have its name.
kit="$work/wine/prefix/drive_c/users/$(id -un)/der Prüfstand"
results=$kit/results
failed=
fail() {
    echo "kit_test: $*" >&2
    failed=yes
}
"$root/scripts/wine.sh" cmd.exe /c exit || exit 1
"$root/scripts/windows_kit.sh" "$work/kit.zip" && unzip -q "$work/kit.zip" -d "$kit" || exit 1
mkdir "$work/drive" && cd "$work/drive" || exit 1
devices=$work/wine/prefix/dosdevices
rm "$devices/z:"
ln -s "$work/drive" "$devices/k:"
ln -s /proc "$devices/r:" # a drive without room

# run EXIT-CODE OPTION...: what it says is in $work/said.
run() {
    local expected=$1 result=0
    shift
    "$root/scripts/wine.sh" cmd.exe /c "C:\\users\\$(id -un)\\der Prüfstand\\run.cmd" "$@" >"$work/said" 2>&1 </dev/null || result=$?
    tr -d '\r' <"$work/said" >&2
    [ "$result" = "$expected" ] || fail "run.cmd $* ended with $result: $(cat "$results/results.txt" 2>/dev/null)"
}
# says TEXT [FILE]
says() { grep -qF -- "$1" "${2-$work/said}" || fail "\"$1\" is missing in ${2-$work/said}"; }
marked=/this-machine-may-be-changed
if [ -n "$whole" ]; then
    run 0 "$marked"
    says ' 0 failed, 0 not run'
    cat "$results"/facts.md
    run 0 "$marked" /restart /only machine_tests /only download_tests /only end_to_end_tests
    says ' 0 failed, 0 not run' "$results/results.txt"
    [ -z "$failed" ]
    exit
fi

export GTEST_FILTER='Programs.*:System.*:Restart.*'
few=(/only machine_tests /only package_check /only download)
run 0 "$marked" /no-restart "${few[@]}"
says '5 right, 0 failed, 1 not run'
says 'Restart.CarriesMarksOutInOrderAndTakesThemAway: it needs a restart of the machine' "$results/results.txt"
says '<skipped message="it needs a restart of the machine"/>' "$results/results.xml"
says '| link to a path in quotes | `1 c:\Scratch\a b` | `1 c:\Scratch\a b` | `1 C:\Scratch\a b` |' "$results/facts.md"
# With restarts, Wine starts anew, and the run goes on by itself.
GTEST_FILTER='Restart.*' run 0 "$marked" /restart /only machine_tests
says '1 right, 0 failed, 0 not run' "$results/results.txt"

# A program and a file of the package are missing, and the list of contents doesn't name them.
# without NAME...
without() {
    for name in "$@"; do
        rm "$kit/programs/$name"
        sed -i "\:programs/$name\$:d" "$kit/contents.txt"
    done
}
without sleeper.exe package/readme-en.txt
run 1 "$marked" /no-restart /only machine_tests /only package_check
says '<testcase classname="package_check" name="FindsNothingInThePackages"' "$results/results.xml"
[ "$(grep -c '<failure' "$results/results.xml")" = 3 ] || fail "failures: $(<"$results/results.xml")"
for text in sleeper.exe 'the machine:' 'C:\Scratch\' no-match; do says "$text" "$results/results.xml"; done
! ls -d "$work"/wine/prefix/drive_c/{Scratch,"Program Files/Qantivo 8"} 2>/dev/null || fail 'the run has left something'
! grep -ri 'users.*root' "$results" || fail 'the results tell who used the machine'

# What can't run says why, and leaves nothing.
# refused TEXT OPTION...
refused() {
    local text=$1
    shift
    run 2 "$@"
    says "$text"
}
refused "isn't marked as throwaway" /results 'K:\none'
refused 'there is no room' "$marked" /results 'R:\none'
touch "$work/drive/file"
refused "can't be written" "$marked" /results 'K:\file'
refused 'there is no option /x' "$marked" /x
refused 'waits for a restart' /go-on /results 'K:\none'
truncate -s -1 "$kit/programs/package/setup.exe"
refused 'programs/package/setup.exe is missing or not whole' "$marked" /results 'K:\none'
refused 'kit.wsb' /sandbox
says "\\der Prüfstand</HostFolder>" "$kit/kit.wsb"
truncate -s 1000 "$kit/programs/kit.exe"
refused 'unpack the whole zip again' "$marked"
rm "$kit/programs/kit.exe"
refused 'unpack the whole zip again' "$marked"
[ ! -e "$work/drive/none" ] || fail 'what was refused has left a folder'
[ -z "$failed" ]
