#!/usr/bin/env bash
# usage: scripts/release.sh FOLDER OUT --release-info FILE [--recipe FILE] [--earlier PACKAGE] [--same-version] [--own FOLDER]... [--icon FILE] [--sign-all] [--always PATTERN]...
# example: scripts/release.sh app release --release-info info.txt --earlier last-release/package
#
# Makes a signed download, and with --earlier an update, with proof from the folder that a build leaves.
# Makes the package, checks it, rehearses it, makes the download, signs it, runs it, and writes checksums, the manifest
# for winget and the report. Exits with 1 at the first step that fails, and leaves the reports so far in OUT.failed; exits with 2
# if the input is not usable. OUT is written only if everything is right. docs/releasing.md says what each step proves, and names
# the variables for the signature.
set -euo pipefail
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/lib.sh"
. "$root/scripts/signing.sh"
. "$root/scripts/winget.sh"
cd "$root"
export QTV_WINDOWS_BUILD=$windows_build LC_ALL=C.UTF-8

places=() recipe='' earlier='' info='' icon='' sign_all='' options=() always=()
while [ $# -gt 0 ]; do
    case $1 in
        --recipe | --earlier | --release-info | --own | --icon | --always)
            [ $# -ge 2 ] || bad_usage "$1 needs a value"
            case $1 in
                --recipe) recipe=$(absolute "$2") ;;
                --earlier) earlier=$(absolute "$2") ;;
                --release-info) info=$(absolute "$2") ;;
                --own) options+=(--own "$2") ;;
                --icon) icon=$(absolute "$2") ;;
                --always) always+=(--always "$2") ;;
            esac
            shift
            ;;
        --same-version) options+=(--same-version) ;;
        --sign-all) sign_all=yes ;;
        -*) bad_usage "there is no option \"$1\"" ;;
        *) places+=("$(absolute "$1")") ;;
    esac
    shift
