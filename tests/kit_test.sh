#!/usr/bin/env bash
# Runs the kit for Windows under Wine, in a folder with a blank and an umlaut and without a way to the build folder:
# kit_test.sh BUILD-FOLDER [--whole]. Without --whole only a few tests run, again with planted failures, and what is refused is tried.
export QTV_WINDOWS_BUILD LC_ALL=C.UTF-8
QTV_WINDOWS_BUILD=$(realpath "$1")
. "$(dirname "${BASH_SOURCE[0]}")/harness/shell_test.sh"
export QTV_WINE_HOME=$work/wine
# In the user's own folder, so that the texts of a failure have its name.
kit="$work/wine/prefix/drive_c/users/$(id -un)/der Prüfstand"
results=$kit/results
"$root/scripts/wine.sh" --begin || exit 1
"$root/scripts/windows_kit.sh" "$work/kit.zip" && unzip -q "$work/kit.zip" -d "$kit" || exit 1
mkdir "$work/drive" && cd "$work/drive" || exit 1
devices=$work/wine/prefix/dosdevices
rm "$devices/z:"
ln -s "$work/drive" "$devices/k:"
ln -s /proc "$devices/r:" # a drive without space

# start EXIT-CODE OPTION...
start() {
    (run "$1" "$root/scripts/wine.sh" cmd.exe /c "C:\\users\\$(id -un)\\der Prüfstand\\run.cmd" "${@:2}" </dev/null) ||
        fail "$(cat "$results/results.txt" 2>/dev/null)"
    cat said >&2
}
marked=/this-machine-may-be-changed
if [ -n "${2-}" ]; then
    start 0 "$marked"
    says ' 0 failed, 0 not run'
    cat "$results"/facts.md
    start 0 "$marked" /restart /only machine_tests /only download_tests /only end_to_end_tests
    says ' 0 failed, 0 not run' "$results/results.txt"
    exit
fi

# What a killed test and a killed download have left, and what somebody else has named alike.
programs="$work/wine/prefix/drive_c/Program Files" left=$(printf 'a%.0s' {1..26}).dl
mkdir "$programs/$left"{,l}
touch "$programs/$left/a" "$work/wine/prefix/drive_c/windows/qtvprobe.exe"
export GTEST_FILTER='Programs.*:System.*:Restart.*:*.SamplesAreClean:Finished.*-*Rehearsal*'
# A run that restarted the machine and was broken off, and whose folder is gone, is in nobody's way.
"$root/scripts/wine.sh" reg.exe add 'HKLM\SOFTWARE\QtvKit' /v QtvKit /d 'K:\gone' /f >/dev/null
few=(/only machine_tests /only tools_tests)
start 0 "$marked" /no-restart "${few[@]}"
says '7 right, 0 failed, 1 not run'
says 'Restart.CarriesMarksOutInOrderAndTakesThemAway: it needs a restart of the machine' "$results/results.txt"
says '<skipped message="it needs a restart of the machine"/>' "$results/results.xml"
says '| link to a path in quotes | `1 c:\Scratch\a b` | `1 c:\Scratch\a b` | `1 C:\Scratch\a b` |' "$results/facts.md"
# With restarts, Wine starts anew, and the run goes on by itself. A test that never has enough of them fails.
# Meanwhile others change the machine, which is only counted, and the report is there before a restart that may never end.
mkdir "$work/wine/prefix/drive_c/others"
others=0
while sleep 0.05; do
    touch "$work/wine/prefix/drive_c/others/$((++others))"{1..9}
    [ ! -e "$results/waiting.txt" ] || ! grep -qs 'it needs a restart' "$results/results.txt" || touch "$work/early"
done &
GTEST_ALSO_RUN_DISABLED_TESTS=1 GTEST_FILTER='Restart.*:*EndsTheProgram' start 1 "$marked" /restart /only machine_tests /only tools_tests
kill $!
[ -e "$work/early" ] || fail 'no report before a restart'
grep -q 'of others during the run: [0-9][0-9]' "$results/results.txt" || fail "changes of others: $(<"$results/results.txt")"
! grep -rF 'C:\others' "$results" || fail 'the results tell what others did'
says '1 right, 2 failed, 0 not run' "$results/results.txt"
says 'it restarts the machine again and again' "$results/results.txt"
for text in 'the program ended with 9 (0x00000009)' 'the machine:'; do says "$text" "$results/results.txt"; done

# A program and a file of the package are missing, and the list of contents doesn't name them.
for name in sleeper.exe package/readme-en.txt; do
    rm "$kit/programs/$name"
    sed -i "\:programs/$name\$:d" "$kit/contents.txt"
done
start 1 "$marked" /no-restart /only machine_tests /only tools_tests
[ "$(grep -c '<failure' "$results/results.xml")" = 4 ] || fail "failures: $(<"$results/results.xml")"
[ "$(grep -c '^the machine:' "$results/results.txt")" = 4 ] || fail "a failure without the machine: $(<"$results/results.txt")"
for text in sleeper.exe 'the machine:' 'C:\Scratch\' no-match; do says "$text" "$results/results.xml"; done
! ls -d "$programs"/{"$left","Qantivo 8"} "$work"/wine/prefix/drive_c/{Scratch,windows/qtvprobe*} 2>/dev/null ||
    fail 'the run has left something'
[ -d "$programs/${left}l" ] || fail "a folder of somebody else's is gone"
! grep -riE "users.{1,2}$(id -un)|\<$(hostname | cut -c -15)\>" "$results" || fail 'the results tell who used the machine'

# What can't run says why, and leaves nothing.
# no_start TEXT OPTION...
no_start() {
    start 2 "${@:2}"
    says "$1"
}
no_start "isn't marked as throwaway" /results 'K:\none'
no_start 'there is no space' "$marked" /results 'R:\none'
touch "$work/drive/file"
no_start "can't be written" "$marked" /results 'K:\file'
no_start 'there is no option /x' "$marked" /x
no_start 'there is no program suport: the programs are machine_tests' "$marked" /only suport
no_start 'waits for a restart' /go-on /results 'K:\none'
no_start 'kit.wsb' /sandbox
for text in '\der Prüfstand</HostFolder>' '\der Prüfstand-results</HostFolder>' '<ReadOnly>true</ReadOnly>' \
    '<Networking>Disable</Networking>' '\run.cmd /results C:\QtvResults</Command>'; do says "$text" "$kit/kit.wsb"; done
[ ! -e "$kit-results" ] || fail 'a sandbox that did not open has left a folder'
truncate -s -1 "$kit/programs/package/setup.exe"
no_start 'programs/package/setup.exe is missing or not whole' "$marked" /results 'K:\none'
no_start 'unpack the whole zip again' /sandbox
truncate -s 1000 "$kit/programs/kit.exe"
no_start 'unpack the whole zip again' "$marked"
rm "$kit/programs/kit.exe"
no_start 'unpack the whole zip again' "$marked"
[ ! -e "$work/drive/none" ] || fail 'what was refused has left a folder'
