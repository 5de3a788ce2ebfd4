# What the scripts share. A script sources this file first, with its own arguments in place.
# A script begins with a comment: lines "usage: ..." and "example: ...", then what it does. `--help` as the first argument prints
# that comment, `--version` the version; both end the script before it builds or installs anything.
#
# Sets root (the checkout or the installation), host_build and windows_build (the folders of the programs), store (the folder for
# what takes long to make), liblzma (the file with the version of the library in a download), caller (the folder from which the
# script was started), and self (the name by which it was started).

root=$(readlink -f "${BASH_SOURCE[0]}")
root=${root%/scripts/*}
caller=$PWD
self=${0##*/}
# An installation has a file "version", and the programs beside the scripts. It neither builds nor installs anything.
installed=
if [ -e "$root/version" ]; then
    installed=yes
    host_build=$root/host
    windows_build=$root/windows
    liblzma=$root/windows/liblzma-version
    store=${XDG_CACHE_HOME:-${HOME:-/nonexistent}/.cache}/qantivo-setup
else
    host_build=${QTV_HOST_BUILD:-$root/build/host}
    windows_build=${QTV_WINDOWS_BUILD:-$root/build/windows}
    liblzma=$root/build/liblzma/version
    store=$root/build
fi

# The comment at the start of the script, with the name by which an installed one is started.
comment() {
    local name=scripts/$(basename "$(readlink -f "$0")")
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0" | sed "${installed:+s|$name|$self|}"
}

case "${1-}" in
    --help) comment; exit ;;
    --version)
        echo "$self $(cat "$root/version" 2>/dev/null || sed -n '/^FILEVERSION /{s///;s/, */./gp}' "$root/res/setup.rc")"
        exit
        ;;
esac

# refuse MESSAGE...: ends the script with 2, for input that it can't use.
refuse() {
    echo "$self: $*" >&2
    exit 2
}

# fail MESSAGE...: ends the script with 1, for what is wrong.
fail() {
    echo "${self%.sh}: $*" >&2
    exit 1
}

# bad_usage [MESSAGE...]: as refuse, and shows the usage.
bad_usage() {
    [ $# -eq 0 ] || echo "$self: $*" >&2
    comment | grep '^usage:' >&2
    exit 2
}

# needs KIND...: installs the packages for these kinds of work.
needs() { [ -n "$installed" ] || "$root/scripts/bootstrap.sh" "$@"; }

# needs_commands COMMAND=PACKAGE...: refuses to work without these programs.
needs_commands() {
    local each packages=()
    for each in "$@"; do
        command -v "${each%=*}" >/dev/null || { [ "${each%=*}" = wine ] && find_wine; } || packages+=("${each#*=}")
    done
    [ ${#packages[@]} -eq 0 ] || refuse "programs are missing; apt-get install ${packages[*]} installs them"
}

# is_program FILE: whether it is a file that begins like a Windows program. A pipe is none, and isn't read.
is_program() { [ -f "$1" ] && [ "$(head -c 2 -- "$1" 2>/dev/null)" = MZ ]; }

# absolute PATH: a path that the caller gave, as an absolute one.
absolute() { (cd "$caller" && realpath -m -- "$1"); }

# build PRESET [TARGET...]: configures the preset's build folder if it is new, and builds the targets, or everything. It starts as
# many compilers as there are processors: with more, all take longer. Two builds at once in one folder would lose what depends on what.
build() {
    [ -z "$installed" ] || return 0
    local preset=$1 folder=$root/build/$1
    shift
    case $preset in
        host) folder=$host_build ;;
        windows) folder=$windows_build ;;
    esac
    [ -e "$folder/build.ninja" ] || (cd "$root" && cmake --preset "$preset" -B "$folder" >/dev/null) || return
    # Large pages save clang an eighth of its time; they cost GCC as much.
    [ "$preset" != host-asan ] || local -x GLIBC_TUNABLES=glibc.malloc.hugetlb=1
    flock "$folder" cmake --build "$folder" -j "$(nproc)" ${1+--target "$@"} -- --quiet
}

# Whether the Windows target can be built and run here.
windows_available() {
    command -v x86_64-w64-mingw32-g++-posix >/dev/null && find_wine
}

# Sets wine to 64-bit Wine. Debian's loader is not in PATH, and its /usr/bin/wine is a script that asks for 32-bit Wine.
find_wine() {
    wine=/usr/lib/wine/wine64
    [ -x "$wine" ] || wine=$(command -v wine64 || command -v wine)
}

# end_wine HOME: ends the programs and services of the Wine prefix in this home folder, and waits until they have ended.
end_wine() {
    [ -d "$1/prefix" ] || return 0
    TMPDIR=$1 WINEPREFIX=$1/prefix wineserver -k 2>/dev/null || true
    TMPDIR=$1 WINEPREFIX=$1/prefix wineserver -w 2>/dev/null || true
}

# make_work [FOLDER]: makes the folder `work`, in FOLDER or where temporary folders go. When the script ends, the Wine prefix in
# $work/wine ends and the folder is removed.
make_work() {
    work=$(mktemp -d "${1:-${TMPDIR:-/tmp}}/qtv-${self%.sh}.XXXXXX") || exit 2
    trap 'end_wine "$work/wine"; rm -rf "$work"' EXIT
    trap 'exit 130' INT TERM HUP
}

# on_one_processor COMMAND...: Wine's programs and its server work in turn. On one processor, neither must wake another each time.
on_one_processor() { taskset -c "${QTV_PROCESSOR:-$(taskset -cp $$ | sed 's/.*[ ,-]//')}" "$@"; }

# on_the_others COMMAND...: on all processors but that one, if there are others.
on_the_others() {
    local all last
    all=$(taskset -cp $$ | sed 's/.*: //')
    last=${all##*[,-]}
    case $all in
        *-"$last") taskset -c "${all%-*}-$((last - 1))" "$@" ;;
        *,"$last") taskset -c "${all%,*}" "$@" ;;
        *) "$@" ;;
    esac
}
