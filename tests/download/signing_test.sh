#!/usr/bin/env bash
# Tests how a release signs: signing_test.sh BUILD-FOLDER, where download_make of the host and the sample package of Windows are.
program=$(realpath "$1/package/QtvApp8.exe")
. "$(dirname "${BASH_SOURCE[0]}")/../harness/shell_test.sh"
# signing COMMAND...: runs it with the functions of signing.sh, and stores what is said.
signing() { (. "$root/scripts/signing.sh" && "$@") >said 2>&1; }
# signed NAME: makes an unsigned program of that name and signs it.
signed() {
    cp "$program" "$1"
    signing sign_once "$1"
}
verified() { osslsigncode verify -CAfile "${2:-certificate.pem}" -TSA-CAfile certificate.pem -in "$1" >said 2>&1; }

printf secret >password
openssl req -x509 -newkey rsa:2048 -keyout key.pem -out certificate.pem -passout file:password -days 2 -subj '/CN=maker' \
    -addext extendedKeyUsage=codeSigning 2>/dev/null
openssl pkcs12 -export -inkey key.pem -in certificate.pem -passin file:password -passout pass:secret -out 'key and.p12' 2>/dev/null
export QTV_SIGN_PASSWORD_FILE=$work/password QTV_SIGN_PAUSE=0

# ---- nobody, PEM, PKCS#12, a token, a command ----
signed unsigned.exe && cmp unsigned.exe "$program" || fail "signed without a variable: $(<said)"
QTV_SIGN_CERTIFICATE=certificate.pem QTV_SIGN_KEY=key.pem signed pem.exe && verified pem.exe || fail "PEM: $(<said)"
QTV_SIGN_PKCS12='key and.p12' signed p12.exe && verified p12.exe || fail "PKCS#12: $(<said)"
mkdir tokens
echo "directories.tokendir = $work/tokens" >softhsm2.conf
export SOFTHSM2_CONF=$work/softhsm2.conf
module=/usr/lib/softhsm/libsofthsm2.so
{
    openssl rsa -in key.pem -passin file:password -out plain.pem
    openssl x509 -in certificate.pem -outform DER -out certificate.der
    softhsm2-util --init-token --free --label maker --pin secret --so-pin other
    softhsm2-util --import plain.pem --token maker --label key --id 01 --pin secret
    pkcs11-tool --module "$module" --login --pin secret --write-object certificate.der --type cert --id 01 --label both
} >said 2>&1 || fail "no token: $(<said)"
for certificate in certificate.pem 'pkcs11:token=maker;object=both'; do
    QTV_SIGN_CERTIFICATE=$certificate QTV_SIGN_KEY='pkcs11:token=maker;object=key' QTV_SIGN_PKCS11_MODULE=$module \
        signed token.exe && verified token.exe || fail "a token, with $certificate: $(<said)"
done
cat >signer <<'END'
#!/bin/sh
echo "$#:$1" >>asked
cp pem.exe "$1"
END
chmod +x signer
export QTV_SIGN_COMMAND='./signer {}'
signed "a \$(touch injected)'b.exe" && verified "a \$(touch injected)'b.exe" || fail "a command: $(<said)"
[ "$(<asked)" = "1:a \$(touch injected)'b.exe" ] && [ ! -e injected ] || fail "the command gets $(<asked)"
QTV_SIGN_COMMAND='true {}' signed x.exe && fail 'a command that signs nothing is right'
QTV_SIGN_COMMAND='false {}' signed x.exe && fail 'a command that fails is right'

# ---- what is signed already ----
: >asked
cp p12.exe kept.exe
signing sign_once kept.exe && cmp p12.exe kept.exe && [ ! -s asked ] || fail 'a signed program is signed again'
cp "$program" new.exe
signing sign_once new.exe p12.exe && cmp p12.exe new.exe && [ ! -s asked ] || fail "the earlier program isn't kept: $(<said)"
for other in unsigned.exe none.exe password changed.exe; do
    cp p12.exe changed.exe
    printf x | dd of=changed.exe bs=1 seek=5000 conv=notrunc 2>/dev/null
    cp "$program" new.exe
    signing sign_once new.exe "$other" && [ -s asked ] || fail "$other is taken for the earlier program"
    : >asked
done
unset QTV_SIGN_COMMAND

# ---- a time stamp: the service is busy twice ----
mkdir bin
cat >bin/osslsigncode <<'END'
#!/bin/sh
[ "$1" = add ] || exec /usr/bin/osslsigncode "$@"
echo "$3" >>tries
[ "$(wc -l <tries)" -ge "$right" ] && cp p12.exe "${7:-$6}" 2>/dev/null && for last; do :; done && cp p12.exe "$last"
END
chmod +x bin/osslsigncode
export QTV_SIGN_TIMESTAMP=https://stamp.example QTV_SIGN_PKCS12='key and.p12'
PATH=$work/bin:$PATH right=3 signed stamped.exe && [ "$(wc -l <tries)" = 3 ] || fail "the service is not asked again: $(<said)"
rm tries
PATH=$work/bin:$PATH right=9 signed stamped.exe && fail 'without a time stamp all is right'
[ "$(wc -l <tries)" = 5 ] && [ "$(uniq tries)" = https://stamp.example ] || fail "the service is asked for $(<tries)"

# ---- wrong variables ----
# with VARIABLE...: looks whether a release can sign so.
with() { (export "$@" && . "$root/scripts/signing.sh" && check_signing); }
refused "none, for the signature, can't be read" with QTV_SIGN_PKCS12=none
refused "none, for the signature, can't be read" with QTV_SIGN_PKCS11_MODULE=none
refused 'only one of' with QTV_SIGN_COMMAND='x {}'
refused 'only one of' with QTV_SIGN_CERTIFICATE=certificate.pem QTV_SIGN_KEY=key.pem
unset QTV_SIGN_PKCS12
refused 'has no {}' with QTV_SIGN_COMMAND=x
refused 'QTV_SIGN_KEY is not' with QTV_SIGN_CERTIFICATE=certificate.pem
QTV_SIGN_CERTIFICATE=pkcs11:object=c QTV_SIGN_KEY=pkcs11:object=k signing check_signing || fail "a token: $(<said)"
