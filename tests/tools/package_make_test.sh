#!/usr/bin/env bash
# Tests package_make from the shell: package_make_test.sh BUILD-FOLDER
build=$(realpath "$1")
. "$(dirname "${BASH_SOURCE[0]}")/../harness/shell_test.sh"
make=("$build/package_make") check=("$build/package_check")
[ ! -e "${make[0]}.exe" ] || make=("$root/scripts/wine.sh" "${make[0]}.exe") check=("$root/scripts/wine.sh" "${check[0]}.exe")

# made EXIT-CODE ARGUMENT...
made() {
    run "$1" "${make[@]}" "${@:2}"
    [ -z "$(compgen -G 'out.*')" ] || fail "$* leaves something unfinished"
}
# files FOLDER NAME...
files() {
    local name
    mkdir -p "$1"
    cp "$build/package/"{QtvApp8.exe,QtvApp8Man.chm,HomePage.url,agreement.txt} "$1"
    for name in "${@:2}"; do
        mkdir -p "$1/$(dirname "$name")"
        echo "$name" >"$1/$name"
    done
}

# ---- a manifest ----
files app b.dat A.dat deep/er/x.dat deep/y.dat bulk/1 bulk/2 x64/ThumbQvi64.dll pat/p1 pat/p2 rare/r.dll start.exe two.txt
mkdir -p app/empty/inside
iconv -f UTF-16LE -t UTF-8 app/agreement.txt | tr -d '\r' >app/Agreement.TXT
rm app/agreement.txt
touch -d 2001-02-03 app/b.dat
cat >recipe <<'END'
# What the files don't tell.
File Copy: two.txt > 2.txt
File Copy x64: x64\ThumbQvi64.dll
File Copy ind: rare\r.dll
File Copy prt: start.exe
Make Dir: pat
Make Dir: empty
File Copy: pat\p*
Make Dir: empty\inside\made

File Overwrite: b.dat | written by the application
END
made 0 app out --recipe recipe --own bulk/
says 'out: no findings, the package is clean'
diff - <(tr -d '\r' <out/QtvUnInst.log) <<END || fail 'the manifest differs'
File Copy: QtvApp8.exe
File Copy: QtvUnInst.exe
File Copy: A.dat
File Copy: b.dat
File Copy: HomePage.url
File Copy: QtvApp8Man.chm
File Copy: deep\y.dat
File Copy: deep\er\x.dat
Make Dir: empty
Make Dir: rare
Make Dir: x64
Make Dir: empty\inside
$(<recipe)
File Copy: bulk\*.*
Make Dir: empty\inside
Make Dir: deep\er
Make Dir: empty
Make Dir: deep
Make Dir: bulk
END
cmp out/Agreement.TXT "$build/package/agreement.txt" || fail 'the agreement is not in the form that setup shows'
made 0 app second --recipe recipe --own bulk
diff -r out second || fail 'the same input results in other bytes'

# ---- the sample ----
cp -r "$build/package/." sample
rm sample/{setup.exe,QtvUnInst.exe,QtvUnInst.log}
made 0 sample sample_package --recipe "$root/sample/recipe.txt" --own Samples
diff -r "$build/package" sample_package || fail 'the sample differs from the package that is made from its folder and its recipe'

