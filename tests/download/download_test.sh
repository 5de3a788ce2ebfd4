#!/usr/bin/env bash
# Tests the download of a package under Wine: download_test.sh BUILD-FOLDER.
build=$(realpath "$1")
export QTV_WINDOWS_BUILD=$build
. "$(dirname "${BASH_SOURCE[0]}")/../harness/shell_test.sh"
# While a program runs, Wine doesn't start anew, which would carry out the marks.
"$root/scripts/wine.sh" "$build/sleeper.exe" >/dev/null 2>&1 &
awake=$!
trap 'kill "$awake"; rm -rf "$work"' EXIT
wine() { "$root/scripts/wine.sh" "$@" 2>/dev/null | tr -d '\r'; }
make() { pack "$@" >made 2>&1; }
here=Z:${work//\//\\}
export QTV_RECORD=$here\\record

# ---- what can't be made ----
echo mine >Qantivo.exe.unfinished
"$root/scripts/make_download.sh" "$build/package" Qantivo.exe >/dev/null || fail 'no download of the sample'
[ "$(ls -A)" = $'Qantivo.exe\nQantivo.exe.unfinished' ] && [ "$(<Qantivo.exe.unfinished)" = mine ] || fail "beside it is $(ls -A)"
cp -r "$build/package" package
rm package/QtvUnInst.log
script=$root/scripts/make_download.sh
refused usage "$script" package
refused "doesn't end in .exe" "$script" package out
refused 'is no folder' "$script" package none/out.exe
refused 'has no setup.exe' "$script" . out.exe
refused 'has no setup.exe' "$script" "$build/package" out.exe --earlier .
refused 'need --earlier' "$script" package out.exe --full-url https://example.com
refused 'needs a value' "$script" package out.exe --earlier
refused 'no QtvUnInst.log' "$script" package out.exe
mkdir endless
mkfifo endless/setup.exe
refused 'has no setup.exe' "$script" endless out.exe
cp "$build/package/QtvUnInst.log" package
pack() { "${QTV_HOST_BUILD:-$root/build/host}/download_make" "$build/download.exe" "$@"; }
for name in con 'a ' 'a:b'; do
    mkdir "package/$name"
    refused 'is no name' pack package out.exe
    rmdir "package/$name"
done
refused 'endless/setup.exe is no plain file' pack package out.exe --icon endless/setup.exe
ln -s readme-en.txt package/link
refused 'neither a file nor a folder' pack package out.exe
rm package/link
# What is clearly too large is refused before it is packed: the beginnings of its parts tell. The rest of this file takes no space.
truncate -s 6G package/large
for part in {0..47}; do
    dd if=/dev/urandom of=package/large bs=512K count=1 seek=$((part * 256)) iflag=fullblock conv=notrunc status=none
done
started=$SECONDS
ln -s package linked
refused 'but a download is smaller than 4 GiB' pack linked out.exe
[ $((SECONDS - started)) -lt 300 ] || fail 'a package that is too large is packed'
rm package/large
echo MZ >package/QtvApp8.exe
refused 'is no whole Windows program' pack package out.exe
cp "$build/stand_in.exe" package/QtvApp8.exe
refused 'has no version' pack package out.exe

# Texts in any language arrive as they are. stand_in.exe shows what Windows reads of them.
sed -e 's/"Qantivo 8"/"Müller Foto™ «Größe» $%PATH%"/' -e 's/VALUE "FileDescription".*/&\nVALUE "LegalCopyright", "© 2026 Müller"/' \
    "$root/sample/app.rc" >app.rc
x86_64-w64-mingw32-windres -c 65001 -DQTV_APP_VERSION=8,5,2,0 -I "$root/res" app.rc app.o
echo 'int main(void) { return 0; }' >app.c
x86_64-w64-mingw32-gcc-posix -o package/QtvApp8.exe app.c app.o
pack package foto.exe >made 2>&1 || fail "no download: $(<made)"
QTV_TEXTS=$here\\foto.exe wine "$build/stand_in.exe" >seen
for text in 'ProductName Müller Foto™ «Größe» $%PATH%' 'FileDescription Müller Foto™ «Größe» $%PATH% Setup' \
    'LegalCopyright © 2026 Müller' 'FileVersion 8,5,2,0' 'OriginalFilename '; do
    grep -qxF "$text" seen || fail "no text \"$text\" in $(<seen)"
done
cp "$build/package/QtvApp8.exe" package

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
    [[ $(recorded line) == *".dl\\setup.exe\" \"-sfxname=$here\\my download.exe\" $2" ]] ||
        fail "\"$2\" arrives as $(recorded line)"
}
page_is hidden ''
page_is none '-install   -S'
page_is none 'one "-s"'
page_is hidden '-silent x-s -s=1 -instdir "C:\a -s b"  '
[[ $(recorded folder) =~ ^C:\\Program\ Files\\[a-z2-7]{26}\.dl$ ]] || fail "setup's current folder is $(recorded folder)"
# Only the system and administrators, for whom Wine puts the user.
[[ $(recorded rights) =~ ^D:[A-Z]*'(A;OICI;FA;;;SY)(A;OICI;FA;;;S-1-5-21-'[-0-9]*\)$ ]] || fail "the folder's rights are $(recorded rights)"

