# For tests in Bash, which source this first. Makes the folder `work`, which becomes the current one, and root and the rest of
# scripts/lib.sh.
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../../scripts/lib.sh"
make_work
cd "$work" || exit 1

# run EXIT-CODE COMMAND...: stores what the command says in the file "said".
run() {
    local expected=$1 result=0
    shift
    "$@" 2>&1 | tr -d '\r' >said || result=$?
    [ "$result" = "$expected" ] || fail "$* ended with $result: $(<said)"
}
# says TEXT [FILE]
says() { grep -qF -- "$1" "${2-said}" || fail "\"$1\" is missing in ${2-said}: $(<"${2-said}")"; }
# refused TEXT COMMAND...: the command says so and ends with 2.
refused() {
    run 2 "${@:2}"
    says "$1"
}