# ---- an update ----
files new back.dat same.dat Rare.dll start2.exe
cat >recipe <<'END'
File Copy ind: Rare.dll
File Copy prt: start2.exe
File Copy: same.dat > kept.dat
File Del: named.dat | by the recipe
END
files old gone.dat named.dat pat/p1 pat/p2 pat/sub/s slash/s duo/two.txt rare.dll back.dat start.exe start2.exe kept.dat x64/ThumbQvi64.dll
cat >old/QtvUnInst.log <<'END'
File Copy: QtvApp8.exe
File Copy: gone.dat
File Copy: named.dat
File Copy: missing.dat
File Copy: commented.dat | nothing
File Copy: pat\*
File Copy: slash/*
File Copy: duo\two.txt > 2.txt
File Copy: rare.dll
File Copy: BACK.dat
File Copy: kept.dat
File Copy: ..\outside.dat
file copy: start.exe
File Copy x64: x64\ThumbQvi64.dll
File Copy prt: start.exe
File Copy prt: start2.exe
Make Dir: made
Make Dir: made more
Make Dir: Made\in
Make Dir: kept.dat
File Overwrite: cache.dat
File Del: older?.dat | of version 7
File Del: back.dat | it was away for a while
File Del: rar?.dll
File Del: gone.dat
END
made 2 new update --recipe recipe --earlier old
says 'its version 8.5.2.0 is not higher than 8.5.2.0, that of'
made 0 new update --recipe recipe --earlier old --same-version
# unmarked FILE...: the embedded machine has stored nothing with them, such as short names. Wine stores attributes of its own.
unmarked() {
    [ -e "$build/package_make.exe" ] ||
        [ -z "$(find "$@" -print0 | xargs -0 /usr/bin/python3 -c 'import os, sys; print(*filter(os.listxattr, sys.argv[1:]))')" ] || fail "$* is changed"
}
unmarked old
diff - <(sed -n '/recipe/,$p' update/QtvUnInst.log | tr -d '\r') <<'END' || fail 'the update deletes other files'
File Del: named.dat | by the recipe
File Del: 2.txt
File Del: gone.dat
File Del: pat\p1
File Del: pat\p2
File Del: x64\ThumbQvi64.dll
File Del: older?.dat | of version 7
END
diff - <(sed -n 's/^after an update stays //p' said) <<'END' || fail 'the update leaves other things'
what the earlier record "File Del: rar?.dll" names, since the pattern matches Rare.dll as well: name the files one by one in the recipe
rare.dll, of the earlier version, where this one's record isn't carried out
the folder kept.dat, whose name is that of a file now
the empty folder made, unless the recipe names it: Make Dir: made
the empty folder made more, unless the recipe names it: Make Dir: made more
the empty folder Made\in, unless the recipe names it: Make Dir: Made\in
the empty folder pat, unless the recipe names it: Make Dir: pat
the empty folder x64, unless the recipe names it: Make Dir: x64
cache.dat, which the application of the earlier version made, unless the recipe names it: File Overwrite: cache.dat
start.exe, in the parent folder of a portable installation
END

# version NUMBER FROM TO: copies an application with another first number.
version() { LC_ALL=C sed "s/\(\xBD\x04\xEF\xFE......\)\x08/\1\x0$1/" "$2" >"$3"; }
version 7 "$build/package/QtvApp8.exe" old/QtvApp8.exe
made 0 new dirs --recipe recipe --earlier old --make-dirs
diff - <(sed -n '/older/,$p' dirs/QtvUnInst.log | tr -d '\r') <<'END' || fail 'other folders are removed'
File Del: older?.dat | of version 7
Make Dir: made
Make Dir: made more
Make Dir: Made\in
Make Dir: pat
Make Dir: x64
Make Dir: made
END
if grep 'empty folder' said; then fail 'folders stay that have records'; fi
says 'the folder kept.dat, whose'
version 9 "$build/package/QtvApp8.exe" old/QtvApp8.exe
made 2 new older --earlier old

# ---- findings, one of them in the recipe ----
printf '# remark\nFile Copy x64: same.dat\nFile  Copy: back.dat\n' >recipe
made 1 new found --recipe recipe
says 'recipe:2: [x64-ignored] File Copy x64: same.dat'
says 'recipe:3: [wrong-blank]'
# checked EXIT-CODE SAYS ARGUMENT...: runs package_check.
checked() {
    run "$1" "${check[@]}" "${@:3}"
    says "$2"
    [[ $(<said) != {* ]] || /usr/bin/python3 -m json.tool said >/dev/null || fail "no JSON: $(<said)"
}
checked 1 '"uri": "recipe"}, "region": {"startLine": 3}' --sarif --recipe recipe --sarif-base . found
[ -e found/setup.exe ] || fail 'a package with findings is not kept'
grep -q '^File Copy: back.dat' found/QtvUnInst.log || fail 'a record that setup skips stands for its file'

[ ! -e "$build/package_make.exe" ] || exit 0

# ---- package_check ----
checked 1 '"uri": "found/QtvUnInst.log"}, "region": {"startLine":' --sarif --sarif-base . found
checked 0 '{"package": "update", "exitCode": 0, "findings": [' --json update
checked 0 'update: no findings' update --recipe recipe
checked 2 'no-package' none
checked 2 "none can't be read" update --recipe none
for misuse in '' '--json' '--json --json found' '--json --sarif found' '--sarif-base . found' '--json --sarif-base . found' \
    'found found --json' '--none found' 'found --recipe' 'found --recipe --json' '--sarif found --sarif-base'; do
    # shellcheck disable=SC2086
    checked 2 'usage: package_check' $misuse
done

cp -r second odd
echo content >'a long name outside.txt'
ln -s '../a long name outside.txt' 'odd/a long name inside.txt'
printf 'File Copy: a long name inside.txt\r\n' >>odd/QtvUnInst.log
checked 0 'no findings' odd
chmod 400 odd/QtvUnInst.log
checked 1 manifest-read-only odd
unmarked odd 'a long name outside.txt'
chmod 600 odd/QtvUnInst.log
touch 'odd/conin$'
checked 1 'Another name: this one is kept for a device.' odd
(printf 'File Copy: ' && printf '%0200d' 0 | sed 's/0/\xE4/g') >>odd/QtvUnInst.log
checked 2 "a name that the host can't store" odd
# endless NAME COMMAND...: the command makes something without an end in the package.
endless() {
    rm -rf odd
    cp -r second odd
    rm -f "odd/$1"
    "${@:2}" "odd/$1"
    checked 2 "package_check: odd/$1 is no plain file or folder" odd
}
endless QtvUnInst.log mkfifo
endless pat/pipe mkfifo
endless Agreement.TXT ln -s /dev/zero
endless self ln -s .

# ---- wrong input ----
[ "$(stat -c %Y second/b.dat)" = "$(stat -c %Y app/b.dat)" ] || fail 'a file of the package has another time'
# refused_make SAYS ARGUMENT...
refused_make() {
    refused "$1" "${make[@]}" "${@:2}"
    [ -z "$(compgen -G 'out*')" ] || fail "$* made something"
}
rm -rf out
# shellcheck disable=SC2086
for misuse in app 'app out more' 'app out --recipe' 'app out --none'; do refused_make 'usage: package_make' $misuse; done
refused_make 'none is no folder' none out
refused_make 'nowhere, where the package is to be, is no folder' app nowhere/out
refused_make 'lies in the folder of the files' app app/out
refused_make "can't be read" app out --recipe none
refused_make 'is no package: its QtvUnInst.log' app out --earlier new
refused_make 'none is no program' app out --setup none
refused_make '--own none: no such folder' app out --own bulk --own none
refused_make '--own empty: it holds a folder' app out --own empty
refused_make '--own empty\inside: it holds no file' app out --own empty/inside
# refused_text SAYS FORMAT
refused_text() {
    # shellcheck disable=SC2059
    printf "$2" >$'te\x1Bxt'
    refused_make "$1" app out --recipe $'te\x1Bxt'
}
refused_text 'te\x1bxt:2: a byte 0' '\nFile Copy: \0'
refused_text 'te\x1bxt:2: a byte 1A' '\n\x1AFile Copy: b.dat'
refused_text 'te\x1bxt:1: more than 511 characters' "#$(printf '%0512d' 0)"
refused_text "a name that the host can't store" "File Copy: $(printf '\\xE4%.0s' {1..200})"
mkfifo endless
for option in --recipe --setup; do refused_make 'endless is no plain file' app out "$option" endless; done
mkdir looped
cp -r second/. looped
ln -s . looped/again
refused_make 'looped/again is no plain file or folder' app out --earlier looped
checked 2 'endless is no plain file' --recipe endless second
# refused_files SAYS NAME...: refuses each of them.
refused_files() {
    local name
    for name in "${@:2}"; do
        rm -rf odd
        files odd "$name"
        refused_make "$1" odd out
    done
}
refused_files 'in one byte' €.dat $'\xFF.dat'
refused_files "can't hold one of its characters" 'a:b' 'folder/a*' $'a\x01'
refused_files 'a backslash' 'a\b'
refused_files 'a blank or a dot at the end' 'folder /a' 'a.'
refused_files 'for a device' folder/aux.dll
refused_files "a blank can't begin a name" ' a'
refused_files 'package_make adds this file' Setup.exe qtvuninst.EXE QtvUnInst.log
refused_files 'for the log of an earlier version' install.log
refused_files 'the same name as' HOMEPAGE.url
rm odd/HOMEPAGE.url
ln -s HomePage.url odd/link
refused_make 'a link' odd out
rm odd/link
mkdir odd/ÄÖ odd/äö
refused_make 'the same name as' odd out
rmdir odd/äö
mkfifo odd/pipe
refused_make 'odd/pipe: neither a file nor a folder' odd out
echo 'no version' >new/QtvApp8.exe
refused_make "its version can't be read" new out
version 0 "$build/package/QtvApp8.exe" new/QtvApp8.exe
refused_make 'its first number is 0' new out
printf '\xFF' >odd/agreement.txt
rm odd/pipe
refused_make 'odd/agreement.txt is neither UTF-8 nor UTF-16' odd out
rm new/QtvApp8.exe
refused_make 'has no QtvApp8.exe' new out
printf MZ >program
refused_make 'are programs of different systems' app out --setup program
mkdir out
echo precious >out/file
made 2 app out
says 'is there already'
[ "$(cat out/*)" = precious ] || fail 'an existing folder was changed'
rm out/file
made 0 app out
rm -r out

# ---- two at once ----
"${make[@]}" app out >said 2>&1 &
first=0 second=0
"${make[@]}" app out >said2 2>&1 || second=$?
wait $! || first=$?
[ $((first + second)) = 2 ] && [ "$first" != 1 ] || fail "two at once ended with $first and $second: $(<said) $(<said2)"
cat said2 >>said
grep -qE "is there already|out can't be made" said || fail "the loser says $(<said)"
[ -z "$(compgen -G 'out.*')" ] && "${check[@]}" out >said || fail "two at once leave $(ls -d out*) $(<said)"
rm -r out

# ---- no space, but for the programs of the machine ----
printf '\x7FELF' >tiny
limit=$(($(stat -c %s "$build/system32/regsvr32.exe") / 1024 + 100))
no_room() {
    (trap '' XFSZ && ulimit -f "$limit" && "${make[@]}" app out --setup tiny "$@") >said 2>&1
    [ $? = 2 ] && [ -z "$(compgen -G 'out*')" ] || fail "without space it makes something: $(<said)"
}
truncate -s $((limit + 1))K app/large
no_room
says "app/large can't be copied"
rm app/large
strip app/QtvApp8.exe
seq -f '# %0500g' $((limit * 21 / 10)) >recipe
no_room --recipe recipe
says "QtvUnInst.log can't be written"

# ---- interrupted ----
mkdir app/long
(cd app/long && seq 3000 | xargs touch)
"${make[@]}" app out >said 2>&1 &
while ! compgen -G 'out.*' >/dev/null && kill -0 $!; do :; done
kill -TERM $!
wait $!
[ $? = 2 ] || fail 'an interrupted run has another exit code'
says stopped
[ -z "$(compgen -G 'out*')" ] || fail 'an interrupted run leaves something'