for code in 1 C0000409; do
    QTV_EXIT=$code start $code -s
done

# ---- what ends before setup starts, and what is left ----
marks() { wine reg.exe query 'HKLM\SYSTEM\CurrentControlSet\Control\Session Manager' /v PendingFileRenameOperations; }
left() { ls "${QTV_WINE_HOME:-$root/build/wine}/prefix/drive_c/Program Files" | grep '\.dl$'; }
is_clean() { [ -z "$(left)" ] && ! marks | grep -F .dl || fail "$1: left: $(left) $(marks)"; }
is_clean 'after all that'
# failed_before EXIT-CODE SAYS ARGUMENTS
failed_before() {
    start "$1" "$3"
    if [ -n "$2" ]; then grep -qF "box $2" seen; else ! grep -q box seen; fi || fail "\"$3\" shows $(<seen)"
    [ ! -e record ] || fail "setup was started anyway"
    is_clean "$2"
}
cp 'my download.exe' whole
printf '\0damage' | dd of='my download.exe' bs=1 seek=100 conv=notrunc status=none
failed_before 3 'This file is damaged' ''
failed_before 3 '' -s
# A signature is passed over, and nothing may follow it.
openssl req -x509 -newkey rsa:2048 -nodes -keyout key.pem -out certificate.pem -days 2 -subj /CN=maker \
    -addext extendedKeyUsage=codeSigning 2>/dev/null
rm 'my download.exe'
osslsigncode sign -certs certificate.pem -key key.pem -in whole -out 'my download.exe' >/dev/null || fail 'not signed'
start 0 -s
echo more >>'my download.exe'
failed_before 3 'This file is damaged' ''

# It takes a while to make many files.
mkdir package/many
for ((i = 0; i < 800; ++i)); do echo "$i" >"package/many/$i"; done
cp package/readme-en.txt package/setup.exe
make package 'my download.exe' || fail "no download: $(<made)"
# On a busy machine the files are there before the page is touched, and the program ends because setup.exe can't be started.
# touched HOW EXIT-CODE
touched() {
    local tries=30
    while QTV_PAGE=$1 QTV_LINE="\"$here\\my download.exe\"" wine stand_in.exe >seen && grep -qx 'ended 2' seen && ((--tries)); do :; done
    grep -qx "ended $2" seen || fail "touched by $1: $(<seen)"
}
touched cancel 6
! grep -q box seen || fail "after Cancel it shows $(<seen)"
is_clean cancel
touched kill 9
marks | grep -qF '.dl\many\7' || fail "a killed run has no marks: $(marks)"
[ -n "$(left)" ] || fail 'a killed run leaves no folder'
rm -r package/many
make package 'my download.exe'
failed_before 2 "The files can't be unpacked" ''
cp whole 'my download.exe'
QTV_HOLD=$here\\stand_in.exe start 0 -s
marks | grep -qF "$(recorded folder)" || fail "what is in use isn't marked: $(marks)"
start 0 -s
is_clean 'after a program that used the folder'
# Removes the installations of other tests.
versions='HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion'
for key in 'HKLM\SOFTWARE\Lorvanta' "$versions\Uninstall\Qantivo 8" "$versions\App Paths\QtvApp8.exe"; do
    wine reg.exe delete "$key" /f /reg:64 >/dev/null 2>&1 || true