done
[ ${#places[@]} -eq 2 ] || bad_usage
[ -n "$earlier" ] || [ ${#always[@]} -eq 0 ] || bad_usage '--always needs --earlier'
folder=${places[0]} out=${places[1]}
[ ! -e "$out" ] || { [ -d "$out" ] && [ -z "$(ls -A "$out")" ]; } || refuse "$out is there already and is not an empty folder"
[ -d "$(dirname "$out")" ] || refuse "$(dirname "$out") is no folder"

# ---- what winget needs ----
[ -n "$info" ] || refuse '--release-info FILE is missing: winget asks for identifier, address, licence and description'
[ -f "$info" ] && [ -r "$info" ] || refuse "$info can't be read"
check_info

# ---- what can be seen before anything is made ----
check_signing
[ -z "$sign_all" ] || [ -n "$signs" ] || refuse '--sign-all needs one of the variables for the signature'
application=$folder/QtvApp8.exe
is_program "$application" || refuse "$folder has no QtvApp8.exe that is a Windows program"
[ -z "$icon" ] || { [ -f "$icon" ] && [ -r "$icon" ]; } || refuse "$icon can't be read"
long=$(find "$folder" -mindepth 1 -printf '%P\n' | grep -E '^.{201}' | head -n 1) || true
[ -z "$long" ] || refuse "$long: a name of more than 200 characters, which no download takes"
# The package, a copy of it in each rehearsal, and the download.
kib=$(($(du -sk --apparent-size "$folder" | cut -f 1) * 5))
[ "$(df -k --output=avail "$(dirname "$out")" | tail -n 1)" -gt "$kib" ] ||
    refuse "$(dirname "$out") has too little free space: a release of $folder takes $((kib / 1024)) MiB while it is made"

needs windows download
needs_commands objcopy=binutils x86_64-w64-mingw32-windres=binutils-mingw-w64-x86-64 wine=wine64
build host package_make package_check rehearse rehearse_stand_in download_make
build windows setup rehearse download

texts=$("$host_build/download_make" --texts "$application" ${icon:+--icon "$icon"}) || exit 2
text() { sed -n "s/^$1 //p" <<<"$texts"; }
version=$(text Version) product=$(text ProductName) company=$(text CompanyName)
check_text "$application" 'the name of the product' 2 256 "$product"
check_text "$application" 'the name of the company' 2 256 "$company"
name=${product//[^A-Za-z0-9._-]/-}
file=$name-$version.exe
url=$(info InstallerUrl)
[ "${url##*/}" = "$file" ] || refuse "$info: the address ends in \"${url##*/}\", and the file will be $file"

# Beside the release, so that it appears whole or not at all.
make_work "$(dirname "$out")"
new=$work/new
mkdir -p "$new/report"

report() { printf '%-44s %s\n' "$1" "$2" | tee -a "$new/report/report.txt"; }
# The reports so far stay, beside those of earlier runs that failed.
stop() {
    local place=$out.failed number=1
    report 'stopped' "$*" >/dev/null
    if [ -s "$work/said" ]; then
        cat "$work/said" >&2
        cp "$work/said" "$new/report/stopped.txt"
    fi
    while [ -e "$place" ]; do place=$out.failed.$((++number)); done
    mv -T "$new/report" "$place"
    echo "$self: stopped: $*; the reports so far are in $place" >&2
    exit 1
}
# step NAME COMMAND...: shows the output of the command only if it fails.
step() {
    local name=$1 started=$SECONDS
    shift
    "$@" >"$work/said" 2>&1 || stop "$name"
    report "$name" "right, $((SECONDS - started)) s"
}

# ---- the package ----
# make_package FOLDER SETUP PACKAGE
make_package() {
    local made=0
    "$host_build/package_make" "$1" "$3" --setup "$2" ${recipe:+--recipe "$recipe"} \
        ${earlier:+--earlier "$earlier" --make-dirs} "${options[@]}" >"$work/said" 2>&1 || made=$?
    cp "$work/said" "$new/report/package.txt"
    [ "$made" != 2 ] || { cat "$work/said" >&2 && exit 2; }
    [ "$made" = 0 ] || stop 'the package has findings'
}
# It is made without signatures first: what is refused or found then costs none.
make_package "$folder" "$windows_build/setup.exe" "$work/unsigned"
rm -r "$work/unsigned"
# Signatures inside the download come before its own.
cp "$windows_build/setup.exe" "$work/setup.exe"
step 'the signature of setup.exe' sign_once "$work/setup.exe" "${earlier:+$earlier/setup.exe}"
sign_files() {
    local program rc
    while IFS= read -r -d '' program; do
        rc=0
        is_signed "$work/files/$program" || rc=$?
        [ "$rc" != 1 ] || sign_once "$work/files/$program" "${earlier:+$earlier/$program}" || return
    done < <(find "$work/files" -type f -printf '%P\0')
}
if [ -n "$sign_all" ]; then
    cp -a "$folder" "$work/files"
    folder=$work/files
    step "the signatures of the application's programs" sign_files
fi
package=$new/package
make_package "$folder" "$work/setup.exe" "$package"
cat "$work/said"
report 'the package' "$(find "$package" -type f | wc -l) files, $(($(find "$package" -type f -printf '%s+')0)) bytes"
step 'checked' "$host_build/package_check" --sarif --sarif-base "$new" ${recipe:+--recipe "$recipe"} "$package"
cp "$work/said" "$new/report/check.sarif"

# Before the rehearsals: it tells whether the package fits.
update=${file%.exe}-update.exe
step 'the download is made' scripts/make_download.sh "$package" "$new/$file" ${icon:+--icon "$icon"} \
    ${earlier:+--earlier "$earlier" --full-url "$url" "${always[@]}"}

# ---- the rehearsals ----
# rehearse NAME FILE OPTION...
rehearse() {
    local name=$1 page=$2
    shift 2
    step "rehearsed under Wine, $name" "$host_build/rehearse" --wine --html "$new/report/$page.html" "$@"
}
rehearse fresh fresh "$package" -- -s
# What setup registers is what winget finds on a machine.
registered() { sed -n "s/^ *+ $1  *\"\(.*\)\"\$/\1/p" "$work/said" | head -n 1; }
shown_name=$(registered DisplayName) shown_version=$(registered DisplayVersion) shown_publisher=$(registered Publisher)
[ -n "$shown_name" ] && [ -n "$shown_version" ] || stop 'setup registers no name or no version in the list of programs'
[ -z "$earlier" ] || rehearse 'an update' update --earlier "$earlier" "$package" -- -s
rehearse portable portable "$package" -- -s -instport 'C:\Stick\Qantivo'

# Windows programs don't run there. The host's setup program replaces setup, and stand-ins replace the others: they only
# record that they were started.
mkdir "$work/embedded"
cp -r "$package" "$work/embedded/package"
stand_ins=()
while IFS= read -r -d '' program; do
    name=${program#"$work/embedded/package/"}
    if cmp -s "$program" "$work/setup.exe"; then
        cp "$host_build/setup.exe" "$program"
    elif is_program "$program"; then
        x86_64-w64-mingw32-windres -i "$program" -O res -o "$work/resources" 2>/dev/null || : >"$work/resources"
        objcopy --add-section winres="$work/resources" "$host_build/rehearse_stand_in" "$program"
        stand_ins+=("${name//\//\\}")
    fi
    chmod +x "$program"
done < <(find "$work/embedded/package" -type f -iname '*.exe' -print0 | sort -z)
step 'rehearsed on an embedded machine' "$host_build/rehearse" --html "$new/report/embedded.html" "$work/embedded/package" -- -s
report '  stand-ins there for' "${stand_ins[*]}"
starts=$(grep -iF -f <(printf '%s\n' "${stand_ins[@]}") "$work/said" | sed -n 's/^ \{4\}\("\{0,1\}[A-Z]:.*\)/\1/p' | sort | uniq -c)
[ -n "$starts" ] || stop 'setup starts none of the package'"'"'s programs on the embedded machine'
while read -r count line; do report '  started there' "$count x $line"; done <<<"$starts"

# ---- the download ----
step 'the signature of the download' sign "$new/$file"
if [ -n "$earlier" ]; then
    step 'the signature of the update' sign "$new/$update"
    rehearse 'by the update file' update-file --earlier "$earlier" --update "$new/$update" "$package" -- -s
    report '  it has' "$(($(stat -c %s "$new/$update") * 100 / $(stat -c %s "$new/$file"))) percent of the download's bytes"
fi
signer='nobody: no variable for the signature is set'
# Whether this machine trusts the signer doesn't matter here.
[ -z "$signs" ] || signer=$({ osslsigncode verify -in "$new/$file" 2>/dev/null || true; } | sed -n 's/^[[:space:]]*Subject: //p' | sed -n 1p)
report 'signed by' "$signer"
report 'it unpacks with' "liblzma $(<"$liblzma")"
run_download() {
    export QTV_WINE_HOME=$work/wine
    scripts/wine.sh "$new/$file" -install -s -instdir 'C:\Apps\Qantivo' || return
    local installed=$work/wine/prefix/drive_c/Apps/Qantivo
    cmp "$package/QtvApp8.exe" "$installed/QtvApp8.exe" && cmp "$package/setup.exe" "$installed/QtvUnInst.exe" || return
    cmp -n "$(stat -c %s "$package/QtvUnInst.log")" "$package/QtvUnInst.log" "$installed/QtvUnInst.log" || return
    if find "$work/wine/prefix/drive_c/Program Files" -name '*.dl' | grep .; then return 1; fi
}
step 'the download installs under Wine' run_download

# ---- the files next to it ----
sum=$(sha256sum "$new/$file" | cut -d ' ' -f 1)
write_winget "$new/winget"
report 'for winget' "$(info PackageIdentifier) $version"
(cd "$new" && find . -type f ! -path './package/*' ! -name SHA256SUMS -printf '%P\n' | LC_ALL=C sort | xargs -d '\n' sha256sum >SHA256SUMS)
[ ! -e "$out" ] || rmdir "$out"
mv -T "$new" "$out"
echo "$out:"
(cd "$out" && find . -type f ! -path './package/*' -printf '%10s  %P\n' | LC_ALL=C sort -k 2)
