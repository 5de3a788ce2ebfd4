#!/usr/bin/env bash
# Writes the ids and texts of the tables of docs/manifest.md as elements of an array: rules.sh MANUAL OUTPUT
set -euo pipefail
sed 's/\\/\\\\/g; s/"/\\"/g' "$1" | awk -F '|' '/^\| `[a-z0-9-]+`/ {
    gsub(/^ | $/, "", $3)
    count = split($2, id, "`")
    for (i = 2; i < count; i += 2) printf "{\"%s\", \"%s\"},\n", id[i], $3
}' >"$2"
