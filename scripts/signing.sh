# How a release is signed. release.sh sources this file after lib.sh. docs/releasing.md names the variables.
#
# Sets signs: empty if nothing is signed.

signs=${QTV_SIGN_COMMAND-}${QTV_SIGN_CERTIFICATE-}${QTV_SIGN_PKCS12-}

# check_signing: ends the script with 2 if the variables can't be right. It costs no time.
check_signing() {
    local file
    for file in "${QTV_SIGN_CERTIFICATE-}" "${QTV_SIGN_KEY-}" "${QTV_SIGN_PKCS12-}" "${QTV_SIGN_PKCS11_MODULE-}" "${QTV_SIGN_PASSWORD_FILE-}"; do
        [[ -z $file || $file == pkcs11:* || -r $file ]] || refuse "$file, for the signature, can't be read"
    done
    [ "$signs" = "${QTV_SIGN_COMMAND:-${QTV_SIGN_PKCS12:-${QTV_SIGN_CERTIFICATE-}}}" ] ||
        refuse 'only one of QTV_SIGN_COMMAND, QTV_SIGN_PKCS12 and QTV_SIGN_CERTIFICATE can sign'
    [[ -z ${QTV_SIGN_COMMAND-} || $QTV_SIGN_COMMAND == *'{}'* ]] || refuse 'QTV_SIGN_COMMAND has no {} for the name of the file'
    [ -z "${QTV_SIGN_CERTIFICATE-}" ] || [ -n "${QTV_SIGN_KEY-}" ] || refuse 'QTV_SIGN_CERTIFICATE is set, and QTV_SIGN_KEY is not'
    [ -z "${QTV_SIGN_CERTIFICATE-}${QTV_SIGN_PKCS12-}${QTV_SIGN_TIMESTAMP-}" ] || needs_commands osslsigncode=osslsigncode
}

# is_signed PROGRAM
is_signed() { "$host_build/download_make" --is-signed "$1"; }

# sign PROGRAM: signs the file itself, if anything is signed. Its last words say why it failed.
sign() {
    [ -n "$signs" ] || return 0
    local password=${QTV_SIGN_PASSWORD_FILE-} with
    if [ -n "${QTV_SIGN_COMMAND-}" ]; then
        bash -c "${QTV_SIGN_COMMAND//\{\}/\"\$1\"}" sign "$1" || return
    else
        with=(-pkcs12 "${QTV_SIGN_PKCS12-}")
        if [ -n "${QTV_SIGN_CERTIFICATE-}" ]; then
            with=(-certs "$QTV_SIGN_CERTIFICATE" -key "$QTV_SIGN_KEY")
            [[ $QTV_SIGN_CERTIFICATE != pkcs11:* ]] || with[0]=-pkcs11cert
            [ -z "${QTV_SIGN_PKCS11_MODULE-}" ] || with+=(-pkcs11module "$QTV_SIGN_PKCS11_MODULE")
        fi
        osslsigncode sign -h sha256 "${with[@]}" ${password:+-readpass "$password"} -in "$1" -out "$1.signed" &&
            mv "$1.signed" "$1" || return
    fi
    is_signed "$1" || { echo "$1 has no signature afterwards"; return 1; }
    stamp "$1"
}

# stamp PROGRAM: adds the time stamp. The service of another maker may be busy, so it is asked again, later each time.
stamp() {
    [ -n "${QTV_SIGN_TIMESTAMP-}" ] || return 0
    local try
    for try in 1 2 3 4 5; do
        rm -f "$1.stamped"
        osslsigncode add -ts "$QTV_SIGN_TIMESTAMP" -in "$1" -out "$1.stamped" && mv "$1.stamped" "$1" && return
        [ "$try" = 5 ] || sleep $((try * ${QTV_SIGN_PAUSE:-5}))
    done
    return 1
}

# sign_once PROGRAM [EARLIER]: as sign, but a program that is signed stays as it is, and a signed EARLIER of the same bytes takes
# its place. Otherwise each update would carry every program.
sign_once() {
    if is_signed "$1"; then return 0; fi
    if [ -f "${2-}" ] && is_signed "$2" && "$host_build/download_make" --same-but-signature "$1" "$2"; then
        cp -p "$2" "$1"
    else
        sign "$1"
    fi
}
