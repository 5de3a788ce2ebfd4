#!/usr/bin/env bash
# Tests the files for winget: what the file of --release-info may say, and what a YAML reader makes of the files. winget_test.sh
. "$(dirname "${BASH_SOURCE[0]}")/../harness/shell_test.sh"
. "$root/scripts/winget.sh"
export LC_ALL=C.UTF-8

# ---- what is refused: NAME, value, what is said; nothing is said of a right one ----
info=$work/info
many() { printf "%0$1d" 0; }
while IFS='|' read -r name value says; do
    grep -v "^$name:" "$root/sample/release-info.txt" >info
    [ "$value" = - ] || printf '%s: %b\n' "$name" "$value" >>info
    if [ -z "$says" ]; then
        run 0 check_info "of $name: $value"
        [ ! -s said ] || fail "$name: $value: $(<said)"
    else
        refused "$says" check_info "of $name: $value"
    fi
done <<END
PackageIdentifier|-|has no line "PackageIdentifier: ..."
PackageIdentifier|A.b|
PackageIdentifier|a.b.c.d.e.f.g.$(many 32)|
PackageIdentifier|a.$(many 33)|the identifier is not 2 to 8 parts
PackageIdentifier|Alone|the identifier is not 2 to 8 parts
PackageIdentifier|a.b.c.d.e.f.g.h.i|the identifier is not 2 to 8 parts
PackageIdentifier|A b.c|the identifier is not 2 to 8 parts
InstallerUrl|-|has no line "InstallerUrl: ..."
InstallerUrl|https://a/$(many 2038)|
InstallerUrl|https://a/$(many 2039)|InstallerUrl has 2049 characters instead of 10 to 2048
InstallerUrl|http://maker.example/|the address doesn't begin with https://
InstallerUrl|https://maker example/|the address doesn't begin with https://
License|-|has no line "License: ..."
License|ab|License has 2 characters instead of 3 to 512
License|$(many 509)äöü|
License|$(many 510)äöü|License has 513 characters instead of 3 to 512
License|MIT\r|
License|MIT\nLicense: x|
License|a\x07b|License has a control character
License|a\xFFb|License is no UTF-8
ShortDescription|-|has no line "ShortDescription: ..."
ShortDescription|$(many 256)|
ShortDescription|$(many 257)|ShortDescription has 257 characters instead of 3 to 256
END

# ---- what is written is YAML, whatever the texts ----
odd=$'it\'s: #1 "ä" \\n {{x}} - [y] & *z %'
cat >info <<END
PackageIdentifier: Maker.Product
InstallerUrl: https://maker.example/it's#1
License: $odd
ShortDescription: no
END
version=8.10 product=$odd company='0x1F' sum=ab12 shown_name=' Q ' shown_version=8.10 shown_publisher='yes: no'
write_winget "$work/winget"
yamllint -s -d '{extends: default, rules: {line-length: disable, document-start: disable}}' winget || fail 'it is no clean YAML'
/usr/bin/python3 - "$odd" >said 2>&1 <<'END' || fail "$(<said)"
import pathlib, sys, yaml
odd = sys.argv[1]
files = {path.name: yaml.safe_load(path.read_text()) for path in pathlib.Path('winget').iterdir()}
every = {'PackageIdentifier': 'Maker.Product', 'PackageVersion': '8.10', 'ManifestVersion': '1.6.0'}
expected = {
    'Maker.Product.yaml': {**every, 'DefaultLocale': 'en-US', 'ManifestType': 'version'},
    'Maker.Product.locale.en-US.yaml': {
        **every, 'PackageLocale': 'en-US', 'Publisher': '0x1F', 'PackageName': odd, 'License': odd, 'ShortDescription': 'no',
        'ManifestType': 'defaultLocale'},
    'Maker.Product.installer.yaml': {
        **every, 'InstallerType': 'exe', 'Scope': 'machine', 'ElevationRequirement': 'elevatesSelf',
        'InstallModes': ['interactive', 'silent'], 'InstallerSwitches': {'Silent': '-s', 'SilentWithProgress': '-s'},
        'ProductCode': 'Qantivo 8',
        'AppsAndFeaturesEntries': [{'DisplayName': ' Q ', 'Publisher': 'yes: no', 'DisplayVersion': '8.10', 'ProductCode': 'Qantivo 8'}],
        'Installers': [{'Architecture': 'x64', 'InstallerUrl': "https://maker.example/it's#1", 'InstallerSha256': 'AB12'}],
        'ManifestType': 'installer'}}
wrong = [name for name in expected if files.pop(name, None) != expected[name]] + list(files)
sys.exit(f'not as expected: {", ".join(wrong)}' if wrong else 0)
END
