#!/usr/bin/env bash
# usage: scripts/release.sh FOLDER OUT --release-info FILE [--recipe FILE] [--earlier PACKAGE] [--own FOLDER]...
# example: scripts/release.sh app release --release-info info.txt --earlier last-release/package
#
# Makes a signed download with proof from the folder that a build leaves.
# Makes the package, checks it, rehearses it, makes the download, signs it, runs it, and writes checksums, the manifest
# for winget and the report. Exits with 1 at the first step that fails, and with 2 if the input is not usable. OUT is
# written only if everything is right. docs/releasing.md says what each step proves, and names the variables for the
# signature.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"
export QTV_WINDOWS_BUILD=$windows_build

places=() recipe='' earlier='' info='' own=()
while [ $# -gt 0 ]; do
    case $1 in
        --recipe | --earlier | --release-info | --own)
            [ $# -ge 2 ] || bad_usage "$1 needs a value"
            case $1 in
                --recipe) recipe=$(absolute "$2") ;;
                --earlier) earlier=$(absolute "$2") ;;
                --release-info) info=$(absolute "$2") ;;
                --own) own+=(--own "$2") ;;
            esac
            shift
            ;;
        -*) bad_usage "there is no option \"$1\"" ;;
        *) places+=("$(absolute "$1")") ;;
    esac
    shift
