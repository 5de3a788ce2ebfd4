#!/usr/bin/env bash
# Checks the order of the rooms. In the embedded machine a file includes headers of its own room and of lower ones only,
# and nobody outside includes any of them but winhost's own tests and the fuzzers. In src/ a file includes headers of its
# own row and of earlier rows in the table of docs/architecture.md, except for the calls that are listed there.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

rooms=(core registry files processes resources shell messages windows controls dialogs machines programs)
found=
complain() {
    echo "$1" >&2
    found=yes
}

higher=''
for ((i = ${#rooms[@]} - 1; i >= 0; --i)); do
    room=${rooms[i]}
    if [ -n "$higher" ]; then
        lines=$(grep -rnE "#include [<\"][./]*(winhost/)?($higher)/" "platform/winhost/$room" || true)
        [ -z "$lines" ] || complain "Includes of a higher room:"$'\n'"$lines"
    fi
    higher=$room${higher:+|$higher}
done

lines=$(grep -rnE "#include [<\"]([./]*winhost/)?($higher)/" src res sample tools bench tests platform/framework \
    --exclude-dir=winhost || true)
[ -z "$lines" ] || complain "Includes of the embedded machine's rooms from outside:"$'\n'"$lines"

declare -A row_of upward
row=0
while IFS='|' read -r _ names _; do
    mapfile -t names < <(grep -o '`[^`]*`' <<<"$names" | tr -d '`')
    room=${names[0]#src/}
    row=$((row + 1))
    [ ${#names[@]} -gt 1 ] || row_of[$room]=$row
    for unit in "${names[@]:1}"; do
        row_of[$room/$unit]=$row
    done
done < <(grep '^| `src/' docs/architecture.md)
while read -r call; do
    upward[$call]=listed
done < <(sed -nE 's|^- `([^`]+)` includes `([^`]+)`.*|\1 \2|p' docs/architecture.md)

while IFS=: read -r file line include; do
    file=${file#src/}
    header=${include#*\"}
    header=${header%\"}
    from=${row_of[${file%.*}]:-${row_of[${file%%/*}]:-}}
    to=${row_of[${header%.*}]:-${row_of[${header%%/*}]:-}}
    if [ -z "$from" ] || [ -z "$to" ]; then
        complain "src/$file:$line: no row of docs/architecture.md holds this file or $header"
    elif [ "$to" -gt "$from" ] && [ -z "${upward[$file $header]:-}" ]; then
        complain "src/$file:$line: includes $header, which is in a later row of docs/architecture.md"
    elif [ "$to" -gt "$from" ]; then
        upward[$file $header]=found
    fi
done < <(grep -rnoE '#include "[a-z_]+/[a-z_]+\.h"' src)
for call in "${!upward[@]}"; do
    [ "${upward[$call]}" = found ] || complain "docs/architecture.md lists a call upward that src/ doesn't hold: $call"
done
[ -z "$found" ]
