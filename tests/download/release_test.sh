#!/usr/bin/env bash
# Tests scripts/release.sh with two releases of the sample, signed with a certificate of its own: release_test.sh [BUILD-FOLDER]
# It takes some minutes, so test.sh does not run it.
[ -z "${1-}" ] || export QTV_WINDOWS_BUILD=$(realpath -m "$1")
. "$(dirname "${BASH_SOURCE[0]}")/../harness/shell_test.sh"
build=$windows_build host=$host_build
# release EXIT-CODE SAYS ARGUMENT...
release() {
    local result=$1 text=$2
    shift 2
    run "$result" "$root/scripts/release.sh" "$@"
    says "$text"
    [ "$result" = 0 ] || [ ! -e out ] || fail "release.sh $* leaves something"
    [ -e out.failed/report.txt ] && grep -qF "$text" <(sed 's/^stopped */stopped: /' out.failed/report.txt) && rm -r out.failed || [ "$result" != 1 ] ||
        fail "release.sh $* leaves no report"
    [ "$result" != 2 ] || [ ! -e out.failed ] || fail "release.sh $* leaves a report"
}

needs release
build windows sample_package && build host package_check package_make || exit 1

# ---- wrong input ----
mkdir app
info=$root/sample/release-info.txt
release 2 'usage: ' app
release 2 'there is no option' app out --none
release 2 'needs a value' app out --recipe
release 2 '--release-info FILE is missing' app out
release 2 "can't be read" app out --release-info none
grep -v '^License' "$info" >partly
release 2 'has no line "License' app out --release-info partly
release 2 'is no folder' app none/out --release-info "$info"
release 2 'is there already' app "$root/docs" --release-info "$info"
QTV_SIGN_CERTIFICATE=none release 2 "for the signature, can't be read" app out --release-info "$info"
release 2 '--sign-all needs' app out --release-info "$info" --sign-all
release 2 'has no QtvApp8.exe' app out --release-info "$info"

# ---- an earlier release, and the present one without some files ----
cp -r "$build/package/." app
rm app/{setup.exe,QtvUnInst.exe,QtvUnInst.log}
"$host/package_check" "$build/package" >/dev/null || fail 'the sample is not clean'
mkdir -p "app/$(printf '%0100d' 0)"
touch "app/$(printf '%0100d' 0)/$(printf '%0100d' 0)"
release 2 'a name of more than 200 characters' app out --release-info "$info"
rm -r app/0*
release 2 "none can't be read" app out --release-info "$info" --icon none
release 2 'is no file of icons' app out --release-info "$info" --icon "$info"
sed 's/-8.5.2.0.exe/-8.5.2.1.exe/' "$info" >partly
release 2 'the address ends in "Qantivo-8-8.5.2.1.exe", and the file will be Qantivo-8-8.5.2.0.exe' app out --release-info partly
# A name that is no pattern.
cp app/QtvApp8.exe 'app/a(b.exe'
cp -r app earlier
mkdir earlier/gone
echo a | tee earlier/gone/a.dat earlier/presets.dat >earlier/Samples/old.jpg
"$host/package_make" earlier last --setup "$build/setup.exe" --recipe "$root/sample/recipe.txt" \
    --own Samples >/dev/null || fail 'no earlier package'

printf secret >password
openssl req -x509 -newkey rsa:2048 -keyout key.pem -out certificate.pem -passout file:password -days 2 \
    -subj "/CN=The maker's own" -addext extendedKeyUsage=codeSigning 2>/dev/null
QTV_SIGN_COMMAND='false {}' release 1 'stopped: the signature of setup.exe' app out --release-info "$info"
export QTV_SIGN_COMMAND="osslsigncode sign -h sha256 -certs $work/certificate.pem -key $work/key.pem -readpass $work/password -in {} -out {}.s && mv {}.s {}"
# As a release with --sign-all has left it.
bash -c "${QTV_SIGN_COMMAND//\{\}/last/StartQV8.exe}" >said 2>&1 || fail "$(<said)"
echo 'File Copy: none.dat' >bad
release 1 'stopped: the package has findings' app out --release-info "$info" --recipe bad --own Samples
mkdir out.unfinished
touch out.unfinished/stale
release 2 'is not higher than' app out --release-info "$info" --recipe "$root/sample/recipe.txt" --own Samples --earlier last
! grep signature said || fail 'what is refused is signed before'
release 0 'right' app out --release-info "$info" --recipe "$root/sample/recipe.txt" --own Samples --earlier last --same-version \
    --sign-all --icon "$root/res/setup.ico"
cat said
[ -e out.unfinished/stale ] && [ -z "$(find out -name stale)" ] || fail "a user's folder: $(find . -name stale)"
download=out/Qantivo-8-8.5.2.0.exe update=out/Qantivo-8-8.5.2.0-update.exe
[ "$(ls out/*.exe)" = "$update"$'\n'"$download" ] || fail "the programs are $(ls out/*.exe)"
cmp last/StartQV8.exe out/package/StartQV8.exe || fail 'a signed program of the earlier release is not kept'
cmp "$build/package/QtvApp8.exe" app/QtvApp8.exe || fail "the maker's own file is signed"
for file in "$download" "$update" out/package/{setup,QtvUnInst,QtvApp8,StartQV8}.exe; do
    osslsigncode verify -CAfile certificate.pem -in "$file" >verified 2>&1 || fail "$file: $(<verified)"
done
(cd out && sha256sum --quiet -c SHA256SUMS) || fail 'the checksums are wrong'
sum=$(sha256sum "$download" | cut -d ' ' -f 1)
installer=out/winget/Lorvanta.Qantivo.installer.yaml
for line in "    InstallerSha256: ${sum^^}" "PackageVersion: '8.5.2.0'" "    DisplayVersion: '8.05.02'" "  - DisplayName: 'Qantivo 8'"; do
    grep -qxF -- "$line" "$installer" || fail "no line \"$line\" in $(<$installer)"
done
for name in 'gone\a.dat' presets.dat 'Samples\old.jpg'; do
    grep -qF "File Del: $name" out/package/QtvUnInst.log || fail "an update leaves $name"
done
grep -qx $'Make Dir: gone\r' out/package/QtvUnInst.log || fail 'an update leaves an empty folder'
grep -q 'stand-ins there for.*QtvApp8.exe' out/report/report.txt || fail 'the report does not name the stand-ins'
grep -q 'started there *[0-9]* x "C:.*QtvApp8.exe" -regonly' out/report/report.txt || fail 'the report does not list the started programs'
[ "$(find out/report -name '*.html' | wc -l)" = 5 ] || fail 'the report does not have five rehearsals'
