# The files for winget. release.sh sources this file after lib.sh. docs/releasing.md says what the file of --release-info has.

# info NAME: a value of the file of --release-info, whose path is in the variable `info`.
info() {
    local line
    while IFS= read -r line || [ -n "$line" ]; do
        if [[ $line == "$1":* ]]; then
            line=${line#"$1":}
            line=${line#"${line%%[! ]*}"}
            echo "${line%$'\r'}"
            break
        fi
    done <"$info"
}

# check_text PLACE NAME LEAST MOST VALUE: refuses what the schema of winget's files doesn't take; the lengths are in characters.
check_text() {
    printf %s "$5" | iconv -f UTF-8 -t UTF-16 >/dev/null 2>&1 || refuse "$1: $2 is no UTF-8"
    [[ $5 != *[[:cntrl:]]* ]] || refuse "$1: $2 has a control character"
    [ ${#5} -ge "$3" ] && [ ${#5} -le "$4" ] || refuse "$1: $2 has ${#5} characters instead of $3 to $4"
}

# check_info: refuses the file if a value is missing or not usable.
check_info() {
    local entry least most
    while read -r entry least most; do
        [ -n "$(info "$entry")" ] || refuse "$info has no line \"$entry: ...\""
        check_text "$info" "$entry" "$least" "$most" "$(info "$entry")"
    done <<END
PackageIdentifier 3 128
InstallerUrl 10 2048
License 3 512
ShortDescription 3 256
END
    [[ $(info PackageIdentifier) =~ ^[A-Za-z0-9_+-]{1,32}(\.[A-Za-z0-9_+-]{1,32}){1,7}$ ]] ||
        refuse "$info: the identifier is not 2 to 8 parts, such as a maker and a product, with dots between them and 32 characters each at most"
    [[ $(info InstallerUrl) =~ ^https://[^[:space:]]+$ ]] || refuse "$info: the address doesn't begin with https://"
}

# Writes a text of YAML.
yaml() { printf "'%s'" "${1//\'/\'\'}"; }

# winget_file FOLDER NAME TYPE: writes a file. The standard input is its middle part.
winget_file() {
    {
        printf '# yaml-language-server: $schema=https://aka.ms/winget-manifest.%s.1.6.0.schema.json\n' "$3"
        printf 'PackageIdentifier: %s\nPackageVersion: %s\n' "$(yaml "$(info PackageIdentifier)")" "$(yaml "$version")"
        cat
        printf 'ManifestType: %s\nManifestVersion: 1.6.0\n' "$3"
    } >"$1/$2.yaml"
}

# write_winget FOLDER: makes the folder with the three files. The variables: info, of the application version, product and company,
# of the download its checksum sum, and what setup registers: shown_name, shown_version, shown_publisher.
write_winget() {
    local identifier
    identifier=$(info PackageIdentifier)
    mkdir "$1"
    winget_file "$1" "$identifier" version <<<'DefaultLocale: en-US'
    winget_file "$1" "$identifier.locale.en-US" defaultLocale <<END
PackageLocale: en-US
Publisher: $(yaml "$company")
PackageName: $(yaml "$product")
License: $(yaml "$(info License)")
ShortDescription: $(yaml "$(info ShortDescription)")
END
    winget_file "$1" "$identifier.installer" installer <<END
InstallerType: exe
Scope: machine
ElevationRequirement: elevatesSelf
InstallModes: [interactive, silent]
InstallerSwitches:
  Silent: -s
  SilentWithProgress: -s
ProductCode: 'Qantivo 8'
AppsAndFeaturesEntries:
  - DisplayName: $(yaml "$shown_name")
    Publisher: $(yaml "$shown_publisher")
    DisplayVersion: $(yaml "$shown_version")
    ProductCode: 'Qantivo 8'
Installers:
  - Architecture: x64
    InstallerUrl: $(yaml "$(info InstallerUrl)")
    InstallerSha256: ${sum^^}
END
}
