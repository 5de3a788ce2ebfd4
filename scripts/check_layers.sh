#!/usr/bin/env bash
# Holds the order of the embedded machine's rooms: a file includes headers of its own room and of lower ones only, and
# nobody outside includes any of them but winhost's own tests and the fuzzers.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

rooms=(core registry files processes resources shell windows programs)
found=
complain() {
    echo "$1" >&2
    found=yes
}

higher=''
for ((i = ${#rooms[@]} - 1; i >= 0; --i)); do
    room=${rooms[i]}
    if [ -n "$higher" ]; then
        lines=$(grep -rnE "#include \"($higher)/" "platform/winhost/$room" || true)
        [ -z "$lines" ] || complain "Includes of a higher room:"$'\n'"$lines"
    fi
    higher=$room${higher:+|$higher}
done

lines=$(grep -rnE "#include [<\"]([./]*winhost/)?($higher)/" src res sample tools bench tests platform/framework \
    --exclude-dir=winhost || true)
[ -z "$lines" ] || complain "Includes of the embedded machine's rooms from outside:"$'\n'"$lines"
[ -z "$found" ]
