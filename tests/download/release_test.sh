#!/usr/bin/env bash
# Tests scripts/release.sh with two releases of the sample, signed with a certificate of its own: release_test.sh [BUILD-FOLDER]
# It takes some minutes, so test.sh does not run it.
set -uo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(realpath -m "${1:-$root/build/windows}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1

failed=
fail() {
    echo "release_test: $*" >&2
    failed=yes
}
# release EXIT-CODE SAYS ARGUMENT...
release() {
    local expected=$1 text=$2 result=0
    shift 2
    "$root/scripts/release.sh" "$@" >said 2>&1 || result=$?
    [ "$result" = "$expected" ] && grep -qF -- "$text" said || fail "release.sh $* ended with $result: $(<said)"
    [ "$result" = 0 ] || [ ! -e out ] || fail "release.sh $* leaves something"
}

"$root/scripts/bootstrap.sh" windows download
[ -e "$build/CMakeCache.txt" ] || (cd "$root" && cmake --preset windows -B "$build") >/dev/null
cmake --build "$build" --target sample_package -- --quiet || exit 1

# ---- wrong input ----
mkdir app
info=$root/sample/release-info.txt
release 2 'usage: ' app
release 2 'there is no option' app out --none
release 2 'needs a value' app out --recipe
release 2 '--release-info FILE is missing' app out
release 2 "can't be read" app out --release-info none
for entry in PackageIdentifier InstallerUrl License ShortDescription; do
    grep -v "^$entry" "$info" >partly
    release 2 "has no line \"$entry" app out --release-info partly
done
sed 's/Lorvanta\./Lorvanta /' "$info" >partly
release 2 'the identifier' app out --release-info partly
sed 's/https/http/' "$info" >partly
release 2 'the address' app out --release-info partly
release 2 'is no folder' app none/out --release-info "$info"
release 2 'is there already' app "$root/docs" --release-info "$info"
QTV_SIGN_CERTIFICATE=none release 2 "for the signature, can't be read" app out --release-info "$info"
QTV_SIGN_CERTIFICATE=$info release 2 'QTV_SIGN_KEY is not' app out --release-info "$info"
release 2 'has no QtvApp8.exe' app out --release-info "$info"

# ---- an earlier release, and the present one without some files ----
cp -r "$build/package/." app
rm app/{setup.exe,QtvUnInst.exe,QtvUnInst.log}
"${QTV_HOST_BUILD:-$root/build/host}/package_check" "$build/package" >/dev/null || fail 'the sample is not clean'
cp -r app earlier
mkdir earlier/gone
echo a | tee earlier/gone/a.dat earlier/presets.dat >earlier/Samples/old.jpg
"${QTV_HOST_BUILD:-$root/build/host}/package_make" earlier last --setup "$build/setup.exe" --recipe "$root/sample/recipe.txt" \
    --own Samples >/dev/null || fail 'no earlier package'

printf secret >password
openssl req -x509 -newkey rsa:2048 -keyout key.pem -out certificate.pem -passout file:password -days 2 \
    -subj "/CN=The maker's own" -addext extendedKeyUsage=codeSigning 2>/dev/null
export QTV_SIGN_CERTIFICATE=$work/certificate.pem QTV_SIGN_KEY=$work/key.pem QTV_SIGN_PASSWORD_FILE=$work/password
printf wrong >wrong
QTV_SIGN_PASSWORD_FILE=$work/wrong release 1 'stopped: setup.exe is not signed' app out --release-info "$info"
# A folder that becomes empty and isn't in the recipe stays. The rehearsal of the update says so.
cp "$root/sample/recipe.txt" recipe
printf 'Make Dir: gone\n' >>recipe
echo 'File Copy: none.dat' >bad
release 1 'stopped: the package has findings' app out --release-info "$info" --recipe bad --own Samples
mkdir out.unfinished
touch out.unfinished/stale
release 0 'right' app out --release-info "$info" --recipe recipe --own Samples --earlier last
cat said
[ -e out.unfinished/stale ] && [ -z "$(find out -name stale)" ] || fail "a user's folder: $(find . -name stale)"
download=$(ls out/*.exe)
[ "$download" = out/Qantivo-8-8.5.2.0.exe ] || fail "the download is $download"
for file in "$download" out/package/setup.exe out/package/QtvUnInst.exe; do
    osslsigncode verify -CAfile certificate.pem -in "$file" >verified 2>&1 || fail "$file: $(<verified)"
done
(cd out && sha256sum --quiet -c SHA256SUMS) || fail 'the checksums are wrong'
sum=$(sha256sum "$download" | cut -d ' ' -f 1)
installer=out/winget/Lorvanta.Qantivo.installer.yaml
for line in 'InstallerType: exe' 'Scope: machine' 'ElevationRequirement: elevatesSelf' '  Silent: -s' "ProductCode: 'Qantivo 8'" \
    "  InstallerSha256: ${sum^^}" "PackageVersion: '8.5.2.0'"; do
    grep -qxF -- "$line" "$installer" || fail "no line \"$line\" in $(<$installer)"
done
[ "$(find out/winget -name '*.yaml' | wc -l)" = 3 ] || fail 'there are not three files for winget'
for name in 'gone\a.dat' presets.dat 'Samples\old.jpg'; do
    grep -qF "File Del: $name" out/package/QtvUnInst.log || fail "an update leaves $name"
done
grep -q 'stand-ins there for.*QtvApp8.exe' out/report/report.txt || fail 'the report does not name the stand-ins'
grep -q 'started there *[0-9]* x "C:.*QtvApp8.exe" -regonly' out/report/report.txt || fail 'the report does not list the started programs'
[ "$(find out/report -name '*.html' | wc -l)" = 4 ] || fail 'the report does not have four rehearsals'
[ -z "$failed" ]
