#!/usr/bin/env bash
# Tests the download of a package under Wine: download_test.sh BUILD-FOLDER. Exits with 77 if its compiler is missing.
set -uo pipefail
build=$(realpath "$1")
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
if ! command -v makensis >/dev/null || ! command -v wrestool >/dev/null; then
    echo 'download_test: NOT RUN: scripts/bootstrap.sh download installs what is missing' >&2
    exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1

failed=
fail() {
    echo "download_test: $*" >&2
    failed=yes
}
wine() { "$root/scripts/wine.sh" "$@" 2>/dev/null | tr -d '\r'; }
make() { "$root/scripts/make_download.sh" "$@" >made 2>&1; }
here=Z:${work//\//\\}
export QTV_RECORD=$here\\record

# ---- what can't be made ----
# refused SAYS ARGUMENT...
refused() {
    local text=$1 result=0
    shift
    make "$@" || result=$?
    [ "$result" = 2 ] && grep -qF -- "$text" made || fail "make_download.sh $* ended with $result: $(<made)"
    [ ! -e out.exe ] && [ ! -e out.exe.unfinished ] || fail "make_download.sh $* leaves something"
}
cp -r "$build/package" package
refused usage package
refused "doesn't end in .exe" package out
refused 'is no folder' package none/out.exe
refused 'has no setup.exe' . out.exe
truncate -s 2040109466 package/large
refused '1.9 GiB' package out.exe
rm package/large
echo MZ >package/QtvApp8.exe
refused 'has no icon' package out.exe
cp "$build/package/QtvApp8.exe" package
rm package/QtvUnInst.log
refused 'no QtvUnInst.log' package out.exe
cp "$build/package/QtvUnInst.log" package

# ---- how setup is started, and how it isn't ----
cp "$build/stand_in.exe" package/setup.exe
mkdir -p package/deep/er "package/b c"
echo x | tee package/deep/er/x >"package/b c/\$INSTDIR ü.txt"
make package 'my download.exe' || fail "no download: $(<made)"
# start EXIT-CODE ARGUMENTS: stores what was shown in the file "seen".
start() {
    rm -f record
    QTV_LINE="\"$here\\my download.exe\"${2:+ $2}" wine stand_in.exe >seen
    grep -qx "ended $1" seen || fail "\"$2\": $(<seen)"
}
cp "$build/stand_in.exe" .
recorded() { sed -n "s/^$1 //p" record 2>/dev/null; }
# page_is PAGE ARGUMENTS
page_is() {
    start 0 "$2"
    [ "$(recorded page)" = "$1" ] || fail "with \"$2\" the page is $(recorded page)"
    [[ $(recorded line) == *"\\package\\setup.exe\" \"-sfxname=$here\\my download.exe\" $2" ]] ||
        fail "\"$2\" arrives as $(recorded line)"
}
page_is hidden ''
page_is none '-install   -S'
page_is none '-sconf'
page_is none 'one "-s"'
page_is none '/S /NCRC /D=C:\x y'
page_is hidden '-v -s'
page_is hidden '-silent x-s -s=1 -instdir "C:\a -s b"  '
[[ $(recorded folder) == *\\package ]] || fail "setup's current folder is $(recorded folder)"
# Wine uses the host's rights for a folder: others may read it and start what is in it.
[[ $(recorded rights) =~ \;0x1200a9\;\;\;WD\) ]] || fail "the folder's rights are $(recorded rights)"
temporary=$(dirname "$(dirname "$(recorded folder)")")

for code in 1 C0000409; do
    QTV_EXIT=$code start $code -s
done

