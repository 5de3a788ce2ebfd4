#!/usr/bin/env bash
# Tests rehearse from the shell: rehearse_test.sh BUILD-FOLDER, that of the host
build=$(realpath "$1")
. "$(dirname "${BASH_SOURCE[0]}")/../harness/shell_test.sh"
sample=$build/package
mkdir tmp
export TMPDIR=$work/tmp
leaves_nothing() { [ -z "$(ls -A tmp)" ] || fail "$* leaves $(ls -A tmp)"; }
# rehearses EXIT-CODE SAYS ARGUMENT...
rehearses() {
    run "$1" "$build/rehearse" "${@:3}"
    says "$2"
    leaves_nothing "$*"
}

# ---- what can't be rehearsed ----
cp -r "$sample" package
mkfifo package/pipe
# shellcheck disable=SC2086
for misuse in '' 'package --earlier' 'package package' 'package --wine --trace x'; do rehearses 2 'usage: rehearse' $misuse; done
rehearses 0 "rehearse $(sed -n 's/^FILEVERSION //p' "$root/res/setup.rc" | tr -s ', ' .)" --version
rehearses 2 'is no folder' none
rehearses 2 'is no package: it has no setup.exe' "$sample" --earlier tmp
rehearses 2 'package/pipe is no plain file or folder' package
rehearses 2 'pipe is no plain file' "$sample" --earlier "$sample" --update package/pipe
rehearses 2 'its setup.exe is no Windows program' "$sample" --wine
rehearses 2 'its folder is missing' "$sample" --trace none/text
rehearses 2 "/dev/full can't be written" "$sample" --html /dev/full
rm package/pipe
touch $'package/a\x1B[31mb'
rehearses 2 'C:\Package\a\x1b[31mb '"can't be read" package
rm package/a?*b

# ---- runs that install nothing ----
rehearses 1 'a page that waits for a person  ->  the program was ended' package --
printf '\0\x1A\xFF\r\x1B[31m\xC3' >package/QtvUnInst.log
rehearses 1 '==== setup ====' package
rm package/QtvApp8.exe
rehearses 1 'setup: ended with 1' package
says 'setup: showed: [Qantivo 8] This setup files are damaged, installation aborted.'
says '    [Qantivo 8] This setup files are damaged, installation aborted.'
echo 'MZ no program' >package/setup.exe
rehearses 1 'setup.exe runs instead' --json "$sample" --earlier package

# ---- Wine's part, of which a stand-in for Wine shows how it is called ----
mkdir -p inst/host inst/scripts inst/windows
unset QTV_WINDOWS_BUILD
cp "$build/rehearse" inst/host && touch inst/version
printf %s '#!/bin/bash
mkdir -p "$QTV_WINE_HOME/prefix/drive_c" && cd "$QTV_WINE_HOME/prefix/drive_c" || exit
echo "${QTV_WINE_HOME##*/} $QTV_REHEARSAL $QTV_HTML $LC_ALL $*:" *
[ $# = 3 ] || exit 3' >inst/scripts/wine.sh
chmod +x inst/scripts/wine.sh
echo MZ >package/setup.exe
run 2 inst/host/rehearse package --wine
says 'inst/windows/rehearse.exe is missing'
touch inst/windows/rehearse.exe
run 3 inst/host/rehearse package --wine --earlier package --update package/setup.exe --html page -- -s -x
says "wine 1 Z:${PWD//\//\\}\\page C.UTF-8 cmd.exe /c exit: *"
says "wine 1 Z:${PWD//\//\\}\\page C.UTF-8 $PWD/inst/windows/rehearse.exe package text -s -x: Earlier package Package Update"

# ---- programs that never end ----
rm -r package
cp -r "$sample" package
for program in QtvUnInst.exe setup.exe; do
    cp "$build/sleeper.exe" "package/$program"
    WINHOST_CLOCK=virtual rehearses 2 '    programs were still running  ->  they were ended' package
    [[ $(<said) == *'showed: programs were still running  ->  they were ended'$'\nnot finished'* ]] || fail "a verdict: $(<said)"
done
# broken_off SIGNAL EXIT-CODE: the rehearsal gets the signal when its machine is there.
broken_off() {
    local code=0
    env --default-signal=INT "$build/rehearse" package >said 2>&1 &
    until compgen -G 'tmp/*/machine/C/Package' >/dev/null; do kill -0 $! || fail "it ends by itself: $(<said)"; done
    kill "-$1" $!
    wait $! 2>/dev/null || code=$?
    [ "$code" = "$2" ] || fail "broken off by $1 it ends with $code"
}
broken_off INT 130
leaves_nothing INT
# If it is killed, the next run removes what it left.
broken_off KILL 137
[ -n "$(ls -A tmp)" ] || fail 'a killed run leaves nothing to remove'
rehearses 0 'nothing that should have gone' "$sample"

rehearses 0 '"after": "the manifest"}' --json "$sample" -- -s -instport 'C:\Q'

# ---- its files, where it is started ----
(mkdir here && cd here && "$build/rehearse" "$sample" --html x.html --trace x.txt) >said || fail "it fails: $(<said)"
says 'nothing that should have gone' here/x.html
rest=$(<here/x.txt)
for line in $'==== setup ====\nsetup.exe\tmade folder C:\\Program Files\\Qantivo 8\n' \
    $'setup.exe\tcopied C:\\Package\\readme-en.txt to C:\\Program Files\\Qantivo 8\\readme.txt\n' \
    $'setup.exe\tregistered HKEY_LOCAL_MACHINE\\SOFTWARE\\Lorvanta\\Qantivo 8 : AllUsers = B\n' \
    $'==== uninstall ====\nQtvUnInst.exe\tcopied ' \
    $'uni*.tmp\tkept for the next start: delete <Temp>\\uni*.tmp\n' \
    $'==== restart ===='; do
    [[ $rest == *"$line"* ]] || fail "\"$line\" is missing or comes too early in $(<here/x.txt)"
    rest=${rest#*"$line"}
done
