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
# The bounds, each of which its figure may reach.
declare -A bounds=(
    ['5,000 small files by patterns, over the bare loop']=1.30
    ['5,000 small files by a record each, over the bare loop']=1.85
    ['3 files of 200 MB, over the bare loop']=1.15
    ["10,000 records over 1,250, over the bare loop's growth"]=1.15
    ['install of 180 files, 60 MB, over another installer']=1.05
    ["its uninstall less the fixed second, over the other's"]=1.00
    ["a download with mixed files, over the other's size"]=1.01
    ["a download with code files, over the other's size"]=0.97
    ["a silent start of the download, over the other's"]=0.80
    ['the download without a package, KiB']=256
    ['peak memory of an install, KiB over a program that saves one link']=4096
    ['peak memory at 10,000 records, KiB over that at 1,250']=1024
    ['setup.exe, stripped, KiB']=360
    ['search for a main window, over bare EnumWindows with the same calls']=1.15
    ['entering and leaving at 1000 entries, over bare EnumWindows passes']=1.15
    ['one of 1000 entries over one of 10']=1.15
)
missed=
# line WHAT FIGURE
line() {
    local bound=${bounds[$1]:?"$1 has no bound"} verdict=
    if awk "BEGIN { exit !($2 > $bound) }"; then
        verdict=MISSED missed=yes
    fi
    printf '%-72s %8s %8s  %s\n' "$1" "$2" "$bound" "$verdict"
}
# Runs a program whose lines are WHAT, a tab and FIGURE. Other lines are printed as they are.
figures() {
    local what figure
    "$@" >"$work/figures" || missed=yes
    while IFS=$'\t' read -r what figure; do
        figure=${figure%$'\r'}
        if [ -n "$figure" ]; then line "$what" "$figure"; else echo "$what"; fi
    done <"$work/figures"
}
package() { bench package "$1" "$(shown "$windows_build/package")" "$(shown "$work/$1")"; }
measure() { figures bench "$1" "$(shown "$work")" "${@:2}"; }
# Returns the median of the peaks of several runs, in KiB.
peak() {
    for ((round = 0; round < memory_rounds; ++round)); do
        rm -rf "$work/target" "$work/one.lnk"
        "$host_build/peak_memory" scripts/wine.sh "$@" 2>/dev/null
    done | cut -d' ' -f1 | sort -n | sed -n "$(((memory_rounds + 1) / 2))p"
}

printf '%-72s %8s %8s\n' "$(git log -1 --format=%h), $(date +%F)" figure bound
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
                package application
                if [ "$content" = code ]; then
                    # A program of 70 MB, made of Wine's libraries.
                    rm -r "$work"/application/folder*
                    mkdir "$work/application/folder0"
                    cat /usr/lib/*/wine/x86_64-windows/*.dll | head -c 70000000 >"$work/application/folder0/code.exe"
                fi
                makensis -V1 -DDOWNLOAD -DPACKAGE="$work/application" -DOUTPUT="$work/other.exe" bench/other_installer.nsi
                scripts/make_download.sh "$work/application" "$work/own.exe" >/dev/null
                line "a download with $content files, over the other's size" \
                    "$(awk "BEGIN { printf \"%.3f\", $(stat -c %s "$work/own.exe") / $(stat -c %s "$work/other.exe") }")"
                measure download "$pairs" "$(shown "$work/other.exe")" "$(shown "$work/own.exe")"
                rm -r "$work/application"
            done
            line 'the download without a package, KiB' $((($(stat -c %s "$windows_build/download.exe") + 1023) / 1024))
            ;;
        memory)
            package application
            package fewer
            package more
            link=$(peak "$windows_build/install_bench.exe" link 'C:\windows\notepad.exe' "$(shown "$work/one.lnk")")
            setup=$(peak "$work/application/setup.exe" -install -s -instdir "$(shown "$work/target")")
            line 'peak memory of an install, KiB over a program that saves one link' $((setup - link))
            few=$(peak "$work/fewer/setup.exe" -s -instport "$(shown "$work/target")")
            many=$(peak "$work/more/setup.exe" -s -instport "$(shown "$work/target")")
            line 'peak memory at 10,000 records, KiB over that at 1,250' $((many - few))
            ;;
        size)
            x86_64-w64-mingw32-strip -o "$work/setup.exe" "$windows_build/setup.exe"
            line 'setup.exe, stripped, KiB' $((($(stat -c %s "$work/setup.exe") + 1023) / 1024))
            ;;
        instances)
            echo 'List of running copies, under Wine:'
            figures run "$windows_build/instance_bench.exe" "$windows" "$instance_rounds"
            echo 'List of running copies, on the embedded machine:'
            "$host_build/winmachine" create "$work/machine"
            cp "$host_build/instance_bench.exe" "$work/machine/C/"
            figures "$host_build/winmachine" run "$work/machine" 'C:\instance_bench.exe' "$windows" "$instance_rounds"
            ;;
    esac
    rm -rf "$work"/{small,large,fewer,more,application,target,other.exe,own.exe,machine}
done
[ -z "$missed" ]
