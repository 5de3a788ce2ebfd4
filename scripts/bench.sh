#!/usr/bin/env bash
# usage: scripts/bench.sh [--quick] [WHAT...]
# example: scripts/bench.sh --quick size memory
#
# Measures the product. Each figure except the sizes is a ratio between two programs that run in turn. Prints a table with each
# figure and its bound. The exit code is not 0 if a figure is above its bound. Wine's prefix and all files are in memory.
# --quick: fewer rounds. WHAT: small large growth application download memory size instances; without it, all.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"

pairs=9 growth_rounds=5 memory_rounds=3 windows=500 instance_rounds=3
if [ "${1-}" = --quick ]; then
    shift
    pairs=3 growth_rounds=3 memory_rounds=1 windows=100 instance_rounds=1
fi
known='small large growth application download memory size instances'
for what in "$@"; do
    [[ " $known " == *" $what "* ]] || bad_usage "there is nothing named \"$what\" to measure, only $known"
done
wanted=${*:-$known}

needs bench
build windows install_bench instance_bench sample_package
build host instance_bench peak_memory winmachine

make_work /dev/shm
export QTV_WINE_HOME=$work/wine

# Returns a path of the host as Wine spells it.
shown() { printf 'Z:%s' "${1//\//\\}"; }
run() { scripts/wine.sh "$@" 2> >(grep -v "FS volume label" >&2); }
bench() { run "$windows_build/install_bench.exe" "$@"; }
missed=
line() {
    local verdict=
    if [ "$2" -gt "$3" ]; then
        verdict=MISSED missed=yes
    fi
    printf '%-72s %8d %8d  %s\n' "$1" "$2" "$3" "$verdict"
}
package() { bench package "$1" "$(shown "$windows_build/package")" "$(shown "$work/$1")"; }
measure() { bench "$1" "$(shown "$work")" "${@:2}" || missed=yes; }
# Returns the median of the peaks of several runs, in KiB.
peak() {
    for ((round = 0; round < memory_rounds; ++round)); do
        rm -rf "$work/target" "$work/one.lnk"
        "$host_build/peak_memory" scripts/wine.sh "$@" 2>/dev/null
    done | cut -d' ' -f1 | sort -n | sed -n "$(((memory_rounds + 1) / 2))p"
}

printf '%-72s %8s %8s\n' '' figure bound
for what in $wanted; do
    case $what in
        small | large)
            package "$what"
            measure "$what" "$pairs"
            ;;
        growth)
            package fewer
            package more
            measure growth "$growth_rounds"
            ;;
        application)
            package application
            makensis -V1 -DPACKAGE="$work/application" -DOUTPUT="$work/other.exe" bench/other_installer.nsi
            measure application "$pairs" "$(shown "$work/other.exe")"
            ;;
        download)
            for content in mixed code; do
                most=1010
                package application
                if [ "$content" = code ]; then
                    # A program of 70 MB, made of Wine's libraries.
                    most=970
                    rm -r "$work"/application/folder*
                    mkdir "$work/application/folder0"
                    cat /usr/lib/*/wine/x86_64-windows/*.dll | head -c 70000000 >"$work/application/folder0/code.exe"
                fi
                makensis -V1 -DDOWNLOAD -DPACKAGE="$work/application" -DOUTPUT="$work/other.exe" bench/other_installer.nsi
                scripts/make_download.sh "$work/application" "$work/own.exe" >/dev/null
                line "a download with $content files, thousandths of the other's size" \
                    $(($(stat -c %s "$work/own.exe") * 1000 / $(stat -c %s "$work/other.exe"))) "$most"
                measure download "$pairs" "$(shown "$work/other.exe")" "$(shown "$work/own.exe")"
                rm -r "$work/application"
            done
            line 'the download without a package, KiB' $((($(stat -c %s "$windows_build/download.exe") + 1023) / 1024)) 256
            ;;
        memory)
            package application
            package fewer
            package more
            link=$(peak "$windows_build/install_bench.exe" link 'C:\windows\notepad.exe' "$(shown "$work/one.lnk")")
            setup=$(peak "$work/application/setup.exe" -install -s -instdir "$(shown "$work/target")")
            line 'peak memory of an install, KiB over a program that saves one link' $((setup - link)) 4096
            few=$(peak "$work/fewer/setup.exe" -s -instport "$(shown "$work/target")")
            many=$(peak "$work/more/setup.exe" -s -instport "$(shown "$work/target")")
            line 'peak memory at 10,000 records, KiB over that at 1,250' $((many - few)) 1024
            ;;
        size)
            x86_64-w64-mingw32-strip -o "$work/setup.exe" "$windows_build/setup.exe"
            line 'setup.exe, stripped, KiB' $((($(stat -c %s "$work/setup.exe") + 1023) / 1024)) 360
            ;;
        instances)
            echo 'List of running copies, under Wine:'
            run "$windows_build/instance_bench.exe" "$windows" "$instance_rounds" || missed=yes
            echo 'List of running copies, on the embedded machine:'
            "$host_build/winmachine" create "$work/machine"
            cp "$host_build/instance_bench.exe" "$work/machine/C/"
            "$host_build/winmachine" run "$work/machine" 'C:\instance_bench.exe' "$windows" "$instance_rounds" ||
                missed=yes
            ;;
    esac
    rm -rf "$work"/{small,large,fewer,more,application,target,other.exe,own.exe,machine}
done
[ -z "$missed" ]
