#!/bin/bash
# Tests of scripts/junit.awk: each case is what ctest wrote, and what must be counted.
# usage: junit_test.sh <path of junit.awk>
set -euo pipefail
script=$1
failures=0

# expect <case> <expected output, lines joined by ";">: the JUnit text comes on standard input.
expect() {
    local got
    got=$(awk -f "$script" | paste -sd ';')
    if [[ $got != "$2" ]]; then
        printf '%s\n  expected: %s\n  got:      %s\n' "$1" "$2" "$got"
        failures=$((failures + 1))
    fi
}

# testcase <name> <status> [<body>]; suite <testcases>
testcase() { printf '\t<testcase name="%s" classname="x" time="0.1" status="%s">\n\t\t%s\n\t</testcase>\n' "$1" "$2" "${3-}"; }
suite() { printf '<testsuite name="x"\n\ttests="9"\n\t>\n%s\n</testsuite>\n' "$1"; }

expect 'passed tests are counted' 'counts 2 0 0' \
    < <(suite "$(testcase a.One run; testcase a.Two run)")

expect 'a failed test is counted and named' 'failed a.Two;counts 1 1 0' \
    < <(suite "$(testcase a.One run; testcase a.Two fail '<failure message=""/>')")

expect 'a test that skips itself is skipped' 'skipped a.One;counts 0 0 1' \
    < <(suite "$(testcase a.One notrun '<skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/>')")

expect 'a disabled test is skipped' 'skipped a.One;counts 0 0 1' \
    < <(suite "$(testcase a.One disabled)")

expect 'a test without its program is failed' 'failed a.One;counts 0 1 0' \
    < <(suite "$(testcase a.One notrun '<skipped message="Unable to find executable"/>')")

expect 'a skip does not reach the next test' 'skipped a.One;failed a.Two;counts 0 1 1' \
    < <(suite "$(testcase a.One notrun '<skipped message="SKIP_RETURN_CODE=77"/>'; testcase a.Two notrun)")

expect 'names are shown as they are' 'failed a.<&"b">;counts 0 1 0' \
    < <(suite "$(testcase 'a.&lt;&amp;&quot;b&quot;&gt;' fail)")

expect 'output of a test does not count' 'failed a.One;counts 0 1 0' \
    < <(suite "$(testcase a.One notrun '<system-out>&lt;skipped message="SKIP_x"/&gt;</system-out>')")

expect 'no test at all is a failure' 'failed (no test ran, or the run broke off);counts 0 1 0' \
    < <(suite '')

expect 'an empty file is a failure' 'failed (no test ran, or the run broke off);counts 0 1 0' \
    < <(printf '')

expect 'a file that breaks off is a failure' 'failed (no test ran, or the run broke off);counts 1 1 0' \
    < <(testcase a.One run)

((failures == 0))