# ---- what ends before setup starts ----
# failed_before SAYS ARGUMENTS
failed_before() {
    start 2 "$2"
    grep -qF "$1" seen || fail "$1 is not shown: $(<seen)"
    [ ! -e record ] || fail "setup was started anyway"
}
long=$(printf '%0950d' 0)
failed_before 'box The command line is too long' "$long"
failed_before 'ended 2' "-s $long"
! grep -q box seen || fail 'a silent run shows a box'
cp 'my download.exe' whole
middle=$(($(stat -c %s whole) / 2))
printf '\0damage' | dd of='my download.exe' bs=1 seek=$middle conv=notrunc status=none
failed_before 'box Installer integrity check has failed' '/NCRC -s'
head -c $middle whole >'my download.exe'
failed_before 'box Installer integrity check has failed' ''
cp package/readme-en.txt package/setup.exe
printf MZ | dd of=package/setup.exe conv=notrunc status=none
make package 'my download.exe'
failed_before "box Setup can't be started" ''
# A compiler that asks for more space than any drive has, for the next test.
mkdir bin
cat >bin/makensis <<'END'
#!/usr/bin/env bash
printf '%s\n' "$@" | sed -n 's/^-DNEEDED=//p' >needed
exec "$(PATH=${PATH#*:} command -v makensis)" "${@/#-DNEEDED=*/-DNEEDED=4611686018427387904}"
END
chmod +x bin/makensis
PATH=$work/bin:$PATH make package 'my download.exe'
failed_before 'box The drive of the temporary folder has too little free space' ''
twice=$((($(find package -type f -printf "%s+")0) * 2))
[ "$(<needed)" = $twice ] || fail "the download asks for $(<needed) bytes, not $twice"

# ---- what is left ----
marks() { wine reg.exe query 'HKLM\SYSTEM\CurrentControlSet\Control\Session Manager' /v PendingFileRenameOperations; }
left() { wine cmd.exe /c "dir /b $temporary" | grep -i '^ns.*tmp$'; }
[ -z "$(left)" ] || fail "left in the temporary folder: $(left)"
cp whole 'my download.exe'
QTV_HOLD=$here\\stand_in.exe start 0 -s
held=$(recorded folder)
marks | grep -qF "$held" || fail "$held isn't marked: $(marks)"
wine reg.exe delete 'HKLM\SYSTEM\CurrentControlSet\Control\Session Manager' /v PendingFileRenameOperations /f >/dev/null
# Removes the installations of other tests.
versions='HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion'
for key in 'HKLM\SOFTWARE\Lorvanta' "$versions\Uninstall\Qantivo 8" "$versions\App Paths\QtvApp8.exe"; do
    wine reg.exe delete "$key" /f /reg:64 >/dev/null 2>&1 || true
done

# ---- the sample's download, with settings beside it, by the recipes of the manual ----
"$root/scripts/make_download.sh" "$build/package" Qantivo.exe >/dev/null || fail 'no download of the sample'
echo '[settings]' >QtvApp8.ini
# recipe NAME EXIT-CODE
recipe() {
    local result=0
    sed -n "/^    rem $1.cmd/,/^[^ ]/s/^    //p" "$root/docs/deployment.md" | sed 's/$/\r/' >"$1.cmd"
    [ -s "$1.cmd" ] || fail "the manual has no recipe $1"
    timeout 300 "$root/scripts/wine.sh" cmd.exe /c "$1.cmd" >said 2>&1 || result=$?
    [ "$result" = "$2" ] || fail "the recipe $1 ends with $result: $(<said)"
}
program_files=${WINEPREFIX:-${QTV_WINE_HOME:-$root/build/wine}/prefix}/drive_c/Program\ Files
recipe detect 1
recipe install 0
recipe detect 0
recipe pending 1
recipe install 0
recipe pending 1
for file in QtvApp8.ini "$build/package/QtvApp8.exe"; do
    cmp "$file" "$program_files/Qantivo 8/$(basename "$file")" || fail "$file is not installed"
done
recipe remove 0
! ls "$program_files/Qantivo 8/"*.exe 2>/dev/null || fail 'the recipe did not wait for the removal'
recipe detect 1
manager='HKLM\SYSTEM\CurrentControlSet\Control\Session Manager'
wine reg.exe add "$manager" /v PendingFileRenameOperations /t REG_MULTI_SZ /f \
    /d '\??\C:\Qantivo 8\a.new\0!\??\C:\Qantivo 8\a' >/dev/null
recipe pending 0
[ -z "$failed" ]
