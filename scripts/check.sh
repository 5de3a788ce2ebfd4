#!/usr/bin/env bash
# usage: scripts/check.sh [--tidy]
# example: scripts/check.sh
#
# Checks the sources without building them: format, layers, words, the share of proof, the workflow, and that the planted faults still apply.
# --tidy also runs the checks of .clang-tidy, which takes several minutes.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"

case "${1-}" in
    '') needs format ;;
    --tidy) needs format tidy ;;
    *) bad_usage "there is no option \"$1\"" ;;
esac

folders=(bench download fuzz platform res sample src tests tools)
failed=
# check NAME COMMAND...
check() {
    if "${@:2}"; then
        echo "check: $1: clean"
    else
        echo "check: $1: FAILED" >&2
        failed=yes
    fi
}

format() {
    find "${folders[@]}" -name '*.cpp' -o -name '*.h' | xargs -P "$(nproc)" -n 40 clang-format --dry-run -Werror
}

# Words that this project uses in their plain sense only. Write instead: the plain verb, such as "stays", or "results in", "is".
words() {
    local ended=0
    grep -rnE --include='*.cpp' --include='*.h' --include='*.md' --include='*.sh' --include='*.py' --include='*.cmake' \
        --include=CMakeLists.txt --exclude=check.sh '\bis gone to\b|\bcomes? to (nothing|the same)\b' \
        "${folders[@]}" cmake docs scripts CMakeLists.txt ./*.md || ended=$?
    # 2 means that something can't be read.
    [ "$ended" -eq 1 ]
}

# Prints the share of proof in the code, in lines that are not blank. It may not grow above the limit, of 1000.
share() {
    local limit=380 all proof
    lines() { tr '\n' '\0' | xargs -0 cat -- | grep -c '[^[:space:]]'; }
    code() {
        git ls-files -- '*.cpp' '*.h' '*.py' '*.sh' '*.rc' '*.nsi' '*.cmake' '*CMakeLists.txt' 'tools/plant_faults/*.txt' ':!fuzz/seeds' |
            grep -E "${1-}" | grep -vE "${2-^$}"
    }
    all=$(code | lines)
    proof=$({
        code '^(tests|fuzz|bench|tools)/' '^tools/(package_make|package_check|rehearse|common)/'
        code '^scripts/(bench|browse_rehearsal|check|check_executable|check_layers|fuzz|plant_faults|prove|test)\.sh$'
    } | lines)
    echo "check: share: $proof of $all lines are proof, $((proof * 1000 / all)) of 1000"
    [ $((proof * 1000)) -le $((limit * all)) ]
}

tidy() {
    cmake --preset tidy >/dev/null
    # Files outside the sources, such as the test framework, are not ours to check.
    sed -n 's/^ *"file": "\(.*\)",\{0,1\}$/\1/p' build/tidy/compile_commands.json | grep "^$PWD/.*\.cpp$" | sort -u |
        xargs -P "$(nproc)" -n 4 clang-tidy -p build/tidy --quiet
}

check format format
check layers scripts/check_layers.sh
check words words
check share share
check workflow yamllint -s .github
check faults /usr/bin/python3 tools/plant_faults/plant_faults.py --check
[ "${1-}" != --tidy ] || check tidy tidy
[ -z "$failed" ]
