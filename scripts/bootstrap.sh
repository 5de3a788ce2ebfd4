#!/usr/bin/env bash
# usage: scripts/bootstrap.sh [KIND]...
# example: scripts/bootstrap.sh host bench
#
# Installs the packages for these kinds of work with apt-get; without a kind, those for the tests: host and windows.
# Kinds: host windows faults fuzz bench screenshots format tidy clang download release kit. It is quick if nothing is missing.
# The kind download also builds the library that unpacks a download, in build/liblzma.
# The exit code is 1 if something can't be installed.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# Both targets need windres to compile the resources; windres needs the cross compiler's preprocessor and headers.
host=(g++ clang libclang-rt-14-dev mold cmake ninja-build libgtest-dev liblzma-dev libc-bin binutils-mingw-w64-x86-64 gcc-mingw-w64-x86-64-posix)
windows=("${host[@]}" g++-mingw-w64-x86-64-posix lld wine64 wine xvfb xauth)
faults=("${host[@]}" python3 time)
fuzz=("${host[@]}")
# For a package's download: what its library is built with, its signature with a token, and the files for winget. make_liblzma builds the library.
download=("${host[@]}" dpkg-dev osslsigncode openssl softhsm2 opensc libengine-pkcs11-openssl yamllint)
release=("${windows[@]}" "${download[@]}" chromium)
bench=("${windows[@]}" "${download[@]}" nsis python3 time)
screenshots=("${windows[@]}" xdotool imagemagick)
format=(clang-format yamllint)
tidy=("${host[@]}" clang-tidy)
clang=("${windows[@]}")
kit=(zip unzip)

missing() {
    comm -23 <(printf '%s\n' "$@" | sort -u) \
        <(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null | sed -n 's/^installed //p' | sort -u)
}

# Other work on this system may use the package manager now.
wait_for_lock=(-o DPkg::Lock::Timeout=300)
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
install() {
    echo "bootstrap.sh: installing $*"
    "${as_root[@]}" apt-get "${wait_for_lock[@]}" update -q >/dev/null || return
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get "${wait_for_lock[@]}" install -q -y --no-install-recommends "$@" >/dev/null
}

# Builds liblzma for Windows in build/liblzma, from Debian's source package with its security updates. The names of the sources
# stay in that folder, and /etc stays as it is. Debian is asked once a day; without an answer an earlier build is used.
make_liblzma() (
    set -e
    folder=$root/build/liblzma
    mkdir -p "$folder/lists/partial" "$folder/cache"
    exec 9>"$folder/lock"
    flock 9
    [ -z "$(find "$folder/asked" -mtime -1 2>/dev/null)" ] || exit 0
    mkdir -p "$folder/sources.d"
    # Where the packages of this system come from, there are their sources too.
    find /etc/apt -name '*.sources' -exec cat {} + | awk -v RS= -v ORS='\n\n' '/URIs:[^\n]*\/debian/' |
        sed 's/^Types:.*/Types: deb-src/' >"$folder/sources.d/debian.sources"
    find /etc/apt -name '*.list' -exec cat {} + |
        sed -n 's|^deb \(.*/debian.*\)|deb-src \1|p' >"$folder/sources.d/debian.list"
    apt=(-q "${wait_for_lock[@]}" -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$folder/sources.d" -o "Dir::State::lists=$folder/lists"
        -o "Dir::Cache=$folder/cache" -o APT::Sandbox::User=)
    if ! apt-get "${apt[@]}" update >/dev/null; then
        [ -e "$folder/version" ] && exit 0 || exit 1
    fi
    version=$(apt-cache "${apt[@]}" showsrc xz-utils | sed -n 's/^Version: //p' | sort -V | tail -n 1)
    if [ "$version" != "$(cat "$folder/version" 2>/dev/null)" ]; then
        echo "bootstrap.sh: building liblzma $version for Windows"
        rm -rf "$folder"/{source,build,lib,include,version}
        mkdir "$folder/source" "$folder/lib"
        (cd "$folder/source" && apt-get "${apt[@]}" source --only-source "xz-utils=$version" >/dev/null)
        source=$(find "$folder/source" -mindepth 1 -maxdepth 1 -type d)
        cmake -S "$source" -B "$folder/build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
            -DCMAKE_PROJECT_xz_INCLUDE="$root/cmake/liblzma.cmake" \
            -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS='-w -DWIN32_LEAN_AND_MEAN -ffunction-sections -fdata-sections' >/dev/null
        cmake --build "$folder/build" --target liblzma -j "$(nproc)" -- --quiet
        cp "$folder/build/liblzma.a" "$folder/lib"
        cp -r "$source/src/liblzma/api" "$folder/include"
        echo "$version" >"$folder/version"
    fi
    touch "$folder/asked"
)

[ $# -gt 0 ] || set -- host windows
wanted=()
for kind in "$@"; do
    case $kind in
        host | windows | faults | fuzz | bench | screenshots | format | tidy | clang | download | release | kit) ;;
        *) bad_usage "there is no kind \"$kind\"; scripts/bootstrap.sh --help lists them" ;;
    esac
    declare -n packages=$kind
    wanted+=("${packages[@]}")
done
mapfile -t wanted < <(missing "${wanted[@]}")
[ ${#wanted[@]} -eq 0 ] || install "${wanted[@]}" || { echo "bootstrap.sh: can't install ${wanted[*]}" >&2; exit 1; }
# By itself, so that each of its steps may end it.
case " $* " in *' download '*) make_liblzma ;; esac