done

# ---- the sample's download, with settings beside it, by the recipes of the manual ----
echo '[settings]' >QtvApp8.ini
# recipe NAME EXIT-CODE
recipe() {
    sed -n "/^    rem $1.cmd/,/^[^ ]/s/^    //p" "$root/docs/deployment.md" | sed 's/$/\r/' >"$1.cmd"
    [ -s "$1.cmd" ] || fail "the manual has no recipe $1"
    run "$2" timeout 300 "$root/scripts/wine.sh" cmd.exe /c "$1.cmd"
}
program_files=${WINEPREFIX:-${QTV_WINE_HOME:-$root/build/wine}/prefix}/drive_c/Program\ Files
recipe detect 1
recipe install 0
recipe detect 0
recipe pending 1
recipe install 0
recipe pending 1
installed() { for file in "$@"; do cmp "$file" "$program_files/Qantivo 8/${file##*/}" || fail "$file is not installed"; done; }
installed QtvApp8.ini "$build/package/QtvApp8.exe"
# An update of the sample to one with another page and another version of a library; the whole download, where a file was changed.
cp -r "$build/package/." package
cp "$build/sleeper.exe" package/sleeper.exe
echo more >>package/HomePage.url
printf 'File Copy: sleeper.exe\r\n' >>package/QtvUnInst.log
"$script" package new.exe --earlier "$build/package" --full-url https://example.com/new.exe >made || fail "no update: $(<made)"
[ "$(sed -n 's/.*-update.exe: \([0-9]*\) bytes/\1/p' made)" -lt "$(stat -c %s new.exe)" ] || fail "the update is large: $(<made)"
refused 'no address' "$script" package out.exe --earlier "$build/package" --full-url http://example.com
mv new-update.exe Qantivo-update.exe
# The recipe would install the earlier package if the update refused.
recipe update 0
installed package/{sleeper.exe,HomePage.url,QtvApp8.exe}
mv new.exe Qantivo.exe
recipe install 0
echo changed >"$program_files/Qantivo 8/QtvApp8Man.chm"
run 7 "$root/scripts/wine.sh" Qantivo-update.exe -install -s
[ "$(<"$program_files/Qantivo 8/QtvApp8Man.chm")" = changed ] || fail 'a refused update changes a file'
recipe update 0
installed package/QtvApp8Man.chm
is_clean 'after the updates'
recipe remove 0
# On a busy machine the product's own program may still run when it is removed.
for file in "$program_files/Qantivo 8/"*.exe; do
    [ ! -e "$file" ] || marks | grep -qF "\\Qantivo 8\\$(basename "$file")" || fail "the recipe did not wait until $file was removed"
done
rm -rf "$program_files/Qantivo 8"
recipe detect 1
manager='HKLM\SYSTEM\CurrentControlSet\Control\Session Manager'
wine reg.exe add "$manager" /v PendingFileRenameOperations /t REG_MULTI_SZ /f \
    /d '\??\C:\Qantivo 8\a.new\0!\??\C:\Qantivo 8\a' >/dev/null
recipe pending 0
