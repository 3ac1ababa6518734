#!/bin/bash
# Tests of scripts/coverage.awk: each case is what gcovr wrote, and what must be told of it.
# usage: coverage_test.sh <path of coverage.awk>
set -euo pipefail
script=$(readlink -f -- "$1")
failures=0
folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT
cd -- "$folder"
mkdir xcp

# expect <case> <status> <expected output without its head, blanks squeezed, lines joined by ";">: what gcovr wrote
# comes on standard input.
expect() {
    local got status=0
    got=$(awk -v folders='xcp' -v line_goal=99 -v branch_goal=95 -f "$script") || status=$?
    got=$(tail -n +2 <<<"$got" | tr -s ' ' | paste -sd ';')
    if [[ $status != "$2" || $got != "$3" ]]; then
        printf '%s\n  expected: %s %s\n  got:      %s %s\n' "$1" "$2" "$3" "$status" "$got"
        failures=$((failures + 1))
    fi
}

# line <number> <count> [<branch>...]: a branch is its count, behind "t" if it is the way of an exception.
line() {
    local number=$1 count=$2 branch
    shift 2
    printf ' "branches": [%s\n' "$( (($#)) || printf '],')"
    for branch in "$@"; do
        printf '  {\n   "count": %s,\n   "fallthrough": false,\n   "throw": %s\n  },\n' "${branch#t}" \
            "$([[ $branch == t* ]] && echo true || echo false)"
    done
    (($#)) && printf ' ],\n'
    printf ' "count": %s,\n "gcovr/excluded": false,\n "gcovr/noncode": %s,\n "line_number": %s\n' "$count" \
        "${noncode:-false}" "$number"
}

# file <path> <lines>
file() { printf '"file": "%s",\n"functions": [ { "execution_count": 3,\n "lineno": 7 } ],\n%s\n' "$1" "$2"; }

expect 'all is reached' 0 'xcp 2 0 100.0 2 0 100.0;all 2 0 100.0 2 0 100.0' \
    < <(file xcp/A.cpp "$(line 1 5 3 2; line 2 1)")

expect 'a line that is not reached' 1 \
    'xcp 2 1 50.0 2 0 100.0;all 2 1 50.0 2 0 100.0;left xcp/A.cpp:9: line;short of 99 % of lines or 95 % of branches: xcp' \
    < <(file xcp/A.cpp "$(line 1 5 3 2; line 9 0)")

expect 'a branch that is not taken' 1 \
    'xcp 1 0 100.0 2 1 50.0;all 1 0 100.0 2 1 50.0;left xcp/A.cpp:4: 1 of 2 branches;short of 99 % of lines or 95 % of branches: xcp' \
    < <(file xcp/A.cpp "$(line 4 5 5 0)")

expect 'neither edge of a call that may throw is a branch' 0 'xcp 1 0 100.0 2 0 100.0;all 1 0 100.0 2 0 100.0' \
    < <(file xcp/A.cpp "$(line 4 5 5 t0 3 2 5 t0)")

expect 'nor if the way of the exception comes first' 0 'xcp 1 0 100.0 2 0 100.0;all 1 0 100.0 2 0 100.0' \
    < <(file xcp/A.cpp "$(line 4 5 t0 5 3 2)")

cat >xcp/Text.cpp <<'TXT'
static Store store;
const bool isOurs =
    first == second;
return a && b;
return name + "a ? b"; // or not?
keep(1);
for (;;) {
TXT

expect 'branches of a statement without a word to branch with are the compiler'"'"'s' 0 \
    'xcp 4 0 100.0 2 0 100.0;all 4 0 100.0 2 0 100.0' \
    < <(file xcp/Text.cpp "$(line 1 5 3 0 0 0; line 5 5 3 0; line 6 5 3 2; line 7 5 3 2)")

expect 'a line that goes on with a statement counts, and so does one with a word' 1 \
    'xcp 3 0 100.0 6 3 50.0;all 3 0 100.0 6 3 50.0;left xcp/Text.cpp:3: 1 of 2 branches;left xcp/Text.cpp:4: 1 of 2 branches;left xcp/Text.cpp:7: 1 of 2 branches;short of 99 % of lines or 95 % of branches: xcp' \
    < <(file xcp/Text.cpp "$(line 3 5 5 0; line 4 5 5 0; line 7 5 5 0)")

expect 'what is no code does not count' 0 'xcp 1 0 100.0 2 0 100.0;all 1 0 100.0 2 0 100.0' \
    < <(file xcp/A.cpp "$(noncode=true line 3 0; line 4 5 3 2)")

expect 'a header counts for its folder' 0 'xcp 2 0 100.0 2 0 100.0;all 2 0 100.0 2 0 100.0' \
    < <(file xcp/A.cpp "$(line 1 5 3 2)"; file xcp/A.h "$(line 1 1)")

expect 'another folder makes up for nothing' 1 \
    'xcp 1 1 0.0 2 0 100.0;all 1 1 0.0 2 0 100.0;left xcp/A.cpp:1: line;short of 99 % of lines or 95 % of branches: xcp' \
    < <(file ccp/A.cpp "$(line 1 5 3 2)"; file xcp/A.cpp "$(line 1 0 1 1)")

expect 'percents are rounded down' 1 \
    'xcp 100 1 99.0 21 2 90.4;all 100 1 99.0 21 2 90.4;left xcp/A.cpp:1: 2 of 21 branches;left xcp/A.cpp:100: line;short of 99 % of lines or 95 % of branches: xcp' \
    < <(file xcp/A.cpp "$(line 1 9 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 0 0
        for number in {2..99}; do line "$number" 1; done; line 100 0)")

expect 'a folder need not have branches' 0 'xcp 1 0 100.0 0 0 100.0;all 1 0 100.0 0 0 100.0' \
    < <(file xcp/A.cpp "$(line 1 5)")

expect 'a folder of which nothing was counted is short' 1 \
    'xcp 0 0 0.0 0 0 0.0;all 0 0 0.0 0 0 0.0;short of 99 % of lines or 95 % of branches: xcp' \
    < <(printf '{}\n')

((failures == 0))
