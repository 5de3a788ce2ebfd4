#!/usr/bin/env bash
# Shows the main job: makes an embedded machine in a temporary folder, installs the sample package on it and shows what
# that changed, removes it again, restarts the machine and shows what is left.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=build/host

scripts/bootstrap.sh
echo 'Building setup.exe and the embedded machine ...'
cmake --preset host >/dev/null
cmake --build --preset host --target sample_package snapshot winmachine regsvr32 -- --quiet

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
machine=$work/machine
# The tool and its notes lie in a folder that a snapshot leaves out.
tools=$machine/C/Windows/System32

heading() { printf '\n%s\n%s\n' "$1" "${1//?/-}"; }

# Runs a program of the machine, and says how it ended.
run() {
    local status=0
    heading "$*"
    "$build/winmachine" run "$machine" "$@" || status=$?
    echo "ended with $status"
    [ "$status" -eq 0 ]
}

snapshot() { "$build/winmachine" run "$machine" 'C:\Windows\System32\snapshot.exe' "$@"; }

# Notes what is different from the fresh machine, a line a change: its kind (+ new, * changed, - gone), its name, three
# blanks, what it is.
note_changes() {
    snapshot >"$tools/now.txt"
    snapshot 'C:\Windows\System32\before.txt' 'C:\Windows\System32\now.txt' |
        tr -d '\r' | sed -E 's/ [0-9a-f]{16}$//' >"$work/changes.txt"
}

# show TITLE PATTERN LAYOUT: the changes that match, laid out by awk statements over `name` and `what`.
show() {
    heading "$1"
    awk -v pattern="$2" '$0 ~ pattern {
        found = 1
        at = index($0, "   ")
        name = substr($0, 1, at - 1)
        what = substr($0, at + 3)
        '"$3"'
    }
    END { if (!found) print "(none)" }' "$work/changes.txt"
}
show_files() {
    show "$1" '^. [A-Z]:.*   (was )?(file|folder)' \
        'sub(/^file |^folder$/, "", what); print what == "" ? name : sprintf("%-50s %18s", name, what)'
}
show_shortcuts() { show "$1" '^. [A-Z]:.*   (was )?shortcut' 'printf "%s\n      %s\n", name, what'; }
show_registry() {
    show "$1" '^. HK.* : ' '
        at = index(name, " : ")
        key = substr(name, 1, at - 1)
        if (key != last) print key
        last = key
        printf "      %-16s %s\n", substr(name, at + 3), what'
}

"$build/winmachine" create "$machine"
cp -r "$build/package" "$machine/C/Package"
cp "$build/snapshot.exe" "$tools/"
snapshot >"$tools/before.txt"
heading 'A machine with the package in C:\Package'
(cd "$machine/C/Package" && find . -type f -printf '%P\n' | sort | tr / '\134' | pr -t -3 -w 100)

run 'C:\Package\setup.exe' -s -instdir 'C:\Apps\Qantivo'
note_changes
show_files 'Files and folders (+ new, * changed, - gone)'
show_shortcuts 'Shortcuts'
show_registry 'Registry values'
show 'Left to do at the next start of the machine' '^. mark' 'print name, what'
heading 'What the installation added to its log, C:\Apps\Qantivo\QtvUnInst.log'
added=$(($(wc -l <"$machine/C/Package/QtvUnInst.log") + 2))
tail -n +"$added" "$machine/C/Apps/Qantivo/QtvUnInst.log" | tr -d '\r'

run 'C:\Apps\Qantivo\QtvUnInst.exe'
note_changes
show_files 'Files and folders that are left until the next start of the machine'
show 'Left to do at the next start of the machine' '^. mark' 'print name, what'

heading 'The machine restarts'
"$build/winmachine" restart "$machine"
note_changes
show_files 'Files and folders that are left'
show_shortcuts 'Shortcuts that are left'
show_registry 'Registry values that are left'