done
[ ${#places[@]} -eq 2 ] || bad_usage
folder=${places[0]} out=${places[1]}
[ ! -e "$out" ] || { [ -d "$out" ] && [ -z "$(ls -A "$out")" ]; } || refuse "$out is there already and is not an empty folder"
[ -d "$(dirname "$out")" ] || refuse "$(dirname "$out") is no folder"

# ---- what winget needs ----
[ -n "$info" ] || refuse '--release-info FILE is missing: winget asks for identifier, address, licence and description'
[ -r "$info" ] || refuse "$info can't be read"
info() { sed -n "s/^$1: *//p" "$info" | tr -d '\r' | head -n 1; }
for entry in PackageIdentifier InstallerUrl License ShortDescription; do
    [ -n "$(info "$entry")" ] || refuse "$info has no line \"$entry: ...\""
done
[[ $(info PackageIdentifier) =~ ^[A-Za-z0-9_+-]+(\.[A-Za-z0-9_+-]+)+$ ]] ||
    refuse "$info: the identifier is not a maker and a product with a dot between them"
[[ $(info InstallerUrl) =~ ^https://[^[:space:]]+$ ]] || refuse "$info: the address doesn't begin with https://"

# ---- the signature ----
certificate=${QTV_SIGN_CERTIFICATE-} key=${QTV_SIGN_KEY-} password=${QTV_SIGN_PASSWORD_FILE-} stamp=${QTV_SIGN_TIMESTAMP-}
for file in "$certificate" "$key" "$password"; do
    [ -z "$file" ] || [ -r "$file" ] || refuse "$file, for the signature, can't be read"
done
[ -z "$certificate" ] || [ -n "$key" ] || refuse 'QTV_SIGN_CERTIFICATE is set, and QTV_SIGN_KEY is not'
# sign PROGRAM: signs the file itself if there is a certificate.
sign() {
    [ -n "$certificate" ] || return 0
    osslsigncode sign -h sha256 -certs "$certificate" -key "$key" ${password:+-readpass "$password"} ${stamp:+-ts "$stamp"} \
        -in "$1" -out "$1.signed" >/dev/null
    mv "$1.signed" "$1"
}

needs windows download
build host package_make package_check rehearse rehearse_stand_in download_make
build windows setup rehearse

# Beside the release, so that it appears whole or not at all.
make_work "$(dirname "$out")"
new=$work/new
mkdir -p "$new/report"

report() { printf '%-44s %s\n' "$1" "$2" | tee -a "$new/report/report.txt"; }
stop() {
    [ ! -s "$work/said" ] || cat "$work/said" >&2
    echo "release.sh: stopped: $*" >&2
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
# Setup's own signature is inside the download, so it comes before that of the download.
cp "$windows_build/setup.exe" "$work/setup.exe"
sign "$work/setup.exe" || stop 'setup.exe is not signed'
package=$new/package
made=0
"$host_build/package_make" "$folder" "$package" --setup "$work/setup.exe" ${recipe:+--recipe "$recipe"} \
    ${earlier:+--earlier "$earlier"} "${own[@]}" >"$work/said" 2>&1 || made=$?
cat "$work/said"
cp "$work/said" "$new/report/package.txt"
: >"$work/said"
[ "$made" = 0 ] || { [ "$made" = 1 ] && stop 'the package has findings' || exit 2; }
report 'the package' "$(find "$package" -type f | wc -l) files, $(($(find "$package" -type f -printf '%s+')0)) bytes"
step 'checked' "$host_build/package_check" --sarif --sarif-base "$new" ${recipe:+--recipe "$recipe"} "$package"
cp "$work/said" "$new/report/check.sarif"

# ---- the rehearsals ----
# rehearse NAME FILE OPTION...
rehearse() {
    local name=$1 page=$2
    shift 2
    step "rehearsed under Wine, $name" "$host_build/rehearse" --wine --html "$new/report/$page.html" "$@"
}
rehearse fresh fresh "$package" -- -s
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
    elif [ "$(head -c 2 "$program")" = MZ ]; then
        x86_64-w64-mingw32-windres -i "$program" -O res -o "$work/resources" 2>/dev/null || : >"$work/resources"
        objcopy --add-section winres="$work/resources" "$host_build/rehearse_stand_in" "$program"
        stand_ins+=("$name")
    fi
    chmod +x "$program"
done < <(find "$work/embedded/package" -type f -iname '*.exe' -print0 | sort -z)
step 'rehearsed on an embedded machine' "$host_build/rehearse" --html "$new/report/embedded.html" "$work/embedded/package" -- -s
report '  stand-ins there for' "${stand_ins[*]}"
starts=$(grep -iE "$(printf '%s|' "${stand_ins[@]//./\\.}")"'^$' "$work/said" | sed -n 's/^ \{4\}\("\{0,1\}[A-Z]:.*\)/\1/p' | sort | uniq -c)
[ -n "$starts" ] || stop 'setup starts none of the package'"'"'s programs on the embedded machine'
while read -r count line; do report '  started there' "$count x $line"; done <<<"$starts"

# ---- the download ----
texts=$("$host_build/download_make" --texts "$package/QtvApp8.exe") || stop 'the application has no version'
text() { sed -n "s/^$1 //p" <<<"$texts"; }
version=$(text Version) product=$(text ProductName)
file=${product// /-}-$version.exe
step 'the download is made' scripts/make_download.sh "$package" "$new/$file"
sign "$new/$file" || stop 'the download is not signed'
signed='no: QTV_SIGN_CERTIFICATE names no certificate'
[ -z "$certificate" ] || signed=$(openssl x509 -in "$certificate" -noout -subject)
report 'signed' "$signed"
report 'it unpacks with' "liblzma $(<build/liblzma/version)"
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
# Writes a text of YAML.
yaml() { printf "'%s'" "${1//\'/\'\'}"; }
identifier=$(info PackageIdentifier)
mkdir "$new/winget"
# winget_file NAME TYPE: writes a file. The standard input is its middle part.
winget_file() {
    {
        printf '# yaml-language-server: $schema=https://aka.ms/winget-manifest.%s.1.6.0.schema.json\n' "$2"
        printf 'PackageIdentifier: %s\nPackageVersion: %s\n' "$(yaml "$identifier")" "$(yaml "$version")"
        cat
        printf 'ManifestType: %s\nManifestVersion: 1.6.0\n' "$2"
    } >"$new/winget/$1.yaml"
}
winget_file "$identifier" version <<<'DefaultLocale: en-US'
winget_file "$identifier.locale.en-US" defaultLocale <<END
PackageLocale: en-US
Publisher: $(yaml "$(text CompanyName)")
PackageName: $(yaml "$product")
License: $(yaml "$(info License)")
ShortDescription: $(yaml "$(info ShortDescription)")
END
winget_file "$identifier.installer" installer <<END
InstallerType: exe
Scope: machine
ElevationRequirement: elevatesSelf
InstallModes: [interactive, silent]
InstallerSwitches:
  Silent: -s
  SilentWithProgress: -s
ProductCode: 'Qantivo 8'
Installers:
- Architecture: x64
  InstallerUrl: $(yaml "$(info InstallerUrl)")
  InstallerSha256: ${sum^^}
END
report 'for winget' "$identifier $version"
(cd "$new" && find . -type f ! -path './package/*' ! -name SHA256SUMS -printf '%P\n' | LC_ALL=C sort | xargs -d '\n' sha256sum >SHA256SUMS)
[ ! -e "$out" ] || rmdir "$out"
mv -T "$new" "$out"
echo "$out:"
(cd "$out" && find . -type f ! -path './package/*' -printf '%10s  %P\n' | LC_ALL=C sort -k 2)
