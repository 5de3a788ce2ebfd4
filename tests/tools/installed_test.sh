#!/usr/bin/env bash
# Tests the Debian package and the archive of the tools: installed_test.sh BUILD-FOLDER, that of Windows. They are unpacked in a
# throwaway folder, and used where neither the checkout nor a build can be seen.
export QTV_WINDOWS_BUILD
QTV_WINDOWS_BUILD=$(realpath "$1")
. "$(dirname "${BASH_SOURCE[0]}")/../harness/shell_test.sh"

(cd "$host_build" && cpack -B "$work/made") >said 2>&1 || { cat said >&2; exit 1; }
mkdir deb archive app
dpkg-deb -x made/*.deb deb && tar -xzf made/*.tar.gz -C archive --strip-components=1 || exit 1
diff -r --no-dereference deb/usr archive || fail 'the package and the archive differ'
dpkg-deb -f made/*.deb Depends | grep -q 'libc6.*liblzma5' || fail "it depends on $(dpkg-deb -f made/*.deb Depends)"
cp "$windows_build/package/"{QtvApp8.exe,agreement.txt} app
sum=$(sha256sum <"$windows_build/setup.exe")

cat >use <<'END'
    [ "$1" != hidden ] || mount -t tmpfs none "$2" || exit 3
    PATH=$PWD/archive/bin:$PATH XDG_CACHE_HOME=$PWD/cache
    for command in archive/bin/* archive/lib/qantivo-setup/scripts/wine.sh; do
        name=$(basename "$command")
        [ "$($command --version)" = "$name $(<archive/lib/qantivo-setup/version)" ] || echo "$name --version: $($command --version 2>&1)"
        $command --help | grep -q "^usage: \(scripts/\)\?$name " || echo "$name --help: $($command --help 2>&1)"
    done
    package_make app package >said 2>&1 || echo "package_make: $(<said)"
    [ "$(sha256sum <package/setup.exe)" = "$3" ] || echo "the package has another setup.exe"
    package_check package >said 2>&1 || echo "package_check: $(<said)"
    rehearse package >said 2>&1
    grep -q 'C:.Package.setup.exe -s   ended with 0' said || echo "rehearse: $(<said)"
    package_download package a.exe >said 2>&1 && [ -s a.exe ] || echo "package_download: $(<said)"
    package_release app out --release-info none >said 2>&1
    grep -qx "package_release: $PWD/none can't be read" said || echo "package_release: $(<said)"
    PATH=$PWD/few
    . archive/lib/qantivo-setup/scripts/lib.sh
    (needs_commands objcopy=binutils readlink=coreutils b=c) 2>said
    [[ $(<said) == *": programs are missing; apt-get install binutils c installs them" ]] || echo "without programs: $(<said)"
END
mkdir few
ln -s "$(command -v basename)" "$(command -v dirname)" "$(command -v readlink)" few
hidden=hidden
unshare -rm true 2>said || { hidden=; echo "installed_test: the build stays visible: $(<said)"; }
[ -z "$(${hidden:+unshare -rm} bash use "$hidden" "$root" "$sum" 2>&1 | tee problems)" ] || fail "$(<problems)"
